#include "SampleConsole.h"
#include "app/window/ErrorLogModel.h"
#include "clients/view/ClientOutlineModel.h"
#include "support/TestEnvironment.h"
#include "tools/addonry/AddonryModel.h"
#include "widgets/CellDelegate.h"
#include "widgets/PlainText.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QSignalSpy>
#include <QTest>
#include <QTextDocument>

namespace {

constexpr auto failing = QAbstractItemModelTester::FailureReportingMode::QtTest;

std::shared_ptr<SampleService> sample(const QString& name) {
    return std::make_shared<SampleService>(name, u"10.0.0.1"_s);
}

QStringList shownNames(const QAbstractItemModel& model, const QModelIndex& parent = {}) {
    QStringList names;
    for (int row = 0; row < model.rowCount(parent); ++row)
        names << model.index(row, 0, parent).data().toString();
    return names;
}

QString friendly(const QString& hostName) {
    return hostName.section(u'.', 0, 0);
}

VLPluginItem plugin(const QString& name, const QStringList& versions, const QStringList& missing = {},
                    const QList<int>& disabled = {}, const QList<int>& access = {}) {
    VLPluginItem row;
    for (int i = 0; i < versions.size(); ++i) {
        row.addChild(pluginInstance(name, u"FxPlug"_s, versions[i], disabled.value(i), access.value(i)),
                     u"host%1.local."_s.arg(i));
    }
    for (const QString& host : missing)
        addMissing(row, host);
    return row;
}

}  // namespace

class UiModelsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:

    void clientStateSaysWhatIsWrong_data() {
        using Prepare = void (*)(SampleService&);
        QTest::addColumn<Prepare>("prepare");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, Prepare prepare, ClientState::Kind kind, const char* text) {
            QTest::newRow(name) << prepare << int(kind) << QString::fromUtf8(text);
        };
        using S = SampleService;
        row(
            "connected", [](S&) {}, ClientState::Connected, "10.0.0.1");
        row(
            "working", [](S& s) { s.setIsProcessing(true); }, ClientState::Working, "Working…");
        row(
            "connecting", [](S& s) { s.showConnecting(); }, ClientState::Connecting, "Connecting…");
        row(
            "refused", [](S& s) { s.showNotConnected("refused"); }, ClientState::NotConnected,
            "Not connected — refused");
        row(
            "old client", [](S& s) { s.showError(2006); }, ClientState::Attention,
            "Client software out of date");
        row(
            "new key", [](S& s) { s.showChangedIdentity("PEM"); }, ClientState::Attention,
            "Identity changed — review");
    }
    void clientStateSaysWhatIsWrong() {
        using Prepare = void (*)(SampleService&);
        QFETCH(Prepare, prepare);
        QFETCH(int, kind);
        QFETCH(QString, text);
        const auto service = sample(u"A"_s);
        prepare(*service);
        QCOMPARE(clientState(*service), (ClientState{ClientState::Kind(kind), text}));
    }

    void clientOutlineFollowsTheList() {
        ServiceList services;
        ClientOutlineModel model(services);
        const QAbstractItemModelTester tester(&model, failing);
        const auto all = [&] { return model.allComputersIndex(); };
        QCOMPARE(shownNames(model), QStringList{u"All Computers"_s});

        const auto b = sample(u"b"_s), a = sample(u"a"_s), c = sample(u"c"_s);
        for (const auto& service : {b, a, c})
            services.addServiceToList(service);
        QCOMPARE(shownNames(model, all()), (QStringList{"a", "b", "c"}));
        QCOMPARE(all().data(ClientOutlineModel::CountRole).toInt(), 3);

        // Only the machine that changed is drawn again, and a burst of changes is one.
        QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
        b->showConnecting();
        for (int i = 0; i < 5; ++i)
            services.serviceChanged(nullptr);
        QTRY_COMPARE(model.indexOf(b).data(ClientOutlineModel::StateTextRole).toString(), u"Connecting…"_s);
        QCOMPARE(changes.size(), 1);
        QVERIFY(model.indexOf(b).data(ClientOutlineModel::SpinningRole).toBool());

        QSignalSpy moves(&model, &QAbstractItemModel::rowsMoved);
        services.removeServiceFromList(a);
        QCOMPARE(shownNames(model, all()), (QStringList{"b", "c"}));
        model.setErrorCounts({{c->hostName(), 2}});
        QCOMPARE(model.indexOf(c).data(ClientOutlineModel::ErrorCountRole).toInt(), 2);
        QVERIFY(model.indexOf(c).data(Qt::ToolTipRole).toString().contains(u"2 errors in the error log"_s));
        QCOMPARE(model.serviceAt(model.indexOf(c)), VLServicePtr(c));
        QCOMPARE(model.serviceAt(all()), VLServicePtr());
    }

    void clientFilterMatchesNameHostAndAddress() {
        ServiceList services;
        services.addServiceToList(std::make_shared<SampleService>(u"Edit Bay"_s, u"10.0.0.7"_s));
        services.addServiceToList(std::make_shared<SampleService>(u"Sound"_s, u"10.0.0.8"_s));
        ClientOutlineModel model(services);
        const QAbstractItemModelTester tester(&model, failing);
        const auto shown = [&](const char* text) {
            model.setFilterText(QString::fromLatin1(text));
            return shownNames(model, model.allComputersIndex());
        };
        QCOMPARE(shown("EDIT"), QStringList{u"Edit Bay"_s});
        QCOMPARE(shown("sound.local"), QStringList{u"Sound"_s});
        QCOMPARE(shown(" 0.0.8 "), QStringList{u"Sound"_s});
        QCOMPARE(shown("nothing"), QStringList());
        QCOMPARE(model.rowCount(), 1);  // "All Computers" stays
        QCOMPARE(shown("").size(), 2);
    }

    void addonryStatusInPlainWords_data() {
        QTest::addColumn<VLPluginItem>("item");
        QTest::addColumn<QString>("status");
        QTest::addColumn<QString>("inToolTip");
        const auto row = [](const char* name, const VLPluginItem& item, const char* status,
                            const char* inToolTip) {
            QTest::newRow(name) << item << QString::fromUtf8(status) << QString::fromUtf8(inToolTip);
        };
        row("alike", plugin("P", {"1.0", "1.0"}), "No differences", "The same on 2 computers");
        row("versions", plugin("P", {"1.0", "1.1"}), "Versions differ", "host1: 1.1");
        row("enabled", plugin("P", {"1.0", "1.0", "1.0"}, {}, {0, 1, 0}), "Enabled on 2 of 3",
            "host1: Disabled");
        row("access", plugin("P", {"1.0", "1.0"}, {}, {}, {0, 1}), "Access differs", "host1: Current User");
        row("missing on two", plugin("P", {"1.0"}, {"z.local.", "far.local."}), "Missing on 2: far, z",
            "far, z");
        row("missing hides the others", plugin("P", {"1.0", "2.0"}, {"far.local."}), "Missing on far",
            "Versions differ");
    }
    void addonryStatusInPlainWords() {
        QFETCH(VLPluginItem, item);
        QFETCH(QString, status);
        QFETCH(QString, inToolTip);
        AddonryModel model(friendly);
        const QAbstractItemModelTester tester(&model, failing);
        model.setRows({item});
        const QModelIndex index = model.index(0, AddonryModel::Status);
        QCOMPARE(index.data().toString(), status);
        QVERIFY2(index.data(Qt::ToolTipRole).toString().contains(inToolTip),
                 qPrintable(index.data(Qt::ToolTipRole).toString()));
    }

    void addonryChildrenShowEveryClient() {
        AddonryModel model(friendly);
        const QAbstractItemModelTester tester(&model, failing);
        model.setRows({plugin("P", {"1.0", "1.1"}, {"far.local."}, {0, 1})});
        const QModelIndex parent = model.index(0, 0);
        QCOMPARE(model.index(0, AddonryModel::Computers).data().toString(), u"2 of 3"_s);
        QCOMPARE(model.index(0, AddonryModel::Enabled).data().toString(), u"Mixed"_s);
        QCOMPARE(model.index(0, AddonryModel::Version).data().toString(), u"(various)"_s);
        QCOMPARE(shownNames(model, parent), (QStringList{"host0", "host1", "far"}));
        QCOMPARE(model.index(1, AddonryModel::Enabled, parent).data().toString(), u"Disabled"_s);
        QCOMPARE(model.index(2, AddonryModel::Status, parent).data().toString(), u"Not installed"_s);
        QCOMPARE(model.rowCount(model.index(0, 0, parent)), 0);
    }

    void addonrySortsAndFilters() {
        AddonryModel model(friendly);
        const QAbstractItemModelTester tester(&model, failing);
        model.setRows({plugin("beta", {"1.10"}), plugin("Alpha", {"1.9"}), plugin("gamma", {"1.9", "2.0"})});
        const QPersistentModelIndex gamma = model.index(2, 0);
        const QPersistentModelIndex child = model.index(1, 0, gamma);

        QCOMPARE(shownNames(model), (QStringList{"Alpha", "beta", "gamma"}));
        model.sort(AddonryModel::Name, Qt::DescendingOrder);
        QCOMPARE(shownNames(model), (QStringList{"gamma", "beta", "Alpha"}));
        QCOMPARE(gamma.row(), 0);
        QCOMPARE(child.parent(), QModelIndex(gamma));
        model.sort(AddonryModel::Version);  // by number: 1.9 before 1.10
        QCOMPARE(shownNames(model), (QStringList{"gamma", "Alpha", "beta"}));

        model.setFilter(u" ALPH"_s, false);
        QCOMPARE(shownNames(model), QStringList{u"Alpha"_s});
        model.setFilter({}, true);
        QCOMPARE(shownNames(model), QStringList{u"gamma"_s});
        QCOMPARE(shownNames(model, model.index(0, 0)), (QStringList{"host0", "host1"}));
        model.setRows({plugin("delta", {"1"}, {"far.local."}), plugin("epsilon", {"1"})});
        QCOMPARE(shownNames(model), QStringList{u"delta"_s});
    }

    void errorLogKeepsRowsWhenOneIsAdded() {
        ErrorLogModel model(friendly);
        const QAbstractItemModelTester tester(&model, failing);
        const auto record = [](const char* text, const char* application = "") {
            return std::make_shared<const ErrorRecord>(ErrorRecord{QString::fromLatin1(text),
                                                                   u"bay.local."_s,
                                                                   QString::fromLatin1(application),
                                                                   QDateTime::currentDateTimeUtc(),
                                                                   {}});
        };
        ErrorQueue::Records queue{record("first")};
        model.setQueue(queue);
        QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
        queue.insert(queue.begin(), {record("third"), record("second", "Compressor")});
        model.setQueue(queue);
        queue.erase(queue.begin());
        model.setQueue(queue);
        QCOMPARE(resets.size(), 0);
        QCOMPARE(model.rowCount(), 2);
        QCOMPARE(model.index(0, ErrorLogModel::Description).data().toString(), u"Compressor: second"_s);
        QCOMPARE(model.index(1, ErrorLogModel::Computer).data().toString(), u"bay"_s);
        model.setQueue({});
        QCOMPARE(model.rowCount(), 0);
    }

    /// A tooltip would draw what looks like HTML, and load the pictures it names.
    void textOfOthersIsNoHtml() {
        const QString markup = u"<b>c</b>"_s;
        const auto isLiteral = [&markup](const QString& toolTip) {
            QTextDocument shown;
            shown.setHtml(toolTip);
            return (Qt::mightBeRichText(toolTip) ? shown.toPlainText() : toolTip).contains(markup);
        };
        ServiceList services;
        ClientOutlineModel outline(services);
        services.addServiceToList(sample(markup));
        QVERIFY(isLiteral(outline.index(0, 0, outline.allComputersIndex()).data(Qt::ToolTipRole).toString()));

        AddonryModel addonry(friendly);
        VLPluginItem row = plugin(u"P"_s, {markup, u"1"_s});
        row.addChild(pluginInstance(u"P"_s, u"FxPlug"_s, markup), markup);
        addonry.setRows({row});
        const QModelIndex shown = addonry.index(0, AddonryModel::Status);
        QVERIFY(isLiteral(shown.data(Qt::ToolTipRole).toString()));
        QVERIFY(isLiteral(
            addonry.index(2, AddonryModel::Name, addonry.index(0, 0)).data(Qt::ToolTipRole).toString()));

        ErrorLogModel errors(friendly);
        errors.setQueue({std::make_shared<const ErrorRecord>(
            ErrorRecord{markup, markup, {}, QDateTime::currentDateTimeUtc(), {}})});
        for (const int column : {ErrorLogModel::Computer, ErrorLogModel::Description})
            QVERIFY(isLiteral(errors.index(0, column).data(Qt::ToolTipRole).toString()));

        // What would be taken for plain text anyway stays as it is.
        for (const char* text : {"A & B", "1 < 2", "a\nb"})
            QCOMPARE(literalText(QLatin1String(text)), QLatin1String(text));
    }
};

ORLENDO_WIDGETS_TEST_MAIN(UiModelsTest)
#include "ui_models_test.moc"
