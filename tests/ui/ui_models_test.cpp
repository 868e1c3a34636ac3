#include "SampleConsole.h"
#include "app/window/ErrorLogModel.h"
#include "app/window/ToolList.h"
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
    return std::make_shared<SampleService>(name, QStringLiteral("10.0.0.1"));
}

QStringList shownNames(const QAbstractItemModel& model, const QModelIndex& parent = {}) {
    QStringList names;
    for (int row = 0; row < model.rowCount(parent); ++row)
        names << model.index(row, 0, parent).data().toString();
    return names;
}

QString friendly(const QString& hostName) {
    return hostName.section(QLatin1Char('.'), 0, 0);
}

VLPluginItem plugin(const QString& name, const QStringList& versions, const QStringList& missing = {},
                    const QList<int>& disabled = {}, const QList<int>& access = {}) {
    VLPluginItem row;
    for (int i = 0; i < versions.size(); ++i) {
        row.addChild(
            pluginInstance(name, QStringLiteral("FxPlug"), versions[i], disabled.value(i), access.value(i)),
            QStringLiteral("host%1.local.").arg(i));
    }
    for (const QString& host : missing)
        addMissing(row, host);
    return row;
}

}  // namespace

class UiModelsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void clientStateSaysWhatIsWrong_data();
    void clientStateSaysWhatIsWrong();
    void clientOutlineFollowsTheList();
    void clientFilterMatchesNameHostAndAddress();
    void addonryStatusInPlainWords_data();
    void addonryStatusInPlainWords();
    void addonryChildrenShowEveryClient();
    void addonrySortsAndFilters();
    void errorLogKeepsRowsWhenOneIsAdded();
    void textOfOthersIsNoHtml();
    void toolListNamesEveryTool();
};

void UiModelsTest::clientStateSaysWhatIsWrong_data() {
    using Prepare = void (*)(SampleService&);
    QTest::addColumn<Prepare>("prepare");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("text");
    const auto row = [](const char* name, Prepare prepare, ClientState::Kind kind, const char* text) {
        QTest::newRow(name) << prepare << int(kind) << QString::fromUtf8(text);
    };
    row(
        "connected", [](SampleService&) {}, ClientState::Connected, "10.0.0.1");
    row(
        "working", [](SampleService& s) { s.setIsProcessing(true); }, ClientState::Working, "Working…");
    row(
        "connecting", [](SampleService& s) { s.showConnecting(); }, ClientState::Connecting, "Connecting…");
    row(
        "refused", [](SampleService& s) { s.showNotConnected(QStringLiteral("refused")); },
        ClientState::NotConnected, "Not connected — refused");
    row(
        "lost", [](SampleService& s) { s.showNotConnected({}); }, ClientState::NotConnected, "Not connected");
    row(
        "old client", [](SampleService& s) { s.showError(2006); }, ClientState::Attention,
        "Client software out of date");
    row(
        "new key", [](SampleService& s) { s.showChangedIdentity("PEM"); }, ClientState::Attention,
        "Identity changed — review");
}

void UiModelsTest::clientStateSaysWhatIsWrong() {
    using Prepare = void (*)(SampleService&);
    QFETCH(Prepare, prepare);
    QFETCH(int, kind);
    QFETCH(QString, text);
    const auto service = sample(QStringLiteral("A"));
    prepare(*service);
    QCOMPARE(clientState(*service), (ClientState{ClientState::Kind(kind), text}));
}

