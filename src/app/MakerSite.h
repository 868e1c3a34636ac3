#pragma once

#include <QUrl>

/// Pages of the maker's web site, for the Help menu. The site's address stands in one place, the bundle
/// information ("VLSiteURL").
namespace MakerSite {

enum class Page { Home, Suggestion, BugReport, Suite, Console, Manual };

[[nodiscard]] QUrl page(Page page);
/// An address below the site, such as "/appdata/corvalin/orlendo/uploadlog.php".
[[nodiscard]] QUrl url(const QString& path);

}  // namespace MakerSite
