#include "clients/view/ProblemView.h"

#include "widgets/Spinner.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"

#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {

constexpr int markSize = 16;
constexpr int textWidth = 620;  // longer lines are hard to read

void setSecondary(QLabel* label) {
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, themeColors().secondaryText);
    palette.setColor(QPalette::Text, themeColors().secondaryText);
    label->setPalette(palette);
}

void clear(QLayout* layout) {
    while (QLayoutItem* item = layout->takeAt(0)) {
        delete item->widget();
        delete item;
    }
}

}  // namespace

ProblemView::ProblemView(QWidget* parent) : QScrollArea(parent) {
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    auto* contents = new QWidget(this);
    m_layout = new QVBoxLayout(contents);
    m_layout->setContentsMargins(Metrics::sheetMargin, Metrics::sheetMargin, Metrics::sheetMargin,
                                 Metrics::unit * 2);
    m_layout->setSpacing(Metrics::unit);
    m_title = makeText({}, tr("Problem"));
    m_title->setObjectName(QStringLiteral("problemTitle"));
    m_title->setFont(themeFont(1.25, QFont::DemiBold));
    m_place = makeText({}, tr("Computer"));
    m_meaning = makeText({}, tr("What it means"));
    m_meaning->setObjectName(QStringLiteral("problemMeaning"));
    m_layout->addWidget(m_title);
    m_layout->addWidget(m_place);
    m_layout->addSpacing(Metrics::unit / 2);
    m_layout->addWidget(m_meaning);

    m_testHeading = addHeading(tr("Port test"));
    m_testRunning = new QWidget(contents);
    auto* running = new QHBoxLayout(m_testRunning);
    running->setContentsMargins(0, 0, 0, 0);
    m_spinner = new Spinner(m_testRunning);
    running->addWidget(m_spinner);
    running->addWidget(makeText(tr("Connecting to the port…"), tr("Port test")), 1);
    m_layout->addWidget(m_testRunning);
    m_test = new QWidget(contents);
    m_test->setObjectName(QStringLiteral("portTestLines"));
    m_testLines = new QGridLayout(m_test);
    m_testLines->setContentsMargins(0, 0, 0, 0);
    m_testLines->setHorizontalSpacing(Metrics::unit);
    m_testLines->setColumnStretch(1, 1);
    m_layout->addWidget(m_test);

    m_stepsHeading = addHeading(tr("What to try"));
    m_steps = new QWidget(contents);
    m_steps->setObjectName(QStringLiteral("problemSteps"));
    auto* steps = new QGridLayout(m_steps);
    steps->setContentsMargins(0, 0, 0, 0);
    steps->setHorizontalSpacing(Metrics::unit);
    steps->setVerticalSpacing(Metrics::unit / 2);
    steps->setColumnStretch(1, 1);
    m_layout->addWidget(m_steps);

    m_reasonHeading = addHeading(tr("Reported"));
    m_reason = makeText({}, tr("Reported"));
    m_reason->setObjectName(QStringLiteral("problemReason"));
    m_layout->addWidget(m_reason);
    m_layout->addStretch();
    setWidget(contents);
    clearPortTest();
    updateLook();
}

QLabel* ProblemView::addHeading(const QString& text) {
    auto* label = new QLabel(text);
    label->setFont(themeFont(1.0, QFont::DemiBold));
    label->setContentsMargins(0, Metrics::unit, 0, 0);
    m_layout->addWidget(label);
    return label;
}

/// Names and reasons are other people's texts: shown letter by letter, and can be copied.
QLabel* ProblemView::makeText(const QString& text, const QString& accessibleName) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setAccessibleName(accessibleName);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return label;
}

void ProblemView::setProblem(const QString& place, const ConnectionProblem& problem) {
    if (m_place->text() != place) m_place->setText(place);
    if (m_problem == problem) return;
    const bool sameSteps = m_problem.steps == problem.steps;
    m_problem = problem;
    m_title->setText(problem.title);
    m_meaning->setText(problem.meaning);
    m_reason->setText(problem.reason);
    m_reason->setVisible(!problem.reason.isEmpty());
    m_reasonHeading->setVisible(!problem.reason.isEmpty());
    if (!sameSteps) showSteps();
}

void ProblemView::showSteps() {
    auto* grid = static_cast<QGridLayout*>(m_steps->layout());
    clear(grid);
    int row = 0, number = 0;
    for (const ConnectionProblem::Step& step : m_problem.steps) {
        ++number;
        auto* mark = new QLabel(QStringLiteral("%1.").arg(number));
        grid->addWidget(mark, row, 0, Qt::AlignTop | Qt::AlignRight);
        grid->addWidget(makeText(step.text, tr("Step %1").arg(number)), row++, 1);
        if (step.command.isEmpty()) continue;
        QLabel* command = makeText(step.command, tr("Command of step %1").arg(number));
        command->setFont(themeMonospaceFont());
        command->setMargin(Metrics::unit / 2);
        command->setBackgroundRole(QPalette::Midlight);
        command->setAutoFillBackground(true);
        grid->addWidget(command, row++, 1);
    }
    m_stepsHeading->setVisible(number > 0);
    m_steps->setVisible(number > 0);
}

void ProblemView::clearPortTest() {
    m_outcomes.clear();
    clear(m_testLines);
    m_spinner->setSpinning(false);
    for (QWidget* part : {static_cast<QWidget*>(m_testHeading), m_testRunning, m_test})
        part->hide();
}

void ProblemView::startPortTest() {
    clearPortTest();
    m_testHeading->show();
    m_testRunning->show();
    m_spinner->setSpinning(true);
    ensureWidgetVisible(m_testRunning);
}

void ProblemView::addOutcome(const PortTest::Outcome& outcome) {
    m_outcomes.append(outcome);
    addTestLine(outcome.open ? QStringLiteral("ok") : QStringLiteral("error"), outcome.open, outcome.text);
    m_test->show();
}

void ProblemView::addTestLine(const QString& symbol, bool open, const QString& text) {
    const int row = m_testLines->rowCount();
    auto* mark = new QLabel;
    const QColor color = open ? themeColors().good : themeColors().bad;
    mark->setPixmap(symbolPixmap(symbol, color, markSize, devicePixelRatioF()));
    mark->setAccessibleName(open ? tr("Open") : tr("Not open"));
    m_testLines->addWidget(mark, row, 0, Qt::AlignTop);
    m_testLines->addWidget(makeText(text, tr("Port test")), row, 1);
}

void ProblemView::endPortTest() {
    m_spinner->setSpinning(false);
    m_testRunning->hide();
    if (m_outcomes.isEmpty())
        addOutcome({{}, false, tr("No address of the computer is known that could be tried.")});
}

QString ProblemView::portTestText() const {
    QStringList lines;
    for (const PortTest::Outcome& outcome : m_outcomes)
        lines << outcome.text;
    return lines.join(u'\n');
}

void ProblemView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) updateLook();
    QScrollArea::changeEvent(event);
}

void ProblemView::updateLook() {
    const QColor current = m_place->palette().color(QPalette::WindowText);
    if (current == themeColors().secondaryText) return;
    setSecondary(m_place);
    setSecondary(m_reason);
}

void ProblemView::resizeEvent(QResizeEvent* event) {
    QScrollArea::resizeEvent(event);
    const int spare = viewport()->width() - textWidth - Metrics::sheetMargin;
    QMargins margins = m_layout->contentsMargins();
    margins.setRight(qMax(Metrics::sheetMargin, spare));
    m_layout->setContentsMargins(margins);
}
