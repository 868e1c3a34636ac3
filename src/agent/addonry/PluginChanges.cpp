#include "agent/addonry/PluginChanges.h"

#include "agent/tree/TreeAccess.h"
#include "agent/tree/TreeArchive.h"
#include "logs/VLLog.h"
#include "remote/RemoteLimits.h"
#include "system/VLException.h"

#include <QSet>
#include <QUuid>

#include <algorithm>
#include <cerrno>

namespace {

constexpr qsizetype messageOverhead = 64 * 1024;

[[noreturn]] void refuse(const QString& reason) {
    throw VLException(VLException::refused, reason);
}

QString onlyName(const QByteArray& archive) {
    try {
        const QStringList names = TreeArchive::topLevelNames(archive);
        return names.size() == 1 ? names.first() : QString();
    } catch (const VLException& error) {
        refuse(error.reason());
    }
}

/// Changes pass through here, on the disk that the plug-ins of that user or of the machine lie on.
QString workingFolders(const QString& user) {
    const QString owner = user.isEmpty() ? QString() : WorkstationTree::homePath(user);
    return owner + QStringLiteral("/Library/Application Support/Velmora/Addonry/Working");
}

/// The file or folder itself, not what a link leads to.
std::optional<WorkstationTree::Kind> kindOf(const WorkstationTree& tree, const PluginPlace& place) {
    const auto links =
        place.isMachineWide() ? WorkstationTree::Links::Follow : WorkstationTree::Links::Refuse;
    const auto entries = tree.entries(place.folder(), links);
    const auto found =
        std::find_if(entries.begin(), entries.end(),
                     [name = place.fileName()](const auto& entry) { return entry.name == name; });
    return found == entries.end() ? std::nullopt : std::optional(found->kind);
}

}  // namespace

PluginChanges::PluginChanges(const WorkstationTree& tree, const QString& stateDirectory, const QString& user)
    : m_tree(tree),
      m_writer(tree),
      m_change(tree, stateDirectory + QStringLiteral("/addonry")),
      m_user(user) {}

void PluginChanges::recover() const {
    m_change.recover();
    for (const QString& user : QSet<QString>{QString(), m_user}) {
        const QString folder = workingFolders(user);
        const auto entries = m_tree.entries(folder, WorkstationTree::Links::Refuse);
        for (const auto& entry : entries)
            tidy(folder + u'/' + entry.name);
    }
}

QString PluginChanges::newWorkingFolder(const PluginPlace& place) const {
    const QString folder = workingFolders(place.isMachineWide() ? QString() : m_user) + u'/' +
                           QUuid::createUuid().toString(QUuid::Id128);
    m_writer.makeFolders(folder);
    return folder;
}

/// Removes what nobody needs any more; a failure is of no interest to whoever asked for the change.
void PluginChanges::tidy(const QString& folder) const {
    try {
        m_writer.remove(folder);
    } catch (const VLException& exception) {
        VLLog::appendLog(QStringLiteral("%@"), exception.reason());  // the next start tries again
    }
}

void PluginChanges::move(const QList<Move>& moves) const {
    int failures = 0;
    std::optional<VLException> first;  // a refusal says less than a failure
    for (const Move& one : moves) {
        try {
            move(one);
        } catch (const VLException& exception) {
            if (!first || first->name() == VLException::refused) first = exception;
            ++failures;
        }
    }
    if (!first) return;
    if (moves.size() == 1) throw *first;
    throw VLException(first->name(),
                      QStringLiteral("%1 of %2 plug-ins could not be changed. %3")
                          .arg(QString::number(failures), QString::number(moves.size()), first->reason()));
}

void PluginChanges::move(const Move& move) const {
    if (kindOf(m_tree, move.to)) refuse(QStringLiteral("There is a plug-in at %1 already").arg(move.to.path));
    if (move.from.accessType == move.to.accessType)
        m_writer.move(move.from.path, move.to.path);
    else
        changeHands(move);
}

/// By a copy: what is used by everybody must not stay writable for one user.
void PluginChanges::changeHands(const Move& move) const {
    if (m_writer.identity(move.to.path) != 0) TreeAccess::fail(QStringLiteral("make"), move.to.path, EEXIST);
    const QString made = newWorkingFolder(move.to), taken = newWorkingFolder(move.from);
    QList<TreeChange::Step> steps;
    try {
        const QString copy = made + u'/' + move.to.fileName();
        m_writer.copy(move.from.path, copy);
        steps = {m_change.putting(copy, move.to.path), {move.from.path, taken + u'/' + move.from.fileName()}};
    } catch (const VLException&) {
        tidy(made);
        tidy(taken);
        throw;
    }
    m_change.commit({made, taken}, steps, TreeChange::Former::Removed);
}

void PluginChanges::install(const PluginPlaces& places, const PluginPlace& place, const QByteArray& archive,
                            const QString& former) const {
    const QString working = newWorkingFolder(place);
    QList<TreeChange::Step> steps;
    try {
        steps.append(m_change.putting(unpackIn(working, places, place, archive), place.path));
    } catch (const VLException&) {
        tidy(working);
        throw;
    }
    if (!former.isEmpty()) steps.append({former, working + QStringLiteral("/former")});
    m_change.commit({working}, steps, TreeChange::Former::Removed);
}

QString PluginChanges::unpackIn(const QString& working, const PluginPlaces& places, const PluginPlace& place,
                                const QByteArray& archive) const {
    const QString name = onlyName(archive);
    if (!places.isPluginName(place.type, name))
        refuse(QStringLiteral("The archive does not hold one plug-in of the type %1").arg(place.type));
    const QString folder = working + QStringLiteral("/new");
    TreeArchive::unpack(m_tree, archive, folder);
    const QString unpacked = folder + u'/' + name;
    const auto found = m_tree.entry(unpacked, WorkstationTree::Links::Refuse);
    const bool mayBeFile = place.type == u"FxScript";
    if (!found || (found->kind != WorkstationTree::Kind::Folder &&
                   !(mayBeFile && found->kind == WorkstationTree::Kind::File)))
        refuse(QStringLiteral("What the archive holds is no plug-in of the type %1").arg(place.type));
    return unpacked;
}

QByteArray PluginChanges::pack(const PluginPlace& place) const {
    if (kindOf(m_tree, place) == WorkstationTree::Kind::Link)
        refuse(QStringLiteral("%1 is a link to a plug-in that is kept elsewhere").arg(place.path));
    QByteArray archive = TreeArchive::pack(m_tree, {{place.fileName(), place.path}});
    if (archive.size() > qsizetype(RemoteLimits{}.messageBytes) - messageOverhead)
        refuse(QStringLiteral("%1 is too large to be sent").arg(place.path));
    return archive;
}
