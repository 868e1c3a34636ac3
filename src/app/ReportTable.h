#pragma once

#include "tools/Tool.h"

#include <QString>

/// The report as lines of aligned columns, the header first, the rows in its order. Texts that come from
/// clients cannot break the table or steer the terminal: control characters are shown as "?".
[[nodiscard]] QString reportTable(const ToolReport& report);

/// `text` with "?" for every control character: names and reasons come from other machines.
[[nodiscard]] QString printableText(QString text);
