#include "tools/ToolPane.h"

#include "desktop/VLAlert.h"
#include "widgets/ElidedLabel.h"
#include "widgets/EmptyState.h"
#include "widgets/OutlineState.h"
#include "widgets/PaneBar.h"
#include "widgets/PaneParts.h"
#include "widgets/PlainText.h"
#include "widgets/SearchField.h"
#include "widgets/Spinner.h"
#include "widgets/SymbolIcon.h"
#include "widgets/TableSorting.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPointer>
#include <QResizeEvent>
#include <QStackedWidget>
#include <QToolButton>
#include <QTreeView>

#include <algorithm>
#include <utility>

namespace {
constexpr int noticeSymbol = 14;
constexpr qsizetype mostInToolTip = 20;  // lines
constexpr QSize unansweredSize{420, 260};
}  // namespace

QString ToolPane::listed(const QStringList& names, qsizetype most) {
    if (names.size() <= 1) return names.join(QString());
    if (names.size() > most)
        return tr("%1 and %2 more")
            .arg(names.mid(0, most).join(QStringLiteral(", ")), QString::number(names.size() - most));
    return tr("%1 and %2").arg(names.mid(0, names.size() - 1).join(QStringLiteral(", ")), names.last());
}

QString ToolPane::leftOutText(const ToolContext& context, const QList<VLServicePtr>& clients) {
    const QStringList names = context.runner->leftOutNames({clients.begin(), clients.end()});
    if (names.isEmpty()) return {};
    return u' ' + (names.size() == 1 ? tr("%1 is left out.").arg(names.first())
                                     : tr("%1 are left out.").arg(listed(names, 8)));
}

ToolPane::ToolPane(ToolController& controller, PaneNames names, PaneWords words, QWidget* parent)
    : QWidget(parent),
      m_controller(controller),
      m_names(std::move(names)),
      m_words(std::move(words)),
      m_lines(new QVBoxLayout(this)),
      m_bar(new PaneBar(this)),
      m_notice(new QWidget(this)),
      m_noticeSymbol(new QLabel(m_notice)),
      m_noticeText(new ElidedLabel(m_notice, ElidedLabel::Tone::Warning)),
      m_showUnanswered(new QToolButton(m_notice)),
      m_search(new SearchField(m_words.filter, this)),
      m_stack(new QStackedWidget(this)),
      m_view(new QTreeView(this)),
      m_empty(new EmptyState(this)),
      m_foot(new QWidget(this)),
      m_summary(new ElidedLabel(m_foot, ElidedLabel::Tone::Secondary)) {
    setObjectName(named("Pane"));
    m_search->setObjectName(named("Filter"));
    m_search->setMinimumWidth(110);
    m_search->setMaximumWidth(180);
    m_empty->setObjectName(named("Empty"));
    m_empty->findChild<Spinner*>()->setObjectName(named("Spinner"));
    setUpPaneTable(*m_view, m_names.view, m_words.title);
    buildNotice();
    buildFoot();
    m_stack->addWidget(m_view);
    m_stack->addWidget(m_empty);
    m_lines->setContentsMargins(0, 0, 0, 0);
    m_lines->setSpacing(0);
    for (QWidget* part : {static_cast<QWidget*>(m_bar), m_notice})
        m_lines->addWidget(part);
    m_lines->addWidget(m_stack, 1);
    m_lines->addWidget(m_foot);
}

void ToolPane::buildNotice() {
    auto* line = new QHBoxLayout(m_notice);
    line->setContentsMargins(Metrics::unit * 2, 0, Metrics::unit * 2, Metrics::unit);
    line->setSpacing(Metrics::unit);
    m_noticeText->setObjectName(named("NoAnswer"));
    m_showUnanswered->setObjectName(named("ShowNoAnswer"));
    m_showUnanswered->setText(tr("Show…"));
    m_showUnanswered->setToolTip(tr("The computers that gave no answer, and why"));
    m_showUnanswered->setAutoRaise(true);
    m_showUnanswered->setFocusPolicy(Qt::StrongFocus);
    connect(m_showUnanswered, &QToolButton::clicked, this, &ToolPane::showUnanswered);
    line->addWidget(m_noticeSymbol);
    line->addWidget(m_noticeText);
    line->addWidget(m_showUnanswered);
    line->addStretch(1);
}

