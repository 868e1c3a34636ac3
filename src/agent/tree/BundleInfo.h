#pragma once

#include "agent/tree/WorkstationTree.h"

#include <QDateTime>
#include <QString>

#include <optional>

/// What a bundle says about itself. The Info.plist is somebody else's file: a value of a wrong type counts as
/// missing, texts are shortened and freed of control characters.
struct BundleInfo {
    QString name;          ///< CFBundleName, else the file name without its extension
    QString version;       ///< CFBundleShortVersionString, else CFBundleVersion, else empty
    QString buildVersion;  ///< CFBundleVersion
    QString identifier;
    QDateTime modified;  ///< of the Info.plist, else of the bundle
};

/// Reads the bundle at `path` (laid out as an application, a framework, or flat). Nothing when there is
/// nothing at `path`; a bundle without a readable Info.plist is described by its file name alone.
[[nodiscard]] std::optional<BundleInfo> readBundleInfo(
    const WorkstationTree& tree, const QString& path,
    WorkstationTree::Links links = WorkstationTree::Links::Follow);
