#include "agent/AgentCommandLine.h"

#include "agent/identity/ClientConfiguration.h"
#include "agent/sample/SampleTree.h"
#include "base/PropertyList.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace {

constexpr char systemConfiguration[] = "/etc/corvalin-agent.conf";

const QList<QCommandLineOption>& options() {
    static const QList<QCommandLineOption> all{
        {QStringLiteral("config"),
         QStringLiteral("Read settings from <file>, a property list (default: %1).")
             .arg(QLatin1String(systemConfiguration)),
         QStringLiteral("file")},
        {QStringLiteral("root"),
         QStringLiteral(
             "Work on the workstation's disk in <folder> (default: /). May be a sample workstation."),
         QStringLiteral("folder")},
        {QStringLiteral("state"), QStringLiteral("Keep the key pair and the agent's state in <folder>."),
         QStringLiteral("folder")},
        {QStringLiteral("listen"), QStringLiteral("Listen on <address> (default: all interfaces)."),
         QStringLiteral("address")},
        {QStringLiteral("port"),
         QStringLiteral("Listen on port <number> (default: %1; 0: any).").arg(AgentSettings::standardPort),
         QStringLiteral("number")},
        {QStringLiteral("name"), QStringLiteral("Advertise this machine as <name>."), QStringLiteral("name")},
        {QStringLiteral("host-name"), QStringLiteral("Host name by which consoles know this machine."),
         QStringLiteral("name")},
        {QStringLiteral("model"), QStringLiteral("Model of the machine, for example MacPro4,1."),
         QStringLiteral("model")},
        {QStringLiteral("authorize"),
         QStringLiteral(
             "Serve consoles whose certificate is <path>, or in the folder <path>. May be given more "
             "than once (default: the folder \"authorized\" in the state folder)."),
         QStringLiteral("path")},
        {QStringLiteral("admin-file"), QStringLiteral("Take the administrators of this machine from <file>."),
         QStringLiteral("file")},
        {QStringLiteral("no-advertise"), QStringLiteral("Do not advertise this machine on the network.")},
        {QStringLiteral("print-fingerprint"),
         QStringLiteral("Print the fingerprint of this agent's certificate and end.")},
        {QStringLiteral("request-maintenance"),
         QStringLiteral("Ask the administrator for maintenance of this machine and end.")},
        {QStringLiteral("cancel-maintenance"),
         QStringLiteral("Withdraw the request for maintenance and end.")},
        {QStringLiteral("make-sample"),
         QStringLiteral("Make a sample workstation in <folder> and end (needs --profile)."),
         QStringLiteral("folder")},
        {QStringLiteral("profile"),
         QStringLiteral("Which sample workstation: 1 to %1.").arg(SampleTree::profileCount),
         QStringLiteral("number")},
    };
    return all;
}

AgentCommand fail(const QString& text) {
    AgentCommand command;
    command.action = AgentCommand::Action::Fail;
    command.text = QStringLiteral("corvalin-agent: ") + text;
    return command;
}

AgentCommand print(const QString& text) {
    AgentCommand command;
    command.action = AgentCommand::Action::Print;
    command.text = text;
    return command;
}

/// The configuration file that counts; empty when there is none.
QString configurationPath(const QCommandLineParser& parser) {
    if (parser.isSet(QStringLiteral("config"))) return parser.value(QStringLiteral("config"));
    if (parser.isSet(QStringLiteral("root"))) {
        const QString root = parser.value(QStringLiteral("root"));
        return SampleTree::isSample(root) ? SampleTree::configurationPath(root) : QString();
    }
    // The system-wide file is meant for the agent of the machine itself, not for one on another disk.
    return QFileInfo::exists(QLatin1String(systemConfiguration)) ? QLatin1String(systemConfiguration)
                                                                 : QString();
}

