#include "app/AppController.h"
#include "app/BatchRun.h"
#include "app/CommandLine.h"
#include "app/ConsoleIdentity.h"
#include "app/ReportTable.h"
#include "app/window/MainWindow.h"
#include "base/VLBundle.h"
#include "clients/discovery/ServiceBrowser.h"
#include "foundation/MainThread.h"
#include "logs/PrintableText.h"
#include "logs/VLLog.h"
#include "system/SignalWatcher.h"
#include "system/VLException.h"
#include "widgets/Theme.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QPixmap>
#include <QTranslator>

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace {

constexpr int failed = 1;
constexpr int wrongCommandLine = 2;

void print(std::FILE* stream, const QString& text) {
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stream);
    std::fflush(stream);
}

void printLine(std::FILE* stream, const QString& text) {
    print(stream, printableLine(text) + QLatin1Char('\n'));
}

QString versionText() {
    const VLBundle& bundle = VLBundle::mainBundle();
    return QStringLiteral("orlendo %1 (%2)")
        .arg(bundle.objectForInfoDictionaryKey(QStringLiteral("CFBundleShortVersionString")).toString(),
             bundle.objectForInfoDictionaryKey(QStringLiteral("CFBundleVersion")).toString());
}

bool hasDisplay() {
    return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

CommandLine commandLineFrom(const QStringList& arguments) {
    QStringList tools;
    QStringList reportingTools;
    for (const Tool& tool : toolRegistry()) {
        tools.append(tool.identifier);
        if (tool.makeController) reportingTools.append(tool.identifier);
    }
    return CommandLine::parse(arguments, tools, reportingTools);
}

/// A short look with the browser that the console would use.
QString discoveryBackend() {
    constexpr std::chrono::milliseconds lookTime{1500};
    const auto browser = ServiceBrowser::create({});
    (void)browser->searchForServices(QStringLiteral("_corvalin._tcp."), {});
    if (browser->backend() == ServiceBrowser::Backend::None) browser->runFor(lookTime);
    switch (browser->backend()) {
        case ServiceBrowser::Backend::Daemon:
            return QStringLiteral("daemon");
        case ServiceBrowser::Backend::Embedded:
            return QStringLiteral("embedded");
        case ServiceBrowser::Backend::None:
            break;
    }
    return QStringLiteral("none");
}

/// What needs neither a display nor an agent. The exit code.
int runSimpleAction(const CommandLine& commandLine) {
    try {
        switch (commandLine.action) {
            case CommandLine::Action::ShowHelp:
                print(stdout, commandLine.text);
                break;
            case CommandLine::Action::ShowVersion:
                printLine(stdout, versionText());
                break;
            case CommandLine::Action::PrintCertificate:
                print(stdout, QString::fromLatin1(ConsoleIdentity::load().certificate));
                break;
            case CommandLine::Action::ExportCertificate:
                ConsoleIdentity::exportCertificate(commandLine.certificateFile);
                break;
            case CommandLine::Action::PrintDiscovery:
                printLine(stdout, discoveryBackend());
                break;
            case CommandLine::Action::Fail:
                printLine(stderr, QStringLiteral("orlendo: ") + commandLine.text);
                return wrongCommandLine;
            case CommandLine::Action::Run:
                break;
        }
    } catch (const VLException& exception) {
        printLine(stderr, QStringLiteral("orlendo: ") + exception.reason());
        return failed;
    }
    return 0;
}

void showWindow(QWidget& window, bool bringToFront) {
    window.show();
    if (!bringToFront) return;
    window.raise();
    window.activateWindow();
}

bool savePicture(QWidget& window, const QString& file) {
    const bool hasFormat = file.contains(QLatin1Char('.'));
    return window.grab().save(file, hasFormat ? nullptr : "PNG");
}

BatchRun::Output batchOutput(QWidget* window) {
    BatchRun::Output output;
    output.report = [](const QString& table) { print(stdout, table); };
    output.message = [](const QString& text) {
        VLLog::appendLog(QStringLiteral("%@"), text);
        printLine(stderr, printableText(text));
    };
    output.takePicture = [window](const QString& file) { return window && savePicture(*window, file); };
    return output;
}

/// The window, or the unattended run, until it ends. The exit code.
///
/// A signal ends the program at once while it starts, whatever that waits for. Then `signals` are watched.
int runConsole(QApplication& application, AppController& controller, const CommandLine& commandLine,
               std::optional<SignalWatcher>& signals) {
    controller.setUnattended(commandLine.isUnattended());
    controller.setBrowses(commandLine.browses);
    if (!controller.init()) {
        printLine(stderr, QStringLiteral("orlendo: cannot start; see %1").arg(VLLog::currentLogPath()));
        return failed;
    }
    const int exitCode = commandLine.isUnattended() ? failed : 0;
    signals.emplace(std::vector<int>{SIGINT, SIGTERM}, [exitCode](int) { QCoreApplication::exit(exitCode); });
    if (commandLine.isUnattended()) controller.services().selectAll();
    for (const ManualConnections::Entry& client : commandLine.addedClients)
        controller.discovery().addManualConnection(client.name, client.ip, client.port);

    std::unique_ptr<MainWindow> window;
    if (commandLine.needsWindow()) {
        window = std::make_unique<MainWindow>(controller);
        QObject::connect(&controller, &AppController::mainWindowReady, window.get(),
                         [&window, inFront = !commandLine.isUnattended()] { showWindow(*window, inFront); });
    }
    controller.awakeFromNib();
    if (controller.isTerminating()) return failed;
    if (window && !commandLine.visibleTool.isEmpty()) window->showTool(commandLine.visibleTool);

    std::unique_ptr<BatchRun> batch;
    if (commandLine.isUnattended()) {
        batch = std::make_unique<BatchRun>(controller, commandLine, batchOutput(window.get()));
        QObject::connect(batch.get(), &BatchRun::finished, &application, &QApplication::exit);
        batch->start();
    }
    // The loop that it ended may have been that of a question at the start.
    return signals->hasNoted() ? exitCode : QApplication::exec();
}

Theme themeFor(CommandLine::Palette palette) {
    switch (palette) {
        case CommandLine::Palette::Light:
            return Theme::Light;
        case CommandLine::Palette::Dark:
            return Theme::Dark;
        case CommandLine::Palette::Desktop:
            break;
    }
    return storedTheme();
}

/// The first look at the arguments, before there is an application object to take its own ones out.
bool mentions(const QStringList& arguments, std::initializer_list<const char*> options) {
    return std::any_of(options.begin(), options.end(), [&](const char* option) {
        const QString name = QLatin1String(option);
        return std::any_of(arguments.begin(), arguments.end(), [&](const QString& argument) {
            return argument == name || argument.startsWith(name + QLatin1Char('='));
        });
    });
}

bool needsNoApplication(const QStringList& arguments) {
    return mentions(arguments, {"--help", "-h", "--version", "-v", "--print-certificate",
                                "--export-certificate", "--print-discovery"});
}

/// Without a display there still are reports and pictures; a window for a person needs one.
bool choosePlatform(const QStringList& arguments) {
    if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || mentions(arguments, {"-platform", "--platform"}))
        return true;
    const bool wantsPicture = mentions(arguments, {"--screenshot"});
    const bool wantsReport = mentions(arguments, {"--report"});
    const bool hasScreen = hasDisplay();
    if ((wantsPicture && !hasScreen) || (wantsReport && !wantsPicture))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    return hasScreen || wantsPicture || wantsReport;
}

