#pragma once

#include "widgets/Sheet.h"

#include <functional>

class QCheckBox;
class QLabel;
class QLineEdit;

/// Asks for the name of a new group, and whether the selected machines shall be in it.
class GroupSheet : public Sheet {
    Q_OBJECT
public:
    /// What is wrong with a name; empty when nothing is.
    using NameProblem = std::function<QString(const QString& name)>;
    using Submit = std::function<void(const QString& name, bool withSelected)>;
    /// `selectedCount`: machines that can be put into the group at once; 0 leaves the question out.
    GroupSheet(NameProblem nameProblem, int selectedCount, Submit submit, QWidget* parent);

    void accept() override;

private:
    void updateHint();
    [[nodiscard]] QString name() const;

    NameProblem m_nameProblem;
    Submit m_submit;
    QLineEdit* m_name;
    QLabel* m_hint;
    QCheckBox* m_withSelected = nullptr;
    QPushButton* m_add = nullptr;
};
