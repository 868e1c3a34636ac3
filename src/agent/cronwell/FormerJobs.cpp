#include "agent/cronwell/FormerJobs.h"

#include "base/PropertyList.h"
#include "system/VLException.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>

namespace {

const QString contentsKey = QStringLiteral("contents");

QVariantList contentsIn(const QString& file) {
    return PropertyList::readFile(file).toMap().value(contentsKey).toList();
}

}  // namespace

FormerJobs::FormerJobs(const QString& stateDirectory, const QString& user)
    : m_folder(stateDirectory + QStringLiteral("/cronwell")), m_user(user) {}

QString FormerJobs::path(const QString& fileName, bool isRoot) const {
    const QString whose = isRoot ? QStringLiteral("root") : QStringLiteral("user ") + m_user;
    const QByteArray name = (whose + u'\n' + fileName).toUtf8();
    return QStringLiteral("%1/%2.plist")
        .arg(m_folder,
             QString::fromLatin1(QCryptographicHash::hash(name, QCryptographicHash::Sha256).toHex()));
}

void FormerJobs::keep(const QString& fileName, bool isRoot, const QByteArray& content) const {
    const QString file = path(fileName, isRoot);
    QVariantList contents = contentsIn(file);
    contents.removeAll(content);
    contents.prepend(content);
    contents = contents.mid(0, mostOfOne);
    QDir().mkpath(m_folder);
    QString error;
    if (!PropertyList::writeFileAtomically(file, QVariantMap{{contentsKey, contents}}, &error))
        throw VLException(VLException::generic,
                          QStringLiteral("Unable to keep what the task was before: %1").arg(error));
    forgetOldest();
}

void FormerJobs::forgetOldest() const {
    const QStringList newestFirst = QDir(m_folder).entryList(QDir::Files, QDir::Time);
    for (const QString& name : newestFirst.mid(mostFiles))
        QFile::remove(m_folder + u'/' + name);
}

std::optional<LaunchJob> FormerJobs::find(const QString& fileName, bool isRoot, const QString& bundleID,
                                          const QString& taskID, const TaskSchedule& schedule) const {
    const QVariantList contents = contentsIn(path(fileName, isRoot));
    for (const QVariant& content : contents) {
        auto job = LaunchJob::fromData(content.toByteArray());
        if (!job || job->schedule().description() != schedule.description()) continue;
        if (const OfferedTask task = job->task(); task.bundleID == bundleID && task.id == taskID) return job;
    }
    return std::nullopt;
}
