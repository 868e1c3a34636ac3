#include "clients/MachineFacts.h"

#include "clients/ClientConfiguration.h"

#include <QCoreApplication>
#include <QLocale>

#include <array>

namespace {

constexpr qsizetype longestTitle = 40, longestValue = 255;
constexpr int mostUnknown = 24;

enum class Kind { Text, Count, Bytes };
struct Known {
    const char* key;
    const char* title;
    Kind kind;
};
constexpr std::array knownFacts{
    Known{"systemName", "System", Kind::Text},          Known{"systemVersion", "System version", Kind::Text},
    Known{"systemBuild", "System build", Kind::Text},   Known{"processor", "Processor", Kind::Text},
    Known{"processorCount", "Processors", Kind::Count}, Known{"memoryBytes", "Memory", Kind::Bytes},
    Known{"graphics", "Graphics", Kind::Text},          Known{"serialNumber", "Serial number", Kind::Text},
    Known{"consoleUser", "Signed in", Kind::Text},
};
/// The panel has rows of its own for these.
constexpr std::array shownElsewhere{"name", "hostName", "model"};

QString text(const QString& value) {
    const QString line = value.left(longestValue).simplified();
    return line.isEmpty() ? QCoreApplication::translate("MachineFacts", "none") : line;
}

QString knownValue(const Known& known, const QVariant& value) {
    const auto number = ClientConfiguration::integer(value);
    if (known.kind == Kind::Text && value.typeId() == QMetaType::QString) return text(value.toString());
    if (known.kind == Kind::Count && number) return QLocale().toString(*number);
    if (known.kind == Kind::Bytes && number && *number >= 0) return QLocale().formattedDataSize(*number, 1);
    return QCoreApplication::translate("MachineFacts", "unknown");
}

QString counted(qsizetype count, const char* one, const char* many) {
    return QCoreApplication::translate("MachineFacts", count == 1 ? one : many)
        .arg(QLocale().toString(count));
}

QString anyValue(const QVariant& value) {
    switch (value.typeId()) {
        case QMetaType::QString:
            return text(value.toString());
        case QMetaType::Bool:
            return value.toBool() ? QCoreApplication::translate("MachineFacts", "Yes")
                                  : QCoreApplication::translate("MachineFacts", "No");
        case QMetaType::Double:
            return QLocale().toString(value.toDouble());
        case QMetaType::QDateTime:
            return QLocale().toString(value.toDateTime().toLocalTime(), QLocale::ShortFormat);
        case QMetaType::QByteArray:
            return counted(value.toByteArray().size(), QT_TRANSLATE_NOOP("MachineFacts", "%1 byte"),
                           QT_TRANSLATE_NOOP("MachineFacts", "%1 bytes"));
        case QMetaType::QVariantList:
            return counted(value.toList().size(), QT_TRANSLATE_NOOP("MachineFacts", "%1 value"),
                           QT_TRANSLATE_NOOP("MachineFacts", "%1 values"));
        case QMetaType::QVariantMap:
            return counted(value.toMap().size(), QT_TRANSLATE_NOOP("MachineFacts", "%1 value"),
                           QT_TRANSLATE_NOOP("MachineFacts", "%1 values"));
        default:
            break;
    }
    const auto number = ClientConfiguration::integer(value);
    return number ? QLocale().toString(*number) : QCoreApplication::translate("MachineFacts", "unknown");
}

/// "graphicsCard" reads "Graphics card".
QString titleOf(const QString& key) {
    QString title;
    for (const QChar letter : key.left(longestTitle).simplified()) {
        const bool startsWord = letter.isUpper() && !title.isEmpty() && title.back().isLower();
        if (startsWord) title += u' ';
        title += title.isEmpty() ? letter.toUpper() : startsWord ? letter.toLower() : letter;
    }
    return title;
}

}  // namespace

QList<MachineFacts::Fact> MachineFacts::of(const QVariantMap& answer) {
    QList<Fact> facts;
    QVariantMap rest = answer;
    for (const Known& known : knownFacts) {
        const QVariant value = rest.take(QLatin1String(known.key));
        if (value.isValid()) facts << Fact{QLatin1String(known.title), knownValue(known, value)};
    }
    for (const char* key : shownElsewhere)
        rest.remove(QLatin1String(key));
    int unknown = 0;
    for (auto entry = rest.cbegin(); entry != rest.cend() && unknown < mostUnknown; ++entry) {
        const QString title = titleOf(entry.key());
        if (title.isEmpty() || !entry->isValid()) continue;
        facts << Fact{title, anyValue(*entry)};
        ++unknown;
    }
    return facts;
}
