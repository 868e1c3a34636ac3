// How long the Addonry pane takes with many rows: installing a result, a refresh, filtering, sorting.
#include "foundation/MainThread.h"
#include "foundation/VLUserDefaults.h"
#include "tools/addonry/AddonryController.h"
#include "tools/addonry/AddonryView.h"
#include "widgets/Theme.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QTextStream>
#include <QTreeView>

#include <functional>
#include <random>

namespace {

constexpr int clients = 4;

/// Plug-ins in no order, with versions and enabled states that differ for some.
QList<VLPluginItem> makeRows(int count) {
    std::minstd_rand random(1);
    QList<VLPluginItem> rows;
    for (int i = 0; i < count; ++i) {
        QVariantMap instance{
            {QStringLiteral("name"), QStringLiteral("Plug-in %1 number %2").arg(random() % 5'000).arg(i)},
            {QStringLiteral("version"), QStringLiteral("%1.%2").arg(random() % 12).arg(random() % 30)},
            {QStringLiteral("type"), random() % 2 ? QStringLiteral("FxPlug") : QStringLiteral("Audio Unit")},
            {QStringLiteral("disabled"), int(random() % 2)},
            {QStringLiteral("accessType"), 2}};
        VLPluginItem row = VLPluginItem::pluginItem(instance, QStringLiteral("bay-0.local."));
        for (int client = 1; client < clients; ++client) {
            if (random() % 20 == 0) instance.insert(QStringLiteral("version"), QStringLiteral("9"));
            row.addChild(instance, QStringLiteral("bay-%1.local.").arg(client));
        }
        rows.append(row);
    }
    return rows;
}

void measure(const QString& what, const std::function<void()>& action) {
    QElapsedTimer timer;
    timer.start();
    action();
    QCoreApplication::processEvents();  // painting belongs to it
    QTextStream(stdout)
        << QStringLiteral("%1 %2 ms\n").arg(what, -34).arg(timer.nsecsElapsed() / 1e6, 8, 'f', 1);
}

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    MainThread::adopt();
    applyTheme(Theme::Light);
    const int count = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 100'000;
    ToolContext context;
    context.selectedServices = [] { return QList<VLServicePtr>(); };
    AddonryController controller(context);
    AddonryView view(controller, nullptr);
    view.resize(1000, 700);
    view.show();
    auto* outline = view.findChild<QTreeView*>();
    auto* filter = view.findChild<QLineEdit*>(QStringLiteral("addonryFilter"));
    const QList<VLPluginItem> rows = makeRows(count);

    QTextStream(stdout) << QStringLiteral("%1 plug-ins on %2 clients\n").arg(count).arg(clients);
    measure(QStringLiteral("install the first result"), [&] { controller.setAddonryArray(rows); });
    outline->selectionModel()->select(outline->model()->index(count / 2, 0),
                                      QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    outline->expand(outline->model()->index(count / 2, 0));
    measure(QStringLiteral("install a refresh"), [&] { controller.setAddonryArray(rows); });
    measure(QStringLiteral("filter, one letter"), [&] { filter->setText(QStringLiteral("9")); });
    measure(QStringLiteral("filter, three letters"), [&] { filter->setText(QStringLiteral("999")); });
    measure(QStringLiteral("filter cleared"), [&] { filter->clear(); });
    for (int column = 0; column < VLPluginItem::ColumnCount; ++column) {
        measure(QStringLiteral("sort by ") + VLPluginItem::columnNames().at(column),
                [&] { outline->sortByColumn(column, Qt::DescendingOrder); });
    }
    measure(QStringLiteral("to the end of the list"), [&] { outline->scrollToBottom(); });
    return 0;
}
