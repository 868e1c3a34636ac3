#include "app/window/AuthSheet.h"

#include "clients/VLService.h"
#include "desktop/VLAlert.h"
#include "remote/authorization/AuthorizationController.h"
#include "tools/ToolPane.h"
#include "widgets/Theme.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>
#include <QVBoxLayout>

namespace {
constexpr int iconSize = 48;
constexpr int longestEntry = 255;
}  // namespace

AuthSheet::AuthSheet(AuthorizationController& controller, QWidget* parent)
    : Sheet(tr("Authorization"), {}, parent),
      m_controller(controller),
      m_icon(new QLabel(this)),
      m_hostName(new QLabel(this)),
      m_text(new QLabel(this)),
      m_purpose(new QLabel(this)),
      m_status(new QLabel(this)),
      m_userName(new QLineEdit(this)),
      m_password(new QLineEdit(this)),
      m_applyToAll(new QCheckBox(tr("Use for all selected computers"), this)),
      m_keychain(new QCheckBox(tr("Remember the password in my keyring"), this)),
      m_notKept(new QLabel(this)) {
    setObjectName(QStringLiteral("windowAuth"));
    setAttribute(Qt::WA_DeleteOnClose, false);
    buildHeader();
    buildFields();
    buildButtons();
    setFixedWidth(480);
}

void AuthSheet::buildHeader() {
    m_icon->setObjectName(QStringLiteral("authHostIconView"));
    m_icon->setFixedSize(iconSize, iconSize);
    m_icon->setAlignment(Qt::AlignCenter);
    m_hostName->setObjectName(QStringLiteral("authHostNameText"));
    m_hostName->setFont(themeFont(1.05, QFont::DemiBold));
    m_purpose->setObjectName(QStringLiteral("authPurposeText"));
    for (QLabel* label : {m_hostName, m_text, m_purpose, m_notKept}) {
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
    }
    auto* words = new QVBoxLayout;
    words->setSpacing(Metrics::unit / 4);
    words->addWidget(m_hostName);
    words->addWidget(m_text);
    auto* header = new QHBoxLayout;
    header->setSpacing(Metrics::unit * 2);
    header->addWidget(m_icon, 0, Qt::AlignTop);
    header->addLayout(words, 1);
    body()->addLayout(header);
    body()->addWidget(m_purpose);
    body()->addSpacing(Metrics::unit);
}

void AuthSheet::buildFields() {
    const auto add = [this](const QString& title, QLineEdit* field, const char* name) {
        auto* caption = new QLabel(title, this);
        caption->setFont(themeFont(0.95, QFont::Medium));
        caption->setBuddy(field);
        field->setObjectName(QLatin1String(name));
        field->setAccessibleName(title);
        field->setMaxLength(longestEntry);
        auto* pair = new QVBoxLayout;
        pair->setSpacing(Metrics::unit / 2);
        pair->addWidget(caption);
        pair->addWidget(field);
        body()->addLayout(pair);
    };
    add(tr("User Name"), m_userName, "authUserNameText");
    add(tr("Password"), m_password, "authPasswordText");
    m_password->setEchoMode(QLineEdit::Password);
    m_password->setInputMethodHints(Qt::ImhHiddenText | Qt::ImhSensitiveData | Qt::ImhNoPredictiveText |
                                    Qt::ImhNoAutoUppercase);
    m_applyToAll->setObjectName(QStringLiteral("authApplyToAllCheck"));
    m_keychain->setObjectName(QStringLiteral("authKeychainCheck"));
    m_status->setObjectName(QStringLiteral("authStatusText"));
    m_status->setFont(themeFont(0.9));
    body()->addSpacing(Metrics::unit / 2);
    body()->addWidget(m_applyToAll);
    body()->addWidget(m_keychain);
    m_notKept->setObjectName(QStringLiteral("authNotKeptText"));
    m_notKept->setFont(themeFont(0.9));
    m_notKept->setForegroundRole(QPalette::PlaceholderText);
    m_notKept->setText(
        tr("No keyring answers on this desktop: the password is forgotten when Orlendo quits."));
    m_notKept->hide();
    body()->addWidget(m_notKept);
    body()->addWidget(m_status);
    connect(m_userName, &QLineEdit::textChanged, this, &AuthSheet::updateButtons);
}

