// One read on N clients at once: how long it takes per client, and what the connections cost the console.

#include "AgentFarm.h"
#include "PingPong.h"
#include "app/TaskThreads.h"
#include "base/VLLocalPaths.h"
#include "clients/VLService.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "foundation/VLUserDefaults.h"
#include "logs/VLLog.h"
#include "remote/WireValue.h"
#include "runs/RemoteRunner.h"
#include "tools/addonry/AddonryController.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>

#include <capnp/message.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <vector>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

const QString selector = QStringLiteral("addonryPluginList");

struct Options {
    int rounds = 15;
    bool usesTool = false;
    int mutePercent = 0;
};

/// What one read of all clients costs: the medians of all rounds.
struct Cost {
    qsizetype answers = 0;
    double wallMilliseconds = 0;
    double othersMilliseconds = 0;  ///< until all but the mute ones had answered; they are given up on then
    double processorMicroseconds = 0;  ///< of the console, on all its threads

    [[nodiscard]] double wallPerClient(int clients) const { return wallMilliseconds * 1'000 / clients; }
    [[nodiscard]] double processorPerClient(int clients) const { return processorMicroseconds / clients; }
};

struct Measurement {
    int clients = 0;
    double connectMilliseconds = 0;
    Cost fanOut;
    Cost tool;                     ///< the plug-in list through its controller's own loop, merged
    double floorMicroseconds = 0;  ///< per client, for a bare TCP ping-pong of the same bytes
    double callMicroseconds = 0;   ///< one call to one client, without the runner: the transport alone
    double memoryKilobytes = 0;    ///< per client
    double memoryMegabytes = 0;    ///< of the whole console
    int threads = 0;
};

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// A figure of this process as the system counts it ("VmRSS" in kilobytes, "Threads").
double processStatus(const QByteArray& key) {
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly)) return 0;
    for (const QByteArray& line : file.readAll().split('\n'))
        if (line.startsWith(key + ':'))
            return line.mid(key.size() + 1).trimmed().split(' ').value(0).toDouble();
    return 0;
}

/// That this process has used so far, on all its threads.
double processorMicroseconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto microseconds = [](const timeval& time) {
        return double(time.tv_sec) * 1e6 + double(time.tv_usec);
    };
    return microseconds(usage.ru_utime) + microseconds(usage.ru_stime);
}

