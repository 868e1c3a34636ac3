#include "base/RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

bool fail(QString* error, const QString& path, const QString& reason) {
    if (error) *error = QStringLiteral("%1: %2").arg(path, reason);
    return false;
}

QString systemError() {
    return QString::fromLocal8Bit(std::strerror(errno));
}

QString notRegular() {
    return QStringLiteral("not a regular file");
}

bool openAs(QFile& file, const QString& path, int flags, QIODevice::OpenMode mode, QString* error) {
    constexpr mode_t everyone = 0666;  // less the user's mask
    const int descriptor =
        ::open(QFile::encodeName(path).constData(), flags | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, everyone);
    if (descriptor < 0) return fail(error, path, systemError());
    struct stat information = {};
    if (::fstat(descriptor, &information) != 0 || !S_ISREG(information.st_mode)) {
        ::close(descriptor);
        return fail(error, path, notRegular());
    }
    return file.open(descriptor, mode, QFileDevice::AutoCloseHandle);
}

/// False, and errno set, also when there is something at `to`.
bool renameWithoutReplacing(const QByteArray& from, const QByteArray& to) {
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0) return true;
    const bool isUnknownHere = errno == EINVAL || errno == ENOSYS;  // as on folders of other machines
    return isUnknownHere && ::link(from.constData(), to.constData()) == 0 && ::unlink(from.constData()) == 0;
}

}  // namespace

QString RegularFile::problem(const QString& path) {
    struct stat information = {};
    QString text;
    if (::stat(QFile::encodeName(path).constData(), &information) != 0) {
        if (errno != ENOENT) fail(&text, path, systemError());
    } else if (!S_ISREG(information.st_mode)) {
        fail(&text, path, notRegular());
    }
    return text;
}

bool RegularFile::openForReading(QFile& file, const QString& path, QString* error) {
    return openAs(file, path, O_RDONLY, QIODevice::ReadOnly, error);
}

bool RegularFile::openForAppending(QFile& file, const QString& path, QString* error) {
    return openAs(file, path, O_WRONLY | O_APPEND | O_CREAT,
                  QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered, error);
}

std::optional<QString> RegularFile::keepDamaged(const QString& path, QString* error) {
    for (int number = 1; number <= mostDamaged; ++number) {
        const QString kept =
            path + (number == 1 ? QStringLiteral(".damaged") : QStringLiteral(".damaged-%1").arg(number));
        if (renameWithoutReplacing(QFile::encodeName(path), QFile::encodeName(kept))) return kept;
        if (errno == EEXIST) continue;
        fail(error, path, systemError());
        return std::nullopt;
    }
    fail(error, path, QStringLiteral("damaged, and %1 damaged ones are kept already").arg(mostDamaged));
    return std::nullopt;
}
