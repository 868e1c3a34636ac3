#include "agent/tasks/SuiteApplications.h"

#include "system/VLException.h"

#include <optional>

namespace {

constexpr const char* folders[] = {"/Applications", "/Applications/Corvalin Tools"};

std::optional<BundleInfo> find(const WorkstationTree& tree, const QString& bundleID) {
    for (const auto& application : SuiteApplications::installed(tree))
        if (application.info.identifier == bundleID) return application.info;
    return std::nullopt;
}

/// "com.velmora.Faultscope" is Faultscope.app.
bool hasBundleOfThatName(const WorkstationTree& tree, const QString& bundleID) {
    const QString fileName = bundleID.section(u'.', -1) + QStringLiteral(".app");
    for (const char* folder : folders)
        if (!fileName.contains(u'/') && tree.entry(QString::fromLatin1(folder) + u'/' + fileName))
            return true;
    return false;
}

}  // namespace

QList<SuiteApplications::Application> SuiteApplications::installed(const WorkstationTree& tree) {
    QList<Application> found;
    for (const char* folder : folders) {
        const QString path = QString::fromLatin1(folder);
        const auto entries = tree.entries(path);
        for (const auto& entry : entries) {
            if (!entry.name.endsWith(QLatin1String(".app"))) continue;
            const QString bundle = path + u'/' + entry.name;
            auto info = readBundleInfo(tree, bundle);
            if (info && !info->identifier.isEmpty()) found.append({bundle, *std::move(info)});
        }
    }
    return found;
}

void SuiteApplications::require(const WorkstationTree& tree, const QString& bundleID) {
    const auto application = find(tree, bundleID);
    if (!application)
        fail(hasBundleOfThatName(tree, bundleID) ? CorvalinError::InfoPlistNotFound
                                                 : CorvalinError::ApplicationNotFound,
             bundleID);
    if (application->version.isEmpty()) fail(CorvalinError::ApplicationOutdated, bundleID);
}

void SuiteApplications::fail(CorvalinError::Code code, const QString& bundleID) {
    const QString application = bundleID.left(255);
    throw VLException(VLException::generic, CorvalinError::message(code, application),
                      {{QStringLiteral("domain"), QLatin1String(CorvalinError::domain)},
                       {QStringLiteral("code"), qlonglong(code)},
                       {QStringLiteral("info"), application}});
}
