#include "tools/cronwell/NewTaskSheet.h"

#include "tools/ToolPane.h"
#include "tools/cronwell/CronwellController.h"
#include "widgets/ElidedLabel.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVariantAnimation>

namespace {

constexpr int sheetWidth = 520;
constexpr int growthTime = 160;  // ms
constexpr int longestEntry = 1024;

// In the language of the sheet, which need not be the one that the user's dates are written in.
constexpr std::array weekdays{
    QT_TRANSLATE_NOOP("NewTaskSheet", "Monday"),    QT_TRANSLATE_NOOP("NewTaskSheet", "Tuesday"),
    QT_TRANSLATE_NOOP("NewTaskSheet", "Wednesday"), QT_TRANSLATE_NOOP("NewTaskSheet", "Thursday"),
    QT_TRANSLATE_NOOP("NewTaskSheet", "Friday"),    QT_TRANSLATE_NOOP("NewTaskSheet", "Saturday"),
    QT_TRANSLATE_NOOP("NewTaskSheet", "Sunday")};
constexpr std::array months{
    QT_TRANSLATE_NOOP("NewTaskSheet", "January"),   QT_TRANSLATE_NOOP("NewTaskSheet", "February"),
    QT_TRANSLATE_NOOP("NewTaskSheet", "March"),     QT_TRANSLATE_NOOP("NewTaskSheet", "April"),
    QT_TRANSLATE_NOOP("NewTaskSheet", "May"),       QT_TRANSLATE_NOOP("NewTaskSheet", "June"),
    QT_TRANSLATE_NOOP("NewTaskSheet", "July"),      QT_TRANSLATE_NOOP("NewTaskSheet", "August"),
    QT_TRANSLATE_NOOP("NewTaskSheet", "September"), QT_TRANSLATE_NOOP("NewTaskSheet", "October"),
    QT_TRANSLATE_NOOP("NewTaskSheet", "November"),  QT_TRANSLATE_NOOP("NewTaskSheet", "December")};

QLabel* captionOf(QWidget* field, const QString& title) {
    auto* caption = new QLabel(title, field->parentWidget());
    caption->setFont(themeFont(0.95, QFont::Medium));
    caption->setBuddy(field);
    field->setAccessibleName(title);
    return caption;
}

QVBoxLayout* captioned(QWidget* field, const QString& title) {
    auto* pair = new QVBoxLayout;
    pair->setSpacing(Metrics::unit / 2);
    pair->addWidget(captionOf(field, title));
    pair->addWidget(field);
    return pair;
}

void setTextColor(QLabel* label, const QColor& color) {
    QPalette colors = label->palette();
    colors.setColor(QPalette::WindowText, color);
    label->setPalette(colors);
}

}  // namespace

NewTaskSheet::NewTaskSheet(CronwellController& controller, QWidget* parent)
    : Sheet(tr("Add Task"), tr("The task is scheduled on all selected computers that have the tool."),
            parent),
      m_controller(controller),
      m_applications(new QComboBox(this)),
      m_tasks(new QComboBox(this)),
      m_kinds(new QComboBox(this)),
      m_offer(new QLabel(this)),
      m_duplicates(new QLabel(this)),
      m_fields(new QWidget(this)),
      m_clock(new QLabel(this)),
      m_words(new QLabel(this)),
      m_root(new QCheckBox(tr("Run as administrator (root)"), this)),
      m_growth(new QVariantAnimation(this)) {
    setObjectName(QStringLiteral("windowNewTask"));
    setAttribute(Qt::WA_DeleteOnClose, false);
    buildTask();
    buildSchedule();
    buildRest();
    orderTabs();
    for (QComboBox* menu : {m_applications, m_tasks, m_kinds, m_weekday, m_month})
        menu->setMinimumHeight(m_minute->sizeHint().height());  // in line with the fields beside them
    setFixedWidth(sheetWidth);
    m_growth->setDuration(growthTime);
    m_growth->setEasingCurve(QEasingCurve::OutCubic);
    connect(m_growth, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& height) { setFieldsHeight(height.toInt()); });
    connect(&controller, &CronwellController::newTaskAppsChanged, this,
            &NewTaskSheet::setupCronwellNewTaskApps);
    connect(&controller, &ToolController::changed, this, &NewTaskSheet::showOffer);
}

// ---- The form

