#include "agent/sample/SampleProfile.h"
#include "agent/sample/SampleWriter.h"

namespace {

QVariantMap update(const char* title, const char* bundleId, const char* size, const char* change,
                   bool manualOnly) {
    const QString name = QString::fromUtf8(title).section(u' ', 0, 0);
    return {
        {QStringLiteral("title"), QString::fromUtf8(title)},
        {QStringLiteral("type"), QStringLiteral("sparkle")},
        {QStringLiteral("size"), QString::fromUtf8(size)},
        {QStringLiteral("changelist"), QStringLiteral("<ul><li>%1</li></ul>").arg(QString::fromUtf8(change))},
        {QStringLiteral("path"), QStringLiteral("/Applications/Corvalin Tools/%1.app").arg(name)},
        {QStringLiteral("bundleid"), QString::fromUtf8(bundleId)},
        {QStringLiteral("url"), QStringLiteral("https://www.velmora.example/updates/%1.zip").arg(name)},
        {QStringLiteral("manualOnly"), manualOnly},
    };
}

QVariantList waitingUpdates(int index) {
    const QVariantMap faultscope = update("Faultscope 2.0.5", "com.velmora.Faultscope", "1.8 MB",
                                          "Explains crashes in audio plug-ins.", false);
    const QVariantMap cronwell = update("Cronwell 1.2.3", "com.velmora.Cronwell", "0.9 MB",
                                        "Tasks that watch a folder start again after sleep.", false);
    const QVariantMap settlekeep = update("Settlekeep 2.1.1", "com.velmora.settlekeep", "2.4 MB",
                                          "Backups name the machine that they come from.", true);
    const PerMachine<QVariantList> updates{QVariantList{}, QVariantList{faultscope}, QVariantList{cronwell},
                                           QVariantList{settlekeep}};
    return updates.at(static_cast<std::size_t>(index));
}

QVariantMap job(const char* name, const char* status, double percent, const char* submittedBy) {
    return {{QStringLiteral("name"), QString::fromUtf8(name)},
            {QStringLiteral("status"), QString::fromUtf8(status)},
            {QStringLiteral("percentComplete"), percent},
            {QStringLiteral("submittedBy"), QString::fromUtf8(submittedBy)},
            {QStringLiteral("submitted"), sampleDate(0, 8, 30)}};
}

/// Clusters, their batches, their jobs, as the render service reports them.
QVariantMap renderClusters(const SampleProfile& profile) {
    if (profile.index != 2 && !profile.isRenderNode()) return {};
    const QVariantMap jobs{
        {QStringLiteral("8F2C01"), job("Trailer v3 - web", "Processing", 42.5, "anna")},
        {QStringLiteral("8F2C02"), job("Trailer v3 - broadcast", "Waiting", 0.0, "anna")},
    };
    const QVariantMap batch{{QStringLiteral("name"), QStringLiteral("Trailer v3")},
                            {QStringLiteral("jobs"), jobs}};
    const QString cluster =
        profile.isRenderNode() ? QStringLiteral("Render cluster") : QStringLiteral("Grading cluster");
    return {{cluster, QVariantMap{{QStringLiteral("7B11"), batch}}}};
}

}  // namespace

void writeSampleState(const SampleWriter& state, const SampleProfile& profile) {
    state.propertyList(QStringLiteral("/machine.plist"),
                       {{QStringLiteral("processor"), QString::fromUtf8(profile.processor)},
                        {QStringLiteral("processorCount"), qlonglong(profile.processorCount)},
                        {QStringLiteral("memoryBytes"), qlonglong(profile.memoryBytes)},
                        {QStringLiteral("graphics"), QString::fromUtf8(profile.graphics)},
                        {QStringLiteral("serialNumber"), QString::fromUtf8(profile.serialNumber)}});
    state.propertyList(QStringLiteral("/updates.plist"),
                       {{QStringLiteral("updates"), waitingUpdates(profile.index)}});
    state.propertyList(QStringLiteral("/qmaster.plist"),
                       {{QStringLiteral("sharing"), profile.isRenderNode()},
                        {QStringLiteral("clusters"), renderClusters(profile)}});
}
