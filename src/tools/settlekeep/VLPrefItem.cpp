#include "tools/settlekeep/VLPrefItem.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>

namespace {

bool isImmutable(const QString& path) {
    struct statx status {};
    return statx(AT_FDCWD, QFile::encodeName(path).constData(), 0, STATX_BASIC_STATS, &status) == 0 &&
           (status.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
}

}  // namespace

VLPrefItem VLPrefItem::initWithName(const QString& name, const QString& key,
                                    const std::optional<QStringList>& files, const QString& icon,
                                    bool selected) {
    VLPrefItem item;
    item.m_name = name;
    item.m_key = key;
    item.m_files = files;
    item.m_icon = icon;
    item.m_selected = selected ? On : Off;
    return item;
}

void VLPrefItem::calculateLocked() {
    if (m_files && std::any_of(m_files->begin(), m_files->end(), isImmutable)) m_locked = true;
}
