#include "app/CommandLine.h"

#include <QCommandLineParser>
#include <QHostAddress>

namespace {

constexpr int longestWait = 24 * 60 * 60;
constexpr int mostClients = 100'000;

QCommandLineOption option(const char* name, const QString& description, const char* valueName = "") {
    return QCommandLineOption(QLatin1String(name), description, QLatin1String(valueName));
}

void addOptions(QCommandLineParser& parser) {
    parser.setApplicationDescription(
        QStringLiteral("Finds the workstations that run corvalin-agent and runs the suite's tools on them."));
    parser.addOptions({
        {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")},
        {{QStringLiteral("v"), QStringLiteral("version")}, QStringLiteral("Show the version.")},
        option("report", QStringLiteral("Print what <tool> finds on all clients, and exit."), "tool"),
        option("screenshot", QStringLiteral("Save a picture of the window, and exit."), "file"),
        option("expect-clients", QStringLiteral("Wait until so many clients are connected first."), "number"),
        option("wait", QStringLiteral("How long to wait for them (default 15)."), "seconds"),
        option("tool", QStringLiteral("The tool that is shown first."), "tool"),
        option("add-client",
               QStringLiteral("Connect to this client too, in this run only: NAME=ADDRESS:PORT."), "client"),
        option("no-discovery", QStringLiteral("Do not look for clients on the network.")),
        option("print-discovery",
               QStringLiteral("Print by which means clients can be looked for on the network "
                              "(daemon, embedded or none), and exit.")),
        option("light", QStringLiteral("Use the light appearance.")),
        option("dark", QStringLiteral("Use the dark appearance.")),
        option("print-certificate", QStringLiteral("Print the certificate of this console, and exit.")),
        option("export-certificate", QStringLiteral("Write that certificate to <file>, and exit."), "file"),
    });
}

CommandLine failure(const QString& text) {
    CommandLine line;
    line.action = CommandLine::Action::Fail;
    line.text = text;
    return line;
}

/// Nothing for a text that is no number between 0 and `highest`.
std::optional<int> numberFrom(const QString& text, int highest) {
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    if (!isNumber || number < 0 || number > highest) return std::nullopt;
    return number;
}

/// Fills in the options that carry a value; the text says what is wrong with one.
QString takeValues(const QCommandLineParser& parser, CommandLine& line) {
    if (const QString name = QStringLiteral("expect-clients"); parser.isSet(name)) {
        const auto number = numberFrom(parser.value(name), mostClients);
        if (!number)
            return QStringLiteral("--expect-clients wants a number, not \"%1\".").arg(parser.value(name));
        line.expectedClients = *number;
    }
    if (const QString name = QStringLiteral("wait"); parser.isSet(name)) {
        const auto number = numberFrom(parser.value(name), longestWait);
        if (!number) return QStringLiteral("--wait wants seconds, not \"%1\".").arg(parser.value(name));
        line.wait = std::chrono::seconds(*number);
    }
    for (const QString& text : parser.values(QStringLiteral("add-client"))) {
        const auto client = clientFromText(text);
        if (!client) return QStringLiteral("--add-client wants NAME=ADDRESS:PORT, not \"%1\".").arg(text);
        line.addedClients.append(*client);
    }
    return {};
}

QString checkTools(const CommandLine& line, const QStringList& tools, const QStringList& reportingTools) {
    for (const QString& tool : {line.visibleTool, line.reportTool})
        if (!tool.isEmpty() && !tools.contains(tool))
            return QStringLiteral("Unknown tool \"%1\". The tools are: %2.")
                .arg(tool, tools.join(QStringLiteral(", ")));
    if (!line.reportTool.isEmpty() && !reportingTools.contains(line.reportTool))
        return QStringLiteral("The tool \"%1\" makes no report in this version. These do: %2.")
            .arg(line.reportTool, reportingTools.join(QStringLiteral(", ")));
    return {};
}

}  // namespace

std::optional<ManualConnections::Entry> clientFromText(const QString& text) {
    const qsizetype equals = text.lastIndexOf(QLatin1Char('='));
    const qsizetype colon = text.lastIndexOf(QLatin1Char(':'));
    if (equals < 1 || colon < equals) return std::nullopt;
    const QString address = text.mid(equals + 1, colon - equals - 1);
    const auto port = numberFrom(text.mid(colon + 1), 65'535);
    const bool isAddress = address == QLatin1String("localhost") ||
                           QHostAddress(address).protocol() == QAbstractSocket::IPv4Protocol;
    if (!isAddress || port.value_or(0) < 1) return std::nullopt;
    return ManualConnections::Entry{text.left(equals), address, *port};
}

CommandLine CommandLine::parse(const QStringList& arguments, const QStringList& tools,
                               const QStringList& reportingTools) {
    QCommandLineParser parser;
    addOptions(parser);
    if (!parser.parse(arguments)) return failure(parser.errorText());
    if (!parser.positionalArguments().isEmpty())
        return failure(
            QStringLiteral("Unexpected argument \"%1\".").arg(parser.positionalArguments().first()));

    CommandLine line;
    if (parser.isSet(QStringLiteral("help"))) {
        line.action = Action::ShowHelp;
        line.text = parser.helpText();
        return line;
    }
    if (parser.isSet(QStringLiteral("version"))) line.action = Action::ShowVersion;
    if (parser.isSet(QStringLiteral("print-certificate"))) line.action = Action::PrintCertificate;
    if (parser.isSet(QStringLiteral("print-discovery"))) line.action = Action::PrintDiscovery;
    if (parser.isSet(QStringLiteral("export-certificate"))) {
        line.action = Action::ExportCertificate;
        line.certificateFile = parser.value(QStringLiteral("export-certificate"));
    }
    if (parser.isSet(QStringLiteral("light"))) line.palette = Palette::Light;
    if (parser.isSet(QStringLiteral("dark"))) line.palette = Palette::Dark;
    line.browses = !parser.isSet(QStringLiteral("no-discovery"));
    line.reportTool = parser.value(QStringLiteral("report"));
    line.screenshotFile = parser.value(QStringLiteral("screenshot"));
    line.visibleTool = parser.value(QStringLiteral("tool"));
    if (line.visibleTool.isEmpty()) line.visibleTool = line.reportTool;
    if (const QString error = takeValues(parser, line); !error.isEmpty()) return failure(error);
    if (const QString error = checkTools(line, tools, reportingTools); !error.isEmpty())
        return failure(error);
    if (line.expectedClients == 0) line.expectedClients = static_cast<int>(line.addedClients.size());
    return line;
}