/// In the colours of the theme that holds now.
void ToolPane::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_notice->isVisibleTo(this)) updateNotice();
}

void ToolPane::buildFoot() {
    auto* layout = new QVBoxLayout(m_foot);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(hairline(m_foot));
    auto* line = new QHBoxLayout;
    line->setContentsMargins(Metrics::unit * 2, Metrics::unit / 2, Metrics::unit * 2, Metrics::unit / 2);
    m_summary->setObjectName(named("Summary"));
    line->addWidget(m_summary);
    layout->addLayout(line);
}

void ToolPane::addDifferencesOnly() {
    m_differencesOnly = new QToolButton(this);
    m_differencesOnly->setObjectName(QStringLiteral("differencesOnly"));
    m_differencesOnly->setText(tr("Differences Only"));
    m_differencesOnly->setIcon(symbolIcon(QStringLiteral("filter")));
    m_differencesOnly->setCheckable(true);
    m_differencesOnly->setToolTip(m_words.differencesOnly);
    setUpBarButton(*m_differencesOnly);
    m_bar->addAtEnd(m_differencesOnly);
    connect(m_differencesOnly, &QToolButton::toggled, this, &ToolPane::filter);
}

void ToolPane::start(QAbstractItemModel* model, const QStringList& columnNames, int keyRole,
                     const QList<ColumnLayout>& layouts) {
    m_bar->addAtEnd(m_search);
    m_keyRole = keyRole;
    m_view->setModel(model);
    m_view->setSortingEnabled(true);
    rememberSorting(m_view->header(), m_names.table, columnNames);
    m_layouts = layouts;
    fitColumns(layouts.first().fromWidth);
    connect(&m_controller, &ToolController::changed, this, &ToolPane::reload);
    connect(&m_controller, &ToolController::busyChanged, this, &ToolPane::updateState);
    connect(&m_controller, &ToolController::selectionChanged, this, &ToolPane::updateState);
    connect(m_view->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { updateActions(); });
    connect(m_view, &QWidget::customContextMenuRequested, this, &ToolPane::showContextMenu);
    connect(m_search, &QLineEdit::textChanged, this, &ToolPane::filter);
    connect(m_search, &SearchField::moveToList, m_view, qOverload<>(&QWidget::setFocus));
    connect(m_empty, &EmptyState::buttonClicked, this, [this] {
        if (m_differencesOnly) m_differencesOnly->setChecked(false);
        m_search->clear();
    });
    orderTabs();
    reload();
}

/// From the left to the right and then down, whatever was made first.
void ToolPane::orderTabs() {
    const QList<QWidget*> order = m_bar->parts() << m_showUnanswered << m_view;
    for (qsizetype next = 1; next < order.size(); ++next)
        setTabOrder(order.at(next - 1), order.at(next));
}

// ---- What is shown

/// What was expanded, selected and in view stays so.
void ToolPane::keepState(const std::function<void()>& change) {
    const OutlineState state = OutlineState::of(*m_view, m_keyRole);
    change();
    state.restore(*m_view, m_keyRole);
    updateState();
}

void ToolPane::reload() {
    keepState([this] {
        installRows();
        if (!m_controller.hasResult()) resetOutlineView(*m_view);  // cleared: there is nothing to keep
    });
    m_summary->setText(summary());
    m_foot->setVisible(anyRows());
    updateNotice();
}

void ToolPane::filter() {
    keepState([this] { applyFilter(m_search->text(), m_differencesOnly && m_differencesOnly->isChecked()); });
}

