#include "app/window/PreferencesWindow.h"

#include "app/AppServices.h"
#include "app/Preferences.h"
#include "app/window/ManualConnectionsView.h"
#include "base/VLFormat.h"
#include "desktop/VLAlert.h"
#include "foundation/VLNotificationCenter.h"
#include "foundation/VLUserDefaults.h"
#include "runs/ActivityStore.h"
#include "runs/RunList.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QShortcut>
#include <QSpinBox>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

const QString passwordKey = QStringLiteral("requireAdminPassword");
constexpr int switchIndent = 16 + Metrics::unit;  // the text of a check box

}  // namespace

PreferencesWindow::PreferencesWindow(ServiceList& services, ClientCommands& commands, bool canAuthenticate,
                                     QWidget* parent)
    : QWidget(parent, Qt::Window),
      m_services(services),
      m_commands(commands),
      m_canAuthenticate(canAuthenticate),
      m_sections(new QButtonGroup(this)),
      m_bar(new QWidget(this)),
      m_stack(new QStackedWidget(this)) {
    setObjectName(QStringLiteral("preferencesWindow"));
    setWindowTitle(tr("Preferences"));
    auto* bar = new QHBoxLayout(m_bar);
    bar->setContentsMargins(Metrics::unit, Metrics::unit, Metrics::unit, Metrics::unit);
    bar->setSpacing(Metrics::unit / 2);
    QFrame* line = hairline(this);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_bar);
    layout->addWidget(line);
    layout->addWidget(m_stack, 1);

    buildGeneral(addSection(QStringLiteral("toolbox"), tr("General")));
    buildSecurity(addSection(QStringLiteral("identity"), tr("Security")));
    buildNetwork(addSection(QStringLiteral("computers"), tr("Network")));
    buildRuns(addSection(QStringLiteral("activity"), tr("Runs")));
    bar->addStretch();
    m_sections->button(0)->setChecked(true);
    connect(m_sections, &QButtonGroup::idClicked, m_stack, &QStackedWidget::setCurrentIndex);
    connect(new QShortcut(QKeySequence::Close, this), &QShortcut::activated, this, &QWidget::close);
    connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, this, &QWidget::close);
    VLNotificationCenter::defaultCenter().addObserver(this, QLatin1String(Preferences::changedNotification),
                                                      [this](const VLNotification&) { renew(); });
    resize(580, 400);
    renew();
}

// ---- Building

QVBoxLayout* PreferencesWindow::addSection(const QString& symbol, const QString& title) {
    auto* button = new QToolButton(m_bar);
    button->setObjectName(QStringLiteral("section") + title);
    button->setText(title);
    button->setIcon(symbolIcon(symbol));
    button->setIconSize({Metrics::symbolSize, Metrics::symbolSize});
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setAutoRaise(true);
    button->setCheckable(true);
    button->setMinimumHeight(32);
    m_sections->addButton(button, m_stack->count());
    m_bar->layout()->addWidget(button);

    auto* page = new QWidget(m_stack);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(Metrics::sheetMargin, Metrics::sheetMargin, Metrics::sheetMargin,
                               Metrics::sheetMargin);
    layout->setSpacing(Metrics::unit / 2);
    m_stack->addWidget(page);
    return layout;
}

QLabel* PreferencesWindow::addHelp(QVBoxLayout* page, const QString& text, int indent) {
    auto* help = new QLabel(text);
    help->setWordWrap(true);
    help->setFont(themeFont(0.92));
    help->setForegroundRole(QPalette::PlaceholderText);
    help->setContentsMargins(indent, 0, 0, Metrics::unit * 1.5);
    page->addWidget(help);
    return help;
}

QCheckBox* PreferencesWindow::addSwitch(QVBoxLayout* page, const QString& key, const QString& text,
                                        const QString& help) {
    auto* box = new QCheckBox(text, this);
    box->setObjectName(key);
    box->setAccessibleDescription(help);
    page->addWidget(box);
    addHelp(page, help, switchIndent);
    m_switches.insert(key, box);
    return box;
}

void PreferencesWindow::buildGeneral(QVBoxLayout* page) {
    const auto add = [&](const char* key, const QString& text, const QString& help) {
        const QString name = QLatin1String(key);
        connect(addSwitch(page, name, text, help), &QCheckBox::clicked, this,
                [name](bool on) { Preferences::setOn(name, on); });
    };
    if (AppServices::looksForUpdatesToSelf)
        add("SUCheckAtStartup", tr("Check for newer versions at start"),
            tr("Orlendo looks for a newer version of itself each time it starts."));
    add("autoRefresh", tr("Refresh the visible tool automatically"),
        tr("Tools whose data changes by itself are read again every 30 seconds to "
           "5 minutes while Orlendo is in front."));
    add("firstRun", tr("Show the welcome at the next start"),
        tr("It explains how the window is used, and is shown once."));

    auto* caption = new QLabel(tr("&Theme:"), this);
    m_theme = new QComboBox(this);
    m_theme->setObjectName(QStringLiteral("theme"));
    m_theme->addItem(tr("As the System"), int(Theme::System));
    m_theme->addItem(tr("Light"), int(Theme::Light));
    m_theme->addItem(tr("Dark"), int(Theme::Dark));
    caption->setBuddy(m_theme);
    auto* row = new QHBoxLayout;
    row->addWidget(caption);
    row->addWidget(m_theme);
    row->addStretch();
    page->addLayout(row);
    page->addStretch();
    connect(m_theme, &QComboBox::activated, this, [this] {
        const auto theme = Theme(m_theme->currentData().toInt());
        applyTheme(theme);
        storeTheme(theme);
    });
}

