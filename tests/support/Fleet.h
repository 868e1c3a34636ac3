#pragma once

#include "app/AppController.h"
#include "app/ConsoleIdentity.h"
#include "clients/Discovery.h"
#include "remote/authorization/AuthorizationController.h"
#include "support/Programs.h"
#include "support/TestEnvironment.h"
#include "support/Workers.h"

#include <csignal>
#include <memory>
#include <vector>

/// Sample workstations, each with an agent process of its own, and a console that is connected to all of
/// them. Made after the TestEnvironment. Machines are numbered from 0; machine n is the sample of profile n
/// + 1.
class Fleet : private AuthorizationView {
public:
    /// What the administrator answers when asked for a name and a password.
    struct Answer {
        QString user = QStringLiteral("admin"), password = QStringLiteral("corvalin-sample");
        bool skips = false;
        bool isForAll = false;  ///< for all selected clients
    };
    Answer answer;
    int timesAsked = 0, refusals = 0;
    RunRecord lastRun;  ///< of those that change something

    explicit Fleet(const QString& agentProgram) : m_program(agentProgram) {}
    ~Fleet() override {
        if (m_console) {
            m_console->authorization().setView(nullptr);
            m_console->shutDown();
        }
        m_console.reset();
        for (Machine& machine : m_machines)
            machine.client.reset();
        for (Machine& machine : m_machines)
            machine.agent->terminate();
        for (Machine& machine : m_machines)
            machine.agent->waitForFinished(patience);
        VLThread::reset();
        MainThread::resume();
    }

    /// True when `count` agents run and the console knows all of them.
    [[nodiscard]] bool start(int count) {
        // A fleet before this one may have had an agent with another key on a port that comes up again.
        QDir(VLLocalPaths::configDirectory() + QStringLiteral("/agents")).removeRecursively();
        ConsoleIdentity::exportCertificate(m_folder.filePath(QStringLiteral("console.crt")));
        for (int machine = 0; machine < count; ++machine) {
            const QStringList make{QStringLiteral("--make-sample"), folder(machine),
                                   QStringLiteral("--profile"), QString::number(machine + 1)};
            if (runProgram(m_program, make).exitCode != 0) return false;
            m_machines.emplace_back();
            if (!startAgent(machine)) return false;
        }
        AppServices services = AppServices::standard();
        services.authLookInterval = std::chrono::milliseconds(20);
        m_console = std::make_unique<AppController>(toolRegistry(), services);
        m_console->setBrowses(false);
        m_console->setUnattended(true);
        if (!m_console->init()) return false;
        VLServiceEnvironment environment = *VLService::environment();
        environment.timing.reconnect = std::chrono::milliseconds(200);
        VLService::setEnvironment(std::move(environment));
        m_console->authorization().setView(this);
        QObject::connect(&m_console->taskThreads().runs(), &RunList::ended, [this](const RunRecord& record) {
            if (record.isChange) lastRun = record;
        });
        m_console->awakeFromNib();
        for (int machine = 0; machine < count; ++machine)
            m_machines[size_t(machine)].client = m_console->discovery().addManualConnection(
                QStringLiteral("Bay %1").arg(machine + 1), QStringLiteral("127.0.0.1"),
                m_machines[size_t(machine)].port);
        m_console->services().selectAll();
        return QTest::qWaitFor([&] { return connectedCount() == count; }, patience) && waitForWorkers();
    }

    /// The agent of a machine ends as if the power had gone.
    void kill(int machine) {
        ::kill(pid_t(m_machines[size_t(machine)].agent->processId()), SIGKILL);
        m_machines[size_t(machine)].agent->waitForFinished(patience);
    }
    /// The agent comes back, on the same port.
    [[nodiscard]] bool startAgent(int machine) {
        Machine& started = m_machines[size_t(machine)];
        started.agent = std::make_unique<QProcess>();
        QStringList arguments{
            QStringLiteral("--config"),       folder(machine) + QStringLiteral("/agent.conf"),
            QStringLiteral("--authorize"),    m_folder.filePath(QStringLiteral("console.crt")),
            QStringLiteral("--no-advertise"), QStringLiteral("--port"),
            QString::number(started.port)};
        started.agent->start(m_program, arguments);
        started.port = readAgentPort(*started.agent);
        return started.port != 0;
    }

