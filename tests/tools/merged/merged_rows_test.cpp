// What all tools with merged rows share: the check of answers, and who has a thing and who not.
#include "support/TestTable.h"
#include "tools/addonry/VLPluginItem.h"
#include "tools/cronwell/VLScheduledTask.h"
#include "tools/merged/RowMerger.h"

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

    /// What is right is not copied: that is most of what five hundred clients send.
    void rightEntriesAreShared() {
        const QVariantMap sent = named();
        const AgentAnswer::Entries list = AgentAnswer::fromArray(QVariantList{sent}, table);
        QVERIFY(list.entries.value(0).isSharedWith(sent));
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
        row("copies are counted, not clients", u"aa -"_s, u"0 0 0 0"_s, {});
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
