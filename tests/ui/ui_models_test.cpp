#include "SampleConsole.h"
#include "app/window/ErrorLogModel.h"
#include "clients/view/ClientOutlineModel.h"
#include "support/TestEnvironment.h"
#include "tools/addonry/AddonryView.h"
#include "widgets/CellDelegate.h"
#include "widgets/PlainText.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QSignalSpy>
#include <QTest>
#include <QTextDocument>

namespace {

using AddonryModel = MergedRowsModel<VLPluginItem>;

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

/// The same among three clients, the last of which gave no answer.
VLPluginItem unanswered(VLPluginItem row) {
    row.complete({{u"host0.local."_s}, {u"host1.local."_s}, {u"host2.local."_s, false}});
    return row;
}

}  // namespace

class UiModelsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:

    void addonryStatusInPlainWords() {
        const std::tuple<VLPluginItem, QString, QString> rows[] = {
            {plugin("P", {"1.0", "1.0"}), "No differences", "The same on 2 computers"},
            {plugin("P", {"1.0", "1.1"}), "Versions differ", "host1: 1.1"},
            {plugin("P", {"1.0", "1.0", "1.0"}, {}, {0, 1, 0}), "Enabled on 2 of 3", "host1: Disabled"},
            {plugin("P", {"1.0", "1.0"}, {}, {}, {0, 1}), "Access differs", "host1: Current User"},
            {plugin("P", {"1.0"}, {"z.local.", "far.local."}), "Missing on 2: far, z", "far, z"},
            {plugin("P", {"1.0", "2.0"}, {"far.local."}), "Missing on far", "Versions differ"},
            {unanswered(plugin("P", {"1.0", "1.0"})), "No differences", "The same on 2"},
            {unanswered(plugin("P", {"1.0", "2.0"})), "Versions differ", "host1: 2.0"}};
        for (const auto& [item, status, inToolTip] : rows) {
            AddonryModel model(addonryLook(), friendly);
            model.setRows({item});
            const QModelIndex index = model.index(0, VLPluginItem::Status);
            QCOMPARE(index.data().toString(), status);
            const QString toolTip = index.data(Qt::ToolTipRole).toString();
            QVERIFY2(toolTip.contains(inToolTip), qPrintable(toolTip));
        }
    }

    void addonrySortsAndFilters() {
        AddonryModel model(addonryLook(), friendly);
        const QAbstractItemModelTester tester(&model, failing);
        model.setRows({plugin("beta", {"1.10"}), plugin("Alpha", {"1.9"}), plugin("gamma", {"1.9", "2.0"})});
        const QPersistentModelIndex gamma = model.index(2, 0);
        const QPersistentModelIndex child = model.index(1, 0, gamma);

        QCOMPARE(shownNames(model), (QStringList{"Alpha", "beta", "gamma"}));
        model.sort(VLPluginItem::Name, Qt::DescendingOrder);
        QCOMPARE(shownNames(model), (QStringList{"gamma", "beta", "Alpha"}));
        QCOMPARE(gamma.row(), 0);
        QCOMPARE(child.parent(), QModelIndex(gamma));
        model.sort(VLPluginItem::Version);  // by number: 1.9 before 1.10
        QCOMPARE(shownNames(model), (QStringList{"gamma", "Alpha", "beta"}));

        model.setFilter(u" ALPH"_s, false);
        QCOMPARE(shownNames(model), QStringList{u"Alpha"_s});
        model.setFilter({}, true);
        QCOMPARE(shownNames(model), QStringList{u"gamma"_s});
        QCOMPARE(shownNames(model, model.index(0, 0)), (QStringList{"host0", "host1"}));
        const VLPluginItem unknown = unanswered(plugin("zeta", {"1", "1"}));
        model.setRows({unknown, plugin("delta", {"1"}, {"far.local."}), plugin("epsilon", {"1"})});
        QCOMPARE(shownNames(model), QStringList{u"delta"_s});
        model.setFilter({}, false);
        model.sort(
            VLPluginItem::Status);  // what differs comes first, a client without an answer is no difference
        QCOMPARE(shownNames(model), (QStringList{"delta", "epsilon", "zeta"}));
        QCOMPARE(model.index(2, VLPluginItem::Computers).data().toString(), u"2 of 2"_s);
        QCOMPARE(model.index(2, VLPluginItem::Status, model.index(2, 0)).data().toString(), u"No answer"_s);
    }

    void errorLogKeepsRowsWhenOneIsAdded() {
        ErrorLogModel model(friendly, toolTitle);
        const QAbstractItemModelTester tester(&model, failing);
        const auto record = [](const QString& text) {
            return std::make_shared<const ErrorRecord>(
                ErrorRecord{text, u"bay.local."_s, u"Motion"_s, QDateTime::currentDateTimeUtc(), {}});
        };
        ErrorQueue::Records queue{record(u"first"_s)};
        model.setQueue(queue);
        QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
        queue.insert(queue.begin(), {record(u"third"_s), record(u"second"_s)});
        model.setQueue(queue);
        queue.erase(queue.begin());
        model.setQueue(queue);
        QCOMPARE(resets.size(), 0);
        QCOMPARE(model.rowCount(), 2);
        QCOMPARE(model.index(0, ErrorLogModel::Description).data().toString(), u"Motion: second"_s);
        QCOMPARE(model.index(1, ErrorLogModel::Computer).data().toString(), u"bay"_s);
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

        AddonryModel addonry(addonryLook(), friendly);
        VLPluginItem row = plugin(u"P"_s, {markup, u"1"_s});
        row.addChild(pluginInstance(u"P"_s, u"FxPlug"_s, markup), markup);
        addonry.setRows({row});
        const QModelIndex shown = addonry.index(0, VLPluginItem::Status);
        QVERIFY(isLiteral(shown.data(Qt::ToolTipRole).toString()));
        QVERIFY(isLiteral(
            addonry.index(2, VLPluginItem::Name, addonry.index(0, 0)).data(Qt::ToolTipRole).toString()));

        ErrorLogModel errors(friendly, toolTitle);
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
