#include "remote/ConnectionFailure.h"

#include <cerrno>

namespace {

const QString key = QStringLiteral("connectionFailure");

ConnectionFailure byName(const QString& name) {
    if (name == VLException::changedKey) return ConnectionFailure::ChangedKey;
    if (name == VLException::refused) return ConnectionFailure::NotAuthorized;
    if (name == VLException::portTimeout) return ConnectionFailure::NoAnswer;
    if (name == VLException::inaccessible) return ConnectionFailure::Lost;
    return ConnectionFailure::Other;
}

}  // namespace

VLException connectionException(const QString& name, ConnectionFailure failure, const QString& reason,
                                QVariantMap userInfo) {
    userInfo.insert(key, static_cast<int>(failure));
    return {name, reason, userInfo};
}

ConnectionFailure connectionFailure(const std::exception& exception) {
    const auto* own = dynamic_cast<const VLException*>(&exception);
    if (!own) return ConnectionFailure::Other;
    const int kind = own->userInfo().value(key).toInt();
    // Agents raise exceptions too, with whatever information they like.
    const bool isKind = kind > static_cast<int>(ConnectionFailure::None) &&
                        kind <= static_cast<int>(ConnectionFailure::Other);
    return isKind ? static_cast<ConnectionFailure>(kind) : byName(own->name());
}

ConnectionFailure connectionFailure(int systemError) {
    switch (systemError) {
        case ECONNREFUSED:
            return ConnectionFailure::Refused;
        case ETIMEDOUT:
            return ConnectionFailure::NoAnswer;
        case ENETUNREACH:
        case EHOSTUNREACH:
        case ENETDOWN:
        case EHOSTDOWN:
        case EADDRNOTAVAIL:
            return ConnectionFailure::Unreachable;
        case ECONNRESET:
        case EPIPE:
            return ConnectionFailure::HungUp;
        default:
            return ConnectionFailure::Other;
    }
}