void NewTaskSheet::buildTask() {
    m_applications->setObjectName(QStringLiteral("newTaskArrayCont"));
    m_tasks->setObjectName(QStringLiteral("newTaskMenu"));
    m_offer->setObjectName(QStringLiteral("newTaskOfferText"));
    m_offer->setTextFormat(Qt::PlainText);
    m_offer->setWordWrap(true);
    m_offer->setForegroundRole(QPalette::PlaceholderText);
    auto* choices = new QHBoxLayout;
    choices->setSpacing(Metrics::unit * 1.5);
    choices->addLayout(captioned(m_applications, tr("Tool")), 2);
    choices->addLayout(captioned(m_tasks, tr("Task")), 3);
    body()->addLayout(choices);
    body()->addWidget(m_offer);
    m_duplicates->setObjectName(QStringLiteral("newTaskDuplicateText"));
    m_duplicates->setTextFormat(Qt::PlainText);
    m_duplicates->setWordWrap(true);
    m_duplicates->hide();
    body()->addWidget(m_duplicates);
    body()->addSpacing(Metrics::unit / 2);
    connect(m_applications, &QComboBox::currentIndexChanged, this, &NewTaskSheet::selectNewTaskItem);
    connect(m_tasks, &QComboBox::currentIndexChanged, this, &NewTaskSheet::updateForm);
}

void NewTaskSheet::buildSchedule() {
    m_kinds->setObjectName(QStringLiteral("taskScheduleMenu"));
    m_kinds->addItems(
        {tr("At specific interval"), tr("Every x seconds"), tr("Whenever a directory changes")});
    connect(m_kinds, &QComboBox::activated, this, [this] { taskScheduleChanged(true); });
    body()->addLayout(captioned(m_kinds, tr("Schedule")));
    for (QWidget*& page : m_pages)
        page = new QWidget(m_fields);
    buildCalendarFields();
    buildSecondsFields();
    buildDirectoryFields();
    body()->addWidget(m_fields);

    m_words->setObjectName(QStringLiteral("taskScheduleText"));
    m_words->setTextFormat(Qt::PlainText);
    m_words->setWordWrap(true);
    m_words->setMinimumHeight(m_words->fontMetrics().lineSpacing() * 2);
    auto* line = new QHBoxLayout;
    line->setSpacing(Metrics::unit);
    line->addWidget(m_clock);
    line->addWidget(m_words, 1);
    body()->addLayout(line);
}

QLineEdit* NewTaskSheet::addField(const char* name, const QString& title, const QString& placeholder) {
    auto* field = new QLineEdit(m_fields);
    field->setObjectName(QLatin1String(name));
    field->setAccessibleName(title);
    field->setPlaceholderText(placeholder);
    field->setMaxLength(longestEntry);
    connect(field, &QLineEdit::textEdited, this, &NewTaskSheet::edited);
    return field;
}

void NewTaskSheet::buildCalendarFields() {
    const QString any = tr("Any");
    auto* row = new QHBoxLayout(m_pages[AtInterval]);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(Metrics::unit);
    m_minute = addField("taskMinuteText", tr("Minute"), QStringLiteral("00"));
    m_hour = addField("taskHourText", tr("Hour"), any);
    m_day = addField("taskDayText", tr("Day"), any);
    for (QLineEdit* field : {m_hour, m_minute, m_day}) {
        field->setMaxLength(2);
        row->addLayout(captioned(field, field->accessibleName()), 2);
    }
    const auto addMenu = [&](const char* name, const QString& title) {
        auto* menu = new QComboBox(m_fields);
        menu->setObjectName(QLatin1String(name));
        menu->addItem(any, QString());
        row->addLayout(captioned(menu, title), 4);
        connect(menu, &QComboBox::activated, this, &NewTaskSheet::edited);
        return menu;
    };
    m_weekday = addMenu("taskWeekdayMenu", tr("Weekday"));
    m_month = addMenu("taskMonthMenu", tr("Month"));
    for (int day = 1; day <= 7; ++day)
        m_weekday->addItem(tr(weekdays[size_t(day) - 1]), QString::number(day % 7));
    for (int month = 1; month <= 12; ++month)
        m_month->addItem(tr(months[size_t(month) - 1]), QString::number(month));
}

void NewTaskSheet::buildSecondsFields() {
    auto* column = new QVBoxLayout(m_pages[EverySeconds]);
    column->setContentsMargins(0, 0, 0, 0);
    m_seconds = addField("taskSecondsText", tr("Seconds"), QStringLiteral("3600"));
    m_seconds->setMaxLength(10);
    column->addLayout(captioned(m_seconds, m_seconds->accessibleName()));
}

void NewTaskSheet::buildDirectoryFields() {
    m_directory = addField("taskDirectoryText", tr("Directory"), QStringLiteral("/Volumes/Media"));
    auto* column = new QVBoxLayout(m_pages[WhenChanged]);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(Metrics::unit / 2);
    column->addLayout(captioned(m_directory, m_directory->accessibleName()));
    auto* hint = new ElidedLabel(m_fields, ElidedLabel::Tone::Secondary);
    hint->setText(tr("The path as it is on the selected computers"));
    column->addWidget(hint);
}

