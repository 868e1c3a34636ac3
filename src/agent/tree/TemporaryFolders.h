#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <mutex>

class WorkstationTree;

/// In which folders of a disk this program makes temporary files and folders, noted down before it does, so
/// that the next start finds what one that was killed has left there. Any thread.
class TemporaryFolders {
public:
    /// `file`: where that is kept; nowhere when it is empty.
    explicit TemporaryFolders(QString file);
    TemporaryFolders(const TemporaryFolders&) = delete;
    TemporaryFolders& operator=(const TemporaryFolders&) = delete;

    /// `mark` begins the names that this process makes in the open folder.
    void note(int root, int folder, const QByteArray& mark);
    /// Removes what earlier processes left: files and folders whose names begin with their marks. What is to
    /// be completed has to be completed before. Never raises; what cannot be removed now is left for the next
    /// start.
    void clearLeftovers(const WorkstationTree& tree);

private:
    using Folders = QMap<QString, QStringList>;  ///< by mark
    void write() const;

    const QString m_file;
    std::mutex m_mutex;
    Folders m_former;
    QString m_mark;  ///< of this process
    QStringList m_own;
};
