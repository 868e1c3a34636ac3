#include "widgets/AlertSheet.h"

#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"

#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include <utility>

namespace {

constexpr int pictureSize = 48;
constexpr int textWidth = 380;
constexpr auto cancelTitle = "Cancel";
constexpr qsizetype longestText = 2000;  // an agent's message may be of any length

QString text(const QVariantMap& description, const char* key) {
    QString value = description.value(QLatin1String(key)).toString();
    if (value.size() > longestText) value = value.left(longestText) + u'…';
    return value;
}

/// Shown letter by letter, without a mnemonic.
QString buttonTitle(const QVariantMap& description, const char* key) {
    return text(description, key).replace(u'&', QLatin1String("&&"));
}

}  // namespace

AlertSheet::AlertSheet(const QVariantMap& description, Ended ended, QWidget* parent)
    : Sheet(text(description, "messageText"), {}, parent), m_ended(std::move(ended)) {
    setObjectName(QStringLiteral("alertSheet"));
    if (windowTitle().isEmpty()) setWindowTitle(QStringLiteral("Orlendo"));
    addPicture();
    addExplanation(text(description, "informativeText"));
    addButtons(description);
    if (parent) parent->window()->installEventFilter(this);
    setFixedWidth(qMax(layout()->minimumSize().width(), Metrics::sheetMargin * 3 + pictureSize + textWidth));
}

AlertSheet::~AlertSheet() {
    if (m_ended) std::exchange(m_ended, nullptr)(VLAlert::OtherReturn);
}

/// A sheet over a window that was closed could not be seen, and whoever asks would wait for ever.
bool AlertSheet::eventFilter(QObject* watched, QEvent* event) {
    const bool isGone = event->type() == QEvent::Hide && !event->spontaneous();
    if (isGone && isVisible()) end(VLAlert::OtherReturn);
    return Sheet::eventFilter(watched, event);
}

/// In a column of its own, left of everything.
void AlertSheet::addPicture() {
    auto* picture = new QLabel(this);
    picture->setPixmap(drawingIcon(QStringLiteral(":/icons/orlendo.svg"))
                           .pixmap(QSize(pictureSize, pictureSize), devicePixelRatioF()));
    picture->move(Metrics::sheetMargin, Metrics::sheetMargin);
    QMargins margins = layout()->contentsMargins();
    margins.setLeft(Metrics::sheetMargin + pictureSize + Metrics::unit * 2);
    layout()->setContentsMargins(margins);
}

void AlertSheet::addExplanation(const QString& words) {
    setAccessibleDescription(words);
    if (words.isEmpty()) return;
    auto* label = new QLabel(words, this);
    label->setObjectName(QStringLiteral("informativeText"));
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setMinimumWidth(1);  // one endless word must not widen the sheet without bound
    body()->addWidget(label);
}

void AlertSheet::addButtons(const QVariantMap& description) {
    const QString alternate = buttonTitle(description, "alternateButtonTitle");
    const QString other = buttonTitle(description, "otherButtonTitle");
    const QString given = buttonTitle(description, "defaultButtonTitle");
    QPushButton* primary = addPrimaryButton(given.isEmpty() ? QStringLiteral("OK") : given);
    primary->setObjectName(QStringLiteral("defaultButton"));
    const auto add = [this](const QString& title, const char* name, int code) {
        if (title.isEmpty()) return;
        QPushButton* button = addCancelButton(title);
        button->setObjectName(QLatin1String(name));
        disconnect(button, &QPushButton::clicked, this, nullptr);
        connect(button, &QPushButton::clicked, this, [this, code] { end(code); });
        const bool isFirst = m_escapeCode == VLAlert::DefaultReturn;
        if (isFirst || title == QLatin1String(cancelTitle)) m_escapeCode = code;
    };
    add(alternate, "alternateButton", VLAlert::AlternateReturn);
    add(other, "otherButton", VLAlert::OtherReturn);
    if (given == QLatin1String(cancelTitle)) m_escapeCode = VLAlert::DefaultReturn;
    primary->setFocus();
}

void AlertSheet::end(int returnCode) {
    const Ended ended = std::exchange(m_ended, nullptr);
    done(returnCode);
    if (ended) ended(returnCode);
}

void AlertSheet::orderOut() {
    m_ended = nullptr;
    close();
}

VLAlert::Presenter AlertSheet::presenter(QWidget* mainWindow) {
    return [mainWindow](const QVariantMap& description, QObject* parentWindow, Ended ended) {
        auto* wanted = qobject_cast<QWidget*>(parentWindow);
        QWidget* window = (wanted ? wanted : mainWindow)->window();
        if (window->isVisible()) {
            window->raise();
            window->activateWindow();
        }
        auto* sheet = new AlertSheet(description, std::move(ended), window);
        sheet->open();
        return VLAlert::OrderOut([sheet = QPointer<AlertSheet>(sheet)] {
            if (sheet) sheet->orderOut();
        });
    };
}
