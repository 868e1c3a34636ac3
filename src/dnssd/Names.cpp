#include "dnssd/Names.h"

#include <avahi-common/domain.h>

#include <array>
#include <cstring>

namespace dnssd {

QByteArray toLabel(const QString& name, int maxBytes) {
    QByteArray bytes = name.toUtf8();
    bytes.replace('\0', QByteArray());
    if (bytes.size() <= maxBytes) return bytes;
    // Step back over continuation bytes, so that the cut falls in front of a whole character.
    qsizetype end = maxBytes;
    while (end > 0 && (static_cast<unsigned char>(bytes.at(end)) & 0xC0) == 0x80)
        --end;
    return bytes.left(end);
}

QByteArray toInstanceName(const QString& name, const char* type) {
    constexpr size_t longest = 255 - 16;
    QByteArray label = toLabel(name);
    std::array<char, AVAHI_DOMAIN_NAME_MAX> fullName{};
    while (!label.isEmpty() &&
           avahi_service_name_join(fullName.data(), fullName.size(), label.constData(), type, "local") >= 0 &&
           std::strlen(fullName.data()) > longest)
        label = toLabel(QString::fromUtf8(label), static_cast<int>(label.size()) - 1);
    return label;
}

QString withoutTrailingDot(const QString& name) {
    return name.endsWith(QLatin1Char('.')) ? name.chopped(1) : name;
}

bool isSameHost(const QString& one, const QString& other) {
    const QString left = withoutTrailingDot(one);
    return !left.isEmpty() && left.compare(withoutTrailingDot(other), Qt::CaseInsensitive) == 0;
}

}  // namespace dnssd
