#pragma once

#include "common/TaskSchedule.h"
#include "widgets/Sheet.h"

#include <QVariant>

#include <array>

class CronwellController;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QVariantAnimation;

/// The form for a new task: what shall run, when, and as whom. It can be submitted only while the schedule is
/// one; what it means in words, or what is wrong with it, stands below its fields. Lives as long as its pane.
class NewTaskSheet : public Sheet {
    Q_OBJECT
public:
    NewTaskSheet(CronwellController& controller, QWidget* parent);

    /// As it is to look when it is opened.
    void prepare();
    void accept() override;

private:
    enum Kind { AtInterval, EverySeconds, WhenChanged, KindCount };
    void buildTask();
    void buildSchedule();
    void buildCalendarFields();
    void buildSecondsFields();
    void buildDirectoryFields();
    void buildRest();
    void orderTabs();
    [[nodiscard]] QLineEdit* addField(const char* name, const QString& title, const QString& placeholder);

    void setupCronwellNewTaskApps();
    void selectNewTaskItem();
    void taskScheduleChanged(bool animated);
    void setFieldsHeight(int height);
    void fitHeight();
    void edited();
    void updateForm();
    void showOffer();
    [[nodiscard]] QString offerText() const;
    [[nodiscard]] QString duplicateText() const;
    [[nodiscard]] QString friendlyNames(const QStringList& hostNames) const;
    void showSchedule();

    [[nodiscard]] Kind kind() const;
    [[nodiscard]] TaskSchedule schedule() const;
    /// Why this cannot be submitted; empty when it can.
    [[nodiscard]] QString scheduleProblem() const;
    [[nodiscard]] QVariantMap application() const;
    [[nodiscard]] QVariantMap task() const;
    [[nodiscard]] QVariantMap arguments() const;

    CronwellController& m_controller;
    QComboBox *m_applications, *m_tasks, *m_kinds;
    QLabel *m_offer, *m_duplicates;
    QWidget* m_fields;
    std::array<QWidget*, KindCount> m_pages{};
    std::array<bool, KindCount> m_isTouched{};
    QLineEdit *m_minute, *m_hour, *m_day, *m_seconds, *m_directory;
    QComboBox *m_weekday, *m_month;
    QLabel *m_clock, *m_words;
    QCheckBox* m_root;
    QPushButton *m_addButton, *m_cancelButton;
    QVariantAnimation* m_growth;
};
