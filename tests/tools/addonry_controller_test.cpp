#include "app/TaskThreads.h"
#include "remote/FakeRemote.h"
#include "support/TestEnvironment.h"
#include "system/VLException.h"
#include "tools/addonry/AddonryController.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;

namespace {

/// A client record whose agent is a function.
class FakeService : public VLService {
public:
    FakeService(const QString& name, FakeProxy::Answer answer)
        : m_proxy(std::make_shared<FakeProxy>(std::move(answer))) {
        setName(name);
        setHostName(name + QLatin1String(".local."));
        m_isConnected = true;
    }
    VLProxyObjectPtr proxyObject() const override { return m_proxy; }
    void connectOnThread(VLCallbackTargetPtr) override {}
    void refreshServiceView() override {}

private:
    std::shared_ptr<FakeProxy> m_proxy;
};

QVariantMap plugin(const QString& name, const QString& version = QStringLiteral("1.0"),
                   bool disabled = false) {
    return {{QStringLiteral("name"), name},
            {QStringLiteral("version"), version},
            {QStringLiteral("type"), QStringLiteral("FxPlug")},
            {QStringLiteral("fullPath"), QStringLiteral("/Library/Plug-Ins/FxPlug/") + name},
            {QStringLiteral("disabled"), int(disabled)},
            {QStringLiteral("accessType"), 2}};
}

FakeProxy::Answer answering(const QVariant& answer) {
    return [answer](const QString& selector, const QVariantList&) {
        return selector == QLatin1String("addonryPluginList") ? answer : QVariant();
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
        VLThread::detach(QStringLiteral("refresh"), [this] { m_controller->refresh(); });
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
        VLUserDefaults::standardUserDefaults().removeObjectForKey(
            QStringLiteral("addonryOutlineSortedDescending"));
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
        context.friendlyServiceName = [](const QString& hostName) {
            return hostName.section(QLatin1Char('.'), 0, 0);
        };
        m_controller = std::make_unique<AddonryController>(context);
        VLLog::createNewLog();
    }
    void cleanup() {
        m_controller.reset();
        m_runner.reset();
        m_progress.reset();
    }

    void mergesWhatTheClientsHave() {
        addClient(QStringLiteral("one"),
                  answering(QVariantList{plugin(QStringLiteral("Blur")), plugin(QStringLiteral("Glow"))}));
        addClient(QStringLiteral("two"),
                  answering(QVariantList{plugin(QStringLiteral("Glow"), QStringLiteral("1.1")),
                                         plugin(QStringLiteral("Echo"), QStringLiteral("2.0"), true)}));
        addClient(QStringLiteral("three"), answering(QVariantList{plugin(QStringLiteral("Glow"))}));
        QSignalSpy changed(m_controller.get(), &ToolController::changed);
        QSignalSpy busy(m_controller.get(), &ToolController::busyChanged);
        QVERIFY(refresh());

        const ToolReport report = m_controller->report();
        const auto line = [](const char* text) { return QString::fromLatin1(text).split(QLatin1Char('|')); };
        const QList<QStringList> expected = {
            line("Blur|FxPlug|1.0|yes|all users|1|missing|two, three"),
            line("Echo|FxPlug|2.0|no|all users|1|missing|one, three"),
            line("Glow|FxPlug|(various)|yes|all users|3|version|"),
        };
        QCOMPARE(report.rows, expected);
        QCOMPARE(report.header.size(), expected.first().size());
        QCOMPARE(changed.size(), 1);
        QCOMPARE(busy.size(), 2);  // on for the first result, off with it
        QVERIFY(m_controller->hasResult() && !m_controller->isBusy() && !m_progress->isProcessing());

        const QVariantMap expectedPlaceholder = {
            {QStringLiteral("hostname"), QStringLiteral("two.local.")},
            {QStringLiteral("disabled"), -1},
            {QStringLiteral("version"), QString()},
            {QStringLiteral("type"), QStringLiteral("FxPlug")},
            {QStringLiteral("filename"), row(QStringLiteral("Blur"))->fileName()},
            {QStringLiteral("name"), QStringLiteral("Blur")}};
        QCOMPARE(row(QStringLiteral("Blur"))->missingHosts().first().toMap(), expectedPlaceholder);
        QVERIFY(logLines().contains(QStringLiteral("Populating Addonry plugins...")));

        QVERIFY(refresh());
        QCOMPARE(busy.size(), 2);  // rows are there already
        VLUserDefaults::standardUserDefaults().setObject(true,
                                                         QStringLiteral("addonryOutlineSortedDescending"));
        QVERIFY(refresh());
        QCOMPARE(m_controller->report().rows.first().first(), QStringLiteral("Glow"));
        m_controller->clearData();
        QVERIFY(m_controller->addonryArray().isEmpty() && !m_controller->hasResult());
    }

    /// A client that answers the same name twice makes the number of copies fit though another lacks it.
    void copiesAreCountedNotClients() {
        addClient(QStringLiteral("one"),
                  answering(QVariantList{plugin(QStringLiteral("Blur")), plugin(QStringLiteral("Blur"))}));
        addClient(QStringLiteral("two"), answering(QVariantList{}));
        QVERIFY(refresh());
        QCOMPARE(row(QStringLiteral("Blur"))->state(), int(VLPluginItem::Alike));
        QVERIFY(row(QStringLiteral("Blur"))->missingHosts().isEmpty());
    }

    void hostileClientsSpoilNothing_data() {
        QTest::addColumn<QVariant>("answer");
        QTest::addColumn<QString>("logged");
        QTest::newRow("nothing") << QVariant() << QString();
        QTest::newRow("list of rubbish") << QVariant(QVariantList{1, QStringLiteral("x"), QVariantMap()})
                                         << QStringLiteral(
                                                "Plug-in list of bad: 3 of 3 entries left out, 0 values "
                                                "of a wrong kind ignored");
        QTest::newRow("not a list") << QVariant(QStringLiteral("x")) << QStringLiteral("Client bad answered");
        QTest::newRow("exception") << QVariant(QStringLiteral("throw")) << QStringLiteral("Exception in ");
    }
    void hostileClientsSpoilNothing() {
        QFETCH(QVariant, answer);
        QFETCH(QString, logged);
        addClient(QStringLiteral("bad"), [answer](const QString&, const QVariantList&) -> QVariant {
            if (answer == QVariant(QStringLiteral("throw")))
                throw VLException(VLException::inaccessible, QStringLiteral("gone"));
            return answer;
        });
        addClient(QStringLiteral("good"), answering(QVariantList{plugin(QStringLiteral("Blur"))}));
        QVERIFY(refresh());
        QCOMPARE(m_controller->addonryArray().size(), 1);
        QCOMPARE(m_controller->addonryArray().first().state(), int(VLPluginItem::Missing));
        const QStringList lines = logLines().filter(logged);
        QVERIFY2(!lines.isEmpty() || logged.isEmpty(), qPrintable(logLines().join(QLatin1Char('\n'))));
    }

    void nobodySelectedIsAResultToo() {
        QVERIFY(refresh());
        QVERIFY(m_controller->hasResult() && m_controller->addonryArray().isEmpty());
    }

    void cancellingKeepsTheRows() {
        addClient(QStringLiteral("one"), answering(QVariantList{plugin(QStringLiteral("Blur"))}));
        QVERIFY(refresh());
        int asked = 0;
        const auto cancelling = [&](const QString&, const QVariantList&) -> QVariant {
            ++asked;
            onMainThreadAndWait([this] { m_progress->cancelStatusProgress(); });
            return QVariantList{plugin(QStringLiteral("Other"))};
        };
        m_services.clear();
        addClient(QStringLiteral("one"), cancelling);
        addClient(QStringLiteral("two"), cancelling);
        QVERIFY(refresh());
        QCOMPARE(asked, 1);
        QCOMPARE(m_controller->addonryArray().size(), 1);
        QVERIFY(row(QStringLiteral("Blur")));
        QVERIFY(!m_progress->isProcessing() && !m_controller->isBusy());
    }

    /// The older of two overlapping runs ends last; what it found is out of date.
    void laterRunWins() {
        std::atomic<bool> isAsked{false}, mayAnswer{false};
        addClient(QStringLiteral("slow"), [&](const QString&, const QVariantList&) -> QVariant {
            isAsked = true;
            MainThread::waitUntil([&] { return mayAnswer.load(); }, 10s);
            return QVariantList{plugin(QStringLiteral("Old"))};
        });
        VLThread::detach(QStringLiteral("first"), [this] { m_controller->refresh(); });
        QVERIFY(MainThread::waitUntil([&] { return isAsked.load(); }, 10s));
        m_services.clear();
        addClient(QStringLiteral("quick"), answering(QVariantList{plugin(QStringLiteral("New"))}));
        VLThread::detach(QStringLiteral("second"), [this] { m_controller->refresh(); });
        QVERIFY(MainThread::waitUntil([this] { return m_controller->hasResult(); }, 10s));
        mayAnswer = true;
        QVERIFY(VLThread::joinAll(10s));
        QVERIFY(row(QStringLiteral("New")) && !row(QStringLiteral("Old")));
    }

    void manyClientsMergeQuickly() {
        QVariantList plugins;
        for (int i = 0; i < 300; ++i)
            plugins.append(plugin(QStringLiteral("Plug-in %1").arg(i)));
        for (int i = 0; i < 200; ++i)
            addClient(QStringLiteral("client%1").arg(i), answering(plugins));
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
