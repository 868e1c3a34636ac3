#include "agent/sample/SampleProfile.h"

namespace {

constexpr qint64 gibibyte = 1024LL * 1024 * 1024;

constexpr PerMachine<SampleProfile> profiles{{
    {0, "Edit Bay 1", "edit-bay-1.local.", "MacPro4,1", "anna", nullptr, "Media A", "10.6.3", "10D573",
     "Quad-Core Intel Xeon", 8, 12 * gibibyte, "Radeon HD 4870", "SAMPLE0001A"},
    {1, "Edit Bay 2", "edit-bay-2.local.", "iMac9,1", "bruno", "visitor", "Media B", "10.6.3", "10D573",
     "Intel Core 2 Duo", 2, 4 * gibibyte, "GeForce GT 130", "SAMPLE0002B"},
    {2, "Grading Suite", "grading-suite.local.", "MacPro5,1", "chiara", nullptr, "Grade RAID", "10.6.4",
     "10F569", "6-Core Intel Xeon", 12, 32 * gibibyte, "Quadro FX 4800", "SAMPLE0003C"},
    {3, "Render Node 1", "render-node-1.local.", "Xserve3,1", "render", nullptr, "Spool", "10.5.8", "9L31a",
     "Quad-Core Intel Xeon", 8, 24 * gibibyte, "GeForce GT 120", "SAMPLE0004D"},
}};

}  // namespace

const SampleProfile& sampleProfile(int number) {
    return profiles.at(static_cast<std::size_t>(number - 1));
}

QDateTime sampleDate(int daysBefore, int hour, int minute) {
    return QDateTime(QDate(2010, 9, 1).addDays(-daysBefore), QTime(hour, minute), Qt::UTC);
}