    [[nodiscard]] AppController& console() { return *m_console; }
    /// The controller of a tool, as the window would have it.
    template <typename Controller>
    [[nodiscard]] Controller& tool(const QString& identifier) {
        return *static_cast<Controller*>(m_console->toolSet().toolController(identifier));
    }
    /// Runs what blocks on a worker and waits for it, and for every worker that it started.
    [[nodiscard]] bool onWorker(std::function<void()> work) {
        return VLThread::detach(QStringLiteral("test"), std::move(work)) && waitForWorkers();
    }
    /// Starts an action that is a run, and waits for its end.
    [[nodiscard]] bool run(const std::function<void()>& action) {
        lastRun = {};
        action();
        return waitForWorkers() && QTest::qWaitFor([this] { return !lastRun.id.isEmpty(); }, patience);
    }
    /// Takes back the last run. That is one in its turn.
    [[nodiscard]] bool undo() {
        return run([this, record = lastRun] { m_console->runActions().undoRun(record); });
    }
    /// Why the last run did not succeed everywhere; empty when it did.
    [[nodiscard]] QString complaint() const {
        QStringList lines;
        for (const HostOutcome& host : lastRun.outcomes)
            if (!host.outcome.isSuccess()) lines.append(host.name + u' ' + host.outcome.text());
        return lines.join(u'\n');
    }
    [[nodiscard]] bool waitForWorkers() { return ::waitForWorkers(std::chrono::milliseconds(patience)); }
    [[nodiscard]] VLServicePtr client(int machine) const { return m_machines[size_t(machine)].client; }
    void select(const QList<int>& machines) {
        QList<VLServicePtr> selected;
        for (const int machine : machines)
            selected.append(client(machine));
        m_console->services().setSelectedServices(selected);
    }
    [[nodiscard]] QString hostName(int machine) const { return client(machine)->hostName(); }

    /// A file of that machine, by its path on the workstation ("/Library/…").
    [[nodiscard]] QString path(int machine, const QString& onWorkstation) const {
        return diskFolder(machine) + onWorkstation;
    }
    [[nodiscard]] QString diskFolder(int machine) const { return folder(machine) + QStringLiteral("/disk"); }

private:
    struct Machine {
        std::unique_ptr<QProcess> agent;
        quint16 port = 0;
        VLServicePtr client;
    };

    [[nodiscard]] QString folder(int machine) const {
        return m_folder.filePath(QStringLiteral("machine-%1").arg(machine + 1));
    }
    [[nodiscard]] int connectedCount() {
        int count = 0;
        for (const VLServicePtr& service : m_console->services().serviceArray())
            count += service->isConnected() && !service->configDict().isEmpty() ? 1 : 0;
        return count;
    }

    void showSheet(const Prompt&) override {
        ++timesAsked;
        answerLater();
    }
    void setPasswordsKept(bool) override {}
    void setChecking(bool) override {}
    void showAlert(const QString&, const QString&) override {
        ++refusals;
        answer.skips = true;  // once is enough
        answerLater();
    }
    void orderOut() override {}
    void answerLater() {
        onMainThread([this] {
            AuthorizationController& authorization = m_console->authorization();
            if (answer.skips) return authorization.skipAuth();
            authorization.authorize(answer.user, Secret::fromText(answer.password), answer.isForAll, false);
        });
    }

    QTemporaryDir m_folder;
    const QString m_program;
    std::vector<Machine> m_machines;
    std::unique_ptr<AppController> m_console;
};