void UiModelsTest::clientOutlineFollowsTheList() {
    ServiceList services;
    ClientOutlineModel model(services);
    const QAbstractItemModelTester tester(&model, failing);
    const auto all = [&] { return model.allComputersIndex(); };
    QCOMPARE(shownNames(model), QStringList{QStringLiteral("All Computers")});

    const auto b = sample(QStringLiteral("b")), a = sample(QStringLiteral("a")),
               c = sample(QStringLiteral("c"));
    for (const auto& service : {b, a, c})
        services.addServiceToList(service);
    QCOMPARE(shownNames(model, all()), (QStringList{"a", "b", "c"}));
    QCOMPARE(all().data(ClientOutlineModel::CountRole).toInt(), 3);

    // Only the machine that changed is drawn again, and a burst of changes is one.
    QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
    b->showConnecting();
    for (int i = 0; i < 5; ++i)
        services.serviceChanged(nullptr);
    QTRY_COMPARE(model.indexOf(b).data(ClientOutlineModel::StateTextRole).toString(),
                 QStringLiteral("Connecting…"));
    QCOMPARE(changes.size(), 1);
    QVERIFY(model.indexOf(b).data(ClientOutlineModel::SpinningRole).toBool());

    QSignalSpy moves(&model, &QAbstractItemModel::rowsMoved);
    services.removeServiceFromList(a);
    QCOMPARE(shownNames(model, all()), (QStringList{"b", "c"}));
    model.setErrorCounts({{c->hostName(), 2}});
    QCOMPARE(model.indexOf(c).data(ClientOutlineModel::ErrorCountRole).toInt(), 2);
    QVERIFY(model.indexOf(c)
                .data(Qt::ToolTipRole)
                .toString()
                .contains(QStringLiteral("2 errors in the error log")));
    QCOMPARE(model.serviceAt(model.indexOf(c)), VLServicePtr(c));
    QCOMPARE(model.serviceAt(all()), VLServicePtr());
}

void UiModelsTest::clientFilterMatchesNameHostAndAddress() {
    ServiceList services;
    services.addServiceToList(
        std::make_shared<SampleService>(QStringLiteral("Edit Bay"), QStringLiteral("10.0.0.7")));
    services.addServiceToList(
        std::make_shared<SampleService>(QStringLiteral("Sound"), QStringLiteral("10.0.0.8")));
    ClientOutlineModel model(services);
    ClientFilterModel filter;
    const QAbstractItemModelTester tester(&filter, failing);
    filter.setSourceModel(&model);
    const auto shown = [&](const char* text) {
        filter.setFilterText(QString::fromLatin1(text));
        return shownNames(filter, filter.index(0, 0));
    };
    QCOMPARE(shown("EDIT"), QStringList{QStringLiteral("Edit Bay")});
    QCOMPARE(shown("sound.local"), QStringList{QStringLiteral("Sound")});
    QCOMPARE(shown(" 0.0.8 "), QStringList{QStringLiteral("Sound")});
    QCOMPARE(shown("nothing"), QStringList());
    QCOMPARE(filter.rowCount(), 1);  // "All Computers" stays
    QCOMPARE(shown("").size(), 2);
}

void UiModelsTest::addonryStatusInPlainWords_data() {
    QTest::addColumn<VLPluginItem>("item");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("inToolTip");
    const auto row = [](const char* name, const VLPluginItem& item, const char* status,
                        const char* inToolTip) {
        QTest::newRow(name) << item << QString::fromUtf8(status) << QString::fromUtf8(inToolTip);
    };
    row("alike", plugin("P", {"1.0", "1.0"}), "No differences", "The same on 2 computers");
    row("versions", plugin("P", {"1.0", "1.1"}), "Versions differ", "host1: 1.1");
    row("enabled", plugin("P", {"1.0", "1.0", "1.0"}, {}, {0, 1, 0}), "Enabled on 2 of 3", "host1: Disabled");
    row("access", plugin("P", {"1.0", "1.0"}, {}, {}, {0, 1}), "Access differs", "host1: Current User");
    row("missing on one", plugin("P", {"1.0"}, {"far.local."}), "Missing on far", "Missing on far");
    row("missing on two", plugin("P", {"1.0"}, {"z.local.", "far.local."}), "Missing on 2 computers: far, z",
        "far, z");
    row("missing hides the others", plugin("P", {"1.0", "2.0"}, {"far.local."}), "Missing on far",
        "Versions differ");
}

