#include "app/window/ActivityWindow.h"

#include "app/window/ActivityFilterBar.h"
#include "app/window/OutcomeLook.h"
#include "desktop/VLAlert.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "runs/ActivityDetailsModel.h"
#include "runs/ActivityModel.h"
#include "widgets/ElidedLabel.h"
#include "widgets/EmptyState.h"
#include "widgets/PaneParts.h"
#include "widgets/RowCopy.h"
#include "widgets/SearchField.h"
#include "widgets/SymbolIcon.h"
#include "widgets/TableSorting.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QClipboard>
#include <QFileDialog>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QPushButton>
#include <QShortcut>
#include <QSortFilterProxyModel>
#include <QSplitter>
#include <QStackedWidget>
#include <QStandardPaths>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace {

constexpr std::chrono::milliseconds facetsPause{1'000};
constexpr std::chrono::milliseconds wantedPatience{10'000};
constexpr int warningSymbolSize = 16;
constexpr std::ptrdiff_t mostCopied = 100'000;  // rows
constexpr std::size_t copiedPerStep = 1'000;

QString toolTitle(const QList<Tool>& tools, const QString& identifier) {
    const auto found = std::find_if(tools.begin(), tools.end(),
                                    [&](const Tool& tool) { return tool.identifier == identifier; });
    if (found != tools.end()) return found->title;
    return identifier.isEmpty() ? ActivityWindow::tr("Console") : identifier;
}

QString countOf(qint64 count) {
    return (count == 1 ? ActivityWindow::tr("%1 run") : ActivityWindow::tr("%1 runs"))
        .arg(QLocale().toString(count));
}

QString durationText(const RunRecord& run) {
    const qint64 milliseconds = std::max<qint64>(0, run.started.msecsTo(run.ended));
    if (milliseconds < 60'000) return ActivityWindow::tr("%1 s").arg(double(milliseconds) / 1000, 0, 'f', 1);
    return ActivityWindow::tr("%1 min %2 s").arg(milliseconds / 60'000).arg(milliseconds / 1000 % 60);
}

/// One line of tab-separated text.
QString lineOf(QStringList cells) {
    for (QString& cell : cells)
        cell = cell.simplified();
    return cells.join(QLatin1Char('\t'));
}

void setUpTable(QTreeView& table, const char* objectName, const QString& accessibleName) {
    setUpPaneTable(table, QLatin1String(objectName), accessibleName);
    table.setRootIsDecorated(false);
    table.setItemsExpandable(false);
    table.setSelectionMode(QAbstractItemView::ExtendedSelection);
}

}  // namespace

ActivityWindow::ActivityWindow(ActivityStore& store, const QList<::Tool>& tools, ActivityActions actions,
                               QWidget* parent)
    : QWidget(parent, Qt::Window),
      m_store(store),
      m_actions(std::move(actions)),
      m_model(new ActivityModel(
          store, [tools](const QString& identifier) { return toolTitle(tools, identifier); }, this)),
      m_detailsModel(new ActivityDetailsModel(this)),
      m_filters(new ActivityFilterBar(
          [tools](const QString& identifier) { return toolTitle(tools, identifier); }, this)),
      m_list(new QTreeView(this)),
      m_details(new QTreeView(this)),
      m_stack(new QStackedWidget(this)),
      m_empty(new EmptyState(this)),
      m_title(new ElidedLabel(this)),
      m_subtitle(new ElidedLabel(this, ElidedLabel::Tone::Secondary)),
      m_warningSymbol(new QLabel(this)),
      m_warning(new ElidedLabel(this)),
      m_status(new ElidedLabel(this, ElidedLabel::Tone::Secondary)),
      m_copy(new QPushButton(tr("Copy"), this)),
      m_export(new QPushButton(tr("Export"), this)),
      m_stopExport(new QPushButton(tr("Stop Export"), this)),
      m_retry(new QPushButton(tr("Retry Failed"), this)),
      m_undo(new QPushButton(tr("Undo"), this)) {
    setObjectName(QStringLiteral("activityWindow"));
    setWindowTitle(tr("Activity"));
    resize(980, 660);
    buildList();
    auto* splitter = new QSplitter(Qt::Vertical, this);
    splitter->setChildrenCollapsible(false);
    splitter->addWidget(m_stack);
    splitter->addWidget(buildDetails());
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 2);
    splitter->setSizes({340, 220});

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_filters);
    layout->addWidget(hairline(this));
    layout->addWidget(splitter, 1);
    layout->addWidget(hairline(this));
    layout->addWidget(buildWarning());
    layout->addWidget(buildButtons());
    connectParts();
    showRecord(nullptr);
    rowsLoaded();
    updateWarning();
}

ActivityWindow::~ActivityWindow() {
    if (m_exportStops) *m_exportStops = true;
}

// MARK: Parts

void ActivityWindow::buildList() {
    auto* look = new OutcomeLook(ActivityModel::KindRole, ActivityModel::Summary,
                                 {ActivityModel::Time, ActivityModel::User}, this);
    look->setSourceModel(m_model);
    setUpTable(*m_list, "activityList", tr("Runs"));
    m_list->setModel(look);
    QHeaderView* header = m_list->header();
    header->setStretchLastSection(false);
    header->setSectionsClickable(false);
    const std::pair<int, int> widths[] = {{ActivityModel::Time, 168},
                                          {ActivityModel::Tool, 104},
                                          {ActivityModel::Action, 116},
                                          {ActivityModel::Subject, 176},
                                          {ActivityModel::User, 76}};
    for (const auto& [column, width] : widths)
        header->resizeSection(column, width);
    header->setSectionResizeMode(ActivityModel::Summary, QHeaderView::Stretch);
    m_stack->addWidget(m_list);
    m_stack->addWidget(m_empty);
    m_stack->setMinimumHeight(160);
}

QWidget* ActivityWindow::buildDetails() {
    auto* sorted = new QSortFilterProxyModel(this);
    sorted->setSourceModel(m_detailsModel);
    sorted->setSortRole(ActivityDetailsModel::SortRole);
    sorted->setSortCaseSensitivity(Qt::CaseInsensitive);
    auto* look = new OutcomeLook(ActivityDetailsModel::KindRole, ActivityDetailsModel::Result, {}, this);
    look->setSourceModel(sorted);
    setUpTable(*m_details, "activityDetails", tr("Computers of the chosen run"));
    m_details->setModel(look);
    m_details->setSortingEnabled(true);
    QHeaderView* header = m_details->header();
    rememberSorting(header, QStringLiteral("activityDetailsTable"),
                    {QStringLiteral("computer"), QStringLiteral("outcome"), QStringLiteral("reason")});
    look->sort(header->sortIndicatorSection(), header->sortIndicatorOrder());
    header->resizeSection(ActivityDetailsModel::Computer, 246);
    header->resizeSection(ActivityDetailsModel::Result, 150);

    m_title->setFont(themeFont(1.05, QFont::DemiBold));
    m_title->setObjectName(QStringLiteral("activityTitle"));
    m_subtitle->setObjectName(QStringLiteral("activitySubtitle"));
    auto* head = new QVBoxLayout;
    head->setContentsMargins(Metrics::unit * 1.5, Metrics::unit * 1.25, Metrics::unit * 1.5, Metrics::unit);
    head->setSpacing(2);
    head->addWidget(m_title);
    head->addWidget(m_subtitle);
    auto* details = new QWidget(this);
    auto* layout = new QVBoxLayout(details);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(head);
    layout->addWidget(hairline(details));
    layout->addWidget(m_details, 1);
    details->setMinimumHeight(130);
    return details;
}

QWidget* ActivityWindow::buildWarning() {
    auto* line = new QWidget(this);
    auto* layout = new QHBoxLayout(line);
    layout->setContentsMargins(Metrics::unit * 1.5, Metrics::unit, Metrics::unit * 1.5, 0);
    layout->setSpacing(Metrics::unit);
    layout->addWidget(m_warningSymbol);
    layout->addWidget(m_warning, 1);
    m_warning->setObjectName(QStringLiteral("activityWarning"));
    return line;
}

QWidget* ActivityWindow::buildButtons() {
    const std::tuple<QPushButton*, const char*, QString> buttons[] = {
        {m_copy, "activityCopy", tr("Copy the selected runs as text")},
        {m_export, "activityExport", tr("Write all runs that are listed into a file")},
        {m_stopExport, "activityStopExport", tr("Give up writing the file")},
        {m_retry, "activityRetry", tr("Do it again on the computers where it was not done")},
        {m_undo, "activityUndo", tr("Take it back on the computers where it was done")}};
    auto* bar = new QWidget(this);
    auto* layout = new QHBoxLayout(bar);
    layout->setContentsMargins(Metrics::unit * 1.5, Metrics::unit * 1.5, Metrics::unit * 1.5,
                               Metrics::unit * 1.5);
    layout->setSpacing(Metrics::unit);
    layout->addWidget(m_status, 1);
    for (const auto& [button, objectName, help] : buttons) {
        button->setObjectName(QLatin1String(objectName));
        button->setToolTip(help);
        layout->addWidget(button);
    }
    m_stopExport->hide();
    auto* menu = new QMenu(m_export);
    menu->addAction(tr("As &CSV…"), this, [this] { chooseExport(ActivityExport::Format::Csv); });
    menu->addAction(tr("As &JSON…"), this, [this] { chooseExport(ActivityExport::Format::Json); });
    m_export->setMenu(menu);
    m_status->setObjectName(QStringLiteral("activityStatus"));
    return bar;
}

void ActivityWindow::connectParts() {
    connect(m_filters, &ActivityFilterBar::filterChanged, this, [this] {
        if (!m_filters->filter().isEmpty()) m_wantedKey = 0;  // the user is on to something else
        m_model->setFilter(m_filters->filter());
        updateStatus();
    });
    connect(m_filters->searchField(), &SearchField::moveToList, m_list, qOverload<>(&QWidget::setFocus));
    connect(m_empty, &EmptyState::buttonClicked, m_filters, &ActivityFilterBar::clear);
    connect(m_model, &ActivityModel::loaded, this, &ActivityWindow::rowsLoaded);
    connect(m_model, &ActivityModel::dataChanged, this, &ActivityWindow::readRecordIfTakenBack);
    connect(m_list->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &ActivityWindow::currentChanged);
    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ActivityWindow::updateActions);
    connect(&m_store, &ActivityStore::problemChanged, this, &ActivityWindow::updateWarning);
    m_facetsTimer.setSingleShot(true);
    m_facetsTimer.setInterval(facetsPause);
    connect(&m_facetsTimer, &QTimer::timeout, this, &ActivityWindow::readFacets);
    connect(&m_store, &ActivityStore::changed, this, [this] {
        if (isVisible() && !m_facetsTimer.isActive()) m_facetsTimer.start();
        findWantedRun();
    });
    m_wantedTimer.setSingleShot(true);
    m_wantedTimer.setInterval(wantedPatience);
    connect(&m_wantedTimer, &QTimer::timeout, this, [this] {
        if (std::exchange(m_wantedRun, {}).isEmpty()) return;
        if (m_store.problem().isEmpty()) say(tr("That run is not kept."));
    });

    connect(m_copy, &QPushButton::clicked, this, &ActivityWindow::copyRuns);
    connect(m_stopExport, &QPushButton::clicked, this, [this] {
        if (m_exportStops) *m_exportStops = true;
    });
    connect(m_retry, &QPushButton::clicked, this, [this] { act(m_actions.retry); });
    connect(m_undo, &QPushButton::clicked, this, [this] { act(m_actions.undo); });
    connect(new QShortcut(QKeySequence::Copy, this), &QShortcut::activated, this, &ActivityWindow::copy);
    connect(new QShortcut(QKeySequence::Find, this), &QShortcut::activated, this, [this] {
        m_filters->searchField()->setFocus();
        m_filters->searchField()->selectAll();
    });
    connect(new QShortcut(QKeySequence::Close, this), &QShortcut::activated, this, &QWidget::close);
    for (QTreeView* table : {m_list, m_details})
        connect(table, &QWidget::customContextMenuRequested, this, [this, table](const QPoint& position) {
            QMenu* const menu = makeContextMenu(*table, QStringLiteral("activityMenu"));
            QAction* const copies =
                menu->addAction(symbolIcon(QStringLiteral("copy")), tr("Copy"), this, &ActivityWindow::copy);
            copies->setEnabled(table->selectionModel()->hasSelection());
            menu->popup(table->viewport()->mapToGlobal(position));
        });
}

