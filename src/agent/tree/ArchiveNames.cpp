#include "agent/tree/ArchiveNames.h"

#include "agent/tree/TreeAccess.h"
#include "system/VLException.h"

#include <QFile>

#include <algorithm>

namespace ArchiveNames {

namespace {

constexpr qsizetype longestPart = 255;
constexpr qsizetype longestName = 2000;

}  // namespace

bool isName(const QByteArray& part) {
    return !part.isEmpty() && part != "." && part != ".." && part.size() <= longestPart &&
           QString::fromUtf8(part).toUtf8() == part;
}

void check(const QByteArray& name) {
    const auto parts = name.split('/');
    if (name.size() <= longestName && parts.size() <= TreeAccess::deepestFolder &&
        std::all_of(parts.begin(), parts.end(), isName))
        return;
    throw VLException(VLException::generic,
                      QStringLiteral("The archive is not usable: an entry may not be called \"%1\"")
                          .arg(QString::fromUtf8(name.left(200))));
}

bool linkStaysInside(const QByteArray& name, const QByteArray& target) {
    if (target.isEmpty() || target.startsWith('/') || target.size() > longestName) return false;
    // Climbing is allowed at the beginning only: there the folders are known to be no links.
    qsizetype mayClimb = name.count('/');
    bool isDescending = false;
    const auto parts = target.split('/');
    for (const QByteArray& part : parts) {
        if (part.isEmpty() || part == ".") continue;
        if (part != "..") {
            isDescending = true;
        } else if (isDescending || --mayClimb < 0) {
            return false;
        }
    }
    return true;
}

Utf8Locale::Utf8Locale()
    : m_utf8(newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{})),
      m_before(m_utf8 ? uselocale(m_utf8) : locale_t{}) {}

Utf8Locale::~Utf8Locale() {
    if (!m_utf8) return;
    uselocale(m_before);
    freelocale(m_utf8);
}

}  // namespace ArchiveNames
