#include "app/window/LogWindow.h"

#include "base/RegularFile.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "widgets/ElidedLabel.h"
#include "widgets/SearchField.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

constexpr std::chrono::milliseconds interval(500);
constexpr qint64 largestPiece = 4 << 20;
constexpr qint64 signatureLength = 64;  // the first line carries the time at which the file was started
constexpr int mostLines = 50000;

QToolButton* stepButton(const QString& symbol, const QString& name, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setIcon(symbolIcon(symbol));
    button->setAutoRaise(true);
    button->setToolTip(name);
    button->setAccessibleName(name);
    return button;
}

}  // namespace

LogWindow::LogWindow(QWidget* parent)
    : QWidget(parent, Qt::Window),
      m_text(new QPlainTextEdit(this)),
      m_search(new SearchField(tr("Find in the log"), this)),
      m_notFound(new QLabel(tr("Not found"), this)),
      m_follow(new QCheckBox(tr("Follow new lines"), this)),
      m_path(new ElidedLabel(this, ElidedLabel::Tone::Secondary)) {
    setObjectName(QStringLiteral("logWindow"));
    setWindowTitle(tr("Console Log"));
    resize(900, 560);
    m_text->setObjectName(QStringLiteral("logText"));
    m_text->setAccessibleName(tr("Log"));
    m_text->setReadOnly(true);
    m_text->setFrameShape(QFrame::NoFrame);
    m_text->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_text->setFont(themeMonospaceFont());
    m_text->setMaximumBlockCount(mostLines);
    m_text->document()->setDocumentMargin(Metrics::unit * 1.5);
    m_search->setFixedWidth(260);
    m_notFound->hide();
    m_follow->setChecked(true);
    m_path->setElideMode(Qt::ElideMiddle);

    QToolButton* previous = stepButton(QStringLiteral("previous"), tr("Find previous"), this);
    QToolButton* next = stepButton(QStringLiteral("next"), tr("Find next"), this);
    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(Metrics::unit * 1.5, Metrics::unit * 1.5, Metrics::unit * 1.5,
                            Metrics::unit * 1.5);
    bar->setSpacing(Metrics::unit);
    bar->addWidget(m_search);
    bar->addWidget(previous);
    bar->addWidget(next);
    bar->addWidget(m_notFound);
    bar->addStretch();
    bar->addWidget(m_follow);
    auto* foot = new QHBoxLayout;
    foot->setContentsMargins(Metrics::unit * 1.5, Metrics::unit, Metrics::unit * 1.5, Metrics::unit);
    foot->addWidget(m_path);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(bar);
    layout->addWidget(m_text, 1);
    layout->addLayout(foot);

    connect(m_search, &QLineEdit::textChanged, this, [this] { find(false, true); });
    connect(m_search, &QLineEdit::returnPressed, this, [this] { find(false, false); });
    connect(next, &QToolButton::clicked, this, [this] { find(false, false); });
    connect(previous, &QToolButton::clicked, this, [this] { find(true, false); });
    connect(new QShortcut(QKeySequence::Find, this), &QShortcut::activated, m_search,
            qOverload<>(&QWidget::setFocus));
    connect(new QShortcut(QKeySequence::FindNext, this), &QShortcut::activated, this,
            [this] { find(false, false); });
    connect(new QShortcut(QKeySequence::Close, this), &QShortcut::activated, this, &QWidget::close);
    connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, this, &QWidget::close);
    m_timer.setInterval(interval);
    connect(&m_timer, &QTimer::timeout, this, &LogWindow::readOn);
}

void LogWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    readOn();
    m_timer.start();
}

void LogWindow::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    m_timer.stop();
}

/// What was written since the last look; all of a new file that has taken the place of the old.
LogWindow::Piece LogWindow::read(const Position& from) {
    VLLog::finishWriting();
    Piece piece;
    piece.position = from;
    piece.position.path = VLLog::currentLogPath();
    QFile file;
    if (!RegularFile::openForReading(file, piece.position.path, &piece.error)) return piece;
    piece.position.beginning = file.read(signatureLength);
    piece.isAnother = piece.position.path != from.path || file.size() < from.offset ||
                      !piece.position.beginning.startsWith(from.beginning);
    const qint64 start = piece.isAnother ? 0 : from.offset;
    piece.position.offset = start;
    if (file.size() <= start) return piece;

    file.seek(qMax(start, file.size() - largestPiece));
    QByteArray text = file.readAll();
    const qsizetype end = text.lastIndexOf('\n');
    if (end < 0) return piece;  // a line that is still being written waits for its end
    piece.position.offset = file.pos() - (text.size() - end - 1);
    piece.text = QString::fromUtf8(text.left(end));
    return piece;
}

/// On a worker: the disk may be slow, and what is queued for the log is waited for.
void LogWindow::readOn() {
    if (m_isReading) return;
    m_isReading = true;
    VLThread::detach(QStringLiteral("log window"), [window = QPointer(this), from = m_position] {
        onMainThread([window, piece = read(from)]() mutable {
            if (window) window->append(std::move(piece));
        });
    });
}

void LogWindow::append(Piece piece) {
    m_isReading = false;
    m_position = std::move(piece.position);
    m_path->setText(piece.error.isEmpty() ? m_position.path : piece.error);
    if (piece.isAnother) m_text->clear();
    if (piece.text.isEmpty()) return;
    const int scrolled = m_text->verticalScrollBar()->value();
    m_text->appendPlainText(piece.text);
    QScrollBar* bar = m_text->verticalScrollBar();
    bar->setValue(m_follow->isChecked() ? bar->maximum() : scrolled);
    if (piece.isAnother && !m_follow->isChecked()) scrollTextViewToTop(*m_text);
}

void LogWindow::find(bool backwards, bool fromStart) {
    const QString wanted = m_search->text();
    QTextCursor cursor = m_text->textCursor();
    if (fromStart) cursor.setPosition(cursor.selectionStart());
    m_text->setTextCursor(cursor);
    bool found = true;
    if (!wanted.isEmpty()) {
        const QTextDocument::FindFlags flags =
            backwards ? QTextDocument::FindBackward : QTextDocument::FindFlags();
        found = m_text->find(wanted, flags);
        if (!found) {  // once round
            m_text->moveCursor(backwards ? QTextCursor::End : QTextCursor::Start);
            found = m_text->find(wanted, flags);
        }
        m_follow->setChecked(m_follow->isChecked() && !found);
    }
    m_notFound->setVisible(!found);
}
