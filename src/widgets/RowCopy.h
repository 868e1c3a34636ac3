#pragma once

#include <QString>

class QAbstractItemView;

/// The selected rows as text: one line each, in the order shown, cells separated by tabs.
[[nodiscard]] QString selectedRowsAsText(const QAbstractItemView& view);
/// The same, put on the clipboard; nothing happens without a selection.
void copySelectedRows(const QAbstractItemView& view);
