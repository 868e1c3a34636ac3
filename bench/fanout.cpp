// One read on N clients at once: how long it takes per client, and what the connections cost the console.

#include "AgentFarm.h"
#include "PingPong.h"
#include "app/TaskThreads.h"
#include "clients/VLService.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "foundation/VLUserDefaults.h"
#include "logs/VLLog.h"
#include "remote/RemoteRunner.h"
#include "remote/WireValue.h"
#include "system/VLLocalPaths.h"

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
#include <vector>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

const QString selector = QStringLiteral("addonryPluginList");

struct Measurement {
    int clients = 0;
    int answers = 0;
    double connectMilliseconds = 0;
    double readMicroseconds = 0;   ///< per client, the median of all rounds
    double floorMicroseconds = 0;  ///< the same for a bare TCP ping-pong of the same bytes
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
    Console(const TlsIdentity& identity, const QString& folder) : m_identity(identity), m_folder(folder) {}

    [[nodiscard]] Measurement measure(const AgentFarm& farm, int rounds, PingPongSizes sizes) {
        setEnvironment();
        Measurement result;
        result.clients = int(farm.ports().size());
        const double memoryBefore = processStatus("VmRSS");
        const auto start = Clock::now();
        connect(farm);
        result.connectMilliseconds = millisecondsSince(start);

        std::vector<double> reads;
        for (int round = 0; round < rounds + 1; ++round) {
            const auto readStart = Clock::now();
            const qsizetype answers = m_runner.objectsFromRemoteMethod(selector).toMap().size();
            if (round > 0)
                reads.push_back(millisecondsSince(readStart) * 1'000 /
                                double(std::max<qsizetype>(1, answers)));
            result.answers = int(answers);
        }
        result.readMicroseconds = median(reads);
        result.callMicroseconds = calls(*clients().first());
        result.memoryMegabytes = processStatus("VmRSS") / 1'024;
        result.memoryKilobytes = (processStatus("VmRSS") - memoryBefore) / result.clients;
        result.threads = int(processStatus("Threads"));
        result.floorMicroseconds = floor(farm, rounds, sizes);
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
    static double calls(const RemoteClient& client) {
        std::vector<double> times;
        for (int call = 0; call < 300; ++call) {
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
    int m_farms = 0;
    Snapshot<QList<RemoteClientPtr>> m_clients;
    TaskThreads m_progress{{[this] { return int(clients().size()); }, [] {}, [] {}}};
    RemoteRunner m_runner{{&m_progress, [this] { return clients(); }, nullptr, {}, {}, {}, {}}};
};

void printTable(const QList<Measurement>& measurements) {
    QTextStream out(stdout);
    out << "clients  answers  connect ms  read us/client  floor us/client  ratio  one call us  console MB  "
           "KB/client  "
           "threads\n";
    for (const Measurement& m : measurements)
        out << QString::asprintf("%7d  %7d  %10.1f  %14.1f  %15.1f  %5.1f  %11.1f  %10.1f  %9.1f  %7d\n",
                                 m.clients, m.answers, m.connectMilliseconds, m.readMicroseconds,
                                 m.floorMicroseconds, m.readMicroseconds / m.floorMicroseconds,
                                 m.callMicroseconds, m.memoryMegabytes, m.memoryKilobytes, m.threads);
}

void printJson(const QList<Measurement>& measurements) {
    QJsonArray array;
    for (const Measurement& m : measurements)
        array.append(QJsonObject{{QStringLiteral("clients"), m.clients},
                                 {QStringLiteral("answers"), m.answers},
                                 {QStringLiteral("connectMilliseconds"), m.connectMilliseconds},
                                 {QStringLiteral("readMicrosecondsPerClient"), m.readMicroseconds},
                                 {QStringLiteral("floorMicrosecondsPerClient"), m.floorMicroseconds},
                                 {QStringLiteral("oneCallMicroseconds"), m.callMicroseconds},
                                 {QStringLiteral("consoleMegabytes"), m.memoryMegabytes},
                                 {QStringLiteral("kilobytesPerClient"), m.memoryKilobytes},
                                 {QStringLiteral("consoleThreads"), m.threads}});
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
    const QCommandLineOption jsonOption(QStringLiteral("json"),
                                        QStringLiteral("Prints JSON in place of a table."));
    parser.addOptions({clientsOption, roundsOption, jsonOption});
    parser.process(application);

    const QTemporaryDir folder;
    VLLocalPaths::setTestRoot(folder.path());
    VLUserDefaults::setStandardPath(folder.filePath(QStringLiteral("defaults.plist")));
    MainThread::adopt();
    VLLog::createNewLog(QStringLiteral("fanout"));

    const TlsIdentity identity = TlsIdentity::create(QStringLiteral("bench"));
    const PingPongSizes sizes = encodedSizes();
    const int rounds = std::max(1, parser.value(roundsOption).toInt());
    Console console(identity, folder.path());
    QList<Measurement> measurements;
    // The runner blocks, so it runs on a worker; the main thread serves what the worker hands over.
    for (const int count : numbers(parser.value(clientsOption))) {
        const AgentFarm farm(count, identity.certificate, sizes);
        VLThread::detach(QStringLiteral("fanout"), [&] {
            const Measurement measurement = console.measure(farm, rounds, sizes);
            onMainThread([&measurements, measurement] {
                measurements.append(measurement);
                QCoreApplication::quit();
            });
        });
        QCoreApplication::exec();
        VLThread::joinAll(30s);
    }
    if (parser.isSet(jsonOption))
        printJson(measurements);
    else
        printTable(measurements);
    VLLog::finishWriting();
    VLService::setEnvironment({});
    return std::all_of(measurements.cbegin(), measurements.cend(),
                       [](const Measurement& m) { return m.answers > 0; })
               ? 0
               : 1;
}
