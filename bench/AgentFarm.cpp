#include "AgentFarm.h"

#include "remote/VLServer.h"
#include "system/VLException.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QTextStream>

#include <unistd.h>

#include <memory>
#include <vector>

namespace {

constexpr char farmArgument[] = "--agents";

class BenchRoot final : public VLRootObject {
public:
    bool respondsToSelector(const QString& selector) const override {
        return selectors().contains(selector);
    }
    QStringList selectors() const override {
        return {QStringLiteral("addonryPluginList"), QStringLiteral("fetchInitialConfiguration:"),
                QStringLiteral("setErrorCallback:")};
    }
    QVariant perform(const QString& selector, const QVariantList&, quint64) override {
        if (selector == QLatin1String("addonryPluginList")) return AgentFarm::plugins();
        if (selector == QLatin1String("setErrorCallback:")) return {};
        if (selector == QLatin1String("fetchInitialConfiguration:"))
            return QVariantMap{{QStringLiteral("version"), 1'000'000LL},
                               {QStringLiteral("corvalinVersion"), 1'000'000LL}};
        throw VLException(VLException::invalidArgument, QStringLiteral("not part of the benchmark"));
    }
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

AgentFarm::AgentFarm(int count, const QByteArray& consoleCertificate, PingPongSizes floor) {
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QCoreApplication::applicationFilePath(),
                    {QLatin1String(farmArgument), QString::number(count),
                     QString::fromLatin1(consoleCertificate.toBase64()), QString::number(floor.request),
                     QString::number(floor.answer)});
    const auto nextPort = [this]() -> quint16 {
        while (!m_process.canReadLine())
            if (!m_process.waitForReadyRead(30'000)) return 0;
        return m_process.readLine().trimmed().toUShort();
    };
    for (int index = 0; index < count; ++index)
        m_ports.append(nextPort());
    m_pingPongPort = nextPort();
}

AgentFarm::~AgentFarm() {
    m_process.closeWriteChannel();  // on which it waits
    if (!m_process.waitForFinished(30'000)) m_process.kill();
}

bool AgentFarm::isFarm(const QStringList& arguments) {
    return arguments.size() == 6 && arguments[1] == QLatin1String(farmArgument);
}

int AgentFarm::run(const QStringList& arguments) {
    const QByteArray console = QByteArray::fromBase64(arguments[3].toLatin1());
    const PingPongServer pingPong({arguments[4].toULongLong(), arguments[5].toULongLong()});
    auto root = std::make_shared<BenchRoot>();
    VLServerOptions options;
    options.identity = TlsIdentity::create(QStringLiteral("bench"));
    options.authorizedCertificates = [console] { return QList{console}; };
    options.address = QStringLiteral("127.0.0.1");

    std::vector<std::unique_ptr<VLServer>> agents;
    QTextStream out(stdout);
    for (int index = 0; index < arguments[2].toInt(); ++index) {
        agents.push_back(std::make_unique<VLServer>(root, options));
        out << agents.back()->port() << Qt::endl;
    }
    out << pingPong.port() << Qt::endl;
    char end = 0;
    while (::read(STDIN_FILENO, &end, 1) > 0)
        continue;
    return 0;
}
