#include "agent/faultscope/CrashLogs.h"

#include <QRegularExpression>
#include <QStringTokenizer>

#include <algorithm>
#include <array>

namespace {

constexpr qint64 largestLog = 4 * 1024 * 1024;
constexpr qsizetype longestText = 255;

struct Rule {
    const char* image;  ///< beginning of the name of the code that the crashed thread was in
    const char* cause;
};
constexpr std::array rules{
    Rule{"com.apple.QuickTime", "QuickTime component"}, Rule{"com.apple.NVDA", "Graphics driver"},
    Rule{"com.apple.ATI", "Graphics driver"},           Rule{"com.apple.GeForce", "Graphics driver"},
    Rule{"com.apple.audio.units", "Audio Unit"},        Rule{"com.apple.Qmaster", "Qmaster"},
};
constexpr char unknownCause[] = "Unknown";

QString clean(QStringView text) {
    QString result = text.left(longestText).toString();
    result.removeIf([](QChar c) { return !c.isPrint() && !c.isSurrogate(); });
    return result.trimmed();
}

/// Code that belongs neither to the application nor to the system is a plug-in.
QString causeOf(const QString& image, const QString& identifier) {
    for (const Rule& rule : rules)
        if (image.startsWith(QLatin1String(rule.image))) return QLatin1String(rule.cause);
    const bool isForeign = image.contains(u'.') && !image.startsWith(QLatin1String("com.apple.")) &&
                           !image.startsWith(QLatin1String("lib")) && image != identifier;
    return isForeign ? QStringLiteral("Plug-in ") + image : QString::fromLatin1(unknownCause);
}

/// "2010-09-01 10:15:00.412 +0200"
QDateTime dateOf(const QString& text) {
    static const QRegularExpression form(
        QStringLiteral(R"(^(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d)(?:\.\d+)?(?: ([+-])(\d\d)(\d\d))?)"));
    const auto match = form.match(text);
    QDateTime date = QDateTime::fromString(match.captured(1), QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    if (!date.isValid()) return {};
    date.setTimeSpec(Qt::UTC);
    const int offset = match.captured(3).toInt() * 3600 + match.captured(4).toInt() * 60;
    return date.addSecs(match.captured(2) == u"-" ? offset : -offset);
}

struct Found {
    QString path;
    QDateTime modified;
};

QList<Found> find(const WorkstationTree& tree) {
    QStringList libraries{QStringLiteral("/Library")};
    const auto users = tree.userNames();
    for (const QString& user : users)
        libraries.append(WorkstationTree::homePath(user) + QStringLiteral("/Library"));
    QList<Found> found;
    for (const QString& library : std::as_const(libraries)) {
        const QString folder = library + QStringLiteral("/Logs/CrashReporter");
        const auto entries = tree.entries(folder, WorkstationTree::Links::Refuse);
        for (const auto& entry : entries) {
            if (entry.kind == WorkstationTree::Kind::File && entry.name.endsWith(QLatin1String(".crash")))
                found.append({folder + u'/' + entry.name, entry.modified});
        }
    }
    return found;
}

}  // namespace

CrashLog CrashLogs::parse(const QString& text) {
    CrashLog log;
    log.cause = QString::fromLatin1(unknownCause);
    QString identifier;
    bool isCrashedThread = false;
    for (const QStringView line : QStringTokenizer(text, u'\n')) {
        const auto value = [&line](QLatin1StringView key) {
            return line.startsWith(key) ? clean(line.mid(key.size())) : QString();
        };
        if (isCrashedThread) {
            log.cause = causeOf(clean(line).section(u' ', 1, 1, QString::SectionSkipEmpty), identifier);
            break;
        }
        isCrashedThread =
            line.startsWith(QLatin1String("Thread ")) && line.contains(QLatin1String("Crashed"));
        if (const QString process = value(QLatin1StringView("Process:")); !process.isEmpty())
            log.application = process.section(QLatin1String(" ["), 0, 0);
        if (const QString name = value(QLatin1StringView("Identifier:")); !name.isEmpty()) identifier = name;
        if (const QString date = value(QLatin1StringView("Date/Time:")); !date.isEmpty())
            log.date = dateOf(date);
    }
    return log;
}

QList<CrashLog> CrashLogs::newerThan(const WorkstationTree& tree, const QDateTime& since) {
    QList<Found> files = find(tree);
    if (since.isValid()) files.removeIf([&since](const Found& file) { return file.modified <= since; });
    std::sort(files.begin(), files.end(),
              [](const Found& a, const Found& b) { return a.modified > b.modified; });
    QList<CrashLog> logs;
    for (const Found& file : std::as_const(files)) {
        if (logs.size() >= maximumLogs) break;
        const auto content = tree.read(file.path, largestLog, WorkstationTree::Links::Refuse);
        if (!content) continue;
        CrashLog log = parse(QString::fromUtf8(*content));
        log.path = file.path;
        if (!log.date.isValid()) log.date = file.modified;
        if (log.application.isEmpty())
            log.application = clean(file.path.section(u'/', -1).section(u'_', 0, 0));
        logs.append(std::move(log));
    }
    return logs;
}
