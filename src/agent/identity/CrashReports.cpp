#include "agent/identity/CrashReports.h"

#include "base/PropertyList.h"

namespace {

/// Beyond that the memory starts anew: it must not grow with everybody who ever connected.
constexpr qsizetype mostConsoles = 500;

}  // namespace

CrashReports::CrashReports(const QString& stateDirectory)
    : m_path(stateDirectory + QStringLiteral("/reported-crashes.plist")) {}

bool CrashReports::takeFor(const QString& console, const QString& logName) {
    const std::lock_guard lock(m_mutex);
    QVariantMap told = PropertyList::readFile(m_path).toMap();
    if (told.value(console).toString() >= logName) return false;
    if (told.size() >= mostConsoles) told.clear();
    told.insert(console, logName);
    // Where it can't be written the console is told once more next time: better than never.
    PropertyList::writeFileAtomically(m_path, told);
    return true;
}