// MARK: Events

void ActivityWindow::showEvent(QShowEvent* event) {
    m_model->setActive(true);
    readFacets();
    QWidget::showEvent(event);
}

void ActivityWindow::hideEvent(QHideEvent* event) {
    m_model->setActive(false);
    QWidget::hideEvent(event);
}

void ActivityWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        close();
        return;
    }
    QWidget::keyPressEvent(event);
}

void ActivityWindow::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) updateWarning();
    QWidget::changeEvent(event);
}

// MARK: The list

void ActivityWindow::readFacets() {
    m_store.read(
        this, [](ActivityDatabase& database) { return database.facets(); },
        [this](const ActivityAnswer<ActivityFacets>& answer) {
            if (answer.error.isEmpty()) m_filters->setFacets(answer.value);
        });
}

void ActivityWindow::rowsLoaded() {
    const bool any = m_model->rowCount() > 0;
    m_empty->setButtonText({});
    if (!m_model->error().isEmpty()) {
        m_empty->setContents(QStringLiteral("error"), tr("Activity cannot be read"), m_model->error());
    } else if (m_model->isLoading()) {
        m_empty->setBusy(tr("Reading what was done"));
    } else if (!m_model->filter().isEmpty()) {
        m_empty->setContents(QStringLiteral("search"), tr("Nothing like that was done"),
                             tr("No run passes the filters above."));
        m_empty->setButtonText(tr("Show All Runs"));
    } else {
        m_empty->setContents(QStringLiteral("activity"), tr("Nothing was done yet"),
                             tr("Whatever the tools do on computers is listed here, with what "
                                "became of it on each of them."));
    }
    m_stack->setCurrentWidget(any ? static_cast<QWidget*>(m_list) : m_empty);
    const bool isWantedHere = m_wantedKey != 0 && m_model->rowOf(m_wantedKey) >= 0;
    if (isWantedHere || (any && currentKey() == 0)) select(isWantedHere ? m_wantedKey : m_chosenKey);
    // All runs are listed: what is not among them is gone.
    const bool isComplete = !m_model->isLoading() && m_model->error().isEmpty();
    if (isWantedHere || (isComplete && m_model->filter().isEmpty())) m_wantedKey = 0;
    if (!any) currentChanged();
    readRecordIfTakenBack();
    updateStatus();
    updateActions();
}

