#include "AgentFarm.h"

#include "remote/VLServer.h"
#include "system/VLException.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QTextStream>

#include <unistd.h>

#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr char farmArgument[] = "--agents";

/// One agent. A connection has a thread for its operations anyway, which sleeps while an answer is due.
class BenchRoot final : public VLRootObject {
public:
    BenchRoot(std::chrono::milliseconds delay, std::shared_future<void> silence)
        : m_delay(delay), m_silence(std::move(silence)) {}

    bool respondsToSelector(const QString& selector) const override { return selectors().contains(selector); }
    QStringList selectors() const override {
        return {QStringLiteral("addonryPluginList"), QStringLiteral("fetchInitialConfiguration:"),
                QStringLiteral("setErrorCallback:")};
    }
    QVariant perform(const QString& selector, const QVariantList&, quint64) override {
        if (selector == QLatin1String("addonryPluginList")) {
            if (m_silence.valid()) m_silence.wait();
            if (m_delay.count() > 0) std::this_thread::sleep_for(m_delay);
            return AgentFarm::plugins();
        }
        if (selector == QLatin1String("setErrorCallback:")) return {};
        if (selector == QLatin1String("fetchInitialConfiguration:"))
            return QVariantMap{{QStringLiteral("version"), 1'000'000LL},
                               {QStringLiteral("corvalinVersion"), 1'000'000LL}};
        throw VLException(VLException::invalidArgument, QStringLiteral("not part of the benchmark"));
    }

private:
    const std::chrono::milliseconds m_delay;
    const std::shared_future<void> m_silence;  ///< of a mute agent: ends with the farm
};

}  // namespace

QVariantList AgentFarm::plugins() {
    static const QStringList types{QStringLiteral("FxPlug"), QStringLiteral("FxScript"),
                                   QStringLiteral("Audio Unit")};
    QVariantList list;
    for (int index = 0; index < 20; ++index)
        list.append(QVariantMap{
            {QStringLiteral("name"), QStringLiteral("Film Grain and Leader %1").arg(index)},
            {QStringLiteral("type"), types[index % types.size()]},
            {QStringLiteral("version"), QStringLiteral("2.%1.1").arg(index % 7)},
            {QStringLiteral("fullPath"),
             QStringLiteral("/Library/Plug-Ins/FxPlug/Film Grain and Leader %1.fxplug").arg(index)},
            {QStringLiteral("disabled"), index % 5 == 0},
            {QStringLiteral("accessType"), qlonglong(index % 2)},
            {QStringLiteral("moddate"),
             QDateTime::fromSecsSinceEpoch(1'300'000'000 + index * 86'400, Qt::UTC)}});
    return list;
}

AgentFarm::AgentFarm(const Options& options, const QByteArray& consoleCertificate) {
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QCoreApplication::applicationFilePath(),
                    {QLatin1String(farmArgument), QString::number(options.count),
                     QString::fromLatin1(consoleCertificate.toBase64()),
                     QString::number(options.floor.request), QString::number(options.floor.answer),
                     QString::number(options.delay.count()), QString::number(options.mute)});
    const auto nextPort = [this]() -> quint16 {
        while (!m_process.canReadLine())
            if (!m_process.waitForReadyRead(30'000)) return 0;
        return m_process.readLine().trimmed().toUShort();
    };
    for (int index = 0; index < options.count; ++index)
        m_ports.append(nextPort());
    m_pingPongPort = nextPort();
}

AgentFarm::~AgentFarm() {
    m_process.closeWriteChannel();  // on which it waits
    if (!m_process.waitForFinished(30'000)) m_process.kill();
}

bool AgentFarm::isFarm(const QStringList& arguments) {
    return arguments.size() == 8 && arguments[1] == QLatin1String(farmArgument);
}

int AgentFarm::run(const QStringList& arguments) {
    const QByteArray console = QByteArray::fromBase64(arguments[3].toLatin1());
    const PingPongServer pingPong({arguments[4].toULongLong(), arguments[5].toULongLong()});
    const std::chrono::milliseconds delay(arguments[6].toInt());
    const int count = arguments[2].toInt(), mute = arguments[7].toInt();
    std::promise<void> farmEnds;
    const auto answering = std::make_shared<BenchRoot>(delay, std::shared_future<void>());
    const auto silent = std::make_shared<BenchRoot>(delay, farmEnds.get_future().share());
    VLServerOptions options;
    options.identity = TlsIdentity::create(QStringLiteral("bench"));
    options.authorizedCertificates = [console] { return QList{console}; };
    options.address = QStringLiteral("127.0.0.1");

    std::vector<std::unique_ptr<VLServer>> agents;
    QTextStream out(stdout);
    for (int index = 0; index < count; ++index) {
        const bool isMute = (index + 1) * mute / count > index * mute / count;
        agents.push_back(std::make_unique<VLServer>(isMute ? silent : answering, options));
        out << agents.back()->port() << Qt::endl;
    }
    out << pingPong.port() << Qt::endl;
    char end = 0;
    while (::read(STDIN_FILENO, &end, 1) > 0)
        continue;
    farmEnds.set_value();
    return 0;
}
