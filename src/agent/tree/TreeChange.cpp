#include "agent/tree/TreeChange.h"

#include "base/PropertyList.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

#include <QDir>
#include <QFile>
#include <QUuid>

#include <algorithm>

namespace {

const QString folderKey = QStringLiteral("folder");
const QString foldersKey = QStringLiteral("folders");
const QString userKey = QStringLiteral("user");
const QString trashedKey = QStringLiteral("trashed");
const QString phaseKey = QStringLiteral("phase");
const QString stepsKey = QStringLiteral("steps");
const QString targetKey = QStringLiteral("target");
const QString placeKey = QStringLiteral("place");
const QString identityKey = QStringLiteral("identity");

/// Where the old goes on file systems that cannot exchange two names.
QString aside(const TreeChange::Step& step) {
    return step.place + QStringLiteral(".former");
}

}  // namespace

struct TreeChange::Journal {
    enum Phase : qlonglong { Forward, Done, Back };

    QString file;  ///< its own
    QStringList folders;
    QString user;
    Former former = Former::Removed;
    qlonglong phase = Forward;
    QList<Step> steps;

    [[nodiscard]] QVariantMap asPropertyList() const {
        QVariantList written;
        for (const Step& step : steps)
            written.append(QVariantMap{{targetKey, step.target},
                                       {placeKey, step.place},
                                       {identityKey, QString::number(step.identity)}});
        return {{foldersKey, folders},
                {userKey, user},
                {trashedKey, former == Former::Trashed},
                {phaseKey, phase},
                {stepsKey, written}};
    }
    static Journal read(const QString& file) {
        const QVariantMap map = PropertyList::readFile(file).toMap();
        Journal journal{file,
                        map.value(foldersKey).toStringList(),
                        map.value(userKey).toString(),
                        map.value(trashedKey).toBool() ? Former::Trashed : Former::Removed,
                        map.value(phaseKey).toLongLong(),
                        {}};
        // As agents before this one wrote it, with one folder.
        if (journal.folders.isEmpty() && map.contains(folderKey))
            journal.folders = {map.value(folderKey).toString()};
        const QVariantList written = map.value(stepsKey).toList();
        for (const QVariant& value : written) {
            const QVariantMap step = value.toMap();
            journal.steps.append({step.value(targetKey).toString(), step.value(placeKey).toString(),
                                  step.value(identityKey).toString().toULongLong()});
        }
        return journal;
    }
};

TreeChange::Step TreeChange::putting(const QString& staged, const QString& target) const {
    const Step step{target, staged, m_writer.identity(staged)};
    if (step.identity == 0)
        throw VLException(VLException::generic, QStringLiteral("%1 has vanished.").arg(staged));
    return step;
}

void TreeChange::commit(const QStringList& workingFolders, const QList<Step>& steps, Former former,
                        const QString& user) const {
    const QString file =
        QStringLiteral("%1/%2.plist").arg(m_journals, QUuid::createUuid().toString(QUuid::Id128));
    Journal journal{file, workingFolders, user, former, Journal::Forward, steps};
    try {
        write(journal);
    } catch (const VLException&) {
        finish(journal);
        throw;
    }
    run(journal);
    finish(journal);
}

void TreeChange::recover() const {
    const QStringList names = QDir(m_journals).entryList(QDir::Files, QDir::Name);
    for (const QString& name : names) {
        if (!name.endsWith(QLatin1String(".plist"))) {
            QFile::remove(m_journals + u'/' + name);  // was being written
            continue;
        }
        Journal journal = Journal::read(m_journals + u'/' + name);
        // Damaged, or of a disk that was made anew: there is nothing left that it could be about.
        if (!isAbout(journal)) {
            forget(journal);
            continue;
        }
        VLLog::appendLog(QStringLiteral("Completing an interrupted change (%@)."), name);
        try {
            resume(journal);
        } catch (const VLException& error) {
            throw VLException(
                VLException::generic,
                QStringLiteral("An earlier change was interrupted and cannot be completed yet. %1")
                    .arg(error.reason()));
        }
    }
}

