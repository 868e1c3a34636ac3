#include "clients/view/TroubleshooterWindow.h"

#include "clients/view/ProblemView.h"
#include "foundation/VLUserDefaults.h"
#include "widgets/EmptyState.h"
#include "widgets/PlainText.h"
#include "widgets/RowPatch.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QShortcut>
#include <QSplitter>
#include <QStackedWidget>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

namespace {

const QString geometryKey = QStringLiteral("troubleshooterWindowGeometry");
const QString splitterKey = QStringLiteral("troubleshooterWindowSplitter");
constexpr int symbolSize = 20;

VLUserDefaults& defaults() {
    return VLUserDefaults::standardUserDefaults();
}

/// The client is connected; something else is wrong with it.
bool isWarning(int kind) {
    switch (kind) {
        case ConnectionProblem::ChangedKey:
        case ConnectionProblem::UnreadableKey:
        case ConnectionProblem::AgentOutdated:
        case ConnectionProblem::SuiteOutdated:
        case ConnectionProblem::ConsoleOutdated:
        case ConnectionProblem::Disabled:
            return true;
        default:
            return false;
    }
}

/// Name and problem on two lines, after a mark.
class FailingClientDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        painter->save();
        paintRowPatch(painter, option);
        const ThemeColors& c = themeColors();
        const QRect content = option.rect.adjusted(Metrics::unit * 2, 0, -Metrics::unit * 2, 0);
        const QColor mark = isWarning(index.data(FailingClientsModel::KindRole).toInt()) ? c.warning : c.bad;
        QRectF square(content.left(), 0, symbolSize, symbolSize);
        square.moveTop(content.center().y() - symbolSize / 2.0 + 0.5);
        paintSymbol(painter, square, QStringLiteral("error"), mark);

        const QFont nameFont = themeFont(1.0, QFont::Medium), problemFont = themeFont(0.9);
        const QFontMetrics nameMetrics(nameFont), problemMetrics(problemFont);
        const int left = content.left() + symbolSize + Metrics::unit + 2;
        const int width = content.right() - left;
        int top = content.center().y() - (nameMetrics.height() + problemMetrics.height()) / 2;
        const auto drawLine = [&](const QFont& font, const QFontMetrics& metrics, const QColor& color,
                                  const QString& text) {
            painter->setFont(font);
            painter->setPen(color);
            painter->drawText(QRect(left, top, width, metrics.height()), Qt::AlignVCenter,
                              metrics.elidedText(text, Qt::ElideRight, width));
            top += metrics.height() + 1;
        };
        const bool trying = index.data(FailingClientsModel::TryingRole).toBool();
        drawLine(nameFont, nameMetrics, c.text, index.data().toString());
        drawLine(problemFont, problemMetrics, c.secondaryText,
                 trying ? TroubleshooterWindow::tr("Connecting…")
                        : index.data(FailingClientsModel::ProblemRole).toString());
        painter->restore();
    }
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
        return {0, QFontMetrics(option.font).height() * 2 + Metrics::unit * 2};
    }
};

class Sidebar : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(rect(), themeColors().sidebar); }
};

QString placeOf(const VLService& service) {
    QStringList parts{service.name()};
    const QString ip = service.ipAddress();
    parts << (ip.isEmpty() ? service.hostName() : ip);
    if (service.port() > 0) parts << TroubleshooterWindow::tr("port %1").arg(service.port());
    parts.removeAll(QString());
    return parts.join(QStringLiteral("  ·  "));
}

}  // namespace

TroubleshooterWindow::TroubleshooterWindow(FailingClientsModel& clients, Actions actions, QWidget* parent)
    : QWidget(parent, Qt::Window),
      m_clients(clients),
      m_actions(std::move(actions)),
      m_stack(new QStackedWidget(this)),
      m_splitter(new QSplitter(m_stack)),
      m_list(new QListView(m_splitter)),
      m_problem(nullptr),
      m_empty(new EmptyState(m_stack)) {
    setObjectName(QStringLiteral("troubleshooterWindow"));
    setWindowTitle(tr("Connection Troubleshooter"));
    setMinimumSize(720, 400);
    resize(900, 560);
    m_splitter->setChildrenCollapsible(false);
    m_splitter->addWidget(buildSidebar());
    m_splitter->addWidget(buildDetail());
    m_splitter->setStretchFactor(1, 1);
    m_splitter->setSizes({260, 640});
    m_empty->setObjectName(QStringLiteral("troubleshooterEmpty"));
    m_empty->setContents(QStringLiteral("ok"), tr("All computers are connected"),
                         tr("A computer that cannot be reached, or that something is wrong with, "
                            "is listed here with what can be done about it."));
    m_stack->addWidget(m_splitter);
    m_stack->addWidget(m_empty);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_stack);

    restoreGeometry(defaults().objectForKey(geometryKey).toByteArray());
    m_splitter->restoreState(defaults().objectForKey(splitterKey).toByteArray());
    connect(new QShortcut(QKeySequence::Close, this), &QShortcut::activated, this, &QWidget::close);
    connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, this, &QWidget::close);
    connect(&m_portTest, &PortTest::outcomeReady, m_problem, &ProblemView::addOutcome);
    connect(&m_portTest, &PortTest::finished, this, [this] {
        m_problem->endPortTest();
        update();
    });
    update();
}

