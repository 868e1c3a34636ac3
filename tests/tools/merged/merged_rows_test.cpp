// What all tools with merged rows share: the check of answers, and who has a thing and who not.
#include "support/TestTable.h"
#include "tools/addonry/VLPluginItem.h"
#include "tools/cronwell/VLScheduledTask.h"
#include "tools/merged/RowMerger.h"
#include "tools/settlekeep/BackupList.h"

#include <QDateTime>

using namespace Qt::StringLiterals;

namespace {

constexpr AgentAnswer::Key keys[] = {
    {"count", AgentAnswer::count},     {"date", AgentAnswer::date},
    {"flag", AgentAnswer::flagOrZero}, {"name", AgentAnswer::lineOfText, true},
    {"number", AgentAnswer::number},   {"text", AgentAnswer::text}};
constexpr AgentAnswer::Table table{keys, 3};

QVariantMap named(const QString& key = u"flag"_s, const QVariant& value = 0LL) {
    QVariantMap entry{{u"name"_s, u"x"_s}, {u"flag"_s, 0LL}};
    entry.insert(key, value);
    return entry;
}

/// "1.0 d 1": version, disabled or enabled, access type; "-" leaves a value out.
QVariantMap pluginInstance(const QString& text) {
    const QStringList words = text.split(u' ');
    QVariantMap result = {{"name", "Blur"}, {"type", "FxPlug"}};
    if (words[0] != "-"_L1) result.insert("version", words[0]);
    if (words[1] != "-"_L1) result.insert("disabled", int(words[1] == "d"_L1));
    if (words[2] != "-"_L1) result.insert("accessType", words[2].toLongLong());
    return result;
}

}  // namespace

class MergedRowsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void values_data() {
        // What is sent under a key, and what is kept of it: invalid where that is nothing.
        const TestTable<QString, QVariant, QVariant> row("key", "sent", "kept");
        row("flag", u"flag"_s, true, 1LL);
        row("flag of 7", u"flag"_s, 7, 1LL);
        row("flag as text", u"flag"_s, u"maybe"_s, 0LL);
        row("number", u"number"_s, 7, 7LL);
        row("number as text", u"number"_s, u"1"_s, {});
        row("fraction", u"number"_s, 2.9, 2LL);
        row("huge number", u"number"_s, 1e300, {});
        row("no number", u"number"_s, qQNaN(), {});
        row("bytes", u"number"_s, QByteArray("1"), {});
        row("negative", u"count"_s, -1, {});
        row("text", u"text"_s, QString(), QString());
        row("long text", u"text"_s, QString(AgentAnswer::longestText + 1, u'x'), {});
        row("text of a wrong kind", u"text"_s, 1.5, {});
        row("no date", u"date"_s, QDateTime(), {});
        row("unknown key", u"ballast"_s, QString(1000, u'b'), {});
        row("host name", u"hostname"_s, u"forged."_s, {});
    }
    void values() {
        QFETCH(QString, key);
        QFETCH(QVariant, sent);
        const AgentAnswer::Entries list = AgentAnswer::fromArray(QVariantList{named(key, sent)}, table);
        QCOMPARE(list.entries.size(), 1);
        QTEST(list.entries[0].value(key), "kept");
        QCOMPARE(list.entries[0].value(u"name"_s), QVariant(u"x"_s));
    }

    void answers_data() {
        const TestTable<QVariant, int, QString> row("answer", "count", "complaint");
        const QVariantMap nameless{{u"flag"_s, 0LL}};
        row("no answer", {}, 0, {});
        row("good", QVariantList{named(), named()}, 2, {});
        row("text", u"x"_s, 0, u"not an array but QString"_s);
        row("dictionary", QVariantMap(), 0, u"not an array but QVariantMap"_s);
        row("odd entries", QVariantList{7, named()}, 1, u"1 of 2 entries left out, 0 values"_s);
        row("nameless", QVariantList{nameless, named(u"name"_s, QString()), named(u"name"_s, u"a\nb"_s)}, 0,
            u"3 of 3 entries left out, 0 values"_s);
        row("wrong value", QVariantList{named(u"text"_s, 5)}, 1, u"0 of 1 entries left out, 1 values"_s);
        row("too many", QVariantList(1'000'000, named()), 3, u"999997 of 1000000"_s);
    }
    void answers() {
        QFETCH(QVariant, answer);
        QFETCH(QString, complaint);
        const AgentAnswer::Entries list = AgentAnswer::fromArray(answer, table);
        QTEST(int(list.entries.size()), "count");
        QVERIFY2(list.complaint.startsWith(complaint) && list.complaint.isEmpty() == complaint.isEmpty(),
                 qPrintable(list.complaint));
    }

    /// Each entry of a dictionary gets its key under a name, if it may be called so.
    void dictionaries() {
        const QVariantMap task{{u"taskDescription"_s, u"x"_s}, {u"taskBundleID"_s, u"t"_s}};
        QVariantMap answer{{u"a.plist"_s, task}, {u"b.plist"_s, 5}, {u"c.plist"_s, QVariantMap()}};
        for (const QString& name : {QString(), u"../a.plist"_s, u"a\0b"_s, QString(300, u'a')})
            answer.insert(name, task);
        const AgentAnswer::Entries tasks = VLScheduledTask::checked(answer);
        QCOMPARE(tasks.entries.size(), 1);
        QCOMPARE(tasks.entries[0].value(u"filename"_s), QVariant(u"a.plist"_s));
        QVERIFY2(tasks.complaint.startsWith(u"6 of 7 entries left out"_s), qPrintable(tasks.complaint));

        // What is beyond the known keys is kept while it is short.
        const QVariantMap backup{{u"path"_s, u"/b"_s},
                                 {u"type"_s, -1},
                                 {u"hostname"_s, u"other"_s},
                                 {u"note"_s, u"main"_s},
                                 {u"files"_s, 7LL},
                                 {u"list"_s, QVariantList{1}},
                                 {u"essay"_s, QString(300, u'x')},
                                 {QString(300, u'k'), 1LL}};
        const AgentAnswer::Entries backups = checkedBackups(QVariantMap{{u"x"_s, backup}});
        QCOMPARE(backups.entries,
                 (QList<QVariantMap>{{{u"path"_s, u"/b"_s}, {u"note"_s, u"main"_s}, {u"files"_s, 7LL}}}));
        QCOMPARE(furtherKeys(backups.entries.value(0)), (QStringList{u"files"_s, u"note"_s}));
        QVERIFY(checkedBackups(QVariantList{backup}).complaint.startsWith(u"not a dictionary"_s));
    }

    void plugins_data() {
        // Version, state, disabled count, disabled, access type.
        const TestTable<QStringList, QString> row("instances", "merged");
        const QString plain = u"1.0 e 1"_s;
        row("one disabled", {"1.0 d 1"}, "1.0 0 1 1 1");
        row("versions", {plain, "1.1 e 1"}, "(various) 1 0 0 1");
        row("enabled", {plain, "1.0 d 1"}, "1.0 2 1 -1 1");
        row("access", {plain, "1.0 e 2"}, "1.0 3 0 0 -1");
        row("version hides access", {plain, "1.1 e 2"}, "(various) 1 0 0 1");
        row("version hides enabled", {plain, "1.1 d 1"}, "(various) 1 1 -1 1");
        row("access before enabled", {plain, "1.0 d 2"}, "1.0 3 1 -1 -1");
        row("access before version", {plain, "1.0 e 2", "1.1 e 1"}, "(various) 3 0 0 -1");
        // Once "(various)", every further copy counts as different and is not asked for its access type.
        row("various stays", {plain, "1.1 e 1", "1.0 e 2"}, "(various) 1 0 0 1");
        row("mixed access back to one value", {plain, "1.0 e 2", plain}, "1.0 3 0 0 -1");
        row("no version later", {plain, "- e 2"}, "1.0 3 0 0 -1");
        row("no version first", {"- e 1", plain}, "(various) 1 0 0 1");
        row("no access first", {"1.0 e -", "1.0 e 0"}, "1.0 3 0 0 -1");
        row("nothing known", {"- - -", "- - -"}, " 0 0 0 0");
        row("two of three disabled", {"1.0 d 1", "1.0 d 1", plain}, "1.0 2 2 -1 1");
    }
    void plugins() {
        QFETCH(QStringList, instances);
        VLPluginItem item = VLPluginItem::pluginItem(pluginInstance(instances.takeFirst()), u"a."_s);
        for (const QString& text : instances)
            item.addChild(pluginInstance(text), u"b."_s);
        QCOMPARE(item.name() + item.type(), u"BlurFxPlug"_s);
        QTEST(u"%1 %2 %3 %4 %5"_s.arg(item.version())
                  .arg(item.state())
                  .arg(item.disabledCount())
                  .arg(item.disabled())
                  .arg(item.accessType()),
              "merged");
        QCOMPARE(item.children().size(), instances.size() + 1);
    }

    void absent_data() {
        // What the clients have, a letter each: a thing of version a or b, none (-), or no answer (?). State
        // and difference of a plug-in, and of a task whose schedule that is; then who is missing, as
        // placeholders.
        const TestTable<QString, QString, QString> row("clients", "states", "missing");
        row("alike", u"a a"_s, u"0 0 0 0"_s, {});
        row("one lacks it", u"a -"_s, u"4 4 3 3"_s, u"h1"_s);
        row("one gave no answer", u"a a ?"_s, u"4 0 3 0"_s, u"h2?"_s);
        row("no answer and a difference", u"a b ?"_s, u"4 1 3 1"_s, u"h2?"_s);
        row("both", u"a - ? b"_s, u"4 4 3 3"_s, u"h1 h2?"_s);
        row("two copies", u"aa a"_s, u"4 4 0 0"_s, {});
        row("as many copies as clients", u"aa -"_s, u"0 0 0 3"_s, {});
        row("two copies, no answer", u"aa a ? ?"_s, u"4 4 3 0"_s, u"h2? h3?"_s);
    }
    void absent() {
        QFETCH(QString, clients);
        RowMerger<VLPluginItem> plugins;
        RowMerger<VLScheduledTask> tasks;
        const QStringList had = clients.split(u' ');
        for (int client = 0; client < had.size(); ++client) {
            const QString host = u"h%1"_s.arg(client);
            if (had[client] == u"?"_s) {
                plugins.addUnanswered(host);
                tasks.addUnanswered(host);
                continue;
            }
            QList<QVariantMap> pluginList, taskList;
            const QString versions = QString(had[client]).remove(u'-');
            for (const QChar version : versions) {
                pluginList.append({{u"name"_s, u"P"_s}, {u"version"_s, QString(version)}});
                taskList.append(
                    {{u"taskDescription"_s, u"P"_s}, {u"frequencyDescription"_s, QString(version)}});
            }
            plugins.add(host, pluginList);
            tasks.add(host, taskList);
        }
        const VLPluginItem plugin = plugins.takeRows().value(0);
        const VLScheduledTask task = tasks.takeRows().value(0);
        const auto states = [](const MergedRow& row) {
            return u"%1 %2"_s.arg(row.state()).arg(row.difference());
        };
        QTEST(states(plugin) + u' ' + states(task), "states");
        QStringList missing;
        for (const QVariant& host : plugin.missingHosts()) {
            const QVariantMap placeholder = host.toMap();
            QCOMPARE(placeholder.value(u"name"_s), QVariant(u"P"_s));
            missing.append(placeholder.value(u"hostname"_s).toString() +
                           (placeholder.value(u"unanswered"_s) == 1 ? u"?"_s : QString()));
        }
        QTEST(missing.join(u' '), "missing");
    }
};

QTEST_APPLESS_MAIN(MergedRowsTest)
#include "merged_rows_test.moc"
