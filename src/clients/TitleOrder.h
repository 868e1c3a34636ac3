#pragma once

#include <QString>

class QCollatorSortKey;

/// The order of names in lists: "Edit Bay 2" before "Edit Bay 10", whatever the case. Any thread.
namespace TitleOrder {

[[nodiscard]] int compare(const QString& a, const QString& b);
/// In the same order, for names that are compared often.
[[nodiscard]] QCollatorSortKey sortKey(const QString& name);

}  // namespace TitleOrder
