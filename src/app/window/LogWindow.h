#pragma once

#include <QTimer>
#include <QWidget>

class ElidedLabel;
class QCheckBox;
class QLabel;
class QPlainTextEdit;
class SearchField;

/// The console's own log as it is written, with a search.
class LogWindow : public QWidget {
    Q_OBJECT
public:
    explicit LogWindow(QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    /// How far a file has been shown.
    struct Position {
        QString path;
        QByteArray beginning;  ///< of the file, which tells a new one from it
        qint64 offset = 0;     ///< bytes shown so far
    };
    struct Piece {
        Position position;  ///< after this piece
        bool isAnother = false;
        QString text, error;
    };

    [[nodiscard]] static Piece read(const Position& from);
    void readOn();
    void append(Piece piece);
    void find(bool backwards, bool fromStart);

    QPlainTextEdit* m_text;
    SearchField* m_search;
    QLabel* m_notFound;
    QCheckBox* m_follow;
    ElidedLabel* m_path;
    QTimer m_timer;
    Position m_position;
    bool m_isReading = false;
};
