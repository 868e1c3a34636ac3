#pragma once

#include <QUrl>

/// Pages of the maker's web site, for the Help menu. The site's address stands in one place, the bundle
/// information ("VLSiteURL").
namespace MakerSite {

enum class Page { Home, Suggestion, BugReport, Suite, Console, Manual };

/// Whether there is a site: its name may be a placeholder.
[[nodiscard]] bool isThere();
[[nodiscard]] QUrl page(Page page);
/// An address below the site.
[[nodiscard]] QUrl url(const QString& path);
/// Where error logs are sent.
[[nodiscard]] QUrl errorLogUpload();

}  // namespace MakerSite
