#include "tools/addonry/AddonryBench.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class AddonryControllerTest : public QObject {
    Q_OBJECT

    std::unique_ptr<AddonryBench> m_bench;

    AddonryController& controller() { return m_bench->controller; }
    void addClient(const QString& name, FakeProxy::Answer answer) {
        m_bench->addClient(name, std::move(answer));
    }
    bool refresh() { return m_bench->refresh(); }
    [[nodiscard]] const VLPluginItem* row(const QString& name) const { return m_bench->row(name); }

private Q_SLOTS:
    void init() {
        VLUserDefaults::standardUserDefaults().removeObjectForKey(u"addonryOutlineSortedDescending"_s);
        m_bench = std::make_unique<AddonryBench>();
    }
    void cleanup() { m_bench.reset(); }

    void mergesWhatTheClientsHave() {
        addClient("one", answering(QVariantList{plugin("Blur"), plugin("Glow")}));
        addClient("two", answering(QVariantList{plugin("Glow", "1.1"), plugin("Echo", "2.0", true)}));
        addClient("three", answering(QVariantList{plugin("Glow")}));
        QSignalSpy changed(&controller(), &ToolController::changed);
        QSignalSpy busy(&controller(), &ToolController::busyChanged);
        QVERIFY(refresh());

        const ToolReport report = controller().report();
        const auto line = [](const char* text) { return QString::fromLatin1(text).split(u'|'); };
        const QList<QStringList> expected = {
            line("Blur|FxPlug|1.0|yes|all users|1|missing|two, three"),
            line("Echo|FxPlug|2.0|no|all users|1|missing|one, three"),
            line("Glow|FxPlug|(various)|yes|all users|3|version|"),
        };
        QCOMPARE(report.rows, expected);
        QCOMPARE(report.header.size(), expected.first().size());
        QCOMPARE(changed.size(), 1);
        QCOMPARE(busy.size(), 2);  // on for the first result, off with it
        QVERIFY(controller().hasResult() && !controller().isBusy());
        QTRY_VERIFY(!m_bench->progress.isProcessing());

        const QVariantMap placeholder = row("Blur")->missingHosts().first().toMap();
        QCOMPARE(placeholder.value("hostname"), QVariant("two.local."));
        QCOMPARE(placeholder.value("disabled"), QVariant(-1));

        QVERIFY(refresh());
        QCOMPARE(busy.size(), 2);  // rows are there already
        VLUserDefaults::standardUserDefaults().setObject(true, u"addonryOutlineSortedDescending"_s);
        QVERIFY(refresh());
        QCOMPARE(controller().report().rows.first().first(), u"Glow"_s);
        controller().clearData();
        QVERIFY(controller().addonryArray().isEmpty() && !controller().hasResult());
    }

    void cancellingKeepsTheRows() {
        addClient("one", answering(QVariantList{plugin("Blur")}));
        QVERIFY(refresh());
        m_bench->workOneAtATime();
        std::atomic<int> asked{0};
        const auto cancelling = [&](const QString&, const QVariantList&) -> QVariant {
            ++asked;
            onMainThreadAndWait([this] { m_bench->progress.cancelStatusProgress(); });
            return QVariantList{plugin("Other")};
        };
        m_bench->services.clear();
        addClient("one", cancelling);
        addClient("two", cancelling);
        QVERIFY(refresh());
        QCOMPARE(asked.load(), 1);
        QCOMPARE(controller().addonryArray().size(), 1);
        QVERIFY(row("Blur"));
        QVERIFY(!m_bench->progress.isProcessing() && !controller().isBusy());
    }

    /// The older of two overlapping runs ends last; what it found is out of date.
    void laterRunWins() {
        std::atomic<bool> isAsked{false}, mayAnswer{false};
        addClient("slow", [&](const QString&, const QVariantList&) -> QVariant {
            isAsked = true;
            MainThread::waitUntil([&] { return mayAnswer.load(); }, 10s);
            return QVariantList{plugin("Old")};
        });
        VLThread::detach(u"first"_s, [this] { controller().refresh(); });
        QVERIFY(MainThread::waitUntil([&] { return isAsked.load(); }, 10s));
        m_bench->services.clear();
        addClient("quick", answering(QVariantList{plugin("New")}));
        VLThread::detach(u"second"_s, [this] { controller().refresh(); });
        QVERIFY(MainThread::waitUntil([this] { return controller().hasResult(); }, 10s));
        mayAnswer = true;
        QVERIFY(VLThread::joinAll(10s));
        QVERIFY(row("New") && !row("Old"));
    }
};

ORLENDO_TEST_MAIN(AddonryControllerTest)
#include "addonry_controller_test.moc"
