#pragma once

#include "agent/tree/BundleInfo.h"
#include "agent/tree/WorkstationTree.h"
#include "remote/VLCorvalinServerProtocol.h"

#include <QList>
#include <QString>

/// The suite's applications as they are installed on the workstation.
namespace SuiteApplications {

struct Application {
    QString path;
    BundleInfo info;
};
/// Every application in the folders where those of the suite are, with its identifier.
[[nodiscard]] QList<Application> installed(const WorkstationTree& tree);

/// Throws the suite's error unless an application of that bundle identifier is there and new enough to have
/// tasks: 1000 where there is none, 1001 where the one of that name has no readable Info.plist, 1002 where it
/// does not even state a version.
void require(const WorkstationTree& tree, const QString& bundleID);

/// An error of the suite's domain about an application, as an exception.
[[noreturn]] void fail(CorvalinError::Code code, const QString& bundleID);

}  // namespace SuiteApplications
