#include "agent/addonry/PluginChanges.h"

#include "agent/tree/TreeArchive.h"
#include "agent/tree/TreeWriter.h"
#include "logs/VLLog.h"
#include "remote/RemoteLimits.h"
#include "system/VLException.h"

#include <algorithm>

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

/// Removes what nobody needs any more; a failure is of no interest to whoever asked for the change.
void tidy(const TreeWriter& writer, const QString& path) {
    try {
        writer.remove(path);
    } catch (const VLException& exception) {
        VLLog::appendLog(QStringLiteral("%@"), exception.reason());
    }
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
    const TreeWriter writer(m_tree);
    if (move.from.accessType == move.to.accessType) return writer.move(move.from.path, move.to.path);
    // A copy, because it changes hands: what is used by everybody must not stay writable for one user.
    writer.copy(move.from.path, move.to.path);
    QString aside;
    try {
        aside = writer.stagingPath(move.from.folder());
        writer.move(move.from.path, aside);
    } catch (const VLException&) {
        tidy(writer, move.to.path);
        throw;
    }
    tidy(writer, aside);
}

void PluginChanges::install(const PluginPlaces& places, const PluginPlace& place,
                            const QByteArray& archive) const {
    const TreeWriter writer(m_tree);
    const QString staging = writer.stagingPath(place.folder());
    try {
        unpackOver(staging, places, place, archive);
    } catch (const VLException&) {
        tidy(writer, staging);
        throw;
    }
    tidy(writer, staging);
}

void PluginChanges::unpackOver(const QString& staging, const PluginPlaces& places, const PluginPlace& place,
                               const QByteArray& archive) const {
    const QString name = onlyName(archive);
    if (!places.isPluginName(place.type, name))
        refuse(QStringLiteral("The archive does not hold one plug-in of the type %1").arg(place.type));
    TreeArchive::unpack(m_tree, archive, staging);
    const QString unpacked = staging + u'/' + name;
    const auto found = m_tree.entry(unpacked, WorkstationTree::Links::Refuse);
    const bool mayBeFile = place.type == u"FxScript";
    if (!found || (found->kind != WorkstationTree::Kind::Folder &&
                   !(mayBeFile && found->kind == WorkstationTree::Kind::File)))
        refuse(QStringLiteral("What the archive holds is no plug-in of the type %1").arg(place.type));
    TreeWriter(m_tree).replace(unpacked, place.path);
}

QByteArray PluginChanges::pack(const PluginPlace& place) const {
    if (kindOf(m_tree, place) == WorkstationTree::Kind::Link)
        refuse(QStringLiteral("%1 is a link to a plug-in that is kept elsewhere").arg(place.path));
    QByteArray archive = TreeArchive::pack(m_tree, {{place.fileName(), place.path}});
    if (archive.size() > qsizetype(RemoteLimits{}.messageBytes) - messageOverhead)
        refuse(QStringLiteral("%1 is too large to be sent").arg(place.path));
    return archive;
}
