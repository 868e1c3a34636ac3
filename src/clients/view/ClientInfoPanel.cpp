#include "clients/view/ClientInfoPanel.h"

#include "foundation/VLUserDefaults.h"
#include "widgets/EmptyState.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"

#include <QClipboard>
#include <QEvent>
#include <QFormLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace {

const QString geometryKey = QStringLiteral("clientInfoPanelGeometry");
constexpr int pictureSize = 128;

VLUserDefaults& defaults() {
    return VLUserDefaults::standardUserDefaults();
}

}  // namespace

ClientInfoPanel::ClientInfoPanel(Source source, QWidget* parent)
    : QWidget(parent, Qt::Tool),
      m_source(std::move(source)),
      m_stack(new QStackedWidget(this)),
      m_empty(new EmptyState(m_stack)) {
    setObjectName(QStringLiteral("clientInfoPanel"));
    setWindowTitle(tr("Information"));
    setMinimumSize(360, 320);
    resize(480, 720);
    m_empty->setContents(QStringLiteral("computer"), tr("Select one computer"),
                         tr("What is known of it is shown here."));
    m_stack->addWidget(m_empty);
    m_stack->addWidget(buildContents());
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_stack);
    restoreGeometry(defaults().objectForKey(geometryKey).toByteArray());
    connect(new QShortcut(QKeySequence::Close, this), &QShortcut::activated, this, &QWidget::close);
    connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, this, &QWidget::close);
}

QWidget* ClientInfoPanel::buildContents() {
    auto* contents = new QWidget(m_stack);
    m_picture = new QLabel(contents);
    m_picture->setAlignment(Qt::AlignCenter);
    m_picture->setFixedHeight(pictureSize);
    m_picture->setAccessibleName(tr("Picture of the computer"));
    m_name = new QLabel(contents);
    m_name->setAlignment(Qt::AlignHCenter);
    m_name->setWordWrap(true);
    m_name->setTextFormat(Qt::PlainText);
    m_name->setFont(themeFont(1.25, QFont::DemiBold));

    auto* form = new QWidget;
    m_rows = new QFormLayout(form);
    m_rows->setContentsMargins(Metrics::unit * 2, 0, Metrics::unit * 2, Metrics::unit * 2);
    m_rows->setHorizontalSpacing(Metrics::unit * 1.5);
    m_rows->setVerticalSpacing(Metrics::unit * 0.75);
    m_rows->setLabelAlignment(Qt::AlignRight | Qt::AlignTop);
    m_rows->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    auto* scroll = new QScrollArea(contents);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setWidget(form);

    auto* copy = new QPushButton(tr("Copy All"), contents);
    copy->setObjectName(QStringLiteral("copyInfo"));
    copy->setToolTip(tr("Copy everything shown as text"));
    connect(copy, &QPushButton::clicked, this,
            [this] { QGuiApplication::clipboard()->setText(m_info.asText()); });
    auto* layout = new QVBoxLayout(contents);
    layout->setContentsMargins(0, Metrics::unit * 2, 0, Metrics::unit * 1.5);
    layout->setSpacing(Metrics::unit);
    layout->addWidget(m_picture);
    layout->addWidget(m_name);
    layout->addSpacing(Metrics::unit / 2);
    layout->addWidget(scroll, 1);
    auto* buttons = new QHBoxLayout;
    buttons->setContentsMargins(Metrics::unit * 2, 0, Metrics::unit * 2, 0);
    buttons->addStretch();
    buttons->addWidget(copy);
    layout->addLayout(buttons);
    return contents;
}

/// Anew only when there are other rows than before.
void ClientInfoPanel::buildRows() {
    QStringList titles;
    for (const ClientInfo::Row& row : std::as_const(m_info.rows))
        titles << row.title;
    if (titles == m_titles) return;
    m_titles = titles;
    m_values.clear();
    while (m_rows->rowCount() > 0)
        m_rows->removeRow(0);
    for (const ClientInfo::Row& row : std::as_const(m_info.rows)) {
        auto* caption = new QLabel(row.title);
        caption->setTextFormat(Qt::PlainText);
        caption->setForegroundRole(QPalette::PlaceholderText);
        caption->setAlignment(Qt::AlignRight | Qt::AlignTop);
        auto* value = new QLabel;
        value->setTextFormat(Qt::PlainText);
        value->setWordWrap(row.form == ClientInfo::Text);
        value->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        value->setAccessibleName(row.title);
        value->setObjectName(QStringLiteral("info:") + row.title);
        if (row.form == ClientInfo::FixedPitch) value->setFont(themeMonospaceFont());
        caption->setBuddy(value);
        if (row.startsSection) {
            caption->setContentsMargins(0, Metrics::unit * 1.5, 0, 0);
            value->setContentsMargins(0, Metrics::unit * 1.5, 0, 0);
        }
        m_rows->addRow(caption, value);
        m_values.append(value);
    }
}

void ClientInfoPanel::showService(const VLServicePtr& service) {
    const bool another = service != m_service;
    m_service = service;
    m_stack->setCurrentIndex(service ? 1 : 0);
    if (!service) return;
    if (another) {
        m_machine.clear();
        showPicture(service->icon());
        if (isVisible()) askAgent();
    }
    refresh();
}

void ClientInfoPanel::refresh() {
    if (!m_service || !isVisible()) return;
    if (m_service->isConnected() && !m_askedWhileConnected) askAgent();
    m_info = m_source.info(m_service, m_machine);
    buildRows();
    if (m_name->text() != m_service->name()) m_name->setText(m_service->name());
    for (qsizetype i = 0; i < m_values.size(); ++i) {
        const QString& value = m_info.rows.at(i).value;
        if (m_values.at(i)->text() != value) m_values.at(i)->setText(value);
    }
}

void ClientInfoPanel::askAgent() {
    m_askedWhileConnected = m_service->isConnected();
    m_source.askAgent(m_service);
}

void ClientInfoPanel::setMachine(const VLServicePtr& service, const QVariantMap& machine) {
    if (service != m_service || machine == m_machine) return;
    m_machine = machine;
    refresh();
}

void ClientInfoPanel::setLargeIcon(const VLServicePtr& service, const QImage& picture) {
    if (service == m_service && !picture.isNull()) showPicture(picture);
}

void ClientInfoPanel::showPicture(const QImage& picture) {
    m_image = picture;
    const double ratio = devicePixelRatioF();
    if (picture.isNull()) {
        m_picture->setPixmap(
            symbolPixmap(QStringLiteral("computer"), themeColors().faintText, pictureSize / 2, ratio));
        return;
    }
    const QSize size = QSize(pictureSize, pictureSize) * ratio;
    QPixmap pixmap = QPixmap::fromImage(picture.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    pixmap.setDevicePixelRatio(ratio);
    m_picture->setPixmap(pixmap);
}

void ClientInfoPanel::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (m_service) askAgent();
    refresh();
}

void ClientInfoPanel::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    defaults().setObject(saveGeometry(), geometryKey);
}

void ClientInfoPanel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange && m_picture) showPicture(m_image);
    QWidget::changeEvent(event);
}
