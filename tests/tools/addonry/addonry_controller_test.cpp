#include "app/TaskThreads.h"
#include "remote/FakeRemote.h"
#include "support/TestEnvironment.h"
#include "system/VLException.h"
#include "tools/addonry/AddonryController.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// A client record whose agent is a function.
class FakeService : public VLService {
public:
    FakeService(const QString& name, FakeProxy::Answer answer)
        : m_proxy(std::make_shared<FakeProxy>(std::move(answer))) {
        setName(name);
        setHostName(name + ".local."_L1);
        m_isConnected = true;
    }
    VLProxyObjectPtr proxyObject() const override { return m_proxy; }
    void connectOnThread(VLCallbackTargetPtr) override {}
    void refreshServiceView() override {}

private:
    std::shared_ptr<FakeProxy> m_proxy;
};

QVariantMap plugin(const QString& name, const QString& version = u"1.0"_s, bool disabled = false) {
    return {{u"name"_s, name},
            {u"version"_s, version},
            {u"type"_s, u"FxPlug"_s},
            {u"fullPath"_s, u"/Library/Plug-Ins/FxPlug/"_s + name},
            {u"disabled"_s, int(disabled)},
            {u"accessType"_s, 2}};
}

FakeProxy::Answer answering(const QVariant& answer) {
    return [answer](const QString& selector, const QVariantList&) {
        return selector == "addonryPluginList"_L1 ? answer : QVariant();
    };
}

}  // namespace

class AddonryControllerTest : public QObject {
    Q_OBJECT

    QList<VLServicePtr> m_services;
    QStringList m_failed;
    std::unique_ptr<TaskThreads> m_progress;
    std::unique_ptr<RemoteRunner> m_runner;
    std::unique_ptr<AddonryController> m_controller;

    void addClient(const QString& name, FakeProxy::Answer answer) {
        m_services.append(std::make_shared<FakeService>(name, std::move(answer)));
    }

    bool refresh() {
        VLThread::detach(u"refresh"_s, [this] { m_controller->refresh(); });
        return VLThread::joinAll(30s);
    }

    [[nodiscard]] const VLPluginItem* row(const QString& name) const {
        for (const VLPluginItem& item : m_controller->addonryArray())
            if (item.name() == name) return &item;
        return nullptr;
    }

private Q_SLOTS:
    void init() {
        m_services.clear();
        VLUserDefaults::standardUserDefaults().removeObjectForKey(u"addonryOutlineSortedDescending"_s);
        m_progress = std::make_unique<TaskThreads>(
            TaskThreads::Environment{[this] { return int(m_services.size()); }, [] {}, [] {}});
        RemoteRunner::Environment environment;
        environment.progress = m_progress.get();
        environment.selectedServices = [this] {
            return QList<RemoteClientPtr>(m_services.begin(), m_services.end());
        };
        m_runner = std::make_unique<RemoteRunner>(std::move(environment));
        ToolContext context;
        context.runner = m_runner.get();
        context.progress = m_progress.get();
        context.selectedServices = [this] { return m_services; };
        context.friendlyServiceName = [](const QString& hostName) { return hostName.section(u'.', 0, 0); };
        m_controller = std::make_unique<AddonryController>(context);
        startNewLog();
    }
    void cleanup() {
        m_controller.reset();
        m_runner.reset();
        m_progress.reset();
    }

    void mergesWhatTheClientsHave() {
        addClient("one", answering(QVariantList{plugin("Blur"), plugin("Glow")}));
        addClient("two", answering(QVariantList{plugin("Glow", "1.1"), plugin("Echo", "2.0", true)}));
        addClient("three", answering(QVariantList{plugin("Glow")}));
        QSignalSpy changed(m_controller.get(), &ToolController::changed);
        QSignalSpy busy(m_controller.get(), &ToolController::busyChanged);
        QVERIFY(refresh());

        const ToolReport report = m_controller->report();
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
        QVERIFY(m_controller->hasResult() && !m_controller->isBusy());
        QTRY_VERIFY(!m_progress->isProcessing());

        const QVariantMap placeholder = row("Blur")->missingHosts().first().toMap();
        QCOMPARE(placeholder.value("hostname"), QVariant("two.local."));
        QCOMPARE(placeholder.value("disabled"), QVariant(-1));

        QVERIFY(refresh());
        QCOMPARE(busy.size(), 2);  // rows are there already
        VLUserDefaults::standardUserDefaults().setObject(true, u"addonryOutlineSortedDescending"_s);
        QVERIFY(refresh());
        QCOMPARE(m_controller->report().rows.first().first(), u"Glow"_s);
        m_controller->clearData();
        QVERIFY(m_controller->addonryArray().isEmpty() && !m_controller->hasResult());
    }

