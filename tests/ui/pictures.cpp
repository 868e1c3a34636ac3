// Draws the windows with sample data into PNG files, light and dark: ui_pictures [FOLDER]
#include "SampleConsole.h"
#include "app/window/ErrorLogWindow.h"
#include "app/window/LogWindow.h"
#include "app/window/ProgressSheet.h"
#include "app/window/WelcomeSheet.h"
#include "clients/view/AddComputerSheet.h"
#include "clients/view/ClientOutline.h"
#include "clients/view/IdentitySheet.h"
#include "support/TestEnvironment.h"
#include "widgets/Theme.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QToolButton>
#include <QTreeView>

namespace {

QString folder;
QString suffix;

void save(QWidget& widget, const QString& name) {
    widget.ensurePolished();
    QApplication::processEvents();
    QTest::qWait(60);
    widget.grab().save(QStringLiteral("%1/ui-%2-%3.png").arg(folder, name, suffix));
}

QList<VLPluginItem> samplePlugins(const QStringList& hosts) {
    QList<VLPluginItem> rows;
    struct Sample {
        const char *name, *type, *version;
    };
    const QList<Sample> samples{
        {"Alpha Transitions", "FxPlug", "2.1"},
        {"Boris Glow", "FxPlug", "1.0.4"},
        {"Channel Strip", "Audio Unit", "3.2"},
        {"Chroma Desk", "FxPlug", "5.0"},
        {"Compressor Bank", "Audio Unit", "1.8"},
        {"Drop Shadow Plus", "FxScript", "1.1"},
        {"Film Grain", "FxPlug", "4.0.2"},
        {"Flicker Removal", "FxScript", "1.0"},
        {"Gradient Wipe", "FxScript", "2.4"},
        {"Hall Reverb", "Audio Unit", "6.1"},
        {"Lens Repair", "FxPlug", "1.3"},
        {"Loudness Meter", "Audio Unit", "2.0"},
        {"Motion Blur with an extraordinarily long plug-in name", "FxPlug", "10.5.3-beta"},
        {"Noise Gate", "Audio Unit", "1.1"},
        {"Title Crawl", "FxScript", "1.0"},
        {"Vectorscope", "FxPlug", "3.3"},
        {"Zoom Blur", "FxPlug", "2.0"}};
    int number = 0;
    for (const Sample& sample : samples) {
        VLPluginItem row;
        QStringList missing;
        for (int host = 0; host < hosts.size(); ++host) {
            if (number % 5 == 2 && host == 1) {
                missing << hosts[host];
                continue;
            }
            if (number % 7 == 5 && host >= 2) {
                missing << hosts[host];
                continue;
            }
            QString version = QString::fromLatin1(sample.version);
            if (number % 6 == 3 && host == 0) version += QStringLiteral(".1");
            const int disabled = number % 9 == 4 ? host % 2 : number == 8 ? 1 : 0;
            const int access = number % 8 == 6 ? host % 2 : number % 4 == 1 ? 1 : 0;
            row.addChild(pluginInstance(QString::fromLatin1(sample.name), QString::fromLatin1(sample.type),
                                        version, disabled, access),
                         hosts[host]);
        }
        for (const QString& host : missing)
            addMissing(row, host);
        rows << row;
        ++number;
    }
    return rows;
}

void drawAll(SampleConsole& console, const QByteArray& certificate) {
    console.window->show();
    QTest::qWait(100);
    auto* outline = console.window->findChild<ClientOutline*>();
    save(*console.window, QStringLiteral("empty"));

    const auto one = console.add(QStringLiteral("Edit Bay 1"), QStringLiteral("192.168.1.21"),
                                 QStringLiteral("MacPro4,1"));
    console.add(QStringLiteral("Edit Bay 2"), QStringLiteral("192.168.1.22"), QStringLiteral("iMac9,1"));
    const auto three = console.add(QStringLiteral("Edit Bay 3"), QStringLiteral("192.168.1.23"),
                                   QStringLiteral("MacBookPro5,1"));
    const auto four = console.add(QStringLiteral("Grading Suite on the second floor, left door"),
                                  QStringLiteral("192.168.1.24"), QStringLiteral("Macmini3,1"));
    const auto five = console.add(QStringLiteral("Render Node A"), QStringLiteral("192.168.1.40"),
                                  QStringLiteral("Xserve3,1"));
    const auto six =
        console.add(QStringLiteral("Sound"), QStringLiteral("192.168.1.50"), QStringLiteral("PowerMac6,1"));
    const auto seven = console.add(QStringLiteral("Stock Room"), QStringLiteral("192.168.1.60"));
    three->setNeedsMaintenance(true);
    four->showConnecting();
    five->showNotConnected(QStringLiteral("no answer within 20 seconds"));
    six->showChangedIdentity(certificate);
    seven->showError(2006);
    console.controller->services().serviceChanged(nullptr);
    auto& errors = *console.controller->errorCallback();
    errors.addStringToQueue(QStringLiteral("The plug-in folder could not be read: permission denied"),
                            one->hostName());
    errors.addStringToQueue(QStringLiteral("Unable to connect"), five->hostName());
    errors.addStringToQueue(
        QStringLiteral(
            "The client software is out of date and has to be updated before this tool can be used on it"),
        seven->hostName());
    QTest::qWait(100);
    const QStringList hosts{one->hostName(), QStringLiteral("edit-bay-2.local."), three->hostName(),
                            seven->hostName()};
    console.addonry().setAddonryArray(samplePlugins(hosts));
    outline->view()->setFocus();
    save(*console.window, QStringLiteral("main"));

    auto* tree = console.find<QTreeView>("addonryOutline");
    tree->setFocus();
    for (int row : {2, 3})
        tree->expand(tree->model()->index(row, 0));
    tree->setCurrentIndex(tree->model()->index(5, 0));
    console.controller->taskThreads().startStatusProgress();
    console.controller->taskThreads().incrementStatusProgress();
    console.controller->taskThreads().incrementStatusProgress();
    console.controller->taskThreads().setStatusRemark(
        QStringLiteral("1 selected computer left out of this run"));
    outline->view()->selectionModel()->select(
        outline->view()->indexBelow(outline->view()->model()->index(0, 0)),
        QItemSelectionModel::ClearAndSelect);
    save(*console.window, QStringLiteral("expanded"));
    console.window->resize(900, 560);
    save(*console.window, QStringLiteral("small"));
    console.window->resize(1280, 800);
    console.controller->taskThreads().endStatusProgress();

    console.window->showTool(QStringLiteral("cronwell"));
    console.window->findChild<QListView*>(QStringLiteral("toolView"))->setFocus();
    save(*console.window, QStringLiteral("missing"));
    console.window->showTool(QStringLiteral("addonry"));

    AddComputerSheet sheet([](const ManualConnections::Entry&) { return true; }, console.window.get());
    sheet.show();
    sheet.findChild<QLineEdit*>(QStringLiteral("connectionNameText"))->setText(QStringLiteral("Edit Bay 9"));
    auto* address = sheet.findChild<QLineEdit*>(QStringLiteral("connectionIPAddressText"));
    address->setText(QStringLiteral("192.168.01.7"));
    Q_EMIT address->editingFinished();
    save(sheet, QStringLiteral("add"));
    sheet.hide();
    IdentitySheet identity(
        six, [](const QByteArray&) {}, console.window.get());
    identity.show();
    save(identity, QStringLiteral("identity"));
    identity.hide();
    WelcomeSheet welcome(console.window.get());
    welcome.show();
    save(welcome, QStringLiteral("welcome"));
    welcome.hide();
    console.window->showErrorLog();
    save(*console.window->findChild<ErrorLogWindow*>(), QStringLiteral("errors"));
    console.window->showLog();
    save(*console.window->findChild<LogWindow*>(), QStringLiteral("log"));
    console.controller->taskThreads().startProgress();
    console.controller->taskThreads().updateProgressStatus(QStringLiteral("Syncing Alpha Transitions..."));
    save(*console.window->findChild<ProgressSheet*>(), QStringLiteral("progress"));
    console.controller->taskThreads().endProgress();
    applyTheme(themeColors().dark ? Theme::Light : Theme::Dark);
    save(*console.window, QStringLiteral("switched-from"));
    applyTheme(themeColors().dark ? Theme::Light : Theme::Dark);
    for (QAction* action : console.window->menuBar()->actions()) {
        if (action->text() == QStringLiteral("&Computer") || action->text() == QStringLiteral("&View")) {
            action->menu()->popup({0, 0});
            save(*action->menu(), QStringLiteral("menu-") + action->text().mid(1).toLower());
            action->menu()->hide();
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const TestEnvironment environment;
    folder = QApplication::arguments().value(1, QDir::tempPath());
    const QByteArray certificate = TlsIdentity::create(QStringLiteral("agent")).certificate;
    for (const Theme theme : {Theme::Light, Theme::Dark}) {
        applyTheme(theme);
        suffix = theme == Theme::Light ? QStringLiteral("light") : QStringLiteral("dark");
        SampleConsole console;
        if (!console.start()) return 1;
        drawAll(console, certificate);
        console.controller->shutDown();
        VLThread::reset();
        MainThread::resume();
    }
    return 0;
}
