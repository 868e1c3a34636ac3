#include "widgets/Sheet.h"

#include "widgets/Theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

Sheet::Sheet(const QString& heading, const QString& text, QWidget* parent)
    : QDialog(parent, Qt::Sheet | Qt::WindowTitleHint | Qt::WindowCloseButtonHint),
      m_heading(new QLabel(heading, this)),
      m_body(new QVBoxLayout),
      m_buttons(new QHBoxLayout) {
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(heading);
    setAccessibleDescription(text);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(Metrics::sheetMargin, Metrics::sheetMargin, Metrics::sheetMargin,
                               Metrics::unit * 2.5);
    layout->setSpacing(Metrics::unit);
    m_heading->setFont(themeFont(1.25, QFont::DemiBold));
    m_heading->setTextFormat(Qt::PlainText);
    m_heading->setWordWrap(true);
    layout->addWidget(m_heading);
    if (!text.isEmpty()) {
        auto* label = new QLabel(text, this);
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
        label->setForegroundRole(QPalette::WindowText);
        layout->addWidget(label);
    }
    layout->addSpacing(Metrics::unit);
    m_body->setSpacing(Metrics::unit);
    layout->addLayout(m_body);
    layout->addSpacing(Metrics::unit);
    m_buttons->setSpacing(Metrics::unit);
    m_buttons->addStretch();
    layout->addLayout(m_buttons);
}

QPushButton* Sheet::addPrimaryButton(const QString& text) {
    auto* button = new QPushButton(text, this);
    button->setDefault(true);
    button->setMinimumWidth(88);
    m_buttons->addWidget(button);
    connect(button, &QPushButton::clicked, this, &QDialog::accept);
    return button;
}

QPushButton* Sheet::addCancelButton(const QString& text) {
    auto* button = new QPushButton(text, this);
    button->setAutoDefault(false);
    button->setMinimumWidth(88);
    m_buttons->insertWidget(1, button);
    connect(button, &QPushButton::clicked, this, &QDialog::reject);
    return button;
}

/// Wrapped text is reckoned at its narrowest before the width is known; here it is.
void Sheet::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (layout()->hasHeightForWidth()) resize(width(), layout()->totalHeightForWidth(width()));
}

void Sheet::setHeading(const QString& heading) {
    m_heading->setText(heading);
    setWindowTitle(heading);
}