    /// A client that answers the same name twice makes the number of copies fit though another lacks it.
    void copiesAreCountedNotClients() {
        addClient("one", answering(QVariantList{plugin("Blur"), plugin("Blur")}));
        addClient("two", answering(QVariantList{}));
        QVERIFY(refresh());
        QCOMPARE(row("Blur")->state(), int(VLPluginItem::Alike));
        QVERIFY(row("Blur")->missingHosts().isEmpty());
    }

    void hostileClientsSpoilNothing_data() {
        QTest::addColumn<QVariant>("answer");
        QTest::addColumn<QString>("logged");
        QTest::newRow("nothing") << QVariant() << QString();
        QTest::newRow("list of rubbish") << QVariant(QVariantList{1, u"x"_s, QVariantMap()})
                                         << u"Plug-in list of bad: 3 of 3 entries left out, 0 values "
                                            "of a wrong kind ignored"_s;
        QTest::newRow("not a list") << QVariant(u"x"_s) << u"Client bad answered"_s;
        QTest::newRow("exception") << QVariant(u"throw"_s) << u"Exception in "_s;
    }
    void hostileClientsSpoilNothing() {
        QFETCH(QVariant, answer);
        QFETCH(QString, logged);
        addClient("bad", [answer](const QString&, const QVariantList&) -> QVariant {
            if (answer == QVariant(u"throw"_s)) throw VLException(VLException::inaccessible, u"gone"_s);
            return answer;
        });
        addClient("good", answering(QVariantList{plugin("Blur")}));
        QVERIFY(refresh());
        QCOMPARE(m_controller->addonryArray().size(), 1);
        QCOMPARE(m_controller->addonryArray().first().state(), int(VLPluginItem::Missing));
        const QStringList lines = logLines().filter(logged);
        QVERIFY2(!lines.isEmpty() || logged.isEmpty(), qPrintable(logLines().join(u'\n')));
    }

    void cancellingKeepsTheRows() {
        addClient("one", answering(QVariantList{plugin("Blur")}));
        QVERIFY(refresh());
        int asked = 0;
        const auto cancelling = [&](const QString&, const QVariantList&) -> QVariant {
            ++asked;
            onMainThreadAndWait([this] { m_progress->cancelStatusProgress(); });
            return QVariantList{plugin("Other")};
        };
        m_services.clear();
        addClient("one", cancelling);
        addClient("two", cancelling);
        QVERIFY(refresh());
        QCOMPARE(asked, 1);
        QCOMPARE(m_controller->addonryArray().size(), 1);
        QVERIFY(row("Blur"));
        QVERIFY(!m_progress->isProcessing() && !m_controller->isBusy());
    }

    /// The older of two overlapping runs ends last; what it found is out of date.
    void laterRunWins() {
        std::atomic<bool> isAsked{false}, mayAnswer{false};
        addClient("slow", [&](const QString&, const QVariantList&) -> QVariant {
            isAsked = true;
            MainThread::waitUntil([&] { return mayAnswer.load(); }, 10s);
            return QVariantList{plugin("Old")};
        });
        VLThread::detach(u"first"_s, [this] { m_controller->refresh(); });
        QVERIFY(MainThread::waitUntil([&] { return isAsked.load(); }, 10s));
        m_services.clear();
        addClient("quick", answering(QVariantList{plugin("New")}));
        VLThread::detach(u"second"_s, [this] { m_controller->refresh(); });
        QVERIFY(MainThread::waitUntil([this] { return m_controller->hasResult(); }, 10s));
        mayAnswer = true;
        QVERIFY(VLThread::joinAll(10s));
        QVERIFY(row("New") && !row("Old"));
    }

    void manyClientsMergeQuickly() {
        QVariantList plugins;
        for (int i = 0; i < 300; ++i)
            plugins.append(plugin(u"Plug-in %1"_s.arg(i)));
        for (int i = 0; i < 200; ++i)
            addClient(u"client%1"_s.arg(i), answering(plugins));
        QElapsedTimer timer;
        timer.start();
        QVERIFY(refresh());
        QCOMPARE(m_controller->addonryArray().size(), 300);
        QCOMPARE(m_controller->addonryArray().first().children().size(), 200);
        QVERIFY2(timer.elapsed() < 20'000, "merging takes quadratic time");
    }
};

ORLENDO_TEST_MAIN(AddonryControllerTest)
#include "addonry_controller_test.moc"
