#include "agent/sample/SampleTree.h"

#include "agent/sample/SampleProfile.h"
#include "agent/sample/SampleWriter.h"
#include "system/VLException.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <unistd.h>

namespace {

constexpr char markerName[] = ".corvalin-sample";
constexpr char markerText[] = "A sample workstation of corvalin-agent. It may be made anew at any time.\n";

// crypt(3), SHA-512, of "corvalin-sample". A sample machine guards nothing.
constexpr char administrators[] =
    "admin:$6$corvalinsample$XHF/rPOAzUgHixb.cMHyJ8FSuk8T64N/4MxF5FNtWQEdQkgxoqMd/"
    "zXweXVhO2VIY1Tw3O5x8JsZepo3EmOgN0\n";

/// A folder's files decide what the agent works on only when nobody else can have put them there.
bool isOwnFile(const QString& path) {
    const QFileInfo info(path);
    return !info.isSymLink() && info.isFile() && info.ownerId() == geteuid();
}

bool hasMarker(const QString& directory) {
    QFile marker(directory + u'/' + QLatin1String(markerName));
    return !directory.isEmpty() && isOwnFile(marker.fileName()) && marker.open(QIODevice::ReadOnly) &&
           marker.read(1024).startsWith(markerText);
}

bool isEmpty(const QString& directory) {
    return QDir(directory)
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)
        .isEmpty();
}

/// Makes room for the new content. Only what this program has made is removed.
void prepare(const QString& directory) {
    const QFileInfo info(directory);
    if ((info.exists() && !info.isDir()) || (info.isDir() && !isEmpty(directory) && !hasMarker(directory))) {
        throw VLException(VLException::generic,
                          QStringLiteral("%1 holds something that is no sample workstation.").arg(directory));
    }
    const QString disk = directory + QStringLiteral("/disk");
    if (QFileInfo(disk).isSymLink() || !QDir(disk).removeRecursively())
        throw VLException(VLException::generic, QStringLiteral("%1 cannot be removed.").arg(disk));
}

QVariantMap agentConfiguration(const SampleProfile& profile) {
    return {
        {QStringLiteral("root"), QStringLiteral("disk")},
        {QStringLiteral("state"), QStringLiteral("state")},
        {QStringLiteral("adminFile"), QStringLiteral("admin-users")},
        {QStringLiteral("name"), QString::fromUtf8(profile.name)},
        {QStringLiteral("hostName"), QString::fromUtf8(profile.hostName)},
        {QStringLiteral("model"), QString::fromUtf8(profile.model)},
        {QStringLiteral("consoleUser"), QString::fromUtf8(profile.user)},
        {QStringLiteral("minAdminVersion"), qlonglong(1000)},
        // A trial never opens a port to the network.
        {QStringLiteral("listen"), QStringLiteral("127.0.0.1")},
        {QStringLiteral("port"), qlonglong(0)},
    };
}

void writeDisk(const SampleWriter& disk, const SampleProfile& profile) {
    disk.folder(profile.home() + QStringLiteral("/Library"));
    disk.folder(QStringLiteral("/Users/Shared"));
    if (profile.secondUser != nullptr)
        disk.folder(QStringLiteral("/Users/%1/Library").arg(QLatin1String(profile.secondUser)));
    writeSamplePlugins(disk, profile);
    writeSampleSoftware(disk, profile);
    writeSamplePreferences(disk, profile);
    writeSampleClutter(disk, profile);
    writeSampleJobs(disk, profile);
    writeSampleLogs(disk, profile);
}

}  // namespace

void SampleTree::make(const QString& directory, int profileNumber) {
    const QString target = QDir::cleanPath(QDir(directory).absolutePath());
    const SampleProfile& profile = sampleProfile(profileNumber);
    prepare(target);

    const SampleWriter top(target, sampleDate());
    top.file(u'/' + QLatin1String(markerName), markerText);  // first: a half-made one can be made anew
    writeDisk(SampleWriter(target + QStringLiteral("/disk"), sampleDate()), profile);
    writeSampleState(SampleWriter(target + QStringLiteral("/state"), sampleDate()), profile);
    top.folder(QStringLiteral("/state/authorized"));
    top.file(QStringLiteral("/admin-users"), administrators);
    top.propertyList(QStringLiteral("/agent.conf"), agentConfiguration(profile));
}

bool SampleTree::isSample(const QString& directory) {
    return hasMarker(directory) && isOwnFile(configurationPath(directory));
}

QString SampleTree::configurationPath(const QString& directory) {
    return directory + QStringLiteral("/agent.conf");
}