void PreferencesWindow::buildSecurity(QVBoxLayout* page) {
    const QCheckBox* password =
        addSwitch(page, passwordKey, tr("Require an administrator's password at start"),
                  tr("Whoever opens Orlendo must prove to be an administrator of this computer first."));
    connect(password, &QCheckBox::clicked, this, &PreferencesWindow::passwordToggled);
    const QString keychain = QStringLiteral("authAddKeychain");
    const QCheckBox* store =
        addSwitch(page, keychain, tr("Store client passwords in the keyring"),
                  tr("An administrator's password that was entered for a computer is offered "
                     "again the next time. Otherwise it is forgotten when Orlendo quits."));
    connect(store, &QCheckBox::clicked, this, [keychain](bool on) { Preferences::setOn(keychain, on); });
    page->addStretch();
}

void PreferencesWindow::buildNetwork(QVBoxLayout* page) {
    addHelp(page,
            tr("Computers on the local network are found by themselves. These were added by their "
               "address and are connected to at every start."),
            0);
    auto* connections = new ManualConnectionsView(m_services, m_commands, this);
    page->addWidget(connections, 1);
    connect(connections, &ManualConnectionsView::addRequested, this,
            &PreferencesWindow::addComputerRequested);
    connect(connections, &ManualConnectionsView::editRequested, this,
            &PreferencesWindow::editComputerRequested);
}

void PreferencesWindow::buildRuns(QVBoxLayout* page) {
    addNumber(page, QLatin1String(RunList::inFlightKey), tr("&Computers worked at once:"),
              {RunList::fewestInFlight, RunList::mostInFlight}, {},
              tr("More get a large fleet done sooner and load the network more. Holds from the "
                 "next run on."));
    const QString followUp = QLatin1String(RunList::followUpKey);
    const QCheckBox* rest =
        addSwitch(page, followUp, tr("Work the computers that are left over"),
                  tr("A run divides the selected computers evenly among this machine's processors. Those "
                     "that are left over follow by themselves; otherwise you are told which they are."));
    connect(rest, &QCheckBox::clicked, this, [followUp](bool on) { Preferences::setOn(followUp, on); });
    addNumber(page, QStringLiteral("activityDays"), tr("Keep &Activity for:"), {1, ActivityStore::mostDays},
              {tr(" day"), tr(" days")}, {});
    addNumber(page, QStringLiteral("activityMegabytes"), tr("Use at &most:"),
              {1, ActivityStore::mostMegabytes}, {tr(" MB"), tr(" MB")}, tr("What is older goes first."));
    page->addStretch();
}

void PreferencesWindow::addNumber(QVBoxLayout* page, const QString& key, const QString& caption, Range range,
                                  const Unit& unit, const QString& help) {
    auto* const number = new QSpinBox(this);
    number->setObjectName(key);
    number->setRange(range.least, range.most);
    number->setKeyboardTracking(false);  // half a number is none yet
    number->setSuffix(number->value() == 1 ? unit.one : unit.many);
    number->setAccessibleDescription(help);
    auto* const label = new QLabel(caption, this);
    label->setBuddy(number);
    auto* const row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(number);
    row->addStretch();
    page->addLayout(row);
    if (!help.isEmpty()) addHelp(page, help, 0);
    m_numbers.insert(key, number);
    connect(number, &QSpinBox::valueChanged, this, [this, number, key, unit](int value) {
        number->setSuffix(value == 1 ? unit.one : unit.many);
        // What is beyond the range was put there by hand, and stays until the user says otherwise.
        if (!m_isRenewing) Preferences::setNumber(key, value);
    });
    // From now on nothing is being typed.
    connect(number, &QSpinBox::editingFinished, this,
            [number] { number->findChild<QLineEdit*>()->setModified(false); });
}

// ---- Changes

/// Without a way to ask for the password the next start would end at once.
void PreferencesWindow::passwordToggled(bool on) {
    if (!on || m_canAuthenticate) return Preferences::setOn(passwordKey, on);
    const auto answered = [window = QPointer(this)](int returnCode) {
        if (returnCode == VLAlert::AlternateReturn) Preferences::setOn(passwordKey, true);
        if (window) window->renew();
    };
    const QString selector = QStringLiteral("passwordAlertDidEnd:returnCode:contextInfo:");
    VLAlert::alertSheetWithMessageText(
        tr("Orlendo would not start any more"), tr("Cancel"), tr("Turn On Anyway"), {},
        tr("This version cannot ask for an administrator's password, and without the "
           "password it does not open. To undo this later, the entry "
           "“requireAdminPassword” has to be taken out of the settings file by hand:"
           "\n\n%1")
            .arg(VLUserDefaults::standardUserDefaults().path()),
        this,
        std::make_shared<VLAlertHandlers>(QHash<QString, VLAlertHandlers::Handler>{{selector, answered}}),
        selector, false);
}

void PreferencesWindow::renew() {
    for (auto box = m_switches.cbegin(); box != m_switches.cend(); ++box)
        box.value()->setChecked(Preferences::isOn(box.key()));
    m_isRenewing = true;
    for (auto number = m_numbers.cbegin(); number != m_numbers.cend(); ++number) {
        QSpinBox& box = *number.value();
        const bool isBeingTyped = box.hasFocus() && box.findChild<QLineEdit*>()->isModified();
        const auto stored =
            std::clamp<qlonglong>(Preferences::number(number.key()), box.minimum(), box.maximum());
        if (!isBeingTyped) box.setValue(int(stored));
    }
    m_isRenewing = false;
    m_theme->setCurrentIndex(m_theme->findData(int(currentTheme())));
}

void PreferencesWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_theme) renew();
}