void NewTaskSheet::buildRest() {
    m_root->setObjectName(QStringLiteral("taskRootCheck"));
    m_root->setToolTip(tr("Takes an administrator's name and password of each computer"));
    body()->addWidget(m_root);
    m_cancelButton = addCancelButton();
    m_addButton = addPrimaryButton(tr("Add"));
    m_addButton->setObjectName(QStringLiteral("addTaskButton"));
}

/// As the form is read, whatever was made first.
void NewTaskSheet::orderTabs() {
    const std::initializer_list<QWidget*> order{
        m_applications, m_tasks,   m_kinds,     m_hour, m_minute,       m_day,      m_weekday,
        m_month,        m_seconds, m_directory, m_root, m_cancelButton, m_addButton};
    for (auto next = order.begin() + 1; next != order.end(); ++next)
        setTabOrder(*(next - 1), *next);
}

// ---- What can be chosen

void NewTaskSheet::prepare() {
    m_kinds->setCurrentIndex(AtInterval);
    m_isTouched.fill(false);
    m_hour->setText(QStringLiteral("3"));
    m_minute->setText(QStringLiteral("00"));
    m_day->clear();
    m_weekday->setCurrentIndex(0);
    m_month->setCurrentIndex(0);
    m_seconds->setText(QStringLiteral("3600"));
    m_directory->clear();
    m_root->setChecked(false);
    taskScheduleChanged(false);
    m_applications->setCurrentIndex(m_applications->count() > 0 ? 0 : -1);
    m_tasks->clear();  // nothing to keep of the last time
    setupCronwellNewTaskApps();
    m_applications->setFocus();
}

/// Keeps the choice where it is still offered.
void NewTaskSheet::setupCronwellNewTaskApps() {
    const QString chosen = application().value(QStringLiteral("taskBundleID")).toString();
    const QSignalBlocker quiet(m_applications);
    m_applications->clear();
    for (const QVariant& value : m_controller.newTaskAppDataArray()) {
        const QVariantMap offered = value.toMap();
        m_applications->addItem(offered.value(QStringLiteral("name")).toString(), offered);
        if (offered.value(QStringLiteral("taskBundleID")).toString() == chosen)
            m_applications->setCurrentIndex(m_applications->count() - 1);
    }
    m_applications->setEnabled(m_applications->count() > 0);
    selectNewTaskItem();
}

void NewTaskSheet::selectNewTaskItem() {
    const QString chosen = task().value(QStringLiteral("taskID")).toString();
    const QSignalBlocker quiet(m_tasks);
    m_tasks->clear();
    for (const QVariant& value : application().value(QStringLiteral("tasks")).toList()) {
        const QVariantMap offered = value.toMap();
        m_tasks->addItem(offered.value(QStringLiteral("taskDescription")).toString(), offered);
        if (offered.value(QStringLiteral("taskID")).toString() == chosen)
            m_tasks->setCurrentIndex(m_tasks->count() - 1);
    }
    m_tasks->setEnabled(m_tasks->count() > 0);
    updateForm();
}

QVariantMap NewTaskSheet::application() const {
    return m_applications->currentData().toMap();
}

QVariantMap NewTaskSheet::task() const {
    return m_tasks->currentData().toMap();
}

// ---- The schedule

NewTaskSheet::Kind NewTaskSheet::kind() const {
    return Kind(std::max(m_kinds->currentIndex(), 0));
}

void NewTaskSheet::taskScheduleChanged(bool animated) {
    const int before = m_fields->height();
    for (QWidget* page : m_pages)
        page->hide();
    QWidget* const page = m_pages[size_t(kind())];
    const int height = page->sizeHint().height();
    page->setGeometry(0, 0, sheetWidth - 2 * Metrics::sheetMargin, height);
    page->show();
    m_growth->stop();
    if (animated && isVisible() && before != height) {
        m_growth->setStartValue(before);
        m_growth->setEndValue(height);
        m_growth->start();
    } else {
        setFieldsHeight(height);
    }
    updateForm();
}

void NewTaskSheet::setFieldsHeight(int height) {
    m_fields->setFixedHeight(height);
    fitHeight();
}

void NewTaskSheet::fitHeight() {
    if (isVisible()) resize(width(), layout()->totalHeightForWidth(width()));
}

TaskSchedule NewTaskSheet::schedule() const {
    TaskSchedule schedule;
    switch (kind()) {
        case AtInterval:
            schedule.type = TaskSchedule::Calendar;
            schedule.minute = m_minute->text().trimmed();
            schedule.hour = m_hour->text().trimmed();
            schedule.day = m_day->text().trimmed();
            schedule.weekday = m_weekday->currentData().toString();
            schedule.month = m_month->currentData().toString();
            break;
        case EverySeconds: {
            QString problem;
            return TaskSchedule::fromValue(TaskSchedule::Seconds, m_seconds->text().trimmed(), &problem)
                .value_or(TaskSchedule::every(0));
        }
        default:
            return TaskSchedule::whenChanged(m_directory->text().trimmed());
    }
    // Numbers as they are kept: "07" is 7.
    QString problem;
    return TaskSchedule::fromValue(schedule.type, schedule.value(), &problem).value_or(schedule);
}

