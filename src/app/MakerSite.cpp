#include "app/MakerSite.h"

#include "base/VLBundle.h"

QUrl MakerSite::url(const QString& path) {
    QUrl url(VLBundle::mainBundle().objectForInfoDictionaryKey(QStringLiteral("VLSiteURL")).toString());
    url.setPath(path);
    return url;
}

bool MakerSite::isThere() {
    const QString host = url({}).host();
    const QString topLevel = host.section(u'.', -1);
    return !host.isEmpty() && topLevel != u"example" && topLevel != u"invalid" && topLevel != u"test";
}

QUrl MakerSite::errorLogUpload() {
    return url(QStringLiteral("/appdata/corvalin/orlendo/uploadlog.php"));
}

QUrl MakerSite::page(Page page) {
    switch (page) {
        case Page::Suggestion:
            return url(QStringLiteral("/corvalin/orlendo/suggestion"));
        case Page::BugReport:
            return url(QStringLiteral("/corvalin/orlendo/bugreport"));
        case Page::Suite:
            return url(QStringLiteral("/corvalin"));
        case Page::Console:
            return url(QStringLiteral("/corvalin/orlendo"));
        case Page::Manual:
            return url(QStringLiteral("/corvalin/orlendo/manual"));
        case Page::Home:
            break;
    }
    return url(QStringLiteral("/"));
}