void ToolPane::updateState() {
    const bool anyShown = m_view->model()->rowCount() > 0;
    if (!anyShown) showWhyEmpty();
    m_stack->setCurrentWidget(anyShown ? static_cast<QWidget*>(m_view) : m_empty);
    if (m_differencesOnly) m_differencesOnly->setEnabled(anyRows());
    m_search->setEnabled(anyRows());
    updateButtonsForAll();
    updateActions();
}

QStringList ToolPane::unansweredNames() const {
    QStringList names;
    for (const UnansweredClient& client : m_controller.unanswered())
        names.append(m_controller.context().friendlyServiceName(client.hostName));
    std::sort(names.begin(), names.end());
    return names;
}

void ToolPane::updateNotice() {
    const QStringList names = unansweredNames();
    m_notice->setVisible(!names.isEmpty());
    QString text = tr("No answer from %1").arg(listed(names));
    if (!m_words.unansweredAlone.isEmpty()) text += QStringLiteral(" · ") + m_words.unansweredAlone;
    m_noticeText->setText(text);
    m_noticeSymbol->setPixmap(
        symbolPixmap(QStringLiteral("disconnect"), themeColors().text, noticeSymbol, devicePixelRatioF()));
    QStringList lines = unansweredLines();
    if (const qsizetype more = lines.size() - mostInToolTip; more > 0) {
        lines.resize(mostInToolTip);
        lines << tr("and %1 more").arg(more);
    }
    m_noticeText->setToolTip(literalText(lines.join(u'\n')));
}

