#include "system/VLException.h"
#include "tools/addonry/AddonryBench.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString listSelector = u"addonryPluginList"_s, checkSelector = u"addonryNeedsAdminAccess:settings:"_s;
const QString dataSelector = u"addonryPluginData:"_s;

QString text(const QVariant& value);

QString text(const QVariantMap& values) {
    if (values.contains(u"authUser"_s)) return u"auth"_s;
    if (values.contains(u"name"_s)) return u"<%1>"_s.arg(values.value(u"fullPath"_s).toString());
    QStringList parts;
    for (auto it = values.begin(); it != values.end(); ++it)
        parts.append(it.key() + u'=' + text(it.value()));
    return u'{' + parts.join(u' ') + u'}';
}

QString text(const QVariant& value) {
    if (!value.isValid()) return u"-"_s;
    if (value.typeId() == QMetaType::QVariantMap) return text(value.toMap());
    if (value.typeId() != QMetaType::QVariantList) return value.toString();
    QStringList parts;
    for (const QVariant& one : value.toList())
        parts.append(text(one));
    return u'[' + parts.join(u' ') + u']';
}

/// What an agent was asked, but for its list; the names of the operations shortened to their first word.
QStringList asked(const FakeProxy& proxy) {
    QStringList lines;
    for (const auto& [selector, arguments] : proxy.sent()) {
        if (selector == listSelector) continue;
        QStringList parts{selector.section(u':', 0, 0).mid(7)};
        for (const QVariant& argument : arguments)
            parts.append(text(argument));
        lines.append(parts.join(u' '));
    }
    return lines;
}

/// An agent with these plug-ins; it wants an administrator when `strict`.
FakeProxy::Answer agent(const QVariantList& plugins, bool strict = false, const QVariant& data = "data"_ba) {
    return [=](const QString& selector, const QVariantList&) -> QVariant {
        if (selector == listSelector) return plugins;
        if (selector == checkSelector) return strict;
        if (selector == dataSelector) return data;
        return {};
    };
}

const QString folder = u"/Library/Plug-Ins/FxPlug/"_s;

}  // namespace

class AddonryActionsTest : public QObject {
    Q_OBJECT

    std::unique_ptr<AddonryBench> m_bench;
    [[nodiscard]] AddonryController& controller() const { return m_bench->controller; }

private Q_SLOTS:
    void init() { m_bench = std::make_unique<AddonryBench>(); }
    void cleanup() { m_bench.reset(); }

