#include "agent/tree/TemporaryFolders.h"

#include "agent/tree/TreeAccess.h"
#include "base/PropertyList.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

#include <QFile>
#include <QRegularExpression>

#include <algorithm>

namespace {

constexpr qsizetype mostFolders = 500;  ///< of one process; the oldest go
constexpr qsizetype mostNames = 10'000;

QString pathOf(int descriptor) {
    return QFile::symLinkTarget(QStringLiteral("/proc/self/fd/%1").arg(descriptor));
}

bool isMark(const QString& mark) {
    static const QRegularExpression pattern(QStringLiteral("^\\.corvalin-tmp-[0-9a-f]{1,16}-$"));
    return pattern.match(mark).hasMatch();
}

/// Only what this program makes: nothing that leads elsewhere, no device.
bool isFileOrFolder(int folder, const QByteArray& name) {
    struct stat status {};
    return TreeAccess::statusOf(folder, name, status) && (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode));
}

int removeMarked(const WorkstationTree& tree, const QString& path, const QByteArray& mark) {
    const auto place = TreeAccess::placeOf(tree, path + u'/' + QString::fromLatin1(mark));
    int count = 0;
    const auto names = TreeAccess::namesIn(place.folder, path, mostNames);
    for (const QByteArray& name : names) {
        if (!name.startsWith(mark) || !isFileOrFolder(place.folder, name)) continue;
        TreeAccess::removeAll(place.folder, name, path + u'/' + QFile::decodeName(name));
        ++count;
    }
    return count;
}

}  // namespace

TemporaryFolders::TemporaryFolders(QString file) : m_file(std::move(file)) {
    if (m_file.isEmpty()) return;
    const QVariantMap kept = PropertyList::readFile(m_file).toMap();
    for (auto entry = kept.cbegin(); entry != kept.cend(); ++entry)
        if (isMark(entry.key())) m_former.insert(entry.key(), entry->toStringList());
}

void TemporaryFolders::note(int root, int folder, const QByteArray& mark) {
    if (m_file.isEmpty()) return;
    const QString rootPath = pathOf(root), path = pathOf(folder);
    const QString below = rootPath == u"/" ? path : path.mid(rootPath.size());
    if (!path.startsWith(rootPath) || !below.startsWith(u'/')) return;
    const std::lock_guard lock(m_mutex);
    if (m_own.contains(below)) return;
    m_mark = QString::fromLatin1(mark);
    m_own.append(below);
    if (m_own.size() > mostFolders) m_own.removeFirst();
    write();
}

void TemporaryFolders::clearLeftovers(const WorkstationTree& tree) {
    const std::lock_guard lock(m_mutex);
    if (m_former.isEmpty()) return;
    int count = 0;
    for (auto folders = m_former.begin(); folders != m_former.end(); ++folders) {
        folders->removeIf([&](const QString& path) {
            try {
                count += removeMarked(tree, path, folders.key().toLatin1());
            } catch (const VLException& error) {
                // What is not there any more has no leftovers either.
                if (!tree.entry(path, WorkstationTree::Links::Refuse)) return true;
                VLLog::appendLog(error.reason());
                return false;
            }
            return true;
        });
    }
    m_former.removeIf([](const auto& entry) { return entry.value().isEmpty(); });
    if (count > 0) VLLog::appendLog(QStringLiteral("Removed what an agent that was killed left: %i"), count);
    write();
}

/// Without the note, what is left behind only stays until somebody changes something in that folder again.
void TemporaryFolders::write() const {
    QVariantMap kept;
    for (auto folders = m_former.cbegin(); folders != m_former.cend(); ++folders)
        kept.insert(folders.key(), *folders);
    if (!m_own.isEmpty()) kept.insert(m_mark, m_own);
    QString error;
    if (!PropertyList::writeFileAtomically(m_file, kept, &error))
        VLLog::appendLog(QStringLiteral("Unable to note down temporary files: %@"), error);
}
