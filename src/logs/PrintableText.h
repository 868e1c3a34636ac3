#pragma once

#include <QString>

/// The text in one line that changes nothing but itself where it is shown: line ends and tabs become spaces;
/// other control characters, and those that turn the direction of writing, become question marks. For text
/// of others on its way to a log or a terminal.
[[nodiscard]] QString printableLine(QString text);
