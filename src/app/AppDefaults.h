#pragma once

#include "tools/Tool.h"

#include <QVariant>

/// The settings that the console and its tools register at start; what the user stored wins over them.
/// `authAddKeychain` and `autoRefresh` are integers and compared as integers, the other switches booleans.
[[nodiscard]] QVariantMap registeredDefaults(const QList<Tool>& tools);

/// Whether a stored value is boolean NO (a zero of another number type counts; nothing stored does not).
[[nodiscard]] bool isBooleanNo(const QVariant& value);
