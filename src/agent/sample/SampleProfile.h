#pragma once

#include <QDateTime>
#include <QString>

#include <array>

class SampleWriter;

/// One of the four sample machines. In tables, `index` picks the column of a machine.
struct SampleProfile {
    int index;  ///< 0 to 3
    const char* name;
    const char* hostName;
    const char* model;
    const char* user;        ///< who sits in front of it
    const char* secondUser;  ///< another home folder; null: none
    const char* volume;      ///< where its media lie
    const char* systemVersion;
    const char* systemBuild;
    const char* processor;
    int processorCount;
    qint64 memoryBytes;
    const char* graphics;
    const char* serialNumber;

    [[nodiscard]] QString home() const { return QStringLiteral("/Users/") + QLatin1String(user); }
    [[nodiscard]] bool isRenderNode() const { return index == 3; }
};

[[nodiscard]] const SampleProfile& sampleProfile(int number);

/// The day on which all four machines were looked at.
[[nodiscard]] QDateTime sampleDate(int daysBefore = 0, int hour = 9, int minute = 0);

/// A value for each of the four machines.
template <typename T>
using PerMachine = std::array<T, 4>;

// What fills a disk, by the file that holds its tables.
void writeSamplePlugins(const SampleWriter& disk, const SampleProfile& profile);
void writeSampleSoftware(const SampleWriter& disk, const SampleProfile& profile);
void writeSamplePreferences(const SampleWriter& disk, const SampleProfile& profile);
void writeSampleClutter(const SampleWriter& disk, const SampleProfile& profile);
void writeSampleJobs(const SampleWriter& disk, const SampleProfile& profile);
void writeSampleLogs(const SampleWriter& disk, const SampleProfile& profile);
/// What the disk cannot hold.
void writeSampleState(const SampleWriter& state, const SampleProfile& profile);
