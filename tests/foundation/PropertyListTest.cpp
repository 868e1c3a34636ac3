#include "foundation/PropertyList.h"
#include "support/TestEnvironment.h"

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

    static QByteArray container(char kind, const QList<int>& references, int pairs = -1) {
        const qsizetype count = pairs >= 0 ? pairs : references.size();
        QByteArray object(1, static_cast<char>(kind << 4 | (count < 15 ? static_cast<int>(count) : 15)));
        if (count >= 15) object += '\x12' + bigEndian(static_cast<quint64>(count), 4);
        for (const int reference : references)
            object += bigEndian(static_cast<quint64>(reference), 2);
        return object;
    }
    static QByteArray array(const QList<int>& references) { return container(0xA, references); }

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

/// Arrays that each hold the next one twice: 2 to the power of `levels` values when followed.
QByteArray doublingArrays(int levels) {
    BinaryFile file;
    for (int i = 0; i < levels; ++i)
        file.objects << BinaryFile::array({i + 1, i + 1});
    file.objects << QByteArray("\x09");
    return file.data();
}

QByteArray nestedBinary(int levels) {
    BinaryFile file;
    for (int i = 0; i < levels; ++i)
        file.objects << BinaryFile::array({i + 1});
    file.objects << QByteArray("\x09");
    return file.data();
}

}  // namespace

class PropertyListTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void roundTrip_data() {
        QTest::addColumn<QVariant>("value");
        const auto row = [](const char* name, const QVariant& value) { QTest::newRow(name) << value; };
        row("true", true);
        row("false", false);
        row("one", 1LL);
        row("smallest", std::numeric_limits<qlonglong>::min());
        row("largest", std::numeric_limits<qlonglong>::max());
        row("whole real", 1.0);
        row("huge real", 1e300);
        row("infinite", std::numeric_limits<double>::infinity());
        row("empty text", u""_s);
        row("spaces", u"  a \r\t b\r\nc\n"_s);
        row("markup", u"<dict>&amp;\"' ]]> --> Größe 日本語 𝄞"_s);
        row("empty data", QByteArray(""));
        row("data", QByteArray("\0\xff\n<", 4) + QByteArray(300, 'x'));
        row("date", utc(2010, 5, 3));
        row("before the epoch", utc(1999, 12, 31));
        row("distant past", utc(1, 1, 1));
        row("distant future", utc(4001, 1, 1));
        row("mixed", QVariantMap{{u"a/b"_s, QVariantList{1LL, true, u"1"_s, 1.0, QVariantList()}},
                                 {u""_s, QVariantMap{{u"ä"_s, QByteArray("x")}}}});
    }
    void roundTrip() {
        QFETCH(QVariant, value);
        for (const Format format : {Format::Xml, Format::Binary}) {
            QString error;
            const QVariant read = PropertyList::fromData(PropertyList::toData(value, format), &error);
            QCOMPARE(error, QString());
            QCOMPARE(read.typeId(), value.typeId());
            QCOMPARE(read, value);
        }
    }

    void writtenValuesAreNormalized_data() {
        QTest::addColumn<QVariant>("written");
        QTest::addColumn<QVariant>("expected");
        const auto row = [](const char* name, const QVariant& written, const QVariant& expected) {
            QTest::newRow(name) << written << expected;
        };
        row("int", 7, 7LL);
        row("float", 0.5F, 0.5);
        row("string list", QStringList{u"a"_s}, QVariantList{u"a"_s});
        row("hash", QVariantHash{{u"a"_s, 1}}, QVariantMap{{u"a"_s, 1LL}});
        row("local date", utc(2010, 5, 3).toOffsetFromUtc(7200), utc(2010, 5, 3));
        row("unsupported members",
            QVariantMap{{u"size"_s, QSize(1, 2)}, {u"list"_s, QVariantList{QVariant(), 1}}},
            QVariantMap{{u"list"_s, QVariantList{1LL}}});
        row("nothing", QVariant(), QVariant());
        row("too deep", nested(PropertyList::maximumNesting + 1), QVariant());
    }
    void writtenValuesAreNormalized() {
        QFETCH(QVariant, written);
        QFETCH(QVariant, expected);
        const QByteArray data = PropertyList::toData(written);
        QCOMPARE(data.isEmpty(), !expected.isValid());
        if (!data.isEmpty()) QCOMPARE(PropertyList::fromData(data), expected);
        QCOMPARE(PropertyList::normalized(written), expected);
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

    void readsXml_data() {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QVariant>("expected");
        const QVariant text = u"a"_s;
        QTest::newRow("prologue")
            << QByteArray(
                   "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//X//DTD PLIST "
                   "1.0//EN\" \"http://localhost/p.dtd\">\n<!-- c -->" +
                   xml("<string>a</string>"))
            << text;
        QTest::newRow("byte-order mark") << "\xEF\xBB\xBF" + xml("<string>a</string>") << text;
        const auto row = [](const char* name, const char* body, const QVariant& expected) {
            QTest::newRow(name) << xml(body) << expected;
        };
        row("character data", "<string><![CDATA[<a>]]>&lt;&#x41;<!-- no --></string>", u"<a><A"_s);
        row("hexadecimal", "<integer>0xFF</integer>", 255LL);
        row("signed", "<integer> +12 </integer>", 12LL);
        row("unsigned 64-bit", "<integer>18446744073709551615</integer>", -1LL);
        row("infinity", "<real>-Infinity</real>", -std::numeric_limits<double>::infinity());
        row("base64 in lines", "<data>\n\tQUJ\n\tD\n</data>", QByteArray("ABC"));
        row("repeated key", "<dict><key>k</key><true/><key>k</key><false/></dict>",
            QVariantMap{{u"k"_s, false}});
        QTest::newRow("file as entity is not read")
            << "<!DOCTYPE plist [<!ENTITY f SYSTEM \"/etc/hostname\">]>" + xml("<string>&f;</string>")
            << QVariant(u""_s);
    }
    void readsXml() {
        QFETCH(QByteArray, data);
        QFETCH(QVariant, expected);
        QString error;
        QCOMPARE(PropertyList::fromData(data, &error), expected);
        QCOMPARE(error, QString());
    }

    void refuses_data() {
        QTest::addColumn<QByteArray>("data");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("text") << QByteArray("hello");
        QTest::newRow("no value") << xml("");
        QTest::newRow("two values") << xml("<true/><true/>");
        QTest::newRow("not closed") << QByteArray("<plist><dict>");
        QTest::newRow("closed wrongly") << xml("<array></dict>");
        QTest::newRow("unknown element") << xml("<set/>");
        QTest::newRow("value without key") << xml("<dict><true/></dict>");
        QTest::newRow("key without value") << xml("<dict><key>a</key></dict>");
        QTest::newRow("element in text") << xml("<string>a<true/></string>");
        QTest::newRow("text as integer") << xml("<integer>many</integer>");
        QTest::newRow("integer out of range") << xml("<integer>99999999999999999999999</integer>");
        QTest::newRow("text as real") << xml("<real>1,5</real>");
        QTest::newRow("text as date") << xml("<date>yesterday</date>");
        QTest::newRow("date that is none") << xml("<date>2010-02-31T00:00:00Z</date>");
        QTest::newRow("text as data") << xml("<data>***</data>");
        QTest::newRow("garbage behind") << xml("<true/>") + "<more>";
        QByteArray entities = "<!DOCTYPE plist [<!ENTITY a0 \"aaaaaaaaaa\">";
        for (int i = 1; i < 12; ++i) {
            const QByteArray inner = "&a" + QByteArray::number(i - 1) + ";";
            entities += "<!ENTITY a" + QByteArray::number(i) + " \"" + inner.repeated(10) + "\">";
        }
        QTest::newRow("exploding entities") << entities + "]>" + xml("<string>&a11;</string>");
        QTest::newRow("too many values")
            << xml("<array>" + QByteArray("<true/>").repeated(PropertyList::maximumValues) + "</array>");
        QTest::newRow("a million arrays") << QByteArray("<array>").repeated(1'000'000);

        const QByteArray yes("\x09");
        const auto add = [](const char* name, const BinaryFile& file) { QTest::newRow(name) << file.data(); };

        QTest::newRow("magic only") << QByteArray("bplist00");
        QTest::newRow("empty trailer") << QByteArray("bplist00") + QByteArray(32, '\0');
        add("no objects", {.objects = {}});
        add("top object missing", {.objects = {yes}, .top = 1});
        add("offsets of no size", {.objects = {yes}, .offsetSize = 0});
        add("references too wide", {.objects = {yes}, .referenceSize = 9});
        add("too many objects declared", {.objects = {yes}, .declaredObjects = 1LL << 40});
        add("count that overflows", {.objects = {yes}, .declaredObjects = 1LL << 62});
        add("offset table behind the end", {.objects = {yes}, .declaredTable = 1 << 20});
        add("offset table in the header", {.objects = {yes}, .declaredTable = 2});
        add("reference to no object", {.objects = {BinaryFile::array({7})}});
        add("array in itself", {.objects = {BinaryFile::array({0})}});
        add("dictionary in itself", {.objects = {BinaryFile::container(0xD, {1, 0}, 1), "\x51k"}});
        add("key that is a number", {.objects = {BinaryFile::container(0xD, {1, 2}, 1), "\x10\x05", yes}});
        add("key with NUL",
            {.objects = {BinaryFile::container(0xD, {1, 2}, 1), QByteArray("\x53k\0k", 4), yes}});
        add("wide key with NUL",
            {.objects = {BinaryFile::container(0xD, {1, 2}, 1), QByteArray("\x62\0k\0\0", 5), yes}});
        add("key that is a dictionary",
            {.objects = {BinaryFile::container(0xD, {1, 2}, 1), BinaryFile::container(0xD, {}, 0), yes}});
        add("array longer than the file", {.objects = {BinaryFile::container(0xA, {1}, 200), yes}});
        add("huge count of text", {.objects = {"\x6F\x13" + bigEndian(0xFFFFFFFFFFFFFFFF, 8)}});
        add("huge count of members", {.objects = {"\xAF\x13" + bigEndian(0x8000000000000001, 8)}});
        add("count that is a text", {.objects = {"\x4F\x51"
                                                 "a"}});
        add("count wider than 64 bits", {.objects = {"\x4F\x14" + bigEndian(0, 8) + bigEndian(1, 8)}});
        add("integer wider than 128 bits", {.objects = {"\x17" + QByteArray(128, '\1')}});
        add("unknown kind", {.objects = {"\xF0"}});
        QTest::newRow("doubling 40 times") << doublingArrays(40);
        // One megabyte of data, referred to a thousand times.
        BinaryFile shared{.objects = {BinaryFile::array(QList<int>(1000, 1)),
                                      "\x4F\x12" + bigEndian(1 << 20, 4) + QByteArray(1 << 20, 'x')}};
        add("repeated data", shared);
    }
    void refuses() {
        QFETCH(QByteArray, data);
        QString error;
        QVERIFY(!PropertyList::fromData(data, &error).isValid());
        QVERIFY(!error.isEmpty());
    }

    void nestingLimit_data() {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<bool>("accepted");
        const auto arrays = [](int levels) {
            return xml(QByteArray("<array>").repeated(levels) + QByteArray("</array>").repeated(levels));
        };
        constexpr int limit = PropertyList::maximumNesting;
        QTest::newRow("XML at the limit") << arrays(limit) << true;
        QTest::newRow("XML above") << arrays(limit + 1) << false;
        QTest::newRow("binary at the limit") << nestedBinary(limit) << true;
        QTest::newRow("binary, shared objects") << doublingArrays(10) << true;
        QTest::newRow("binary above") << nestedBinary(limit + 1) << false;
        QTest::newRow("binary far above") << nestedBinary(60'000) << false;
        // The deep part is first met near the top and then again, through a chain, near the limit.
        BinaryFile twice;
        twice.objects << BinaryFile::array({2, 1});
        twice.objects << BinaryFile::array({101});
        for (int i = 2; i < 100; ++i)
            twice.objects << BinaryFile::array({i + 1});
        twice.objects << QByteArray("\x09");
        for (int i = 101; i < 200; ++i)
            twice.objects << BinaryFile::array({i + 1 == 200 ? 2 : i + 1});
        QTest::newRow("binary above by another way") << twice.data() << false;
    }
    void nestingLimit() {
        QFETCH(QByteArray, data);
        QFETCH(bool, accepted);
        QString error;
        QCOMPARE(PropertyList::fromData(data, &error).isValid(), accepted);
        QCOMPARE(error.contains(u"nested more than 128 levels deep"_s), !accepted);
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

    void truncatedAndMutated_data() {
        QTest::addColumn<QByteArray>("data");
        const QVariantMap sample{{u"list"_s, QVariantList{1LL, 2.5, true, u"text ä"_s}},
                                 {u"data"_s, QByteArray(40, 'x')},
                                 {u"date"_s, utc(2010, 5, 3)},
                                 {u"deep"_s, nested(12)}};
        QTest::newRow("XML") << PropertyList::toData(sample, Format::Xml);
        QTest::newRow("binary") << PropertyList::toData(sample, Format::Binary);
    }
    // Nothing to compare here: the sanitizers and the test's time limit are the judges.
    void truncatedAndMutated() {
        QFETCH(QByteArray, data);
        for (qsizetype length = 0; length + 1 < data.size(); ++length)
            (void)PropertyList::fromData(data.first(length));

        QRandomGenerator random(20100503);
        int accepted = 0;
        for (int round = 0; round < 20'000; ++round) {
            QByteArray mutated = data;
            for (int change = random.bounded(1, 5); change > 0; --change) {
                const auto at = static_cast<qsizetype>(random.bounded(static_cast<quint32>(mutated.size())));
                switch (random.bounded(3)) {
                    case 0:
                        mutated[at] = static_cast<char>(random.bounded(256));
                        break;
                    case 1:
                        mutated[at] = static_cast<char>(mutated[at] ^ (1 << random.bounded(8)));
                        break;
                    default:
                        mutated.insert(at, mutated.mid(random.bounded(20), random.bounded(20)));
                        break;
                }
            }
            QString error;
            const QVariant value = PropertyList::fromData(mutated, &error);
            QCOMPARE(value.isValid(), error.isEmpty());
            if (value.isValid()) ++accepted;
        }
        QVERIFY(accepted > 0);
    }

    void files() {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"a.plist"_s);
        const QVariantMap value{{u"k"_s, 1LL}};
        QString error;
        QVERIFY(PropertyList::writeFileAtomically(path, value, &error));
        QCOMPARE(PropertyList::readFile(path, &error), QVariant(value));
        QCOMPARE(error, QString());

        const auto isRefused = [&error](const QString& refused) {
            error.clear();
            return !PropertyList::readFile(refused, &error).isValid() && error.startsWith(refused);
        };
        QVERIFY(isRefused(folder.filePath(u"missing.plist"_s)));
        QVERIFY(isRefused(folder.path()));

        const QString pipe = folder.filePath(u"pipe.plist"_s);
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        QVERIFY(isRefused(pipe));

        const QString large = folder.filePath(u"large.plist"_s);
        QFile file(large);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.resize(PropertyList::maximumFileSize + 1));
        file.close();
        QVERIFY(isRefused(large));
        QVERIFY(error.contains(u"too large"_s));
    }

    void failedWriteKeepsTheOldFile() {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"a.plist"_s);
        QVERIFY(PropertyList::writeFileAtomically(path, u"old"_s));
        QString error;
        QVERIFY(!PropertyList::writeFileAtomically(path, QVariant(), &error));
        QVERIFY(!error.isEmpty());
        QVERIFY(!PropertyList::writeFileAtomically(path + u"/below"_s, true, &error));
        QCOMPARE(PropertyList::readFile(path), QVariant(u"old"_s));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList{u"a.plist"_s});
    }
};

ORLENDO_TEST_MAIN(PropertyListTest)
#include "PropertyListTest.moc"