    void requests_data() {
        QTest::addColumn<QString>("what");  // "all", "row", "instance"
        QTest::addColumn<bool>("isAccess");
        QTest::addColumn<int>("value");
        QTest::addColumn<bool>("strict");  // the first client; the second one never is
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::addColumn<QString>("logged");
        const auto add = [](const char* what, bool isAccess, int value, bool strict, const QString& first,
                            const QString& second, const QString& logged) {
            const QString name =
                u"%1 %2=%3%4"_s.arg(QLatin1String(what), isAccess ? u"access"_s : u"disabled"_s,
                                    QString::number(value), strict ? u" strict"_s : QString());
            QTest::newRow(qPrintable(name))
                << what << isAccess << value << strict << first << second << logged;
        };
        const QString path = folder + u"Glow"_s;
        const QString enable = u"EnablePlugin "_s, access = u"ChangeAccess "_s;
        const QString plain = u"- {obj1=%1 obj2=%2}"_s, auth = u"auth {obj1=%1 obj2=%2}"_s;

        add("all", false, 1, false, enable + u"- {obj2=1}"_s, enable + u"- {obj2=1}"_s,
            u"Disabling all Addonry plugins..."_s);
        add("all", false, 0, true, enable + u"auth {obj2=0}"_s, enable + u"auth {obj2=0}"_s,
            u"Enabling all Addonry plugins..."_s);
        add("instance", false, 1, false, enable + plain.arg(path, u"1"_s), {},
            u"Disabling Addonry plugin Glow on host one.local...."_s);
        add("instance", false, 0, true, enable + auth.arg(path, u"0"_s), enable + auth.arg(path, u"0"_s),
            u"Enabling Addonry plugin Glow on host one.local...."_s);
        add("row", false, 1, true, enable + auth.arg(path, u"1"_s), enable + plain.arg(path, u"1"_s),
            u"Disabling Addonry plugin on all hosts..."_s);
        add("row", false, 0, false, enable + plain.arg(path, u"0"_s), enable + plain.arg(path, u"0"_s),
            u"Enabling Addonry plugin on all hosts..."_s);

        add("all", true, 1, false, access + u"- {obj2=1}"_s, access + u"- {obj2=1}"_s,
            u"Changing all plugins to Current User access type..."_s);
        add("all", true, 0, true, access + u"auth {obj2=0}"_s, access + u"auth {obj2=0}"_s,
            u"Changing all plugins to All Users access type..."_s);
        add("instance", true, 1, true, access + auth.arg(path, u"1"_s), access + auth.arg(path, u"1"_s),
            u"Change access type of plugin Glow on host one.local. to Current User..."_s);
        add("instance", true, 2, false, access + plain.arg(path, u"2"_s), {},
            u"Change access type of plugin Glow on host one.local. to All Users..."_s);
        add("row", true, 1, false, access + plain.arg(path, u"1"_s), access + plain.arg(path, u"1"_s),
            u"Setting access type of Addonry plugin to Current User on all hosts..."_s);
        add("row", true, 0, true, access + auth.arg(path, u"0"_s), access + plain.arg(path, u"0"_s),
            u"Setting access type of Addonry plugin to All Users on all hosts..."_s);
    }
    void requests() {
        QFETCH(QString, what);
        QFETCH(bool, isAccess);
        QFETCH(int, value);
        QFETCH(bool, strict);
        const QList<FakeProxy*> agents{&m_bench->addClient("one", agent({plugin("Glow")}, strict)),
                                       &m_bench->addClient("two", agent({plugin("Glow")}))};
        QVERIFY(m_bench->refresh());
        const VLPluginItem row = controller().addonryArray().first();
        QVariantMap request{{isAccess ? u"accessType"_s : u"disabled"_s, value}};
        if (what == "row") request.insert(u"plugin"_s, QVariant::fromValue(row));
        if (what == "instance") request.insert(u"plugin"_s, row.children().first());
        QVERIFY(m_bench->run([&] {
            isAccess ? controller().addonryChangeAccessType(request)
                     : controller().addonryEnablePlugin(request);
        }));

        const QString settings = u"{%1=%2}"_s.arg(isAccess ? u"destAccess"_s : u"destDisabled"_s).arg(value);
        const QString check = u"NeedsAdminAccess [<%1Glow>] %2"_s.arg(folder, settings);
        const char* columns[] = {"first", "second"};
        for (int i = 0; i < 2; ++i) {
            const QString expected = *static_cast<QString*>(QTest::qData(columns[i], QMetaType::QString));
            const bool isChecked = i == 0 || what != "instance";
            QCOMPARE(asked(*agents.at(i)), (isChecked ? QStringList(check) : QStringList()) +
                                               (expected.isEmpty() ? QStringList() : QStringList(expected)));
            QCOMPARE(agents.at(i)->sent().last().first, listSelector);  // and then it is read anew
        }
        QFETCH(QString, logged);
        QVERIFY2(logLines().contains(logged), qPrintable(logLines().join(u'\n')));
        QTRY_VERIFY(!m_bench->progress.isProcessing());
    }

