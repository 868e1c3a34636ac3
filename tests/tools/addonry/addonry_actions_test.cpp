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
        QTest::addColumn<QString>("request");
        for (const char* request :
             {"all disabled 1", "all disabled 0 strict", "instance disabled 1", "instance disabled 0 strict",
              "row disabled 1 strict", "row disabled 0", "all accessType 1", "all accessType 0 strict",
              "instance accessType 1 strict", "instance accessType 2", "row accessType 1",
              "row accessType 0 strict"})
            QTest::newRow(request) << QString::fromLatin1(request);
    }
    /// The first client wants an administrator where it says "strict", the second one never does.
    void requests() {
        QFETCH(QString, request);
        const QStringList words = request.split(u' ');
        const QString what = words[0], key = words[1], value = words[2];
        const bool isStrict = words.size() > 3, isAccess = key == "accessType";
        const QList<FakeProxy*> agents{&m_bench->addClient("one", agent({plugin("Glow")}, isStrict)),
                                       &m_bench->addClient("two", agent({plugin("Glow")}))};
        QVERIFY(m_bench->refresh());
        const VLPluginItem row = controller().addonryArray().first();
        AddonryController::Edit edit{{}, value.toInt()};
        if (what == "row") edit.subject = row;
        if (what == "instance") edit.subject = row.copies().first();
        QVERIFY(m_bench->run([&] {
            isAccess ? controller().addonryChangeAccessType(edit) : controller().addonryEnablePlugin(edit);
        }));

        const QString settings = u"{%1=%2}"_s.arg(isAccess ? u"destAccess"_s : u"destDisabled"_s, value);
        const QString check = u"NeedsAdminAccess [<%1Glow>] %2"_s.arg(folder, settings);
        const QString objects = (what == "all" ? u"{"_s : u"{obj1=%1Glow "_s.arg(folder)) + u"obj2="_s;
        for (int i = 0; i < 2; ++i) {
            // One client's copy: with an administrator's rights all clients are told, without them that one.
            const bool isTold = i == 0 || what != "instance" || isStrict;
            const bool isAuthorized = isStrict && (i == 0 || what != "row");
            QStringList expected;
            if (i == 0 || what != "instance") expected << check;
            if (isTold)
                expected << (isAccess ? u"ChangeAccess "_s : u"EnablePlugin "_s) +
                                (isAuthorized ? u"auth "_s : u"- "_s) + objects + value + u'}';
            QCOMPARE(asked(*agents.at(i)), expected);
            QCOMPARE(agents.at(i)->sent().last().first, listSelector);  // and then it is read anew
        }
        QTRY_VERIFY(!m_bench->progress.isProcessing());
    }

    void newest() {
        const auto dated = [](const QString& version, int day) {
            QVariantMap one = plugin("x", version);
            if (day > 0) one.insert(u"moddate"_s, QDate(2010, 1, day).startOfDay());
            return one;
        };
        const QList<std::pair<QVariantList, int>> cases{
            {{}, -1},
            {{dated("1.9", 9), dated("1.10", 1), dated("1.2", 5)}, 1},   // by version
            {{dated("1.0", 1), dated("1.0.0", 3), dated("1.0", 2)}, 1},  // alike: by date
            {{dated("1.0", 0), dated("1.0", 1)}, 1},                     // a date is newer than none
            {{dated("1.0", 1), dated("1.0", 1)}, 0},                     // the first of alike ones
            {{dated("", 9), dated("0.1", 1)}, 1},
        };
        for (const auto& [plugins, expected] : cases) {
            VLPluginItem row;
            row.setChildren(plugins);
            const auto newest = AddonryController::newestPlugin(row.copies());
            QCOMPARE(newest ? newest->values : QVariantMap(), plugins.value(expected).toMap());
        }
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
        QTRY_VERIFY(!m_bench->progress.isProcessing());
    }

    void failuresStopOnlyTheirRow() {
        const auto newest = [](const QString& name, const QVariant& data) {
            return agent({plugin(name, "1.1"), plugin("Glow", "1.0", true)}, false, data);
        };
        const auto& one =
            m_bench->addClient("one", agent({plugin("A"), plugin("B"), plugin("C"), plugin("Glow")}));
        m_bench->addClient("nothing", newest(u"A"_s, {}));
        m_bench->addClient("text", newest(u"B"_s, u"text"_s));
        m_bench->addClient("empty", newest(u"C"_s, QByteArray()));
        QVERIFY(m_bench->refresh());
        QVERIFY(m_bench->run([this] { controller().addonrySyncPlugins(); }));
        QCOMPARE(logLines().filter("Unable to get plugin data representation.").size(), 3);
        QCOMPARE(asked(one).last(), u"EnablePlugin - {obj1=%1Glow obj2=1}"_s.arg(folder));
        QCOMPARE(asked(one).size(), 2);
    }

    /// What a client without an answer has is not known: nothing is installed there.
    void unansweredIsLeftAlone() {
        m_bench->addClient("one", agent({plugin("Glow")}));
        const auto& lacking = m_bench->addClient("two", agent({}));
        const auto& silent = m_bench->addClient("three", {});
        QVERIFY(m_bench->refresh());
        controller().addonrySyncAction();
        QVERIFY(VLThread::joinAll(patience));
        QCOMPARE(asked(lacking).size(), 3);  // to install it, and to give it the common access type
        QCOMPARE(asked(silent), QStringList());
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
