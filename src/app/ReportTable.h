#pragma once

#include <QString>

#include "tools/Tool.h"

/// The report as lines of aligned columns, the header first. Texts that come from clients cannot break the
/// table or steer the terminal: control characters are shown as "?".
[[nodiscard]] QString reportTable(const ToolReport& report);
