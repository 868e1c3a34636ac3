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
    void readOn();
    void find(bool backwards, bool fromStart);

    QPlainTextEdit* m_text;
    SearchField* m_search;
    QLabel* m_notFound;
    QCheckBox* m_follow;
    ElidedLabel* m_path;
    QTimer m_timer;
    QString m_shownPath;
    qint64 m_position = 0;   ///< bytes shown so far
    QByteArray m_signature;  ///< beginning of the file shown, which tells a new one from it
};