QStringList ToolPane::unansweredLines() const {
    QStringList lines;
    for (const UnansweredClient& client : m_controller.unanswered()) {
        const QString name = m_controller.context().friendlyServiceName(client.hostName);
        lines << (client.reason.isEmpty() ? name : QStringLiteral("%1: %2").arg(name, client.reason));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

/// All of them, in a list that goes with Escape or a click beside it.
void ToolPane::showUnanswered() {
    auto* dialog = new QDialog(this, Qt::Popup);
    dialog->setObjectName(named("NoAnswerDialog"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    auto* list = new QListWidget(dialog);
    list->setObjectName(named("NoAnswerList"));
    list->setAccessibleName(tr("Computers that gave no answer"));
    list->setFrameShape(QFrame::NoFrame);
    list->setUniformItemSizes(true);
    list->addItems(unansweredLines());
    list->setCurrentRow(0);
    auto* layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(1, 1, 1, 1);
    layout->addWidget(list);
    dialog->resize(unansweredSize);
    dialog->move(m_showUnanswered->mapToGlobal(QPoint(0, m_showUnanswered->height())));
    dialog->show();
    list->setFocus();
}

void ToolPane::showWhyEmpty() {
    const QList<VLServicePtr> selected = m_controller.context().selectedServices();
    const bool anyConnected = std::any_of(selected.begin(), selected.end(),
                                          [](const VLServicePtr& service) { return service->isConnected(); });
    const bool isFiltered = anyRows();
    m_empty->setButtonText(isFiltered ? tr("Show All") : QString());
    const auto say = [this](const QString& title, const QString& text) {
        m_empty->setContents(m_words.symbol, title, text);
    };
    if (isFiltered) {
        m_empty->setContents(QStringLiteral("search"), m_words.noMatch, m_words.noneShown);
    } else if (selected.isEmpty()) {
        say(m_words.whenNoneSelected, tr("Select one or more in the list on the left, or All Computers."));
    } else if (m_controller.isBusy()) {
        m_empty->setBusy(m_words.reading);
    } else if (!anyConnected) {
        say(selected.size() == 1 ? tr("The selected computer is not connected")
                                 : tr("The selected computers are not connected"),
            m_words.whenDisconnected);
    } else if (m_controller.hasResult() && m_controller.unanswered().size() >= selected.size()) {
        say(selected.size() == 1 ? tr("The selected computer did not answer")
                                 : tr("The selected computers did not answer"),
            tr("The error log says why. Choose Refresh to ask again."));
    } else if (m_controller.hasResult()) {
        say(m_words.noneFound, m_words.whenNone);
    } else {
        say(m_words.notRead, tr("Choose Refresh to read them from the selected computers."));
    }
}

// ---- Changing every row

WordsForAll ToolPane::wordsForEnabling() {
    return {.verb = tr("Enable"),
            .all = tr("Enable All"),
            .number = tr("Enable All %1"),
            .onOne = tr("Enable all %1 on 1 computer"),
            .onSeveral = tr("Enable all %1 on %2 computers")};
}

WordsForAll ToolPane::wordsForDisabling() {
    return {.verb = tr("Disable"),
            .all = tr("Disable All"),
            .number = tr("Disable All %1"),
            .onOne = tr("Disable all %1 on 1 computer"),
            .onSeveral = tr("Disable all %1 on %2 computers")};
}

QToolButton* ToolPane::addButtonForAll(const QString& name, const QString& symbol, const WordsForAll& words,
                                       std::function<void()> action) {
    QToolButton* const button =
        m_bar->addButton(name, symbol, words.verb, {},
                         [this, words, action = std::move(action)] { runForAll(words, action); });
    m_bar->keepWords(button);
    m_buttonsForAll.append({button, words});
    return button;
}

int ToolPane::hiddenTotal() const {
    return rowTotal() - m_view->model()->rowCount();
}

QString ToolPane::forAll(const WordsForAll& words) const {
    const qsizetype computers = m_controller.context().selectedServices().size();
    const QString rows = counted(rowTotal());
    return computers == 1 ? words.onOne.arg(rows) : words.onSeveral.arg(rows).arg(computers);
}

void ToolPane::updateButtonsForAll() {
    const int hidden = hiddenTotal();
    for (const auto& [button, words] : std::as_const(m_buttonsForAll)) {
        button->setText(anyRows() ? words.number.arg(rowTotal()) : words.all);
        QString toolTip = forAll(words);
        if (hidden > 0) toolTip = tr("%1,\nalso the %2 that the filter hides").arg(toolTip).arg(hidden);
        button->setToolTip(toolTip);
        button->setEnabled(anyRows());
    }
    m_bar->fit();
}

QString ToolPane::notNarrowed(int hidden) const {
    return (hidden == 1 ? tr("The filter does not narrow this: %1 that is not shown are changed as well.")
                        : tr("The filter does not narrow this: %1 that are not shown are changed as well."))
        .arg(counted(hidden));
}

void ToolPane::runForAll(const WordsForAll& words, const std::function<void()>& action) {
    const int hidden = hiddenTotal();
    if (hidden == 0) return action();
    VLAlert::ask(
        tr("%1?").arg(forAll(words)), words.number.arg(rowTotal()),
        notNarrowed(hidden) + leftOutText(m_controller.context(), m_controller.context().selectedServices()),
        window(), [pane = QPointer(this), action] {
            if (pane) action();
        });
}

// ---- Room and menus

void ToolPane::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    fitColumns(event->size().width());
}

void ToolPane::fitColumns(int width) {
    const auto fitting =
        std::find_if(m_layouts.cbegin(), m_layouts.cend(),
                     [width](const ColumnLayout& layout) { return width >= layout.fromWidth; });
    const qsizetype place = fitting - m_layouts.cbegin();
    if (fitting == m_layouts.cend() || place == std::exchange(m_layout, place)) return;
    for (int column = 0; column < m_view->model()->columnCount(); ++column)
        m_view->setColumnHidden(column, fitting->hidden.contains(column));
    for (int column = 0; column < fitting->widths.size(); ++column)
        m_view->setColumnWidth(column, fitting->widths.at(column));
}

void ToolPane::showContextMenu(const QPoint& position) {
    QMenu* const menu = makeContextMenu(*m_view, named("Menu"));
    addMenuItems(*menu);
    menu->addSeparator();
    if (m_view->rootIsDecorated()) {
        addExpandItems(*menu, *m_view);
        menu->addSeparator();
    }
    addCopyItem(*menu, *m_view);
    menu->popup(m_view->viewport()->mapToGlobal(position));
}
