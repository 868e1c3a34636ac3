#pragma once

#include <QList>
#include <QString>
#include <QVariant>

#include <span>

/// What the tools keep of the answers that agents give. A tool says in a small table which keys its entries
/// may have and of which kind; whatever else an agent sends is left out,
/// unless the table says otherwise. Any thread.
namespace AgentAnswer {

inline constexpr qsizetype longestText = 4'096;
inline constexpr qsizetype longestFurtherText = 256;  ///< also of such a key

/// A kind of value.
struct Kind {
    bool (*isRight)(const QVariant&);                  ///< kept as it is
    QVariant (*mended)(const QVariant&);               ///< what may be kept of another one; invalid: nothing
    QVariant (*absent)() = [] { return QVariant(); };  ///< stands for none; invalid: the key is left out
};
extern const Kind text;        ///< of a bearable length
extern const Kind filledText;  ///< one that is not empty
extern const Kind lineOfText;  ///< a filled one without control characters
extern const Kind number;      ///< whole; truth values count
extern const Kind count;       ///< a number that is not negative
extern const Kind flag;        ///< 0 or 1
extern const Kind date;
extern const Kind textOrEmpty;  ///< an empty text stands for none
extern const Kind flagOrZero;

/// A key that entries may have. Without a value of the right kind under a required one an entry is left out.
struct Key {
    const char* name;
    const Kind& kind;
    bool isRequired = false;
};
/// The keys of an answer's entries, in the order of their names, and how many entries are kept.
struct Table {
    std::span<const Key> keys;
    qsizetype mostEntries;
    /// How many further keys an entry may have; short texts, numbers and dates under them are kept as they
    /// come.
    qsizetype mostFurtherKeys = 0;
};
struct Entries {
    QList<QVariantMap> entries;  ///< they share what was received wherever that was right
    QString complaint;           ///< what was wrong, in plain words; empty when nothing was
};
/// Of an array of dictionaries. No answer at all is nothing to complain about.
[[nodiscard]] Entries fromArray(const QVariant& answer, const Table& table);
/// Of a dictionary of dictionaries, each of which gets its key under `nameKey` unless that is null.
[[nodiscard]] Entries fromDictionary(const QVariant& answer, const Table& table,
                                     const char* nameKey = nullptr);

/// The dictionary in a value, without a copy; null for any other value.
[[nodiscard]] const QVariantMap* dictionaryIn(const QVariant& value);

}  // namespace AgentAnswer