void AuthSheet::buildButtons() {
    addCancelButton();
    QPushButton* skip = addCancelButton(tr("Skip"));
    skip->setObjectName(QStringLiteral("authSkipButton"));
    skip->setToolTip(tr("Leave this computer out and go on with the others"));
    disconnect(skip, &QPushButton::clicked, this, nullptr);
    connect(skip, &QPushButton::clicked, &m_controller, &AuthorizationController::skipAuth);
    m_ok = addPrimaryButton(tr("OK"));
    m_ok->setObjectName(QStringLiteral("authOkButton"));
}

void AuthSheet::showSheet(const Prompt& prompt) {
    const QString name = prompt.service->name();
    setProperty("isAboutClient", true);
    setWindowTitle(tr("Authorization for %1").arg(name));
    setAccessibleDescription(prompt.text + u' ' + purposeOf(prompt));
    m_hostName->setText(name);
    m_text->setText(prompt.text);
    const auto service = std::dynamic_pointer_cast<VLService>(prompt.service);
    QPixmap icon = QPixmap::fromImage(service ? service->icon() : QImage());
    if (!icon.isNull()) {
        const qreal ratio = devicePixelRatioF();
        icon = icon.scaled(QSize(iconSize, iconSize) * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        icon.setDevicePixelRatio(ratio);
    }
    m_icon->setPixmap(icon);
    m_icon->setVisible(!icon.isNull());
    m_userName->setText(prompt.userName);
    m_userName->selectAll();
    m_password->clear();
    const QString purpose = purposeOf(prompt);
    m_purpose->setText(purpose);
    m_purpose->setVisible(!purpose.isEmpty());
    setPasswordsKept(true);
    m_keychain->setChecked(prompt.addToKeychain);
    setChecking(false);
    open();
    m_userName->setFocus();
}

/// "For Cronwell: Remove 3 tasks on Bay 1, Bay 2 and Bay 3."
QString AuthSheet::purposeOf(const Prompt& prompt) {
    if (prompt.action.isEmpty()) return {};
    constexpr qsizetype longestShown = 60;
    QStringList names;
    for (const QString& name : prompt.computers)
        names.append(name.left(longestShown));
    QString action = prompt.action.left(2 * longestShown);
    if (const QString tool = toolTitle(prompt.tool); !tool.isEmpty())
        action = QStringLiteral("%1: %2").arg(tool, action);
    return names.isEmpty() ? tr("For %1.").arg(action)
                           : tr("For %1 on %2.").arg(action, ToolPane::listed(names));
}

/// Without a keyring the box still says whether the password is used again until the end.
void AuthSheet::setPasswordsKept(bool kept) {
    m_notKept->setVisible(!kept);
    if (isVisible()) resize(width(), layout()->totalHeightForWidth(width()));
}

void AuthSheet::setChecking(bool checking) {
    m_isChecking = checking;
    for (QWidget* widget : {static_cast<QWidget*>(m_userName), static_cast<QWidget*>(m_password),
                            static_cast<QWidget*>(m_applyToAll), static_cast<QWidget*>(m_keychain)})
        widget->setEnabled(!checking);
    showStatus(checking ? tr("Checking with %1…").arg(m_hostName->text()) : QString());
    updateButtons();
}

/// A space keeps the line's place.
void AuthSheet::showStatus(const QString& text) {
    QPalette colors = m_status->palette();
    colors.setColor(QPalette::WindowText, themeColors().secondaryText);
    m_status->setPalette(colors);
    m_status->setText(text.isEmpty() ? QStringLiteral(" ") : text);
}

void AuthSheet::updateButtons() {
    m_ok->setEnabled(!m_isChecking && !m_userName->text().isEmpty());
}

void AuthSheet::showAlert(const QString& messageText, const QString& informativeText) {
    m_password->setFocus();
    VLAlert::alertSheetWithMessageText(messageText, {}, {}, {}, informativeText, this, false);
}

void AuthSheet::orderOut() {
    m_userName->clear();
    m_password->clear();
    hide();
}

void AuthSheet::accept() {
    if (!m_ok->isEnabled()) return;
    // Cleared first, so that this is the only copy, which is then overwritten.
    QString typed = m_password->text();
    m_password->clear();
    Secret password = Secret::fromText(typed);
    typed.fill(QChar());
    m_controller.authorize(m_userName->text(), std::move(password), m_applyToAll->isChecked(),
                           m_keychain->isChecked());
}

void AuthSheet::reject() {
    m_controller.cancelAuth();
}
