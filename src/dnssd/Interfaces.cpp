#include "dnssd/Interfaces.h"

#include <QRegularExpression>

#include <ifaddrs.h>
#include <net/if.h>
#include <sys/socket.h>

#include <memory>

namespace dnssd {

namespace {

using AddressList = std::unique_ptr<ifaddrs, void (*)(ifaddrs*)>;

AddressList interfaceAddresses() {
    ifaddrs* list = nullptr;
    return {getifaddrs(&list) == 0 ? list : nullptr, &freeifaddrs};
}

bool isUsable(const ifaddrs& entry, const QStringList& allowed) {
    if (!entry.ifa_addr) return false;
    const int family = entry.ifa_addr->sa_family;
    if (family != AF_INET && family != AF_INET6) return false;
    const unsigned flags = entry.ifa_flags;
    if (!(flags & IFF_UP) || (flags & IFF_POINTOPOINT)) return false;
    if (!allowed.isEmpty() && !allowed.contains(QString::fromLocal8Bit(entry.ifa_name))) return false;
    return (flags & (IFF_LOOPBACK | IFF_MULTICAST)) != 0;  // loopback serves without the multicast flag
}

}  // namespace

QStringList interfacesFromEnvironment() {
    static const QRegularExpression separators(QStringLiteral("[,\\s]+"));
    return qEnvironmentVariable("CORVALIN_DISCOVERY_INTERFACES").split(separators, Qt::SkipEmptyParts);
}

QStringList loopbackInterfaces() {
    QStringList names;
    const AddressList list = interfaceAddresses();
    for (const ifaddrs* entry = list.get(); entry; entry = entry->ifa_next) {
        const QString name = QString::fromLocal8Bit(entry->ifa_name);
        if ((entry->ifa_flags & IFF_LOOPBACK) && !names.contains(name)) names += name;
    }
    return names.isEmpty() ? QStringList{QStringLiteral("lo")} : names;
}

bool hasUsableInterface(const QStringList& allowed) {
    const AddressList list = interfaceAddresses();
    for (const ifaddrs* entry = list.get(); entry; entry = entry->ifa_next)
        if (isUsable(*entry, allowed)) return true;
    return false;
}

bool isAllowedInterface(const QStringList& allowed, int interfaceIndex) {
    if (allowed.isEmpty()) return true;
    char name[IF_NAMESIZE] = {};
    if (interfaceIndex <= 0 || !if_indextoname(static_cast<unsigned>(interfaceIndex), name)) return false;
    return allowed.contains(QString::fromLocal8Bit(name));
}

}  // namespace dnssd
