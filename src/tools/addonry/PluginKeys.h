#pragma once

#include "tools/ClientCopies.h"

/// The keys of a plug-in's copy, as the agents send it.
namespace PluginKeys {

using ClientCopies::hostNameKey;
inline const QString nameKey = QStringLiteral("name"), pathKey = QStringLiteral("fullPath"),
                     versionKey = QStringLiteral("version"), typeKey = QStringLiteral("type"),
                     disabledKey = QStringLiteral("disabled"), accessTypeKey = QStringLiteral("accessType"),
                     dateKey = QStringLiteral("moddate");

}  // namespace PluginKeys
