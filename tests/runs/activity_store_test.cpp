#include "base/PropertyList.h"
#include "runs/ActivityExport.h"
#include "runs/ActivityModel.h"
#include "runs/UndoData.h"
#include "support/FullDisk.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"
#include "support/TestTable.h"

#include <QAbstractItemModelTester>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSignalSpy>
#include <QThread>
#include <QUuid>

#include <sys/stat.h>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto patience = 30s;

HostOutcome onBay(int number, Outcome::Kind kind = Outcome::Done, const QString& reason = {}) {
    return {u"bay-%1.local."_s.arg(number), u"Bay %1"_s.arg(number), {kind, reason}, {}};
}

RunRecord sampleRun(const QString& action, const QList<HostOutcome>& outcomes) {
    RunRecord run;
    run.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    run.started = QDateTime::fromMSecsSinceEpoch(QDateTime::currentMSecsSinceEpoch(), Qt::UTC);
    run.ended = run.started.addMSecs(1500);
    run.user = u"anna"_s;
    run.tool = u"addonry"_s;
    run.action = action;
    run.actionDone = action + u'd';
    run.isChange = true;
    run.outcomes = outcomes;
    return run;
}

QList<HostOutcome> onBays(int count, Outcome::Kind kind = Outcome::Done) {
    QList<HostOutcome> outcomes;
    for (int number = 1; number <= count; ++number)
        outcomes << onBay(number, kind);
    return outcomes;
}

/// Every run of the file, newest first.
QList<RunRecord> runsIn(const QString& path) {
    const auto database = ActivityDatabase::open(path);
    QList<RunRecord> runs;
    for (const qint64 key : database->keys({}))
        if (const auto run = database->record(key)) runs << *run;  // else it went just now
    return runs;
}

QStringList actionsOf(const QList<RunRecord>& runs) {
    QStringList actions;
    for (const RunRecord& run : runs)
        actions << run.action;
    return actions;
}

/// Another console, which is killed in the middle of its work: prints the id of each run that it has handed
/// over and that is on disk.
int writeUntilKilled(const QString& path) {
    ActivityStore store(path, [] { return ActivityLimits(); });
    for (;;) {
        const RunRecord run = sampleRun(u"Enable"_s, onBays(40));
        store.add(run);
        if (!store.flush(patience)) return 1;
        std::printf("%s\n", qPrintable(run.id));
        std::fflush(stdout);
        for (int more = 0; more < 20; ++more)  // in the queue when the end comes
            store.add(sampleRun(u"Disable"_s, onBays(40)));
    }
}

}  // namespace

class ActivityStoreTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;
    QString m_path;
    ActivityLimits m_limits;

    [[nodiscard]] std::unique_ptr<ActivityStore> makeStore() {
        return std::make_unique<ActivityStore>(m_path, [limits = m_limits] { return limits; });
    }

