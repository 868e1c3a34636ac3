#pragma once

#include "clients/VLService.h"

#include <QByteArray>
#include <QList>

/// Clients as they are dragged: their archived records one after the other, without the pictures, which for a
/// thousand of them would take a second to write and to read.
namespace ServicePasteboard {

inline constexpr auto type = "VLServicePBoard";

[[nodiscard]] QByteArray encode(const QList<VLServicePtr>& services);
/// The records, which are no members of any list. Empty when anything in `data` is wrong.
[[nodiscard]] QList<VLServicePtr> decode(const QByteArray& data);

}  // namespace ServicePasteboard