qint64 ActivityWindow::currentKey() const {
    return m_list->currentIndex().data(ActivityModel::KeyRole).toLongLong();
}

qsizetype ActivityWindow::selectedCount() const {
    qsizetype count = 0;
    const QItemSelection selection = m_list->selectionModel()->selection();
    for (const QItemSelectionRange& range : selection)
        count += range.height();
    return count;
}

/// That run, or the newest one when it is not in the list.
void ActivityWindow::select(qint64 key) {
    const QModelIndex index = m_list->model()->index(std::max(0, m_model->rowOf(key)), 0);
    m_list->selectionModel()->setCurrentIndex(
        index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    m_list->scrollTo(index);
}

void ActivityWindow::showRun(const QString& runId) {
    m_wantedRun = runId;
    m_wantedKey = 0;
    m_wantedTimer.start();
    findWantedRun();
}

void ActivityWindow::findWantedRun() {
    if (m_wantedRun.isEmpty()) return;
    m_store.read(
        this, [runId = m_wantedRun](ActivityDatabase& database) { return database.keyOf(runId); },
        [this, runId = m_wantedRun](const ActivityAnswer<std::optional<qint64>>& answer) {
            if (runId != m_wantedRun) return;  // found before, or another one is wanted by now
            if (answer.value) return wantedRunFound(*answer.value);
            wantedRunMissing();
        });
}

void ActivityWindow::wantedRunFound(qint64 key) {
    m_wantedRun.clear();
    m_wantedTimer.stop();
    say({});
    m_wantedKey = key;
    if (!m_filters->filter().isEmpty()) return m_filters->clear();
    if (m_model->rowOf(key) >= 0) select(std::exchange(m_wantedKey, 0));
}

/// It may come yet; but whoever sees the problem need not wait for that.
void ActivityWindow::wantedRunMissing() {
    const QString problem = m_store.problem();
    if (!m_wantedRun.isEmpty() && !problem.isEmpty()) say(tr("That run is not on the disk: %1").arg(problem));
}

/// In the place of the number of runs. An export that is under way comes first.
void ActivityWindow::say(const QString& text) {
    if (m_exportStops) return;
    m_news = text;
    updateStatus();
}

void ActivityWindow::updateStatus() {
    const qint64 count = m_model->rowCount();
    QString text = m_model->isLoading()          ? tr("Reading…")
                   : m_model->filter().isEmpty() ? countOf(count)
                                                 : tr("%1 found").arg(countOf(count));
    if (!m_news.isEmpty()) text = m_news;
    m_status->setText(text);
    m_export->setVisible(!m_exportStops);
    m_export->setEnabled(count > 0);
    m_stopExport->setVisible(bool(m_exportStops));
}

void ActivityWindow::updateWarning() {
    const QString problem = m_store.problem();
    m_warning->parentWidget()->setVisible(!problem.isEmpty());
    m_warning->setText(tr("What is done now is not kept: %1").arg(problem));
    m_warningSymbol->setPixmap(symbolPixmap(QStringLiteral("warning"), themeColors().warning,
                                            warningSymbolSize, devicePixelRatioF()));
}

// MARK: The chosen run

void ActivityWindow::currentChanged() {
    const qint64 key = currentKey();
    if (key == 0) return showRecord(nullptr);
    if (std::exchange(m_chosenKey, key) != key) say({});
    if (key != m_recordKey) readRecord();
}

/// One at a time, whatever was passed over with the arrow keys.
void ActivityWindow::readRecord() {
    if (m_isReadingRecord) return;
    m_isReadingRecord = true;
    const qint64 key = currentKey();
    m_store.read(
        this, [key](ActivityDatabase& database) { return database.record(key); },
        [this, key](const ActivityAnswer<std::optional<RunRecord>>& answer) {
            m_isReadingRecord = false;
            if (currentKey() == 0) return showRecord(nullptr);
            if (currentKey() != key) return readRecord();
            m_recordKey = key;
            showRecord(answer.value ? &*answer.value : nullptr);
        });
}

void ActivityWindow::readRecordIfTakenBack() {
    if (isTakenBack(m_recordKey).value_or(m_isShownTakenBack) != m_isShownTakenBack) readRecord();
}

std::optional<bool> ActivityWindow::isTakenBack(qint64 key) const {
    const int row = m_model->rowOf(key);
    const RunSummary* summary = row >= 0 ? m_model->summaryAt(row) : nullptr;
    return summary ? std::optional(summary->isTakenBack) : std::nullopt;
}

void ActivityWindow::showRecord(const RunRecord* record) {
    m_record = record ? std::optional(*record) : std::nullopt;
    if (!record) m_recordKey = 0;
    m_isShownTakenBack = isTakenBack(m_recordKey).value_or(false);
    m_detailsModel->setRecord(record ? *record : RunRecord());
    m_details->setEnabled(record != nullptr);
    m_title->setText(record ? record->summary() : tr("No run is chosen"));
    QStringList parts;
    if (record) {
        parts << m_model->toolTitle(record->tool) << record->action << record->subject
              << QLocale().toString(record->started.toLocalTime(), QLocale::ShortFormat)
              << tr("took %1").arg(durationText(*record)) << record->user;
        if (!record->undoOf.isEmpty()) parts << tr("took an earlier run back");
        if (!record->retryOf.isEmpty()) parts << tr("repeated an earlier run");
        if (m_isShownTakenBack) parts << tr("was taken back");
        parts.removeAll(QString());
    }
    m_subtitle->setText(record ? parts.join(QStringLiteral(" · "))
                               : tr("What became of it on each computer is shown here."));
    updateActions();
}

void ActivityWindow::updateActions() {
    const bool hasSelection = m_list->selectionModel()->hasSelection();
    m_copy->setEnabled(hasSelection && m_model->rowCount() > 0);
    const bool isOne = m_record && currentKey() == m_recordKey && selectedCount() == 1;
    m_retry->setEnabled(isOne && m_actions.canRetry && m_actions.canRetry(*m_record));
    m_undo->setEnabled(isOne && m_actions.canUndo && m_actions.canUndo(*m_record));
}

void ActivityWindow::act(const std::function<void(const RunRecord&)>& action) {
    if (!m_record || !action) return;
    action(RunRecord(*m_record));  // the window may show another one before it returns
    updateActions();
}

// MARK: Copying and exporting

void ActivityWindow::copy() {
    if (m_details->hasFocus()) return copySelectedRows(*m_details);
    copyRuns();
}

/// The newest ones of those that are selected.
ActivityKeys ActivityWindow::keysToCopy() const {
    QItemSelection selection = m_list->selectionModel()->selection();
    std::sort(selection.begin(), selection.end(),
              [](const auto& left, const auto& right) { return left.top() < right.top(); });
    ActivityKeys keys;
    for (const QItemSelectionRange& range : std::as_const(selection)) {
        const auto first = m_model->keys().begin() + range.top();
        const auto room = mostCopied - std::ssize(keys);
        keys.insert(keys.end(), first, first + std::min<std::ptrdiff_t>(range.height(), room));
    }
    return keys;
}

void ActivityWindow::copyRuns() {
    const ActivityKeys keys = keysToCopy();
    if (keys.empty()) return;
    const auto query = [keys, cellsOf = m_model->formatter()](ActivityDatabase& database) {
        QStringList lines;
        for (std::size_t first = 0; first < keys.size(); first += copiedPerStep) {
            const auto from = keys.begin() + std::ptrdiff_t(first);
            const auto count = std::ptrdiff_t(std::min(copiedPerStep, keys.size() - first));
            const QList<RunSummary> summaries = database.summaries({from, from + count});
            for (const RunSummary& summary : summaries)
                lines << lineOf(cellsOf(summary));
        }
        return lines.join(QLatin1Char('\n'));
    };
    m_store.read(
        this, query,
        [this, selected = selectedCount(), copied = std::ssize(keys)](const ActivityAnswer<QString>& answer) {
            if (!answer.value.isEmpty()) QGuiApplication::clipboard()->setText(answer.value);
            if (copied < selected)
                say(tr("Copied only the newest %1 of %2")
                        .arg(QLocale().toString(qlonglong(copied)), countOf(selected)));
        });
}

void ActivityWindow::chooseExport(ActivityExport::Format format) {
    const QString suffix =
        format == ActivityExport::Format::Csv ? QStringLiteral("csv") : QStringLiteral("json");
    auto* dialog = new QFileDialog(this, tr("Export Activity"),
                                   QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation),
                                   QStringLiteral("%1 (*.%2)").arg(suffix.toUpper(), suffix));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(suffix);
    dialog->selectFile(tr("Activity %1.%2").arg(QDate::currentDate().toString(Qt::ISODate), suffix));
    connect(dialog, &QFileDialog::fileSelected, this,
            [this, format](const QString& path) { exportTo(path, format); });
    dialog->open();
}

