#include "foundation/PropertyList.h"
#include "foundation/VLUserDefaults.h"
#include "support/TestEnvironment.h"

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
    void typesSurviveTheFile_data() {
        QTest::addColumn<QVariant>("given");
        QTest::addColumn<QVariant>("kept");
        const auto same = [](const char* name, const QVariant& value) {
            QTest::newRow(name) << value << value;
        };
        same("YES", true);
        same("text", u"date"_s);
        same("text of a number", u"1"_s);
        same("real", 1.0);
        same("data", QByteArray("\0\1", 2));
        same("date", QDateTime(QDate(2010, 5, 3), QTime(1, 2, 3), Qt::UTC));
        same("list of one", QVariantList{u"a"_s});
        same("dictionary", QVariantMap{{u"users"_s, QVariantList{QVariantMap{{key, true}}}}});
        QTest::newRow("integer 1") << QVariant(1) << QVariant(1LL);
    }
    void typesSurviveTheFile() {
        QFETCH(QVariant, given);
        QFETCH(QVariant, kept);
        const QString slashed = u"table/Column"_s;
        {
            VLUserDefaults defaults(path());
            defaults.setObject(given, key);
            defaults.setObject(given, slashed);
            QCOMPARE(defaults.objectForKey(key).typeId(), kept.typeId());
            QVERIFY(defaults.synchronize());
        }
        const VLUserDefaults again(path());
        for (const QString& name : {key, slashed}) {
            QCOMPARE(again.objectForKey(name).typeId(), kept.typeId());
            QCOMPARE(again.objectForKey(name), kept);
        }
        QCOMPARE(PropertyList::readFile(path()).toMap().value(key), kept);
    }

    void typedReads_data() {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<qlonglong>("integer");
        QTest::addColumn<bool>("flag");
        QTest::addColumn<QString>("text");
        QTest::newRow("missing") << QVariant() << 0LL << false << QString();
        QTest::newRow("YES") << QVariant(true) << 1LL << true << u"1"_s;
        QTest::newRow("minus two") << QVariant(-2) << -2LL << true << u"-2"_s;
        QTest::newRow("real") << QVariant(1.9) << 1LL << true << u"1.9"_s;
        QTest::newRow("small real") << QVariant(0.25) << 0LL << true << u"0.25"_s;
        QTest::newRow("endless real") << QVariant(1e300) << 0LL << true << u"1e+300"_s;
        QTest::newRow("text NO") << QVariant(u"NO"_s) << 0LL << false << u"NO"_s;
        QTest::newRow("text 0") << QVariant(u"0"_s) << 0LL << false << u"0"_s;
        QTest::newRow("list") << QVariant(QVariantList{1}) << 0LL << false << QString();
        QTest::newRow("dictionary") << QVariant(QVariantMap{{key, 1}}) << 0LL << false << QString();
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
            defaults.registerDefaults({{key, 1}, {u"flag"_s, true}});
            defaults.registerDefaults({{u"other"_s, u"x"_s}});
            QCOMPARE(defaults.objectForKey(key), QVariant(1LL));
            QCOMPARE(defaults.objectForKey(u"flag"_s).typeId(), QMetaType::Bool);
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

    void destructionAndTimeWrite() {
        const auto isOnDisk = [this](int value) {
            return PropertyList::readFile(path()).toMap().value(key) ==
                   QVariant(static_cast<qlonglong>(value));
        };
        {
            VLUserDefaults defaults(path());
            defaults.setObject(1, key);
            QVERIFY(!QFile::exists(path()));
        }
        QVERIFY(isOnDisk(1));

        VLUserDefaults defaults(path());
        std::thread([&] { defaults.setObject(2, key); }).join();
        QVERIFY(QTest::qWaitFor([&] { return isOnDisk(2); }, 20'000));
        defaults.setObject(3, key);
        QVERIFY(QTest::qWaitFor([&] { return isOnDisk(3); }, 20'000));
    }

    void damagedFileIsKeptAside_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("garbage") << QByteArray("garbage");
        QTest::newRow("cut off") << PropertyList::toData(QVariantMap{{key, 1}}).chopped(20);
        QTest::newRow("no dictionary") << PropertyList::toData(QVariantList{1});
        QTest::newRow("deep") << QByteArray("<array>").repeated(100'000);
    }
    void damagedFileIsKeptAside() {
        QFETCH(QByteArray, content);
        QVERIFY(QDir().mkpath(QFileInfo(path()).path()));
        QFile file(path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();

        VLUserDefaults defaults(path());
        QVERIFY(!defaults.objectForKey(key).isValid());
        defaults.setObject(2, key);
        QVERIFY(defaults.synchronize());
        QCOMPARE(VLUserDefaults(path()).integerForKey(key), 2);

        QFile kept(path() + u".damaged"_s);
        QVERIFY(kept.open(QIODevice::ReadOnly));
        QCOMPARE(kept.readAll(), content);
        QVERIFY(!logLines().filter(u"Unable to read the settings "_s + path()).isEmpty());
    }

    void unwritablePlaceKeepsTheValues() {
        QFile obstacle(m_folder->filePath(u"sub"_s));
        QVERIFY(obstacle.open(QIODevice::WriteOnly));
        obstacle.close();
        VLUserDefaults defaults(path());
        defaults.setObject(1, key);
        QVERIFY(!defaults.synchronize());
        QCOMPARE(defaults.integerForKey(key), 1);
        QCOMPARE(logLines().filter(u"Unable to read or write the settings "_s + path()).size(), 1);

        QVERIFY(obstacle.remove());  // the place is usable again
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
