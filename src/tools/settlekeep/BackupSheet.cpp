#include "tools/settlekeep/BackupSheet.h"

#include "tools/ToolPane.h"
#include "tools/settlekeep/BackupList.h"
#include "tools/settlekeep/PreferenceTree.h"
#include "widgets/Theme.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {
constexpr int longestName = 255;
}

BackupSheet::BackupSheet(SettlekeepController& controller, QWidget* parent)
    : Sheet(tr("Back Up Preferences"), {}, parent),
      m_controller(controller),
      m_text(new QLabel(this)),
      m_name(new QLineEdit(this)),
      m_type(new QComboBox(this)) {
    setObjectName(QStringLiteral("windowSettlekeepBackup"));
    setAttribute(Qt::WA_DeleteOnClose, false);
    m_text->setTextFormat(Qt::PlainText);
    m_text->setWordWrap(true);
    body()->addWidget(m_text);
    body()->addSpacing(Metrics::unit);

    m_name->setObjectName(QStringLiteral("settlekeepBackupNameText"));
    m_name->setMaxLength(longestName);
    m_name->setPlaceholderText(tr("Before the summer project"));
    m_type->setObjectName(QStringLiteral("settlekeepBackupTypePopUp"));
    m_type->addItems(backupTypeTitles());
    m_type->setToolTip(tr("A note for later: what this backup stands for"));
    const auto add = [this](const QString& title, QWidget* field) {
        auto* caption = new QLabel(title, this);
        caption->setFont(themeFont(0.95, QFont::Medium));
        caption->setBuddy(field);
        field->setAccessibleName(title);
        auto* pair = new QVBoxLayout;
        pair->setSpacing(Metrics::unit / 2);
        pair->addWidget(caption);
        pair->addWidget(field);
        body()->addLayout(pair);
    };
    add(tr("Name"), m_name);
    add(tr("Type"), m_type);

    addCancelButton()->setObjectName(QStringLiteral("settlekeepCancelBackup"));
    QPushButton* const backUp = addPrimaryButton(tr("Back Up"));
    backUp->setObjectName(QStringLiteral("settlekeepBackupDialogBackupBtn"));
    backUp->setEnabled(false);
    connect(m_name, &QLineEdit::textChanged, backUp,
            [backUp](const QString& name) { backUp->setEnabled(!name.isEmpty()); });
    setFixedWidth(440);
}

void BackupSheet::showSheet(SettlekeepController::BackupFlow flow) {
    m_flow = flow;
    const QList<VLServicePtr> selected = m_controller.context().selectedServices();
    const qsizetype count = selected.size();
    const QString leftOut = ToolPane::leftOutText(m_controller.context(), selected);
    if (flow == SettlekeepController::BackupFlow::Named) {
        setHeading(tr("Back Up Preferences"));
        const QString keys = m_controller.settlekeepSelectedPrefKeys().join(u',');
        const QString covered = PreferenceTree::coveredApplications(keys);
        m_text->setText(
            (count == 1 ? tr("The ticked preferences are kept on the selected computer: %1.").arg(covered)
                        : tr("The ticked preferences are kept on each of the %1 selected computers: %2.")
                              .arg(QString::number(count), covered)) +
            leftOut);
    } else {
        setHeading(tr("Quick Backup"));
        m_text->setText(
            (count == 1 ? tr("The main preferences of all applications are kept on the selected computer, "
                             "whatever is ticked.")
                        : tr("The main preferences of all applications are kept on each of the %1 selected "
                             "computers, whatever is ticked.")
                              .arg(count)) +
            leftOut);
    }
    setAccessibleDescription(m_text->text());
    m_name->clear();
    m_type->setCurrentIndex(0);
    open();
    m_name->setFocus();
}

/// The sheet ends first: what is wrong with a name is said in an alert of the window.
void BackupSheet::accept() {
    Sheet::accept();
    if (m_flow == SettlekeepController::BackupFlow::Named)
        m_controller.settlekeepBackupAction(m_name->text(), m_type->currentIndex());
    else
        m_controller.settlekeepQuickBackupAction(m_name->text(), m_type->currentIndex());
}