private Q_SLOTS:
    void init() {
        m_path = m_folder.filePath(QUuid::createUuid().toString(QUuid::Id128) + u"/activity.sqlite"_s);
        m_limits = {};
        startNewLog();
    }
    void cleanup() { QTRY_COMPARE_WITH_TIMEOUT(VLThread::activeCount(), 0, 30'000); }

    void runIsKeptWithoutItsSecrets() {
        RunRecord run =
            sampleRun(u"Édit"_s, {onBay(1), onBay(2, Outcome::NoAnswer, u"gave up after 60 s"_s)});
        run.subject = u"Film Grain"_s;
        run.undoOf = u"another"_s;
        const QVariantMap kept{{u"count"_s, -3},
                               {u"on"_s, false},
                               {u"size"_s, 0.25},
                               {u"when"_s, run.started},
                               {u"icon"_s, QByteArray(64 << 10, '\0')},
                               {u"list"_s, QVariantList{QVariantMap{{u"path"_s, u"/Library/ä"_s}}}}};
        run.outcomes[0].undo = kept;
        RunRecord given = run;
        given.outcomes[0].undo[u"contents"_s] = QByteArray((64 << 10) + 1, 'x');
        given.outcomes[0].undo[u"authPass"_s] = u"hunter2"_s;
        given.outcomes[0].undo[u"list"_s] =
            QVariantList{QVariantMap{{u"path"_s, u"/Library/ä"_s}, {u"Password"_s, QByteArray("hunter2")}}};
        given.outcomes[1].undo = {{u"all"_s, QString(2 << 20, u'x')}};  // part of it would be of no use
        run.outcomes[1].outcome.reason += u" · cannot be taken back"_s;
        const auto store = makeStore();
        store->add(given);
        QVERIFY(store->flush(patience));
        QCOMPARE(runsIn(m_path), QList{run});
        for (const QString& file : everything(QFileInfo(m_path).absolutePath()))
            QVERIFY(!file.contains(u"hunter2"_s));
        QCOMPARE(QFileInfo(QFileInfo(m_path).absolutePath()).permissions() &
                     (QFile::ReadGroup | QFile::ReadOther | QFile::ExeGroup | QFile::ExeOther),
                 QFile::Permissions());
    }

    void whatTakesBackIsCompressed() {
        QVariantList plugins;
        for (int number = 0; number < 3'000; ++number)
            plugins << QVariantMap{{u"path"_s, u"/Library/Plug-Ins/Film Grain %1.plugin"_s.arg(number)}};
        const QVariantMap undo{{u"plugins"_s, plugins}};
        QByteArray bytes = UndoData::toBytes(undo);
        QVERIFY(bytes.size() < 64 << 10);
        QCOMPARE(UndoData::fromBytes(bytes), undo);
        QCOMPARE(UndoData::fromBytes(PropertyList::toData(undo, PropertyList::Format::Binary)), undo);
        bytes[0] = 1;  // says that 16 MB are in it
        QVERIFY(UndoData::fromBytes(bytes).isEmpty());
    }

    void takenBackOnceOnly() {
        RunRecord run = sampleRun(u"Disable"_s, onBays(3));
        for (HostOutcome& host : run.outcomes)
            host.undo = {{u"on"_s, true}};
        RunRecord undo = sampleRun(u"Undo"_s, {onBay(1), onBay(2, Outcome::Failed)});
        undo.undoOf = run.id;
        undo.started = run.started.addSecs(1);
        const auto database = ActivityDatabase::open(m_path);
        database->insert(run);
        database->insert(undo);
        const std::optional<RunRecord> kept = database->record(*database->keyOf(run.id));
        QVERIFY(kept->outcomes.at(0).undo.isEmpty());
        QVERIFY(!kept->outcomes.at(1).undo.isEmpty() && !kept->outcomes.at(2).undo.isEmpty());
    }

    void filters_data() {
        using Kinds = QList<int>;
        const TestTable<QString, QString, QString, Kinds, bool, QString> row("text", "computer", "tool",
                                                                             "kinds", "changesOnly", "found");
        row("nothing", {}, {}, u"*"_s, {}, false, u"Trash Refresh Disable"_s);
        row("subject, in another case", u"film GRAIN"_s, {}, u"*"_s, {}, false, u"Disable"_s);
        row("not in any one run", u"film trash"_s, {}, u"*"_s, {}, false, {});
        row("words in action and computer", u"disable bay-2"_s, {}, u"*"_s, {}, false, u"Disable"_s);
        row("shown name", u"grading"_s, {}, u"*"_s, {}, false, u"Refresh"_s);
        row("user", u"björn"_s, {}, u"*"_s, {}, false, u"Trash"_s);
        row("wildcards are letters", u"%"_s, {}, u"*"_s, {}, false, {});
        row("computer", {}, u"bay-2.local."_s, u"*"_s, {}, false, u"Trash Disable"_s);
        row("tool", {}, {}, u"addonry"_s, {}, false, u"Disable"_s);
        row("the console's own", {}, {}, {}, {}, false, u"Refresh"_s);
        row("outcome", {}, {}, u"*"_s, {Outcome::Failed, Outcome::Refused}, false, u"Trash Disable"_s);
        row("outcome on a computer", {}, u"bay-2.local."_s, u"*"_s, {Outcome::Failed}, false, u"Disable"_s);
        row("changes", {}, {}, u"*"_s, {}, true, u"Trash Disable"_s);
    }
    void filters() {
        QFETCH(QString, text);
        QFETCH(QString, computer);
        QFETCH(QString, tool);
        QFETCH(QList<int>, kinds);
        QFETCH(bool, changesOnly);
        QFETCH(QString, found);
        RunRecord disable = sampleRun(u"Disable"_s, {onBay(1), onBay(2, Outcome::Failed, u"locked"_s)});
        RunRecord refresh = sampleRun(u"Refresh"_s, {{{}, u"Grading Suite"_s, {Outcome::Answered, {}}, {}}});
        RunRecord trash = sampleRun(u"Trash"_s, {onBay(2), onBay(3, Outcome::Refused)});
        disable.subject = u"Film Grain"_s;
        disable.started = disable.started.addSecs(-60);
        refresh.tool.clear();
        refresh.isChange = false;
        trash.tool = u"settlekeep"_s;
        trash.user = u"Björn"_s;
        const auto database = ActivityDatabase::open(m_path);
        for (const RunRecord& run : {refresh, trash, disable})  // the order of their start is another one
            database->insert(run);

        ActivityFilter filter;
        filter.text = text;
        filter.computer = computer;
        if (tool != u"*"_s) filter.tool = tool;
        for (const int kind : kinds)
            filter.outcomes << Outcome::Kind(kind);
        filter.changesOnly = changesOnly;
        QStringList actions;
        for (const RunSummary& summary : database->summaries(database->keys(filter)))
            actions << summary.run.action;
        QCOMPARE(actions.join(u' '), found);
    }

    void killedConsoleLeavesWholeRuns() {
        for (int round = 0; round < 5; ++round) {
            QProcess console;
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert(u"TMPDIR"_s, m_folder.path());  // it cannot clean up
            console.setProcessEnvironment(environment);
            console.start(QCoreApplication::applicationFilePath(), {u"--write"_s, m_path});
            QByteArray written;
            while (written.count('\n') < 3 && console.waitForReadyRead(30'000))
                written += console.readAllStandardOutput();
            QThread::msleep(3 + 7 * round);  // it writes on
            console.kill();
            QVERIFY(console.waitForFinished());
            written += console.readAllStandardOutput();
            const QList<RunRecord> runs = runsIn(m_path);
            QStringList ids;
            for (const RunRecord& run : runs) {
                QCOMPARE(run.outcomes, onBays(40));
                ids << run.id;
            }
            QVERIFY(written.count('\n') >= 3);
            for (const QByteArray& id : written.left(written.lastIndexOf('\n')).split('\n'))
                QVERIFY(ids.contains(QString::fromLatin1(id)));
        }
        QVERIFY(!QFile::exists(m_path + u".damaged"_s));
    }

    void twoConsolesWriteAndSeeEachOther() {
        const auto one = makeStore(), other = makeStore();
        QSignalSpy changes(one.get(), &ActivityStore::changed);
        one->startWatching();
        QTRY_VERIFY(!changes.isEmpty());
        changes.clear();
        other->add(sampleRun(u"Enable"_s, onBays(3)));
        QTRY_VERIFY(!changes.isEmpty());
        for (int number = 0; number < 200; ++number)
            for (const auto& store : {one.get(), other.get()})
                store->add(sampleRun(u"Enable"_s, {onBay(number % 7), onBay(number)}));
        QVERIFY(one->flush(patience) && other->flush(patience));
        QCOMPARE(runsIn(m_path).size(), 401);
    }

    void rowsThatStayKeepTheirPlace_data() {
        const TestTable<int, int> row("readingEvery", "late");
        row("a run took long", 100, 10);
        row("readings go from between", 3, 0);
        row("both", 2, 4);
    }
    void rowsThatStayKeepTheirPlace() {
        QFETCH(int, readingEvery);
        QFETCH(int, late);
        constexpr int all = 40;
        const auto database = ActivityDatabase::open(m_path);
        const auto insert = [&](int number, bool isReading) {
            RunRecord run = sampleRun(u"Enable"_s, {onBay(1, isReading ? Outcome::Answered : Outcome::Done)});
            run.started = run.started.addSecs(number - 1'000);
            run.isChange = !isReading;
            database->insert(run);
        };
        for (int number = 1; number <= all; ++number)
            insert(number * 10, number % readingEvery == 0);
        const auto store = makeStore();
        ActivityModel model(*store, [](const QString& tool) { return tool; });
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
        model.setActive(true);
        QTRY_COMPARE(model.rowCount(), all);
        QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
        QHash<qint64, QPersistentModelIndex> before;
        for (int place = 0; place < all; ++place)
            before[model.keys()[std::size_t(place)]] = model.index(place, 0);
        QVERIFY(readingEvery > all || database->prune({365, 1}));
        for (int number = 0; number < late; ++number)
            insert(15 + number * 70, false);
        const int left = all - all / readingEvery;
        QTRY_COMPARE(model.rowCount(), left + late);
        QCOMPARE(ActivityKeys(model.keys()), database->keys({}));
        int kept = 0;
        for (auto index = before.cbegin(); index != before.cend(); ++index) {
            if (!index->isValid()) continue;
            QCOMPARE(index->data(ActivityModel::KeyRole).toLongLong(), index.key());
            ++kept;
        }
        QCOMPARE(kept, left);
        QVERIFY(resets.isEmpty());
    }

    void oldRunsGo() {
        m_limits.days = 30;
        {
            const auto database = ActivityDatabase::open(m_path);
            for (const int days : {90, 31, 29, 0}) {
                RunRecord run = sampleRun(QString::number(days), onBays(2));
                run.started = run.started.addDays(-days);
                database->insert(run);
            }
        }
        const auto store = makeStore();
        store->add(sampleRun(u"new"_s, {onBay(1)}));
        QTRY_COMPARE(actionsOf(runsIn(m_path)), QStringList({u"new"_s, u"0"_s, u"29"_s}));
    }

    /// Readings next to each other free whole pages when they go; one by one between changes they do not.
    void largeFileShrinks_data() {
        const TestTable<int, int, bool> row("inARow", "computers", "leavesReadings");
        row("in rows", 50, 60, true);
        row("by turns", 1, 1, false);
    }
    void largeFileShrinks() {
        QFETCH(int, inARow);
        QFETCH(int, computers);
        QFETCH(bool, leavesReadings);
        const auto isReadingAt = [&](int number) { return number / inARow % 2 == 0; };
        {
            const auto database = ActivityDatabase::open(m_path);
            for (int number = 0; number < 600; ++number) {
                const bool isReading = isReadingAt(number);
                RunRecord run = sampleRun(QString::number(number),
                                          onBays(computers, isReading ? Outcome::Answered : Outcome::Done));
                run.started = run.started.addSecs(number - 600);
                run.isChange = !isReading;
                run.outcomes[0].outcome.reason = QString(900, u'x');
                database->insert(run);
            }
        }
        m_limits.bytes = QFileInfo(m_path).size() / 4 * 3;
        const auto store = makeStore();
        store->add(sampleRun(u"new"_s, {onBay(1)}));
        QTRY_VERIFY(QFileInfo(m_path).size() <= m_limits.bytes);
        QStringList left = actionsOf(runsIn(m_path));
        QCOMPARE(left.mid(0, 2), QStringList({u"new"_s, u"599"_s}));
        // The readings went first, from the oldest.
        QCOMPARE(left.removeIf([&](const QString& action) { return !isReadingAt(action.toInt()); }), 300);
        QVERIFY((left.size() > 1) == leavesReadings && left.size() < 200);
    }

    void damagedFileIsKept_data() {
        const TestTable<bool, bool> row("isOurs", "isOpen");
        row("something else", false, false);
        row("damaged since", true, false);
        row("put away by another console while it is in use", true, true);
    }
    void damagedFileIsKept() {
        QFETCH(bool, isOurs);
        QFETCH(bool, isOpen);
        QVERIFY(writeFile(m_path + u".damaged"_s, "kept before"));
        std::unique_ptr<ActivityStore> store;
        if (isOurs) {
            store = makeStore();
            for (int number = 0; number < 50; ++number)
                store->add(sampleRun(u"Enable"_s, onBays(20)));
            QVERIFY(store->flush(patience));
        }
        if (!isOpen) {
            store.reset();
            QTRY_COMPARE(VLThread::activeCount(), 0);
        }
        const QByteArray rubbish(isOurs ? contentsOf(m_path).size() : 5'000, '#');
        QVERIFY(writeFile(m_path, rubbish));
        for (const char* companion : {"-wal", "-shm"})  // they would heal it
            QFile::remove(m_path + QLatin1String(companion));
        if (isOpen)
            static_cast<void>(ActivityDatabase::open(m_path));
        else
            store = makeStore();
        store->add(sampleRun(u"Disable"_s, {onBay(1)}));
        QVERIFY(store->flush(patience));
        QCOMPARE(actionsOf(runsIn(m_path)), QStringList{u"Disable"_s});
        QCOMPARE(contentsOf(m_path + u".damaged"_s), QByteArray("kept before"));
        QCOMPARE(contentsOf(m_path + u".damaged-2"_s), rubbish);
        QVERIFY(logLines().last().contains(u"damaged-2"_s));
    }

    void whatIsInTheWayIsNamed_data() {
        const TestTable<QString> row("what");
        row("pipe", u"pipe"_s);
        row("folder", u"folder"_s);
        row("file for the folder", u"file"_s);
        row("full disk", u"full"_s);
    }
    void whatIsInTheWayIsNamed() {
        QFETCH(QString, what);
        const QString folder = QFileInfo(m_path).absolutePath();
        const bool isAbove = what == u"file"_s;
        if (isAbove) QVERIFY(writeFile(folder, "a file"));
        if (!isAbove) QVERIFY(QDir().mkpath(what == u"folder"_s ? m_path : folder));
        if (what == u"pipe"_s) QCOMPARE(::mkfifo(qPrintable(m_path), 0600), 0);
        const auto store = makeStore();
        {
            std::optional<FullDisk> disk;
            if (what == u"full"_s) disk.emplace(24 << 10);
            QSignalSpy problems(store.get(), &ActivityStore::problemChanged);
            store->add(sampleRun(u"Enable"_s, onBays(200)));
            QTRY_COMPARE(problems.size(), 1);
            QVERIFY(store->problem().startsWith(isAbove ? folder : m_path));
            QVERIFY(!store->flush(10ms));
        }
        QCOMPARE(logLines().last(), u"Unable to keep what was done - "_s + store->problem());
        if (what == u"folder"_s) QVERIFY(QDir().rmdir(m_path));
        if (what == u"pipe"_s || isAbove) QVERIFY(QFile::remove(isAbove ? folder : m_path));
        QVERIFY(store->flush(patience));
        QVERIFY(store->problem().isEmpty());
        QCOMPARE(runsIn(m_path).size(), 1);
    }

    void exportsReadBack() {
        RunRecord run =
            sampleRun(u"=cmd()"_s, {onBay(1, Outcome::Failed, u"said \"no\",\nand went"_s), onBay(2)});
        run.subject = u"-1"_s;
        const auto database = ActivityDatabase::open(m_path);
        database->insert(run);
        database->insert(sampleRun(u"Nobody"_s, {}));
        const QString csv = m_folder.filePath(u"a.csv"_s), json = m_folder.filePath(u"a.json"_s);
        const ActivityKeys keys = database->keys({});
        QCOMPARE(ActivityExport::write(m_path, keys, ActivityExport::Format::Csv, csv).runs, 2);
        QCOMPARE(ActivityExport::write(m_path, keys, ActivityExport::Format::Json, json).runs, 2);

        const QString text = QString::fromUtf8(contentsOf(csv));
        QVERIFY(
            text.contains(u",anna,addonry,'=cmd(),'-1,yes,Bay 1,bay-1.local.,failed,"
                          "\"said \"\"no\"\",\nand went\","_s +
                          run.id + u",,\r\n"_s));
        QCOMPARE(text.count(u"\r\n"_s), 4);
        const QJsonArray runs = QJsonDocument::fromJson(contentsOf(json)).array();
        QCOMPARE(runs.size(), 2);
        const QJsonObject second = runs.at(keys.size() - 1).toObject();
        QCOMPARE(QDateTime::fromString(second[u"started"_s].toString(), Qt::ISODateWithMs), run.started);
        QCOMPARE(second[u"outcomes"_s].toArray().at(0).toObject()[u"reason"_s].toString(),
                 run.outcomes[0].outcome.reason);

        QVERIFY(writeFile(csv, "before"));
        QVERIFY(!ActivityExport::write(m_path, ActivityKeys(400, keys.back()), ActivityExport::Format::Csv,
                                       csv, [](int) { return false; })
                     .error.isEmpty());
        QCOMPARE(contentsOf(csv), QByteArray("before"));
    }
};

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const TestEnvironment environment;
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == u"--write"_s) return writeUntilKilled(arguments.value(2));
    ActivityStoreTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "activity_store_test.moc"
