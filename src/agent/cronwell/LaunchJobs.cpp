#include "agent/cronwell/LaunchJobs.h"

#include "agent/tree/TreeWriter.h"
#include "system/VLException.h"

#include <algorithm>

namespace {

using Links = WorkstationTree::Links;

const QString extension = QStringLiteral(".plist");

/// What may stand in a label.
QString labelPart(const QString& text) {
    QString part = text.left(64);
    const auto isUsable = [](QChar c) {
        return c.unicode() < 0x80 && (c.isLetterOrNumber() || c == u'-' || c == u'_');
    };
    std::replace_if(
        part.begin(), part.end(), [&](QChar c) { return !isUsable(c); }, u'-');
    return part;
}

}  // namespace

QString LaunchJobs::folder(bool isRoot) const {
    if (isRoot) return QStringLiteral("/Library/LaunchDaemons");
    if (m_user.isEmpty())
        throw VLException(
            VLException::refused,
            QStringLiteral("There is no user on this computer whose tasks could be scheduled."));
    return WorkstationTree::homePath(m_user) + QStringLiteral("/Library/LaunchAgents");
}

bool LaunchJobs::isFileName(const QString& name) {
    const bool isPlain = !name.contains(u'/') && !name.contains(QChar(u'\0')) && !name.startsWith(u'.');
    return isPlain && name.endsWith(extension) && name.toUtf8().size() <= 255;
}

QByteArray LaunchJobs::content(const Entry& entry) const {
    return m_tree.read(folder(entry.isRoot) + u'/' + entry.fileName, LaunchJob::largestFile, Links::Refuse)
        .value_or(QByteArray());
}

std::optional<LaunchJob> LaunchJobs::read(const QString& fileName, bool isRoot) const {
    const auto data = m_tree.read(folder(isRoot) + u'/' + fileName, LaunchJob::largestFile, Links::Refuse);
    return data ? LaunchJob::fromData(*data) : std::nullopt;
}

QList<LaunchJobs::Entry> LaunchJobs::all() const {
    QList<Entry> found;
    QSet<QString> names;
    for (const bool isRoot : {true, false}) {
        if (!isRoot && m_user.isEmpty()) break;
        int filesRead = 0;
        for (const auto& file : m_tree.entries(folder(isRoot), Links::Refuse)) {
            if (!isFileName(file.name) || names.contains(file.name)) continue;
            if (++filesRead > mostJobs) break;
            auto job = read(file.name, isRoot);
            if (!job) continue;
            names.insert(file.name);
            found.append({file.name, isRoot, *std::move(job)});
        }
    }
    return found;
}

LaunchJobs::Entry LaunchJobs::require(const QString& fileName) const {
    if (!isFileName(fileName))
        throw VLException(
            VLException::refused,
            QStringLiteral("“%1” is not the name of a scheduled task's file.").arg(fileName.left(255)));
    for (const bool isRoot : {true, false}) {
        if (!isRoot && m_user.isEmpty()) break;
        if (auto job = read(fileName, isRoot)) return {fileName, isRoot, *std::move(job)};
    }
    throw VLException(VLException::refused,
                      QStringLiteral("There is no scheduled task in the file %1.").arg(fileName));
}

void LaunchJobs::write(const Entry& entry) const {
    const QByteArray data = entry.job.toData();
    if (data.isEmpty() || data.size() > LaunchJob::largestFile)
        throw VLException(VLException::refused,
                          QStringLiteral("The file %1 would become too large.").arg(entry.fileName));
    const TreeWriter writer(m_tree);
    const QString path = folder(entry.isRoot);
    writer.makeFolders(path);
    writer.write(path + u'/' + entry.fileName, data);
}

void LaunchJobs::remove(const Entry& entry) const {
    TreeWriter(m_tree).remove(folder(entry.isRoot) + u'/' + entry.fileName);
}

QSet<QString> LaunchJobs::takenNames() const {
    QSet<QString> taken;
    for (const bool isRoot : {true, false}) {
        if (!isRoot && m_user.isEmpty()) break;
        for (const auto& file : m_tree.entries(folder(isRoot), Links::Refuse))
            taken.insert(file.name.toCaseFolded());
    }
    return taken;
}

bool LaunchJobs::isTaken(const QString& fileName) const {
    return takenNames().contains(fileName.toCaseFolded());
}

QString LaunchJobs::freeLabel(const OfferedTask& task) const {
    const QSet<QString> taken = takenNames();
    const QString wanted = QStringLiteral("com.velmora.cronwell.%1.%2")
                               .arg(labelPart(task.bundleID.section(u'.', -1)), labelPart(task.id));
    QString label = wanted;
    for (int number = 2; taken.contains((label + extension).toCaseFolded()); ++number)
        label = QStringLiteral("%1-%2").arg(wanted).arg(number);
    return label;
}