bool TreeChange::isAbout(const Journal& journal) const {
    return !journal.folders.isEmpty() &&
           std::all_of(journal.folders.begin(), journal.folders.end(),
                       [this](const QString& folder) { return m_writer.identity(folder) != 0; });
}

void TreeChange::write(const Journal& journal) const {
    QDir().mkpath(m_journals);
    QString error;
    if (!PropertyList::writeFileAtomically(journal.file, journal.asPropertyList(), &error))
        throw VLException(VLException::generic,
                          QStringLiteral("Unable to note down what is to be done: %1").arg(error));
}

void TreeChange::forget(const Journal& journal) {
    QFile::remove(journal.file);
}

void TreeChange::resume(Journal& journal) const {
    try {
        if (journal.phase == Journal::Back)
            takeBack(journal);
        else
            run(journal);
    } catch (const VLException& error) {
        // Taken back after all: as it was before is as good as done.
        if (!QFile::exists(journal.file)) {
            VLLog::appendLog(QStringLiteral("It was taken back: %@"), error.reason());
            return;
        }
        throw;
    }
    finish(journal);
}

/// Forward, and back when that fails.
void TreeChange::run(Journal& journal) const {
    try {
        if (journal.phase == Journal::Forward) {
            for (const Step& step : journal.steps)
                stepForward(step);
            journal.phase = Journal::Done;
            write(journal);
        }
        if (journal.former == Former::Trashed) trashFormer(journal);
    } catch (const VLException&) {
        takeBack(journal);
        finish(journal);
        throw;
    }
}

void TreeChange::takeBack(Journal& journal) const {
    journal.phase = Journal::Back;
    try {
        write(journal);
    } catch (const VLException& error) {
        VLLog::appendLog(error.reason());  // killed from here on it goes forward again, which is as good
    }
    std::for_each(journal.steps.crbegin(), journal.steps.crend(),
                  [this](const Step& step) { stepBack(step); });
}

/// May have been done already, as far as anybody knows: what lies in the step's place tells.
void TreeChange::stepForward(const Step& step) const {
    const quint64 inPlace = m_writer.identity(step.place);
    const bool isThere = m_writer.identity(step.target) != 0;
    if (step.identity == 0) {
        if (isThere && inPlace == 0) m_writer.move(step.target, step.place);
        return;
    }
    if (inPlace != step.identity) return;
    if (!isThere) {
        m_writer.move(step.place, step.target);
    } else if (!m_writer.exchange(step.place, step.target)) {
        if (m_writer.identity(aside(step)) == 0) m_writer.move(step.target, aside(step));
        m_writer.replace(step.place, step.target);
    }
}

void TreeChange::stepBack(const Step& step) const {
    const quint64 inPlace = m_writer.identity(step.place);
    const bool isThere = m_writer.identity(step.target) != 0;
    if (step.identity == 0) {
        // What an application made anew meanwhile stays.
        if (inPlace != 0 && !isThere) m_writer.move(step.place, step.target);
        return;
    }
    const bool isDone = inPlace != step.identity;
    if (m_writer.identity(aside(step)) != 0) {
        if (isThere)
            m_writer.replace(aside(step), step.target);
        else
            m_writer.move(aside(step), step.target);
    } else if (isDone && inPlace == 0) {
        if (isThere) m_writer.move(step.target, step.place);
    } else if (isDone && isThere) {
        static_cast<void>(m_writer.exchange(step.place, step.target));
    } else if (isDone) {
        m_writer.move(step.place, step.target);
    }
}

/// All of it, or none.
void TreeChange::trashFormer(const Journal& journal) const {
    QList<std::pair<QString, QString>> moved;
    try {
        for (const Step& step : journal.steps)
            if (m_writer.identity(step.place) != 0)
                moved.append({step.place, m_writer.trash(step.place, journal.user)});
    } catch (const VLException&) {
        for (const auto& [place, inTrash] : std::as_const(moved))
            m_writer.move(inTrash, place);
        throw;
    }
}

/// The change stands; what is left over can also be removed some other time.
void TreeChange::finish(const Journal& journal) const {
    forget(journal);
    for (const QString& folder : journal.folders) {
        try {
            m_writer.remove(folder);
        } catch (const VLException& error) {
            VLLog::appendLog(error.reason());
        }
    }
}
