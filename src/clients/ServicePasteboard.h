#pragma once

#include "clients/VLService.h"

#include <QByteArray>
#include <QList>

#include <functional>

/// Clients as they are dragged: their archived records one after the other.
namespace ServicePasteboard {

inline constexpr auto type = "VLServicePBoard";

[[nodiscard]] QByteArray encode(const QList<VLServicePtr>& services);
/// The records, which are no members of any list. Empty when anything in `data` is wrong. Their pictures are
/// read as long as they are few and small, and not for clients that the receiver knows: `isKnown`, by host
/// name, may be empty.
[[nodiscard]] QList<VLServicePtr> decode(const QByteArray& data,
                                         const std::function<bool(const QString& hostName)>& isKnown = {});

}  // namespace ServicePasteboard