bool readConfiguration(const QString& path, AgentSettings& settings, QString* error) {
    if (path.isEmpty()) return true;
    const QVariant content = PropertyList::readFile(path, error);
    if (content.typeId() == QMetaType::QVariantMap &&
        settings.apply(content.toMap(), QFileInfo(path).absolutePath(), error)) {
        settings.settingsFile = QFileInfo(path).absoluteFilePath();
        return true;
    }
    *error = QStringLiteral("%1: %2").arg(path, error->isEmpty() ? QStringLiteral("no dictionary") : *error);
    return false;
}

bool readPort(const QCommandLineParser& parser, AgentSettings& settings) {
    if (!parser.isSet(QStringLiteral("port"))) return true;
    bool isNumber = false;
    settings.port = parser.value(QStringLiteral("port")).toUShort(&isNumber);
    return isNumber;
}

void readOptions(const QCommandLineParser& parser, AgentSettings& settings) {
    const auto take = [&parser](const char* option, QString& target, bool isPath = false) {
        if (!parser.isSet(QLatin1String(option))) return;
        const QString value = parser.value(QLatin1String(option));
        target = isPath ? QDir::cleanPath(QDir::current().absoluteFilePath(value)) : value;
    };
    if (!SampleTree::isSample(parser.value(QStringLiteral("root")))) take("root", settings.root, true);
    take("state", settings.stateDirectory, true);
    take("listen", settings.listenAddress);
    take("name", settings.name);
    take("host-name", settings.hostName);
    take("model", settings.model);
    take("admin-file", settings.adminFile, true);
    const auto authorized = parser.values(QStringLiteral("authorize"));
    if (!authorized.isEmpty()) settings.authorized.clear();
    for (const QString& path : authorized)
        settings.authorized.append(QDir::current().absoluteFilePath(path));
    if (parser.isSet(QStringLiteral("no-advertise"))) settings.advertise = false;
}

AgentCommand::Action requestedAction(const QCommandLineParser& parser) {
    using Action = AgentCommand::Action;
    if (parser.isSet(QStringLiteral("make-sample"))) return Action::MakeSample;
    if (parser.isSet(QStringLiteral("print-fingerprint"))) return Action::PrintFingerprint;
    if (parser.isSet(QStringLiteral("request-maintenance"))) return Action::RequestMaintenance;
    if (parser.isSet(QStringLiteral("cancel-maintenance"))) return Action::CancelMaintenance;
    return Action::Serve;
}

}  // namespace

AgentCommand AgentCommand::parse(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Client agent of the Corvalin suite: carries out what the console Orlendo asks for."));
    // Not addHelpOption(): it would also offer help on options of Qt that this program doesn't have.
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Show this help and end."));
    parser.addOption(help);
    const QCommandLineOption version = parser.addVersionOption();
    parser.addOptions(options());
    if (!parser.parse(arguments)) return fail(parser.errorText());
    if (parser.isSet(help)) return print(parser.helpText());
    if (parser.isSet(version)) {
        return print(QStringLiteral("corvalin-agent %1 (%2)\n")
                         .arg(QCoreApplication::applicationVersion())
                         .arg(ClientConfiguration::agentVersion));
    }
    if (!parser.positionalArguments().isEmpty())
        return fail(QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().first()));

    AgentCommand command;
    command.action = requestedAction(parser);
    if (command.action == Action::MakeSample) {
        command.sampleDirectory = parser.value(QStringLiteral("make-sample"));
        command.sampleProfile = parser.value(QStringLiteral("profile")).toInt();
        if (command.sampleProfile < 1 || command.sampleProfile > SampleTree::profileCount)
            return fail(
                QStringLiteral("--profile must be a number from 1 to %1").arg(SampleTree::profileCount));
        return command;
    }
    QString error;
    if (!readConfiguration(configurationPath(parser), command.settings, &error)) return fail(error);
    if (!readPort(parser, command.settings))
        return fail(QStringLiteral("--port must be a number from 0 to 65535"));
    readOptions(parser, command.settings);
    command.settings.complete();
    return command;
}
