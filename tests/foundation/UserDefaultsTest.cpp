#include "base/PropertyList.h"
#include "base/RegularFile.h"
#include "foundation/VLUserDefaults.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"
#include "support/TestTable.h"

#include <sys/stat.h>

#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {
const QString key = u"key"_s;
}

class UserDefaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }
    void typesSurviveTheFile() {
        const QVariantList values{
            true, u"1"_s, 1.0, 1LL, QVariantList{u"a"_s}, QVariantMap{{key, QByteArray("x")}}};
        for (const QVariant& value : values) {
            for (const QString& name : {key, u"table/Column"_s}) {
                {
                    VLUserDefaults defaults(path());
                    defaults.setObject(value, name);
                }
                const VLUserDefaults again(path());
                QCOMPARE(again.objectForKey(name).typeId(), value.typeId());
                QCOMPARE(again.objectForKey(name), value);
            }
        }
    }

    void typedReads_data() {
        const TestTable<QVariant, qlonglong, bool, QString> row("value", "integer", "flag", "text");
        row("missing", {}, 0, false, {});
        row("YES", true, 1, true, u"1"_s);
        row("minus two", -2, -2, true, u"-2"_s);
        row("real", 1.9, 1, true, u"1.9"_s);
        row("small real", 0.25, 0, true, u"0.25"_s);
        row("endless real", 1e300, 0, true, u"1e+300"_s);
        row("text NO", u"NO"_s, 0, false, u"NO"_s);
        row("text 0", u"0"_s, 0, false, u"0"_s);
        row("list", QVariantList{1}, 0, false, {});
        row("dictionary", QVariantMap{{key, 1}}, 0, false, {});
    }
    void typedReads() {
        QFETCH(QVariant, value);
        VLUserDefaults defaults(path());
        defaults.setObject(value, key);
        QTEST(defaults.integerForKey(key), "integer");
        QTEST(defaults.boolForKey(key), "flag");
        QTEST(defaults.stringForKey(key), "text");
        QCOMPARE(defaults.arrayForKey(key).isEmpty(), value.typeId() != QMetaType::QVariantList);
        QCOMPARE(defaults.dictionaryForKey(key).isEmpty(), value.typeId() != QMetaType::QVariantMap);
    }

    void storedValuesWinOverRegisteredOnes() {
        {
            VLUserDefaults defaults(path());
            defaults.registerDefaults({{key, 1}});
            defaults.registerDefaults({{u"other"_s, u"x"_s}});
            QCOMPARE(defaults.objectForKey(key), QVariant(1LL));
            QVERIFY(!defaults.isStored(key));
            defaults.setObject(0, key);
            QCOMPARE(defaults.integerForKey(key), 0);
            QVERIFY(defaults.isStored(key));
            QVERIFY(defaults.synchronize());
        }
        QCOMPARE(PropertyList::readFile(path()),
                 QVariant(QVariantMap{{key, 0LL}}));  // nothing registered in it

        VLUserDefaults again(path());
        again.registerDefaults({{key, 1}});
        QCOMPARE(again.integerForKey(key), 0);
        const QString slashed = key + u"/below"_s;
        again.setObject(5, slashed);
        QVERIFY(again.synchronize());
        again.removeObjectForKey(key);
        QCOMPARE(again.integerForKey(key), 1);
        QVERIFY(again.synchronize());
        QVERIFY(!VLUserDefaults(path()).isStored(key));
        QCOMPARE(VLUserDefaults(path()).integerForKey(slashed), 5);
    }

    void changesOfAnotherProcessAreMerged() {
        VLUserDefaults mine(path());
        mine.setObject(1, u"mine"_s);
        QVERIFY(mine.synchronize());
        QVERIFY(PropertyList::writeFileAtomically(
            path(), QVariantMap{{u"mine"_s, 1}, {u"a longer key of theirs"_s, 2}}));
        mine.setObject(3, u"late"_s);
        QVERIFY(mine.synchronize());
        QCOMPARE(mine.integerForKey(u"a longer key of theirs"_s), 2);
        QCOMPARE(PropertyList::readFile(path()).toMap().size(), 3);
    }

    void timeWrites() {
        const auto isOnDisk = [this](int value) {
            return PropertyList::readFile(path()).toMap().value(key) ==
                   QVariant(static_cast<qlonglong>(value));
        };
        VLUserDefaults defaults(path());
        std::thread([&] { defaults.setObject(2, key); }).join();
        QVERIFY(QTest::qWaitFor([&] { return isOnDisk(2); }, 20'000));
        defaults.setObject(3, key);
        QVERIFY(QTest::qWaitFor([&] { return isOnDisk(3); }, 20'000));
    }

    void damagedFileIsKeptAside() {
        QString kept = path() + u".damaged"_s;
        const QList<QByteArray> contents{"garbage", PropertyList::toData(QVariantList{1}),
                                         QByteArray("<array>").repeated(100'000)};
        for (qsizetype number = 1; const QByteArray& content : contents) {
            QVERIFY(writeFile(path(), content));
            VLUserDefaults defaults(path());
            QVERIFY(!defaults.objectForKey(key).isValid());
            defaults.setObject(2, key);
            QVERIFY(defaults.synchronize());
            QCOMPARE(VLUserDefaults(path()).integerForKey(key), 2);

            QCOMPARE(contentsOf(kept), content);
            kept = path() + u".damaged-%1"_s.arg(++number);
        }
        QCOMPARE(contentsOf(path() + u".damaged"_s), contents.first());
        QCOMPARE(logLines().filter(u"Unable to read the settings "_s + path()).size(), 3);
    }

    /// Neither does it hang, nor is what cannot be kept overwritten.
    void leavesAloneWhatIsInTheWay_data() {
        const TestTable<QString> row("obstacle");
        row("pipe", u"pipe"_s);
        row("device", u"device"_s);
        row("lock is a pipe", u"lock"_s);
        row("damaged once too often", u"damaged"_s);
    }
    void leavesAloneWhatIsInTheWay() {
        QFETCH(QString, obstacle);
        QString place = path();
        QVERIFY(QDir().mkpath(QFileInfo(place).path()));
        if (obstacle == u"device") {
            QVERIFY(QFile::link(u"/dev/zero"_s, place));
        } else if (obstacle == u"damaged") {
            QVERIFY(writeFile(place, "garbage"));
            for (int number = 1; number <= RegularFile::mostDamaged; ++number)
                QVERIFY(writeFile(place + (number == 1 ? u".damaged"_s : u".damaged-%1"_s.arg(number)),
                                  "earlier"));
        } else {
            if (obstacle == u"lock") place += u".lock"_s;
            QCOMPARE(::mkfifo(QFile::encodeName(place).constData(), 0600), 0);
        }
        const QStringList before = everything(m_folder->path());
        VLUserDefaults defaults(path());
        defaults.setObject(1, key);
        QVERIFY(!defaults.synchronize());
        QCOMPARE(defaults.integerForKey(key), 1);
        QCOMPARE(everything(m_folder->path()), before);
    }

    void unwritablePlaceKeepsTheValues() {
        const QString obstacle = m_folder->filePath(u"sub"_s);
        QVERIFY(writeFile(obstacle, {}));
        VLUserDefaults defaults(path());
        defaults.setObject(1, key);
        QVERIFY(!defaults.synchronize());
        QCOMPARE(defaults.integerForKey(key), 1);
        // Once when they were to be read, once when they were to be written.
        QCOMPARE(logLines().filter(u"Unable to read or write the settings "_s + path()).size(), 2);

        QVERIFY(QFile::remove(obstacle));  // the place is usable again
        QVERIFY(defaults.synchronize());
        QCOMPARE(VLUserDefaults(path()).integerForKey(key), 1);
    }

    void manyThreads() {
        VLUserDefaults defaults(path());
        std::vector<std::thread> threads;
        for (int worker = 0; worker < 4; ++worker)
            threads.emplace_back([&defaults, worker] {
                for (int i = 0; i < 50; ++i) {
                    defaults.setObject(i, QString::number(worker));
                    (void)defaults.integerForKey(QString::number((worker + 1) % 4));
                    if (i % 10 == worker) defaults.synchronize();
                }
            });
        for (auto& thread : threads)
            thread.join();
        QVERIFY(defaults.synchronize());
        const QVariantMap stored = PropertyList::readFile(path()).toMap();
        for (int worker = 0; worker < 4; ++worker)
            QCOMPARE(stored.value(QString::number(worker)), QVariant(49LL));
    }

private:
    [[nodiscard]] QString path() const { return m_folder->filePath(u"sub/d.plist"_s); }
    std::unique_ptr<QTemporaryDir> m_folder;
};

ORLENDO_TEST_MAIN(UserDefaultsTest)
#include "UserDefaultsTest.moc"