    void editing() {
        const FakeProxy& one = m_bench->addClient("one", agent({plugin("Glow")}));
        const FakeProxy& two = m_bench->addClient("two", agent({plugin("Glow", "1.0", true)}));
        QVERIFY(m_bench->refresh());
        int changes = 0;
        QStringList shown;  // what the pane sees at once
        connect(&controller(), &ToolController::changed, this, [&] {
            if (++changes > 1) return;
            const VLPluginItem& row = controller().addonryArray().first();
            shown.append(QString::number(row.disabled()));
            for (const QVariant& child : row.children())
                shown.append(child.toMap().value(u"disabled"_s).toString());
        });
        controller().setDisabled({0}, true);
        QCOMPARE(shown, QStringList({"1", "1", "1"}));
        QVERIFY(VLThread::joinAll(patience));
        QCOMPARE(asked(one).last(), u"EnablePlugin - {obj1=%1Glow obj2=1}"_s.arg(folder));
        QCOMPARE(asked(two).size(), 2);
        QCOMPARE(changes, 2);  // the refresh

        controller().setAccessType({0, 1}, 1);
        const VLPluginItem& row = controller().addonryArray().first();
        QCOMPARE(row.children().at(1).toMap().value(u"accessType"_s), QVariant(1));
        QCOMPARE(row.children().at(0).toMap().value(u"accessType"_s), QVariant(2));
        QVERIFY(VLThread::joinAll(patience));
        QCOMPARE(asked(one).size(), 2);
        QCOMPARE(asked(two).last(), u"ChangeAccess - {obj1=%1Glow obj2=1}"_s.arg(folder));

        for (const auto& target : {AddonryController::Target{7}, {-1}, {0, 2}})
            controller().setDisabled(target, true);  // rows that are gone
        QCOMPARE(VLThread::activeCount(), 0);
    }

    void newest_data() {
        QTest::addColumn<QVariantList>("plugins");
        QTest::addColumn<int>("expected");
        const auto dated = [](const QString& version, const QVariant& day) {
            QVariantMap one = plugin("x", version);
            if (day.isValid()) one.insert(u"moddate"_s, QDate(2010, 1, day.toInt()).startOfDay());
            return one;
        };
        QTest::newRow("none") << QVariantList() << -1;
        QTest::newRow("by version") << QVariantList{dated("1.9", 9), dated("1.10", 1), dated("1.2", 5)} << 1;
        QTest::newRow("by date") << QVariantList{dated("1.0", 1), dated("1.0.0", 3), dated("1.0", 2)} << 1;
        QTest::newRow("a date is newer than none") << QVariantList{dated("1.0", {}), dated("1.0", 1)} << 1;
        QTest::newRow("first of alike ones") << QVariantList{dated("1.0", 1), dated("1.0", 1)} << 0;
        QTest::newRow("without a version") << QVariantList{dated("", 9), dated("0.1", 1)} << 1;
    }
    void newest() {
        QFETCH(QVariantList, plugins);
        QFETCH(int, expected);
        QCOMPARE(AddonryController::newestPlugin(plugins), plugins.value(expected).toMap());
    }