void UiModelsTest::addonryStatusInPlainWords() {
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

void UiModelsTest::addonryChildrenShowEveryClient() {
    AddonryModel model(friendly);
    const QAbstractItemModelTester tester(&model, failing);
    model.setRows({plugin("P", {"1.0", "1.1"}, {"far.local."}, {0, 1})});
    const QModelIndex parent = model.index(0, 0);
    QCOMPARE(model.index(0, AddonryModel::Computers).data().toString(), QStringLiteral("2 of 3"));
    QCOMPARE(model.index(0, AddonryModel::Enabled).data().toString(), QStringLiteral("Mixed"));
    QCOMPARE(model.index(0, AddonryModel::Version).data().toString(), QStringLiteral("(various)"));
    QCOMPARE(shownNames(model, parent), (QStringList{"host0", "host1", "far"}));
    QCOMPARE(model.index(1, AddonryModel::Enabled, parent).data().toString(), QStringLiteral("Disabled"));
    QCOMPARE(model.index(2, AddonryModel::Status, parent).data().toString(), QStringLiteral("Not installed"));
    QCOMPARE(model.rowCount(model.index(0, 0, parent)), 0);
}

void UiModelsTest::addonrySortsAndFilters() {
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

    model.setFilter(QStringLiteral(" ALPH"), false);
    QCOMPARE(shownNames(model), QStringList{QStringLiteral("Alpha")});
    model.setFilter({}, true);
    QCOMPARE(shownNames(model), QStringList{QStringLiteral("gamma")});
    QCOMPARE(shownNames(model, model.index(0, 0)), (QStringList{"host0", "host1"}));
    model.setRows({plugin("delta", {"1"}, {"far.local."}), plugin("epsilon", {"1"})});
    QCOMPARE(shownNames(model), QStringList{QStringLiteral("delta")});
}

void UiModelsTest::errorLogKeepsRowsWhenOneIsAdded() {
    ErrorLogModel model(friendly);
    const QAbstractItemModelTester tester(&model, failing);
    const auto record = [](const char* text, const char* application = "") {
        return QVariantMap{{QStringLiteral("description"), QString::fromLatin1(text)},
                           {QStringLiteral("hostname"), QStringLiteral("bay.local.")},
                           {QStringLiteral("appName"), QString::fromLatin1(application)},
                           {QStringLiteral("date"), QDateTime::currentDateTimeUtc()}};
    };
    QVariantList queue{record("first")};
    model.setQueue(queue);
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    queue.prepend(record("second", "Compressor"));
    model.setQueue(queue);
    model.setQueue(queue);
    QCOMPARE(resets.size(), 0);
    QCOMPARE(model.rowCount(), 2);
    QCOMPARE(model.index(0, ErrorLogModel::Description).data().toString(),
             QStringLiteral("Compressor: second"));
    QCOMPARE(model.index(1, ErrorLogModel::Computer).data().toString(), QStringLiteral("bay"));
    model.setQueue({});
    QCOMPARE(model.rowCount(), 0);
}

/// A tooltip would draw what looks like HTML, and load the pictures it names.
void UiModelsTest::textOfOthersIsNoHtml() {
    const QString markup = QStringLiteral("<b>c</b>");
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
    VLPluginItem row = plugin(QStringLiteral("P"), {markup, QStringLiteral("1")});
    row.addChild(pluginInstance(QStringLiteral("P"), QStringLiteral("FxPlug"), markup), markup);
    addonry.setRows({row});
    const QModelIndex shown = addonry.index(0, AddonryModel::Status);
    QVERIFY(isLiteral(shown.data(Qt::ToolTipRole).toString()));
    QVERIFY(isLiteral(
        addonry.index(2, AddonryModel::Name, addonry.index(0, 0)).data(Qt::ToolTipRole).toString()));

    ErrorLogModel errors(friendly);
    errors.setQueue({QVariantMap{{QStringLiteral("description"), markup},
                                 {QStringLiteral("hostname"), markup},
                                 {QStringLiteral("date"), QDateTime::currentDateTimeUtc()}}});
    for (const int column : {ErrorLogModel::Computer, ErrorLogModel::Description})
        QVERIFY(isLiteral(errors.index(0, column).data(Qt::ToolTipRole).toString()));

    // What would be taken for plain text anyway stays as it is.
    for (const char* text : {"A & B", "1 < 2", "a\nb"})
        QCOMPARE(literalText(QLatin1String(text)), QLatin1String(text));
}

void UiModelsTest::toolListNamesEveryTool() {
    ToolListModel model(toolRegistry());
    const QAbstractItemModelTester tester(&model, failing);
    QCOMPARE(model.rowCount(), int(toolRegistry().size()));
    for (int row = 0; row < model.rowCount(); ++row) {
        const QString drawing = model.index(row).data(ToolListModel::IconPathRole).toString();
        QVERIFY2(QFile::exists(drawing), qPrintable(drawing));
        QCOMPARE(model.rowOf(model.tool(row).identifier), row);
    }
    QCOMPARE(model.rowOf(QStringLiteral("none")), -1);
}

ORLENDO_WIDGETS_TEST_MAIN(UiModelsTest)
#include "ui_models_test.moc"
