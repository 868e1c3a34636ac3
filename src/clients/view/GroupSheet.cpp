#include "clients/view/GroupSheet.h"

#include "widgets/Theme.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {
constexpr int longestName = 255;
}

GroupSheet::GroupSheet(NameProblem nameProblem, int selectedCount, Submit submit, QWidget* parent)
    : Sheet(tr("New Group"),
            tr("A group is a shortcut to the computers in it: select it to work on all of them. "
               "Drag computers into it and out of it at any time."),
            parent),
      m_nameProblem(std::move(nameProblem)),
      m_submit(std::move(submit)),
      m_name(new QLineEdit(this)),
      m_hint(new QLabel(this)) {
    setObjectName(QStringLiteral("groupSheet"));
    auto* caption = new QLabel(tr("Name"), this);
    caption->setFont(themeFont(0.95, QFont::Medium));
    caption->setBuddy(m_name);
    m_name->setObjectName(QStringLiteral("groupNameText"));
    m_name->setAccessibleName(caption->text());
    m_name->setPlaceholderText(tr("Edit Bays"));
    m_name->setMaxLength(longestName);
    m_hint->setFont(themeFont(0.9));
    m_hint->setIndent(1);
    body()->setSpacing(Metrics::unit / 2);
    body()->addWidget(caption);
    body()->addWidget(m_name);
    body()->addWidget(m_hint);
    if (selectedCount > 0) {
        const QString text = selectedCount == 1
                                 ? tr("Put the selected computer into it")
                                 : tr("Put the %1 selected computers into it").arg(selectedCount);
        m_withSelected = new QCheckBox(text, this);
        m_withSelected->setObjectName(QStringLiteral("groupWithSelected"));
        m_withSelected->setChecked(true);
        body()->addSpacing(Metrics::unit);
        body()->addWidget(m_withSelected);
    }
    addCancelButton();
    m_add = addPrimaryButton(tr("Add Group"));
    m_add->setObjectName(QStringLiteral("addGroupButton"));
    setMinimumWidth(420);
    connect(m_name, &QLineEdit::textChanged, this, &GroupSheet::updateHint);
    updateHint();
    m_name->setFocus();
}

QString GroupSheet::name() const {
    return m_name->text().trimmed();
}

/// An empty field is no mistake yet.
void GroupSheet::updateHint() {
    const QString problem = m_nameProblem(name());
    const bool complains = !problem.isEmpty() && !name().isEmpty();
    m_hint->setText(complains ? problem : tr("As it should be listed"));
    QPalette colors = m_hint->palette();
    colors.setColor(QPalette::WindowText, complains ? themeColors().bad : themeColors().secondaryText);
    m_hint->setPalette(colors);
    m_name->setAccessibleDescription(m_hint->text());
    m_add->setEnabled(problem.isEmpty());
}

void GroupSheet::accept() {
    if (!m_nameProblem(name()).isEmpty()) return;
    m_submit(name(), m_withSelected && m_withSelected->isChecked());
    Sheet::accept();
}