QString NewTaskSheet::scheduleProblem() const {
    const TaskSchedule chosen = schedule();
    if (kind() == AtInterval && !chosen.day.isEmpty() && !chosen.weekday.isEmpty())
        return tr("Choose either a day of the month or a weekday.");
    return chosen.problem();
}

void NewTaskSheet::edited() {
    m_isTouched[size_t(kind())] = true;
    updateForm();
}

void NewTaskSheet::updateForm() {
    showOffer();
    showSchedule();
    // What is offered may be of the last time until the computers have said what they have.
    const bool isKnown = !m_controller.isReadingApps() && m_tasks->count() > 0;
    m_addButton->setEnabled(isKnown && scheduleProblem().isEmpty());
}

/// As many as are read in passing.
QString NewTaskSheet::friendlyNames(const QStringList& hostNames) const {
    QStringList names;
    for (const QString& hostName : hostNames)
        names.append(m_controller.context().friendlyServiceName(hostName));
    return ToolPane::listed(names);
}

void NewTaskSheet::showOffer() {
    const QString text = offerText(), duplicates = duplicateText();
    m_addButton->setText(duplicates.isEmpty() ? tr("Add") : tr("Add Anyway"));
    if (m_offer->text() == text && m_duplicates->text() == duplicates) return;
    m_offer->setText(text);
    m_duplicates->setText(duplicates);
    m_duplicates->setVisible(!duplicates.isEmpty());
    setTextColor(m_duplicates, themeColors().warning);
    fitHeight();
}

/// Where the task would run a second time.
QString NewTaskSheet::duplicateText() const {
    const QString tool = application().value(QStringLiteral("taskBundleID")).toString();
    const QStringList having = m_controller.hostsWithTask(tool, task());
    if (having.isEmpty()) return {};
    return (having.size() == 1 ? tr("%1 has this task already, and would run it by both schedules.")
                               : tr("%1 have this task already, and would run it by both schedules."))
        .arg(friendlyNames(having));
}

/// Where the task will not be comes first.
QString NewTaskSheet::offerText() const {
    const QStringList missing = task().value(QStringLiteral("missingHosts")).toStringList();
    const QStringList& silent = m_controller.newTaskUnanswered();
    QStringList sentences;
    if (!silent.isEmpty())
        sentences << tr("No answer from %1: nothing is added there.").arg(friendlyNames(silent));
    sentences << ToolPane::leftOutText(m_controller.context(), m_controller.newTaskClients()).trimmed();
    if (m_tasks->count() == 0)
        sentences << (m_controller.isReadingApps()
                          ? tr("Reading the tools of the selected computers…")
                          : tr("No tool on the selected computers has tasks to schedule."));
    else if (!missing.isEmpty())
        sentences << tr("Not available on %1.").arg(friendlyNames(missing));
    else
        sentences << (silent.isEmpty() ? tr("All selected computers have this tool.")
                                       : tr("All computers that answered have this tool."));
    sentences.removeAll(QString());
    return sentences.join(u' ');
}

/// What is not filled in yet is no mistake.
void NewTaskSheet::showSchedule() {
    const QString problem = scheduleProblem();
    const bool isWrong = !problem.isEmpty() && m_isTouched[size_t(kind())];
    const QColor color = isWrong             ? themeColors().bad
                         : problem.isEmpty() ? themeColors().text
                                             : themeColors().secondaryText;
    m_words->setText(problem.isEmpty() ? schedule().description() : problem);
    setTextColor(m_words, color);
    m_clock->setPixmap(symbolPixmap(isWrong ? QStringLiteral("warning") : QStringLiteral("clock"), color,
                                    Metrics::symbolSize, devicePixelRatioF()));
    m_addButton->setToolTip(problem);
}

QVariantMap NewTaskSheet::arguments() const {
    const TaskSchedule chosen = schedule();
    return {{QStringLiteral("bundleid"), application().value(QStringLiteral("taskBundleID"))},
            {QStringLiteral("taskid"), task().value(QStringLiteral("taskID"))},
            {QStringLiteral("scheduletype"), QString::number(chosen.type)},
            {QStringLiteral("intervalval"), chosen.value()},
            {QStringLiteral("enabled"), 1LL},
            {QStringLiteral("root"), m_root->isChecked() ? 1LL : 0LL}};
}

void NewTaskSheet::accept() {
    if (!m_addButton->isEnabled()) return;
    m_controller.addCronwellTask(arguments());
    Sheet::accept();
}