QWidget* TroubleshooterWindow::buildSidebar() {
    auto* sidebar = new Sidebar(m_splitter);
    sidebar->setMinimumWidth(200);
    auto* heading = new QLabel(tr("Computers"), sidebar);
    heading->setFont(themeFont(1.0, QFont::DemiBold));
    heading->setContentsMargins(Metrics::unit * 2, Metrics::unit * 2, Metrics::unit * 2, Metrics::unit / 2);
    heading->setBuddy(m_list);
    auto* layout = new QVBoxLayout(sidebar);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(heading);
    layout->addWidget(m_list, 1);

    m_list->setObjectName(QStringLiteral("failingClients"));
    m_list->setAccessibleName(tr("Failing computers"));
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->viewport()->setAutoFillBackground(false);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setMouseTracking(true);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setUniformItemSizes(true);
    m_list->setItemDelegate(new FailingClientDelegate(m_list));
    m_list->setModel(&m_clients);
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &TroubleshooterWindow::selectionChanged);
    for (const auto change : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(&m_clients, change, this, &TroubleshooterWindow::update);
    connect(&m_clients, &QAbstractItemModel::dataChanged, this, &TroubleshooterWindow::update);
    return sidebar;
}

QWidget* TroubleshooterWindow::buildDetail() {
    auto* detail = new QWidget(m_splitter);
    m_problem = new ProblemView(detail);
    QFrame* line = hairline(detail);
    auto* buttons = new QHBoxLayout;
    buttons->setContentsMargins(Metrics::unit * 2, Metrics::unit * 1.5, Metrics::unit * 2,
                                Metrics::unit * 1.5);
    buttons->setSpacing(Metrics::unit);
    buttons->addWidget(addButton(tr("Copy Details"), "copyDetails",
                                 tr("Copy everything shown about this computer"),
                                 [this] { QGuiApplication::clipboard()->setText(details()); }));
    buttons->addWidget(
        addButton(tr("Show Log"), "showLog", tr("Show the console's own log"), m_actions.showLog));
    buttons->addStretch();
    m_review = addButton(tr("Review New Identity…"), "reviewIdentity",
                         tr("Compare the new key with the one the computer was known by"),
                         [this] { m_actions.reviewIdentity(selectedService(), this); });
    m_test = addButton(tr("Test Port"), "testPort", tr("Try whether the computer's port takes connections"),
                       [this] { testPort(); });
    m_retry = addButton(tr("Retry"), "retry", tr("Connect to the computer anew"),
                        [this] { m_actions.retry(selectedService()); });
    for (QPushButton* button : {m_review, m_test, m_retry})
        buttons->addWidget(button);
    auto* layout = new QVBoxLayout(detail);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_problem, 1);
    layout->addWidget(line);
    layout->addLayout(buttons);
    return detail;
}

QPushButton* TroubleshooterWindow::addButton(const QString& text, const char* name, const QString& help,
                                             const std::function<void()>& action) {
    auto* button = new QPushButton(text, this);
    button->setObjectName(QLatin1String(name));
    button->setToolTip(help);
    connect(button, &QPushButton::clicked, this, action);
    return button;
}

VLServicePtr TroubleshooterWindow::selectedService() const {
    return m_clients.serviceAt(m_list->currentIndex());
}

void TroubleshooterWindow::select(const VLServicePtr& service) {
    const QModelIndex index = m_clients.indexOf(service);
    if (index.isValid()) m_list->setCurrentIndex(index);
}

void TroubleshooterWindow::selectionChanged() {
    if (selectedService() != m_tested) {
        m_portTest.cancel();
        m_problem->clearPortTest();
        m_tested = nullptr;
    }
    update();
}

void TroubleshooterWindow::update() {
    const bool any = m_clients.rowCount() > 0;
    m_stack->setCurrentWidget(any ? static_cast<QWidget*>(m_splitter) : m_empty);
    if (any && !m_list->currentIndex().isValid()) m_list->setCurrentIndex(m_clients.index(0));
    const VLServicePtr service = selectedService();
    if (!service) return;
    const ConnectionProblem problem = ConnectionProblem::of(*service);
    // A client that works again stays as it was until the list is renewed, which is at once.
    if (problem.kind != ConnectionProblem::None) m_problem->setProblem(placeOf(*service), problem);
    m_review->setVisible(problem.kind == ConnectionProblem::ChangedKey);
    m_retry->setVisible(problem.kind != ConnectionProblem::ChangedKey);  // it would be refused again
    m_retry->setEnabled(!m_list->currentIndex().data(FailingClientsModel::TryingRole).toBool());
    m_test->setEnabled(!m_portTest.isRunning());
}

void TroubleshooterWindow::testPort() {
    const VLServicePtr service = selectedService();
    if (!service) return;
    m_tested = service;
    m_problem->startPortTest();
    m_portTest.start(PortTest::targetsOf(*service));
    update();
}

QString TroubleshooterWindow::details() const {
    const VLServicePtr service = selectedService();
    if (!service) return {};
    QString text = placeOf(*service) + u'\n' + m_problem->problem().asText();
    const QString test = m_problem->portTestText();
    if (!test.isEmpty()) text += tr("\nPort test:\n") + test;
    return text;
}

void TroubleshooterWindow::showEvent(QShowEvent* event) {
    m_actions.visibleChanged(true);
    QWidget::showEvent(event);
}

void TroubleshooterWindow::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    m_portTest.cancel();
    m_problem->clearPortTest();
    m_tested = nullptr;
    defaults().setObject(saveGeometry(), geometryKey);
    defaults().setObject(m_splitter->saveState(), splitterKey);
    m_actions.visibleChanged(false);
}
