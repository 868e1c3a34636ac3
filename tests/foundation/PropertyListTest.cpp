#include "base/PropertyList.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"
#include "support/TestTable.h"

#include <QElapsedTimer>
#include <QRandomGenerator>

#include <sys/stat.h>

using PropertyList::Format;

using namespace Qt::StringLiterals;

namespace {

QDateTime utc(int year, int month, int day) {
    return QDateTime(QDate(year, month, day), QTime(1, 2, 3), Qt::UTC);
}

QVariant nested(int levels) {
    QVariant value = u"core"_s;
    for (int i = 0; i < levels; ++i)
        value = i % 2 ? QVariant(QVariantList{value}) : QVariant(QVariantMap{{u"k"_s, value}});
    return value;
}

QByteArray xml(const QByteArray& body) {
    return "<plist version=\"1.0\">" + body + "</plist>";
}

QByteArray bigEndian(quint64 value, int size) {
    QByteArray bytes;
    for (int i = size - 1; i >= 0; --i)
        bytes += static_cast<char>(value >> (8 * i));
    return bytes;
}

/// A binary property list put together by hand, so that it can be wrong in any way. References have 2 bytes.
struct BinaryFile {
    QList<QByteArray> objects;
    quint64 top = 0;
    int offsetSize = 4;
    int referenceSize = 2;
    qint64 declaredObjects = -1;
    qint64 declaredTable = -1;

    static QByteArray container(char kind, const QList<int>& references, qsizetype count) {
        QByteArray object(1, static_cast<char>(kind << 4 | (count < 15 ? static_cast<int>(count) : 15)));
        if (count >= 15) object += '\x12' + bigEndian(static_cast<quint64>(count), 4);
        for (const int reference : references)
            object += bigEndian(static_cast<quint64>(reference), 2);
        return object;
    }
    static QByteArray array(const QList<int>& references) {
        return container(0xA, references, references.size());
    }
    /// A dictionary whose one key is that object.
    static QByteArray dataWithKey(const QByteArray& key) {
        return BinaryFile{.objects = {container(0xD, {1, 2}, 1), key, "\x09"}}.data();
    }

    [[nodiscard]] QByteArray data() const {
        QByteArray file = "bplist00";
        QByteArray table;
        for (const QByteArray& object : objects) {
            table += bigEndian(static_cast<quint64>(file.size()), offsetSize);
            file += object;
        }
        const qint64 tableOffset = declaredTable >= 0 ? declaredTable : file.size();
        const qint64 count = declaredObjects >= 0 ? declaredObjects : objects.size();
        return file + table + QByteArray(6, '\0') + static_cast<char>(offsetSize) +
               static_cast<char>(referenceSize) + bigEndian(static_cast<quint64>(count), 8) +
               bigEndian(top, 8) + bigEndian(static_cast<quint64>(tableOffset), 8);
    }
};

/// Arrays that each hold the next one, once or several times.
QByteArray chain(int levels, int times) {
    BinaryFile file;
    for (int i = 0; i < levels; ++i)
        file.objects << BinaryFile::array(QList<int>(times, i + 1));
    file.objects << QByteArray("\x09");
    return file.data();
}

}  // namespace

class PropertyListTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void roundTrip() {
        const QVariantList values{false, std::numeric_limits<qlonglong>::min(), 1.0,
                                  std::numeric_limits<double>::infinity(), u""_s, u"  a \r\t b\r\nc\n"_s,
                                  u"<dict>&amp;\"' ]]> --> Größe 日本語 𝄞"_s, QByteArray(""),
                                  QByteArray("\0\xff\n<", 4) + QByteArray(300, 'x'), utc(1999, 12, 31),
                                  // Dates beyond 32-bit seconds take another way.
                                  utc(1, 1, 1), utc(4001, 1, 1),
                                  QVariantMap{{u"a/b"_s, QVariantList{1LL, true, u"1"_s, QVariantList()}},
                                              {u""_s, QVariantMap{{u"ä"_s, QByteArray("x")}}}}};
        for (const QVariant& value : values) {
            for (const Format format : {Format::Xml, Format::Binary}) {
                QString error;
                const QVariant read = PropertyList::fromData(PropertyList::toData(value, format), &error);
                QCOMPARE(error, QString());
                QCOMPARE(read.typeId(), value.typeId());
                QCOMPARE(read, value);
            }
        }
    }

    void writtenValuesAreNormalized() {
        const QVariantMap mixed{
            {u"size"_s, QSize(1, 2)}, {u"list"_s, QVariantList{QVariant(), 1}}, {u"real"_s, 0.5F}};
        const std::pair<QVariant, QVariant> rows[] = {
            {QStringList{u"a"_s}, QVariantList{u"a"_s}},
            {QVariantHash{{u"a"_s, 1}}, QVariantMap{{u"a"_s, 1LL}}},
            {utc(2010, 5, 3).toOffsetFromUtc(7200), utc(2010, 5, 3)},
            {mixed, QVariantMap{{u"list"_s, QVariantList{1LL}}, {u"real"_s, 0.5}}},
            {nested(PropertyList::maximumNesting + 1), QVariant()}};
        for (const auto& [written, expected] : rows) {
            QCOMPARE(PropertyList::normalized(written), expected);
            const QByteArray data = PropertyList::toData(written);
            QCOMPARE(data.isEmpty() ? QVariant() : PropertyList::fromData(data), expected);
        }
    }

    // Settings must not become unreadable by a control character in one of their texts.
    void whatXmlCannotHoldIsReplaced() {
        QString text = u"a%1b%2c%3d"_s;
        text = text.arg(QChar(0)).arg(QChar(0x1B)).arg(QChar(0xD800));
        const QVariantMap map{{text, text}};
        for (const Format format : {Format::Xml, Format::Binary}) {
            const QVariantMap read = PropertyList::fromData(PropertyList::toData(map, format)).toMap();
            QCOMPARE(read.value(u"a\uFFFDb\uFFFDc\uFFFDd"_s), u"a\uFFFDb\uFFFDc\uFFFDd"_s);
        }
    }

    void readsXml() {
        const QByteArray prologue =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC "
            "\"-//X//DTD PLIST 1.0//EN\" \"http://localhost/p.dtd\">\n<!-- c -->";
        const std::pair<QByteArray, QVariant> rows[] = {
            {prologue + xml("<string><![CDATA[<a>]]>&lt;&#x41;<!-- no --></string>"), u"<a><A"_s},
            {xml("<integer>0xFF</integer>"), 255LL},
            {xml("<integer> +12 </integer>"), 12LL},
            {xml("<integer>18446744073709551615</integer>"), -1LL},
            {xml("<real>-Infinity</real>"), -std::numeric_limits<double>::infinity()},
            {xml("<data>\n\tQUJ\n\tD\n</data>"), QByteArray("ABC")},
            {xml("<dict><key>k</key><true/><key>k</key><false/></dict>"), QVariantMap{{u"k"_s, false}}},
            // The file is not read.
            {"<!DOCTYPE plist [<!ENTITY f SYSTEM \"/etc/hostname\">]>" + xml("<string>&f;</string>"), u""_s}};
        for (const auto& [data, expected] : rows)
            QCOMPARE(PropertyList::fromData(data), expected);
    }

    void refuses_data() {
        const TestTable<QByteArray> row("data");
        row("nothing", {});
        row("not closed", "<plist><dict>");
        for (const char* body : {"", "<true/><true/>", "<array></dict>", "<set/>", "<dict><true/></dict>",
                                 "<dict><key>a</key></dict>", "<string>a<true/></string>",
                                 "<integer>many</integer>", "<integer>99999999999999999999999</integer>",
                                 "<real>1,5</real>", "<date>2010-02-31T00:00:00Z</date>", "<data>***</data>"})
            row(body, xml(body));
        row("garbage behind", xml("<true/>") + "<more>");
        QByteArray entities = "<!DOCTYPE plist [<!ENTITY a0 \"aaaaaaaaaa\">";
        for (int i = 1; i < 12; ++i) {
            const QByteArray inner = "&a" + QByteArray::number(i - 1) + ";";
            entities += "<!ENTITY a" + QByteArray::number(i) + " \"" + inner.repeated(10) + "\">";
        }
        row("exploding entities", entities + "]>" + xml("<string>&a11;</string>"));
        row("too many values",
            xml("<array>" + QByteArray("<true/>").repeated(PropertyList::maximumValues) + "</array>"));
        row("a million arrays", QByteArray("<array>").repeated(1'000'000));

        const QByteArray yes("\x09");
        const auto add = [&](const char* name, const BinaryFile& file) { row(name, file.data()); };
        add("top object missing", {.objects = {yes}, .top = 1});
        add("offsets of no size", {.objects = {yes}, .offsetSize = 0});
        add("count that overflows", {.objects = {yes}, .declaredObjects = 1LL << 62});
        add("offset table behind the end", {.objects = {yes}, .declaredTable = 1 << 20});
        add("offset table in the header", {.objects = {yes}, .declaredTable = 2});
        add("reference to no object", {.objects = {BinaryFile::array({7})}});
        add("array in itself", {.objects = {BinaryFile::array({0})}});
        row("key that is a number", BinaryFile::dataWithKey("\x10\x05"));
        row("key with NUL", BinaryFile::dataWithKey(QByteArray("\x53k\0k", 4)));
        row("wide key with NUL", BinaryFile::dataWithKey(QByteArray("\x62\0k\0\0", 5)));
        add("array longer than the file", {.objects = {BinaryFile::container(0xA, {1}, 200), yes}});
        add("huge count of members", {.objects = {"\xAF\x13" + bigEndian(0x8000000000000001, 8)}});
        add("count that is a text", {.objects = {QByteArray("\x4F\x51") + 'a'}});
        add("count wider than 64 bits", {.objects = {"\x4F\x14" + bigEndian(0, 8) + bigEndian(1, 8)}});
        add("integer wider than 128 bits", {.objects = {"\x17" + QByteArray(128, '\1')}});
        row("doubling 40 times", chain(40, 2));
        // One megabyte of data, referred to a thousand times.
        add("repeated data", {.objects = {BinaryFile::array(QList<int>(1000, 1)),
                                          "\x4F\x12" + bigEndian(1 << 20, 4) + QByteArray(1 << 20, 'x')}});
    }
    void refuses() {
        QFETCH(QByteArray, data);
        QString error;
        QVERIFY(!PropertyList::fromData(data, &error).isValid());
        QVERIFY(!error.isEmpty());
    }

    void nestingLimit() {
        const auto arrays = [](int levels) {
            return xml(QByteArray("<array>").repeated(levels) + QByteArray("</array>").repeated(levels));
        };
        constexpr int limit = PropertyList::maximumNesting;
        for (const QByteArray& data : {arrays(limit), chain(limit, 1), chain(10, 2)})
            QVERIFY(PropertyList::fromData(data).isValid());
        // The deep part is first met near the top and then again, through a chain, near the limit.
        BinaryFile twice;
        twice.objects << BinaryFile::array({2, 1}) << BinaryFile::array({101});
        for (int i = 2; i < 100; ++i)
            twice.objects << BinaryFile::array({i + 1});
        twice.objects << QByteArray("\x09");
        for (int i = 101; i < 200; ++i)
            twice.objects << BinaryFile::array({i + 1 == 200 ? 2 : i + 1});
        for (const QByteArray& data :
             {arrays(limit + 1), chain(limit + 1, 1), chain(60'000, 1), twice.data()}) {
            QString error;
            QVERIFY(!PropertyList::fromData(data, &error).isValid());
            QVERIFY(error.contains(u"nested more than 128 levels deep"_s));
        }
    }

    // Keys that share one value of a common hash function ("aB" and "b!" have the same): quadratic readers
    // need minutes.
    void collidingKeysAreReadInTime() {
        constexpr int blocks = 16;
        QByteArray body = "<dict>";
        for (int number = 0; number < 1 << blocks; ++number) {
            body += "<key>";
            for (int bit = 0; bit < blocks; ++bit)
                body += number >> bit & 1 ? "aB" : "b!";
            body += "</key><true/>";
        }
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(PropertyList::fromData(xml(body + "</dict>")).toMap().size(), 1 << blocks);
        QVERIFY2(timer.elapsed() < 20'000, qPrintable(QString::number(timer.elapsed())));
    }

    // Nothing to compare here: the sanitizers and the test's time limit are the judges.
    void truncatedAndMutated() {
        const QVariantMap sample{{u"list"_s, QVariantList{1LL, 2.5, true, u"text ä"_s}},
                                 {u"data"_s, QByteArray(40, 'x')},
                                 {u"date"_s, utc(2010, 5, 3)},
                                 {u"deep"_s, nested(12)}};
        QRandomGenerator random(20100503);
        for (const Format format : {Format::Xml, Format::Binary}) {
            const QByteArray data = PropertyList::toData(sample, format);
            for (qsizetype length = 0; length + 1 < data.size(); ++length)
                (void)PropertyList::fromData(data.first(length));
            for (int round = 0; round < 20'000; ++round) {
                QByteArray mutated = data;
                for (int change = random.bounded(1, 5); change > 0; --change) {
                    const auto at = qsizetype(random.bounded(quint32(mutated.size())));
                    if (random.bounded(3) > 0)
                        mutated[at] = static_cast<char>(mutated[at] ^ random.bounded(256));
                    else
                        mutated.insert(at, mutated.mid(random.bounded(20), random.bounded(20)));
                }
                QString error;
                const QVariant value = PropertyList::fromData(mutated, &error);
                QCOMPARE(value.isValid(), error.isEmpty());
            }
        }
    }

    void files() {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"a.plist"_s), pipe = folder.filePath(u"pipe.plist"_s),
                      large = folder.filePath(u"large.plist"_s);
        QVERIFY(PropertyList::writeFileAtomically(path, u"old"_s));
        QCOMPARE(PropertyList::readFile(path), QVariant(u"old"_s));
        // A write that fails keeps the old file.
        QString error;
        QVERIFY(!PropertyList::writeFileAtomically(path, QVariant(), &error) && !error.isEmpty());
        QVERIFY(!PropertyList::writeFileAtomically(path + u"/below"_s, true, &error));
        QCOMPARE(PropertyList::readFile(path), QVariant(u"old"_s));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList{u"a.plist"_s});

        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        QVERIFY(writeFile(large, {}) && QFile::resize(large, PropertyList::maximumFileSize + 1));
        for (const QString& refused : {path + u"missing"_s, folder.path(), pipe, large}) {
            error.clear();
            QVERIFY(!PropertyList::readFile(refused, &error).isValid());
            QVERIFY2(error.startsWith(refused), qPrintable(error));
        }
        QVERIFY(error.contains(u"too large"_s));
    }
};

ORLENDO_TEST_MAIN(PropertyListTest)
#include "PropertyListTest.moc"