    void syncs() {
        const QString glow = folder + u"Glow"_s;
        const auto& one =
            m_bench->addClient("one", agent({plugin("Glow", "1.0"), plugin("Echo"), plugin("Alike")}, true));
        const auto& two = m_bench->addClient(
            "two", agent({plugin("Glow", "1.1"), plugin("Echo", "1.0", true), plugin("Alike")}));
        const auto& three =
            m_bench->addClient("three", agent({plugin("Glow", "1.0"), plugin("Echo"), plugin("Alike")}));
        const auto& four = m_bench->addClient("four", agent({plugin("Glow", "1.1"), plugin("Echo")}));
        QVERIFY(m_bench->refresh());
        QVERIFY(m_bench->run([this] { controller().addonrySyncPlugins(); }));

        // Glow differs in version, Echo in being enabled, and the fourth client lacks Alike, for which it
        // gets the common access type too: a copy of its user's first, as far as the console knows.
        const QString check = u"NeedsAdminAccess "_s, alike = u"~/Library/Plug-Ins/FxPlug/Alike"_s;
        const QString update = u"{obj1=<%1> obj2=data}"_s.arg(glow);
        QCOMPARE(asked(one),
                 QStringList({u"PluginData %1Alike"_s.arg(folder), check + u"[<%1>] {}"_s.arg(glow),
                              u"UpdatePlugin auth "_s + update}));
        QCOMPARE(asked(two), QStringList({check + u"[<%1Echo>] {destDisabled=0}"_s.arg(folder),
                                          u"EnablePlugin - {obj1=%1Echo obj2=0}"_s.arg(folder),
                                          u"PluginData "_s + glow}));
        QCOMPARE(asked(three),
                 QStringList({check + u"[<%1>] {}"_s.arg(glow), u"UpdatePlugin - "_s + update}));
        QCOMPARE(asked(four), QStringList({u"InstallPlugin <%1> data"_s.arg(alike),
                                           check + u"[<%1>] {destAccess=2}"_s.arg(alike),
                                           u"ChangeAccess - {obj1=%1 obj2=2}"_s.arg(alike)}));
        const QStringList lines = logLines();
        QVERIFY(lines.contains("Syncing Addonry plugins...") && lines.contains("Progress: Syncing Echo..."));
        QCOMPARE(lines.filter("Populating Addonry plugins...").size(), 2);
        QVERIFY(!m_bench->progress.isProcessing());
    }

    void failuresStopOnlyTheirRow_data() {
        QTest::addColumn<QVariant>("data");
        QTest::newRow("nothing") << QVariant();
        QTest::newRow("wrong type") << QVariant(u"text"_s);
        QTest::newRow("empty") << QVariant(QByteArray());
        QTest::newRow("gone") << QVariant(u"throw"_s);
    }
    void failuresStopOnlyTheirRow() {
        QFETCH(QVariant, data);
        const auto newest = agent({plugin("Echo", "1.1"), plugin("Glow")}, false, data);
        const auto& one = m_bench->addClient("one", agent({plugin("Echo"), plugin("Glow")}));
        const auto& two = m_bench->addClient(
            "two", [=](const QString& selector, const QVariantList& arguments) -> QVariant {
                if (selector == dataSelector && data == QVariant(u"throw"_s))
                    throw VLException(VLException::inaccessible, u"gone"_s);
                if (selector == listSelector)
                    return QVariantList{plugin("Echo", "1.1"), plugin("Glow", "1.0", true)};
                return newest(selector, arguments);
            });
        m_bench->addClient("three", agent({plugin("Echo"), plugin("Glow")}));
        QVERIFY(m_bench->refresh());
        QVERIFY(m_bench->run([this] { controller().addonrySyncPlugins(); }));
        QVERIFY(logLines().contains("Unable to get plugin data representation."));
        QVERIFY(asked(one).isEmpty());
        if (data == QVariant(u"throw"_s)) return;  // that client hears nothing any more
        QCOMPARE(asked(two).last(), u"EnablePlugin - {obj1=%1Glow obj2=0}"_s.arg(folder));
    }

    void cancelledSyncStops() {
        const auto& one = m_bench->addClient("one", agent({plugin("Glow", "1.0"), plugin("Last", "1.0")}));
        const auto& two =
            m_bench->addClient("two", [this](const QString& selector, const QVariantList&) -> QVariant {
                if (selector == listSelector)
                    return QVariantList{plugin("Glow", "1.1"), plugin("Last", "2.0")};
                if (selector != dataSelector) return {};
                onMainThreadAndWait([this] { m_bench->progress.cancelProgress(); });
                return "data"_ba;
            });
        QVERIFY(m_bench->refresh());
        QVERIFY(m_bench->run([this] { controller().addonrySyncPlugins(); }));
        QVERIFY(asked(one).isEmpty());
        QCOMPARE(asked(two).size(), 1);
        QTRY_VERIFY(!m_bench->progress.isProcessing());
    }
};

ORLENDO_TEST_MAIN(AddonryActionsTest)
#include "addonry_actions_test.moc"
