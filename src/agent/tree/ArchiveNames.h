#pragma once

#include <QByteArray>

#include <locale.h>

/// Which names and links an archive may have.
namespace ArchiveNames {

/// Whether it can be one part of an entry's name.
[[nodiscard]] bool isName(const QByteArray& part);
/// Throws VLException for a name that is absolute, climbs, is too deep or no valid text.
void check(const QByteArray& name);
/// Whether a link of that name leads to a place inside the archive, also when links lie on its way.
[[nodiscard]] bool linkStaysInside(const QByteArray& name, const QByteArray& target);

/// Lets libarchive read and write names as UTF-8 on this thread, whatever the machine's language.
class Utf8Locale {
public:
    Utf8Locale();
    ~Utf8Locale();
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;

private:
    locale_t m_utf8, m_before;
};

}  // namespace ArchiveNames