double median(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Bytes of the request and of the answer as they are encoded; TLS adds some 30 to each.
PingPongSizes encodedSizes() {
    constexpr std::size_t envelope = 96;  // of Cap'n Proto's RPC around either
    capnp::MallocMessageBuilder message;
    WireWriter(RemoteLimits()).write(message.initRoot<wire::Outcome>().initValue(), AgentFarm::plugins());
    return {envelope + std::size_t(selector.size()), envelope + message.sizeInWords() * sizeof(capnp::word)};
}

/// The console as far as a fan-out needs it.
class Console {
public:
    Console(const TlsIdentity& identity, const QString& folder, const Options& options)
        : m_identity(identity), m_folder(folder), m_options(options) {}

    [[nodiscard]] Measurement measure(const AgentFarm& farm, PingPongSizes sizes) {
        setEnvironment();
        Measurement result;
        result.clients = int(farm.ports().size());
        const double memoryBefore = processStatus("VmRSS");
        const auto start = Clock::now();
        connect(farm);
        result.connectMilliseconds = millisecondsSince(start);

        result.fanOut = cost([this] { return m_runner.objectsFromRemoteMethod(selector).toMap().size(); });
        if (m_options.usesTool) result.tool = toolCost();
        result.callMicroseconds = calls(*clients().first());
        result.memoryMegabytes = processStatus("VmRSS") / 1'024;
        result.memoryKilobytes = (processStatus("VmRSS") - memoryBefore) / result.clients;
        result.threads = int(processStatus("Threads"));
        result.floorMicroseconds = floor(farm, m_options.rounds, sizes);
        for (const RemoteClientPtr& client : clients())
            std::static_pointer_cast<VLService>(client)->invalidate(false);
        setClients({});
        return result;
    }

private:
    void setEnvironment() {
        VLServiceEnvironment environment;
        environment.identity = m_identity;
        // Every farm has its own key, and may get ports that an earlier one had.
        environment.pins =
            std::make_shared<PinnedCertificates>(QStringLiteral("%1/pins%2").arg(m_folder).arg(++m_farms));
        environment.cacheDirectory = m_folder;
        environment.limits.connect = 60s;  // hundreds of handshakes share the processors
        // Looking for registered ports would measure the name service of the machine.
        environment.lookUpPort = [](const QString&, const QString&, std::chrono::milliseconds) {
            return std::optional<RegisteredPort>();
        };
        VLService::setEnvironment(std::move(environment));
    }
    void connect(const AgentFarm& farm) {
        QList<RemoteClientPtr> services;
        for (const quint16 port : farm.ports())
            services.append(VLService::serviceWithName(QStringLiteral("Bay %1").arg(port),
                                                       QStringLiteral("bay-%1.invalid").arg(port),
                                                       QStringLiteral("127.0.0.1"), port, nullptr));
        const auto allConnected = [&] {
            return std::all_of(services.cbegin(), services.cend(),
                               [](const RemoteClientPtr& client) { return client->isConnected(); });
        };
        for (const auto start = Clock::now(); !allConnected() && Clock::now() - start < 120s;)
            std::this_thread::sleep_for(500us);
        setClients(services);
    }
    /// Reads, once more than is measured, and counts the answers.
    [[nodiscard]] Cost cost(const std::function<qsizetype()>& read) {
        Cost result;
        std::vector<double> walls, others, processors;
        for (int round = 0; round < m_options.rounds + 1; ++round) {
            const double processorBefore = processorMicroseconds();
            const auto start = Clock::now();
            auto othersMilliseconds = std::async(std::launch::async, [&] { return awaitOthers(start); });
            result.answers = read();
            const double wall = millisecondsSince(start);
            othersMilliseconds.wait();
            if (round == 0) continue;
            walls.push_back(wall);
            others.push_back(othersMilliseconds.get());
            processors.push_back(processorMicroseconds() - processorBefore);
        }
        result.wallMilliseconds = median(walls);
        result.othersMilliseconds = median(others);
        result.processorMicroseconds = median(processors);
        return result;
    }
    /// As a user who stops waiting for the mute agents once all others have answered.
    double awaitOthers(Clock::time_point start) {
        const qsizetype mute = clients().size() * m_options.mutePercent / 100;
        if (mute == 0) return 0;
        for (;; std::this_thread::sleep_for(1ms)) {
            for (const RunPtr& run : m_progress.runs().active()) {
                const auto [ended, all] = run->progress();
                if (all == 0 || ended < all - mute) continue;
                const double milliseconds = millisecondsSince(start);
                run->stopWaiting();
                return milliseconds;
            }
        }
    }
    [[nodiscard]] Cost toolCost() {
        std::shared_ptr<AddonryController> tool;
        onMainThreadAndWait([&] { tool = std::make_shared<AddonryController>(toolContext()); });
        const Cost result = cost([&] {
            tool->refresh();
            qsizetype answers = 0;
            onMainThreadAndWait([&] {
                for (const VLPluginItem& row : tool->addonryArray())
                    answers = std::max(answers, row.copies().size());
            });
            return answers;
        });
        onMainThreadAndWait([&] { tool.reset(); });
        return result;
    }
    [[nodiscard]] ToolContext toolContext() {
        ToolContext context;
        context.runner = &m_runner;
        context.progress = &m_progress;
        context.selectedServices = [this] {
            QList<VLServicePtr> services;
            for (const RemoteClientPtr& client : clients())
                services.append(std::static_pointer_cast<VLService>(client));
            return services;
        };
        context.friendlyServiceName = [](const QString& hostName) { return hostName; };
        return context;
    }
    [[nodiscard]] RemoteRunner::Environment runnerEnvironment() {
        RemoteRunner::Environment environment;
        environment.progress = &m_progress;
        environment.selectedServices = [this] { return clients(); };
        return environment;
    }
    static double calls(const RemoteClient& client) {
        std::vector<double> times;
        const auto begin = Clock::now();
        for (int call = 0; call < 300 && Clock::now() - begin < 2s; ++call) {
            const auto start = Clock::now();
            (void)client.proxyObject()->perform(selector);
            times.push_back(millisecondsSince(start) * 1'000);
        }
        return median(times);
    }
    static double floor(const AgentFarm& farm, int rounds, PingPongSizes sizes) {
        const PingPongClients pingPong(farm.pingPongPort(), int(farm.ports().size()), sizes);
        std::vector<double> times;
        for (int round = 0; round < rounds + 1; ++round) {
            const double time = pingPong.round(QThread::idealThreadCount());
            if (round > 0) times.push_back(time / double(farm.ports().size()));
        }
        return median(times);
    }
    [[nodiscard]] QList<RemoteClientPtr> clients() const { return m_clients.get(); }
    void setClients(const QList<RemoteClientPtr>& clients) { m_clients.set(clients); }

    const TlsIdentity m_identity;
    const QString m_folder;
    const Options m_options;
    int m_farms = 0;
    Snapshot<QList<RemoteClientPtr>> m_clients;
    TaskThreads m_progress{{[this] { return int(clients().size()); }, [] {}, [] {}}};
    RemoteRunner m_runner{runnerEnvironment()};
};

struct Column {
    const char* title;
    int decimals;
    std::function<double(const Measurement&)> value;
};

QList<Column> columns(bool usesTool) {
    using M = Measurement;
    QList<Column> all{
        {"clients", 0, [](const M& m) { return double(m.clients); }},
        {"answers", 0, [](const M& m) { return double(m.fanOut.answers); }},
        {"connect ms", 1, [](const M& m) { return m.connectMilliseconds; }},
        {"read ms", 1, [](const M& m) { return m.fanOut.wallMilliseconds; }},
        {"others ms", 1, [](const M& m) { return m.fanOut.othersMilliseconds; }},
        {"read us/client", 1, [](const M& m) { return m.fanOut.wallPerClient(m.clients); }},
        {"CPU us/client", 1, [](const M& m) { return m.fanOut.processorPerClient(m.clients); }},
        {"floor us/client", 1, [](const M& m) { return m.floorMicroseconds; }},
        {"one call us", 1, [](const M& m) { return m.callMicroseconds; }},
        {"console MB", 1, [](const M& m) { return m.memoryMegabytes; }},
        {"KB/client", 1, [](const M& m) { return m.memoryKilobytes; }},
        {"threads", 0, [](const M& m) { return double(m.threads); }},
    };
    if (usesTool)
        all += {{"tool answers", 0, [](const M& m) { return double(m.tool.answers); }},
                {"tool ms", 1, [](const M& m) { return m.tool.wallMilliseconds; }},
                {"tool others ms", 1, [](const M& m) { return m.tool.othersMilliseconds; }},
                {"tool us/client", 1, [](const M& m) { return m.tool.wallPerClient(m.clients); }},
                {"tool CPU us/client", 1, [](const M& m) { return m.tool.processorPerClient(m.clients); }}};
    return all;
}

void printTable(const QList<Measurement>& measurements, bool usesTool) {
    QTextStream out(stdout);
    const QList<Column> all = columns(usesTool);
    for (const Column& column : all)
        out << column.title << "  ";
    out << '\n';
    for (const Measurement& measurement : measurements) {
        for (const Column& column : all)
            out << QString::asprintf("%*.*f  ", int(qstrlen(column.title)), column.decimals,
                                     column.value(measurement));
        out << '\n';
    }
}

/// The columns by their titles.
void printJson(const QList<Measurement>& measurements, bool usesTool) {
    QJsonArray array;
    for (const Measurement& measurement : measurements) {
        QJsonObject object;
        for (const Column& column : columns(usesTool))
            object.insert(QLatin1String(column.title), column.value(measurement));
        array.append(object);
    }
    QTextStream(stdout) << QJsonDocument(array).toJson();
}

/// A connection takes five descriptors on either side.
void raiseDescriptorLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

QList<int> numbers(const QString& text) {
    QList<int> result;
    for (const QString& part : text.split(u',', Qt::SkipEmptyParts))
        if (const int number = part.toInt(); number > 0) result.append(number);
    return result;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    raiseDescriptorLimit();
    if (AgentFarm::isFarm(QCoreApplication::arguments()))
        return AgentFarm::run(QCoreApplication::arguments());

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Measures one read on many clients at once."));
    parser.addHelpOption();
    const QCommandLineOption clientsOption(QStringLiteral("clients"), QStringLiteral("Numbers of clients."),
                                           QStringLiteral("list"), QStringLiteral("1,10,100,500"));
    const QCommandLineOption roundsOption(QStringLiteral("rounds"),
                                          QStringLiteral("Reads per number of clients."),
                                          QStringLiteral("number"), QStringLiteral("15"));
    const QCommandLineOption delayOption(QStringLiteral("delay"),
                                         QStringLiteral("What each agent needs for its answer."),
                                         QStringLiteral("ms"), QStringLiteral("0"));
    const QCommandLineOption muteOption(QStringLiteral("mute"),
                                        QStringLiteral("Agents that live but never answer, of a hundred."),
                                        QStringLiteral("percent"), QStringLiteral("0"));
    const QCommandLineOption inFlightOption(QStringLiteral("in-flight"),
                                            QStringLiteral("Operations under way at once, of a read."),
                                            QStringLiteral("number"), QStringLiteral("64"));
    const QCommandLineOption toolOption(QStringLiteral("tool"),
                                        QStringLiteral("Reads the plug-in list through its tool too."));
    const QCommandLineOption jsonOption(QStringLiteral("json"),
                                        QStringLiteral("Prints JSON in place of a table."));
    parser.addOptions(
        {clientsOption, roundsOption, delayOption, muteOption, inFlightOption, toolOption, jsonOption});
    parser.process(application);

    const QTemporaryDir folder;
    VLLocalPaths::setTestRoot(folder.path());
    VLUserDefaults::setStandardPath(folder.filePath(QStringLiteral("defaults.plist")));
    MainThread::adopt();
    VLLog::createNewLog(QStringLiteral("fanout"));

    const TlsIdentity identity = TlsIdentity::create(QStringLiteral("bench"));
    const PingPongSizes sizes = encodedSizes();
    VLUserDefaults::standardUserDefaults().setObject(std::max(1, parser.value(inFlightOption).toInt()),
                                                     QLatin1String(RunList::inFlightKey));
    const Options options{std::max(1, parser.value(roundsOption).toInt()), parser.isSet(toolOption),
                          std::clamp(parser.value(muteOption).toInt(), 0, 99)};
    AgentFarm::Options agents;
    agents.delay = std::chrono::milliseconds(parser.value(delayOption).toInt());
    agents.floor = sizes;
    Console console(identity, folder.path(), options);
    QList<Measurement> measurements;
    // The runner blocks, so it runs on a worker; the main thread serves what the worker hands over.
    for (const int count : numbers(parser.value(clientsOption))) {
        agents.count = count;
        agents.mute = count * options.mutePercent / 100;
        const AgentFarm farm(agents, identity.certificate);
        VLThread::detach(QStringLiteral("fanout"), [&] {
            const Measurement measurement = console.measure(farm, sizes);
            onMainThread([&measurements, measurement] {
                measurements.append(measurement);
                QCoreApplication::quit();
            });
        });
        QCoreApplication::exec();
        VLThread::joinAll(30s);
    }
    if (parser.isSet(jsonOption))
        printJson(measurements, options.usesTool);
    else
        printTable(measurements, options.usesTool);
    VLLog::finishWriting();
    VLService::setEnvironment({});
    return std::all_of(measurements.cbegin(), measurements.cend(),
                       [](const Measurement& m) { return m.fanOut.answers > 0; })
               ? 0
               : 1;
}
