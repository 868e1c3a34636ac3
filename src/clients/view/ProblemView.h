#pragma once

#include "clients/troubleshooter/ConnectionProblem.h"
#include "clients/troubleshooter/PortTest.h"

#include <QScrollArea>

class QGridLayout;
class QLabel;
class QVBoxLayout;
class Spinner;

/// One client's problem: what it means, what to try, what was reported, and how its port test went. Texts
/// that stay the same keep what is selected in them.
class ProblemView : public QScrollArea {
    Q_OBJECT
public:
    explicit ProblemView(QWidget* parent = nullptr);

    /// `place`: name and address of the computer.
    void setProblem(const QString& place, const ConnectionProblem& problem);
    [[nodiscard]] const ConnectionProblem& problem() const { return m_problem; }

    void clearPortTest();
    void startPortTest();
    void addOutcome(const PortTest::Outcome& outcome);
    void endPortTest();
    /// The outcomes shown, one per line.
    [[nodiscard]] QString portTestText() const;

protected:
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    [[nodiscard]] QLabel* addHeading(const QString& text);
    [[nodiscard]] QLabel* makeText(const QString& text, const QString& accessibleName);
    void showSteps();
    void addTestLine(const QString& symbol, bool open, const QString& text);
    void updateLook();

    ConnectionProblem m_problem;
    QList<PortTest::Outcome> m_outcomes;
    QVBoxLayout* m_layout;
    QLabel* m_title;
    QLabel* m_place;
    QLabel* m_meaning;
    QLabel* m_stepsHeading = nullptr;
    QWidget* m_steps = nullptr;
    QLabel* m_reasonHeading = nullptr;
    QLabel* m_reason = nullptr;
    QLabel* m_testHeading = nullptr;
    QWidget* m_testRunning = nullptr;
    Spinner* m_spinner = nullptr;
    QWidget* m_test = nullptr;
    QGridLayout* m_testLines = nullptr;
};