void ActivityWindow::exportTo(const QString& path, ActivityExport::Format format) {
    if (m_exportStops) return;
    m_exportStops = std::make_shared<std::atomic<bool>>(false);
    const QPointer window(this);
    const auto work = [window, path, format, stops = m_exportStops, file = m_store.path(),
                       keys = m_model->keys()] {
        const auto goesOn = [&](int done) {
            onMainThread([window, done, total = keys.size()] {
                if (!window || !window->m_exportStops) return;
                window->m_news =
                    tr("Exporting: %1 of %2").arg(QLocale().toString(done), countOf(qint64(total)));
                window->updateStatus();
            });
            return !*stops && !VLThread::isCancelled();
        };
        const ActivityExport::Result result = ActivityExport::write(file, keys, format, path, goesOn);
        onMainThread([window, result, path] {
            if (window) window->exportEnded(result, path);
        });
    };
    m_news = tr("Exporting…");
    if (!VLThread::detach(QStringLiteral("activity export"), work))
        exportEnded({0, tr("There is no thread to be had.")}, path);
    updateStatus();
}

void ActivityWindow::exportEnded(const ActivityExport::Result& result, const QString& path) {
    const bool wasStopped = m_exportStops && *m_exportStops;
    m_exportStops.reset();
    m_news = result.error.isEmpty() ? tr("Exported %1 to %2").arg(countOf(result.runs), path)
             : wasStopped           ? tr("The export was stopped; nothing is written.")
                                    : QString();
    updateStatus();
    if (result.error.isEmpty() || wasStopped) return;
    VLAlert::alertSheetWithMessageText(tr("Unable to export the activity"), {}, {}, {}, result.error, this,
                                       false);
}
