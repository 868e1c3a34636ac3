#include "support/TestTable.h"
#include "tools/addonry/AddonryUndo.h"
#include "tools/cronwell/CronwellUndo.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// "user off Group/Grain": for whom, whether it is enabled, and where it lies in that folder.
QVariantMap plugin(const QString& text) {
    const QStringList words = text.split(u' ');
    const bool isUsers = words.at(0) == u"user"_s, isOff = words.at(1) == u"off"_s;
    const QString folder = (isUsers ? u"/Users/anna"_s : QString()) + u"/Library/Plug-Ins/FxPlug"_s +
                           (isOff ? u" (Disabled)/"_s : u"/"_s);
    return {{u"name"_s, words.at(2).section(u'/', -1)},
            {u"type"_s, u"FxPlug"_s},
            {u"fullPath"_s, QString(folder + words.at(2) + u".fxplug"_s)},
            {u"disabled"_s, qlonglong(isOff)},
            {u"accessType"_s, qlonglong(isUsers)}};
}

/// "a.plist clean on 6 60": file, task, state, and the type and value of the schedule. "r" files are root's.
QVariantMap task(const QString& text) {
    const QStringList words = text.split(u' ');
    QVariantMap task{{u"filename"_s, words.at(0)},
                     {u"taskID"_s, words.at(1)},
                     {u"taskBundleID"_s, u"t"_s},
                     {u"taskDescription"_s, words.at(1)},
                     {u"enabled"_s, qlonglong(words.at(2) == u"on"_s)},
                     {u"root"_s, qlonglong(words.at(0).startsWith(u'r'))},
                     {u"scheduleType"_s, words.at(3).toLongLong()},
                     {u"frequencyDescription"_s, QString(words.at(3) + words.value(4))}};
    if (words.at(3) == u"6"_s) task.insert(u"intervalSeconds"_s, words.at(4).toLongLong());
    if (words.at(3) == u"7"_s) task.insert(u"interval"_s, QVariantMap{{u"Hour"_s, words.at(4)}});
    return task;
}

template <typename Make>
QList<QVariantMap> all(const QString& text, const Make& make) {
    QList<QVariantMap> found;
    for (const QString& one : text.split(u", "_s, Qt::SkipEmptyParts))
        found.append(make(one));
    return found;
}

}  // namespace

class UndoTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void plugins_data() {
        const TestTable<QString, QString, QString> row("former", "present", "steps");
        row("nothing happened", u"user on Grain"_s, u"user on Grain"_s, {});
        row("disabled", u"user on Grain, all off Glow"_s, u"user off Grain, all off Glow"_s,
            u"user off Grain: disabled 0"_s);
        row("given to all, in a group", u"user on G/Grain"_s, u"all on G/Grain"_s,
            u"all on G/Grain: access 1"_s);
        row("both", u"user on Grain"_s, u"all off Grain"_s,
            u"all off Grain: disabled 0, all off Grain: access 1"_s);
        row("there twice", u"user on Grain, all on Grain"_s, u"all off Grain, user off Grain"_s,
            u"user off Grain: disabled 0, all off Grain: disabled 0"_s);
        row("one of two", u"all on Grain"_s, u"user on Grain, all off Grain"_s,
            u"all off Grain: disabled 0"_s);
        row("in two groups", u"all on A/Grain, all on B/Grain"_s, u"all on A/Grain, all off B/Grain"_s,
            u"all off B/Grain: disabled 0"_s);
        row("gone", u"user on Grain, user on Glow"_s, u"user off Glow"_s,
            u"user off Glow: disabled 0, missing Grain"_s);
    }
    void plugins() {
        QFETCH(QString, former);
        QFETCH(QString, present);
        const bool isAccess = former.startsWith(u"user"_s) && present.startsWith(u"all on"_s);
        const QString changed = QLatin1String(QTest::currentDataTag()) == "both"_L1 ? QString()
                                : isAccess                                          ? u"accessType"_s
                                                                                    : u"disabled"_s;
        const auto here = all(present, plugin);
        const auto undo =
            AddonryUndo::former(all(former, plugin), changed, [](const QVariantMap&) { return true; });
        const AddonryUndo::Plan plan = AddonryUndo::plan(undo, here);
        QStringList steps;
        const auto add = [&](const QList<AddonryUndo::Plan::Step>& list, const QString& word) {
            for (const auto& step : list)
                for (const QString& text : present.split(u", "_s))
                    if (plugin(text) == step.plugin)
                        steps.append(u"%1: %2 %3"_s.arg(text, word).arg(step.value));
        };
        add(plan.enabling, u"disabled"_s);
        add(plan.access, u"access"_s);
        for (const QString& name : plan.missing)
            steps.append(u"missing "_s + name);
        QTEST(steps.join(u", "_s), "steps");
        QCOMPARE(plan.undo.isEmpty(), plan.enabling.isEmpty() && plan.access.isEmpty());
        const QVariantMap rubbish{{u"plugins"_s, QVariantList{1, QVariantMap(), u"x"_s}}};
        QVERIFY(AddonryUndo::plan(rubbish, here).enabling.isEmpty());
    }

    void tasks_data() {
        // `since`: what it is like when it is taken back; as the change left it where that is empty.
        const TestTable<QString, QString, QString, QString> row("before", "after", "since", "steps");
        row("disabled", u"a.plist clean on 6 60, b.plist copy on 6 5"_s,
            u"a.plist clean off 6 60, b.plist copy on 6 5"_s, {}, u"enable a.plist 1"_s);
        row("another schedule", u"a.plist clean on 7 3"_s, u"a.plist clean off 6 60"_s, {},
            u"edit a.plist 1 7 ,3,,,"_s);
        row("one that cannot be said", u"a.plist clean on 0"_s, u"a.plist clean on 6 60"_s, {},
            u"edit a.plist 1 0"_s);
        row("removed", u"r.plist clean off 6 60"_s, {}, {}, u"add r.plist 0 6 60"_s);
        row("added", {}, u"a.plist clean on 6 60"_s, {}, u"remove a.plist"_s);
        row("replaced", u"a.plist clean on 6 60"_s, u"a.plist copy on 6 60"_s, {}, u"edit a.plist 1 6 60"_s);
        row("moved since", u"a.plist clean on 6 60"_s, u"a.plist clean off 6 60"_s,
            u"a.plist clean off 7 3"_s, u"enable a.plist 1"_s);
        row("turned on since", u"a.plist clean on 6 60"_s, u"a.plist clean off 6 5"_s,
            u"a.plist clean on 6 5"_s, u"edit a.plist 1 6 60"_s);
        row("moved again since", u"a.plist clean on 6 60"_s, u"a.plist clean on 7 3"_s,
            u"a.plist clean on 6 5"_s, u"missing"_s);
        row("gone since", u"a.plist clean on 6 60"_s, u"a.plist clean off 6 60"_s, u"b.plist copy on 6 5"_s,
            u"missing"_s);
        row("another in its place", u"r.plist clean off 6 60"_s, {}, u"r.plist copy on 6 60"_s, u"missing"_s);
        row("back already", u"r.plist clean off 6 60"_s, {}, u"r.plist clean on 6 60"_s, {});
    }
    void tasks() {
        QFETCH(QString, before);
        QFETCH(QString, after);
        const auto former = all(before, task), present = all(after, task);
        const QVariantMap undo = CronwellUndo::difference(CronwellUndo::everything(former), present);
        QFETCH(QString, since);
        const auto plan = CronwellUndo::plan(undo, since.isEmpty() ? present : all(since, task));
        QStringList steps;
        constexpr const char* words[] = {"add", "edit", "enable", "remove"};
        for (const CronwellUndo::Step& step : plan.steps) {
            QStringList parts{QLatin1String(words[step.kind]), step.task.value(u"filename"_s).toString()};
            const QVariantMap sent = step.settings.toMap();
            for (const QString& key : {u"enabled"_s, u"scheduletype"_s, u"intervalval"_s})
                if (sent.contains(key)) parts.append(sent.value(key).toString());
            steps.append(parts.join(u' '));
        }
        if (!plan.missing.isEmpty()) steps.append(u"missing"_s);
        QTEST(steps.join(u", "_s), "steps");
        // Once it is taken back there is nothing left to do; and what has become another task stays.
        QVERIFY(CronwellUndo::plan(undo, former).steps.isEmpty());
        const auto others = all(u"a.plist other on 6 1"_s, task);
        for (const auto& step : CronwellUndo::plan(undo, others).steps)
            QVERIFY(step.kind != CronwellUndo::Step::Remove);
    }
};

QTEST_GUILESS_MAIN(UndoTest)
#include "undo_test.moc"
