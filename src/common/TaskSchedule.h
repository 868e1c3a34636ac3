#pragma once

#include <QString>

#include <array>
#include <optional>

/// When a scheduled task runs, as the console and the agents tell each other. A plain value.
struct TaskSchedule {
    enum Type { Unknown = 0, Seconds = 6, Calendar = 7, Directory = 8 };
    static constexpr qlonglong mostSeconds = 2'147'483'647;
    static constexpr qsizetype longestDirectory = 1024;
    /// The keys of a calendar interval where it travels as a dictionary.
    static constexpr std::array intervalKeys{"Minute", "Hour", "Day", "Weekday", "Month"};

    Type type = Unknown;
    qlonglong seconds = 0;                      ///< Seconds: every so many
    QString minute, hour, day, weekday, month;  ///< Calendar: decimal numbers; empty: at every one
    QString directory;                          ///< Directory: whenever this one changes

    [[nodiscard]] static TaskSchedule every(qlonglong seconds);
    [[nodiscard]] static TaskSchedule whenChanged(const QString& directory);

    /// What travels as "intervalval" beside the type: "3600", "30,14,,1," (minute, hour, day, weekday, month)
    /// or "/Volumes".
    [[nodiscard]] QString value() const;
    /// The schedule of a type and such a value. Nothing, with the reason in plain words in `problem`, for
    /// what no task can be scheduled by.
    [[nodiscard]] static std::optional<TaskSchedule> fromValue(qlonglong type, const QString& value,
                                                               QString* problem);
    /// Why no task can be scheduled by this, in plain words; empty when one can.
    [[nodiscard]] QString problem() const;

    /// In words, alike on all machines: consoles compare them.
    [[nodiscard]] QString description() const;
    /// A calendar interval in words; an empty text stands for an absent number.
    [[nodiscard]] static QString friendlyIntervalDescription(const QString& minute, const QString& hour,
                                                             const QString& day, const QString& weekday,
                                                             const QString& month);

    friend bool operator==(const TaskSchedule&, const TaskSchedule&) = default;
};
