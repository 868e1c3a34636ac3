#include "widgets/EmptyState.h"

#include "widgets/Spinner.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"

#include <QEvent>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {
constexpr int symbolSize = 40;
constexpr int textWidth = 340;
}  // namespace

EmptyState::EmptyState(QWidget* parent)
    : QWidget(parent),
      m_symbol(new QLabel(this)),
      m_spinner(new Spinner(this, 28)),
      m_title(new QLabel(this)),
      m_text(new QLabel(this)),
      m_button(new QPushButton(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(Metrics::unit * 2, Metrics::unit * 3, Metrics::unit * 2, Metrics::unit * 6);
    layout->setSpacing(Metrics::unit);
    layout->addStretch();
    layout->addWidget(m_symbol, 0, Qt::AlignHCenter);
    layout->addWidget(m_spinner, 0, Qt::AlignHCenter);
    layout->addSpacing(Metrics::unit / 2);
    for (QLabel* label : {m_title, m_text}) {
        label->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
        label->setWordWrap(true);
        label->setTextFormat(Qt::PlainText);
        label->setMaximumWidth(textWidth);
        // A wrapped label that is centred by its own alignment would shrink to its narrowest form.
        auto* row = new QHBoxLayout;
        row->addStretch(1);
        row->addWidget(label, 1000);
        row->addStretch(1);
        layout->addLayout(row);
    }
    layout->addSpacing(Metrics::unit / 2);
    layout->addWidget(m_button, 0, Qt::AlignHCenter);
    layout->addStretch();
    m_title->setFont(themeFont(1.1, QFont::DemiBold));
    m_button->hide();
    m_spinner->hide();
    connect(m_button, &QPushButton::clicked, this, &EmptyState::buttonClicked);
    updateLook();
}

void EmptyState::setContents(const QString& symbol, const QString& title, const QString& text) {
    m_symbolName = symbol;
    m_title->setText(title);
    m_text->setText(text);
    m_text->setVisible(!text.isEmpty());
    m_symbol->show();
    m_spinner->setSpinning(false);
    m_spinner->hide();
    updateLook();
}

void EmptyState::setBusy(const QString& title, const QString& text) {
    setContents(m_symbolName, title, text);
    m_symbol->hide();
    m_spinner->show();
    m_spinner->setSpinning(true);
}

void EmptyState::setButtonText(const QString& text) {
    m_button->setText(text);
    m_button->setVisible(!text.isEmpty());
}

QString EmptyState::title() const {
    return m_title->text();
}

QString EmptyState::text() const {
    return m_text->text();
}

void EmptyState::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) updateLook();
    QWidget::changeEvent(event);
}

void EmptyState::updateLook() {
    const ThemeColors& c = themeColors();
    m_symbol->setPixmap(symbolPixmap(m_symbolName, c.faintText, symbolSize, devicePixelRatioF()));
    QPalette dimmed = m_text->palette();
    if (dimmed.color(QPalette::WindowText) == c.secondaryText) return;
    dimmed.setColor(QPalette::WindowText, c.secondaryText);
    dimmed.setColor(QPalette::Text, c.secondaryText);  // what labels on a light ground use
    m_text->setPalette(dimmed);
}
