#pragma once

#include "system/Secret.h"

#include <QString>

/// Administrators of a machine that has no accounts of its own, such as a sample workstation: a file of lines
/// "name:hash" with crypt(5) hashes. Read anew for every question. Any thread.
namespace AdministratorFile {

/// False also for a file that cannot be read and for a damaged hash. Takes the same time whether the name or
/// the password is wrong.
[[nodiscard]] bool accepts(const QString& path, const QString& user, const Secret& password);

}  // namespace AdministratorFile
