#pragma once

#include <QByteArray>
#include <QString>

/// What is looked at before the property-list library sees binary data: it takes its trees apart by recursion
/// and copies shared objects, so a small hostile file could otherwise exhaust the stack or the memory.
namespace PropertyListCheck {

/// What is wrong, or nothing.
[[nodiscard]] QString problemOfBinary(const QByteArray& data);

}  // namespace PropertyListCheck