/// A connection takes five descriptors: some two hundred clients would reach the usual limit.
void raiseFileLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    constexpr rlim_t enough = 65'536;
    limit.rlim_cur = std::max(limit.rlim_cur, std::min(limit.rlim_max, enough));
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

/// The user's language, where the texts were translated into it; Qt's own texts as well.
void installTranslations(QApplication& application) {
    const auto install = [&](const QString& name, const QString& folder) {
        auto* translator = new QTranslator(&application);
        if (translator->load(QLocale(), name, QStringLiteral("_"), folder))
            QCoreApplication::installTranslator(translator);
    };
    install(QStringLiteral("qtbase"), QLibraryInfo::path(QLibraryInfo::TranslationsPath));
    install(QStringLiteral("orlendo"), QStringLiteral(":/translations"));
}

int runApplication(int argc, char** argv, const QStringList& rawArguments) {
    // A wrong command line is reported as such also where there is no display to complain about.
    const bool hasPlatform = choosePlatform(rawArguments);
    if (!hasPlatform) qputenv("QT_QPA_PLATFORM", "offscreen");
    raiseFileLimit();
    QApplication application(argc, argv);
    installTranslations(application);
    MainThread::adopt();
    const CommandLine commandLine = commandLineFrom(QCoreApplication::arguments());
    if (commandLine.action != CommandLine::Action::Run) return runSimpleAction(commandLine);
    if (!hasPlatform && !commandLine.isUnattended()) {
        printLine(stderr, QStringLiteral("orlendo: there is no display to open the window on. Set DISPLAY or "
                                         "WAYLAND_DISPLAY, or use --report or --screenshot."));
        return failed;
    }
    if (commandLine.needsWindow()) applyTheme(themeFor(commandLine.palette));

    // A console started from a desktop has nobody who reads its standard error.
    if (!commandLine.isUnattended() && ::isatty(STDERR_FILENO) == 0) VLLog::copySystemLogToSyslog();
    std::optional<SignalWatcher> signals;  // until the very end
    AppController controller(toolRegistry());
    const int exitCode = runConsole(application, controller, commandLine, signals);
    if (!controller.shutDown()) std::_Exit(exitCode);
    return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication::setOrganizationName(QStringLiteral("velmora"));
    QCoreApplication::setApplicationName(QStringLiteral("orlendo"));
    QGuiApplication::setDesktopFileName(QStringLiteral("org.velmora.Orlendo"));
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    if (!needsNoApplication(arguments)) return runApplication(argc, argv, arguments);

    const QCoreApplication application(argc, argv);
    MainThread::adopt();
    return runSimpleAction(commandLineFrom(arguments));
}
