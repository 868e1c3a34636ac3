// The client list as it is shown: rows of groups and machines, selection, dragging, sorting, search, badges.
#include "SampleConsole.h"
#include "clients/ServicePasteboard.h"
#include "clients/view/ClientOutline.h"
#include "clients/view/ClientOutlineModel.h"
#include "clients/view/ClientRowDelegate.h"
#include "foundation/VLNotificationCenter.h"
#include "support/TestEnvironment.h"
#include "widgets/SearchField.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QDropEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTreeView>

namespace {

/// "All Computers: A, B", "Bays: A".
QStringList shown(const QAbstractItemModel& model) {
    QStringList lines;
    for (int top = 0; top < model.rowCount(); ++top) {
        const QModelIndex parent = model.index(top, 0);
        QStringList names;
        for (int row = 0; row < model.rowCount(parent); ++row)
            names << model.index(row, 0, parent).data().toString();
        lines << parent.data().toString() + u": "_s + names.join(u", "_s);
    }
    return lines;
}

}  // namespace

class ClientOutlineTest : public QObject {
    Q_OBJECT

    std::unique_ptr<ServiceList> m_list;
    std::unique_ptr<ClientOutline> m_outline;
    VLServicePtr m_a, m_b, m_c;
    VLServiceGroupPtr m_bays, m_spare;

    [[nodiscard]] ClientOutlineModel& model() const { return *m_outline->model(); }
    [[nodiscard]] QTreeView& view() const { return *m_outline->view(); }
    void makeOutline() {
        m_outline = std::make_unique<ClientOutline>(*m_list);
        m_outline->resize(260, 600);
        m_outline->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_outline.get()));
    }
    void click(const QModelIndex& index, const QPoint& offset = {120, 15},
               Qt::KeyboardModifiers modifiers = Qt::NoModifier) const {
        QVERIFY(index.isValid());
        QTest::mouseClick(view().viewport(), Qt::LeftButton, modifiers,
                          view().visualRect(index).topLeft() + offset);
    }
    [[nodiscard]] VLServicePtr add(const QString& name, const QString& address) const {
        auto service = std::make_shared<SampleService>(name, address);
        m_list->addServiceToList(service);
        return service;
    }

private Q_SLOTS:
    void init() {
        for (const char* key :
             {"serviceOutlineCollapsed", "serviceOutlineSortedColumn", "serviceOutlineSortedDescending"})
            VLUserDefaults::standardUserDefaults().removeObjectForKey(QLatin1String(key));
        m_list = std::make_unique<ServiceList>();
        m_a = add(u"A"_s, u"10.0.0.30"_s);
        m_b = add(u"B"_s, u"10.0.0.4"_s);
        m_c = add(u"C"_s, u""_s);
        m_bays = m_list->addGroup(u"Bays"_s);
        m_spare = m_list->addGroup(u"Spare"_s);
        m_list->moveToGroup({m_b}, m_bays);
        makeOutline();
    }
    void cleanup() {
        m_outline.reset();
        m_list.reset();
    }

    /// Whatever happens, in whichever order, the rows are those that a new model would have.
    void anyChangeKeepsTheRowsRight() {
        const QAbstractItemModelTester tester(&model(),
                                              QAbstractItemModelTester::FailureReportingMode::QtTest);
        QRandomGenerator random(7);
        QList<VLServicePtr> away;
        for (int step = 0; step < 400; ++step) {
            const QList<VLServicePtr> here = m_list->serviceArray();
            const auto some = [&] {
                QList<VLServicePtr> services = here;
                services.removeIf([&](const VLServicePtr&) { return random.bounded(3) > 0; });
                return services;
            };
            switch (random.bounded(7)) {
                case 0:
                    for (int i = random.bounded(40); i > 0; --i)
                        static_cast<void>(add(u"N%1"_s.arg(random.bounded(10'000)),
                                              u"10.0.1.%1"_s.arg(random.bounded(200))));
                    break;
                case 1:
                    for (const VLServicePtr& service : some())
                        m_list->removeServiceFromList(service);
                    break;
                case 2:
                    m_list->moveToGroup(some(), m_list->groups().value(random.bounded(3)));
                    break;
                case 3:
                    for (const VLServicePtr& service : some())
                        service->setEnabled(random.bounded(2) > 0);
                    m_list->serviceChanged(nullptr);
                    break;
                case 4:
                    model().setSorting(ClientOutlineModel::SortColumn(random.bounded(3)),
                                       Qt::SortOrder(random.bounded(2)));
                    break;
                case 5:
                    model().setFilterText(random.bounded(2) > 0 ? QString::number(random.bounded(10))
                                                                : QString());
                    break;
                case 6:
                    m_list->removeGroup(m_list->groups().value(random.bounded(8)));
                    if (m_list->groups().size() < 2) m_list->addGroup(u"G%1"_s.arg(step));
                    break;
            }
            if (step % 10 > 0) continue;
            model().refresh();
            ClientOutlineModel fresh(*m_list);
            fresh.setSorting(model().sortColumn(), model().sortOrder());
            fresh.setFilterText(model().filterText());
            QCOMPARE(shown(model()), shown(fresh));
        }
    }

    void selectionIsKept() {
        click(model().indexOf(m_bays));
        QCOMPARE(m_outline->singleSelectedGroup(), m_bays);
        QCOMPARE(m_list->selectedServices(), QList<VLServicePtr>{m_b});
        QVERIFY(!m_outline->singleSelectedService());  // the one row is a group's
        click(model().indexOf(m_c), {120, 15}, Qt::ControlModifier);
        QCOMPARE(m_list->selectedServices(), (QList<VLServicePtr>{m_b, m_c}));

        // Of the two rows of a machine the one that was clicked stays.
        click(model().indexInGroup(m_b));
        const VLServicePtr late = add(u"0"_s, u"10.0.0.1"_s);
        m_outline->setSorting(u"address"_s, Qt::DescendingOrder);
        m_outline->searchField()->setText(u"10.0.0.1"_s);
        m_outline->searchField()->clear();
        QCOMPARE(view().selectionModel()->selectedIndexes(), QModelIndexList{model().indexInGroup(m_b)});
        QCOMPARE(m_outline->singleSelectedService(), m_b);
        m_list->moveToGroup({m_b}, m_spare);
        QCOMPARE(m_outline->singleSelectedService(), m_b);

        m_outline->selectAllComputers();
        m_list->removeServiceFromList(late);
        QCOMPARE(view().selectionModel()->selectedIndexes(), QModelIndexList{model().allComputersIndex()});
    }

    void expansionIsKept() {
        const QRect row = view().visualRect(model().indexOf(m_bays));
        const QPoint triangle = ClientRowDelegate::triangleArea(row).center();
        QTest::mouseClick(view().viewport(), Qt::LeftButton, {}, triangle);
        QVERIFY(!view().isExpanded(model().indexOf(m_bays)));
        QVERIFY(m_list->allSelected());  // a triangle selects nothing
        view().setCurrentIndex(model().indexOf(m_spare));
        QTest::keyClick(&view(), Qt::Key_Left);
        m_list->renameGroup(m_bays, u"Renamed"_s);
        m_outline->searchField()->setText(u"b"_s);
        QVERIFY(view().isExpanded(model().indexOf(m_bays)));  // finds are to be seen
        makeOutline();
        QVERIFY(view().isExpanded(model().allComputersIndex()));
        QVERIFY(!view().isExpanded(model().indexOf(m_bays)) && !view().isExpanded(model().indexOf(m_spare)));
    }

    void machinesAreDragged() {
        const auto drop = [this](const QMimeData& data, const QModelIndex& to) {
            const QPoint place = view().visualRect(to).center();
            const auto send = [&](auto&& event) {
                QApplication::sendEvent(view().viewport(), &event);
                return event.isAccepted();
            };
            send(QDragEnterEvent(place, Qt::MoveAction, &data, Qt::LeftButton, {}));
            send(QDragMoveEvent(place, Qt::MoveAction, &data, Qt::LeftButton, {}));
            return send(QDropEvent(place, Qt::MoveAction, &data, Qt::LeftButton, {}));
        };
        const auto drag = [&](const QModelIndexList& from, const QModelIndex& to) {
            const std::unique_ptr<QMimeData> data(model().mimeData(from));
            return data && drop(*data, to);
        };
        const QModelIndexList two{model().indexOf(m_a), model().indexInGroup(m_b), model().indexOf(m_b)};
        QVERIFY(drag(two, model().indexOf(m_spare)));
        QCOMPARE(m_spare->children(), (QList<VLServicePtr>{m_a, m_b}));
        QVERIFY(!drag({model().indexOf(m_a)}, model().indexOf(m_c)));  // slipped within the long list
        QVERIFY(drag({model().indexOf(m_c)}, model().indexInGroup(m_a)));
        QVERIFY(drag({model().indexInGroup(m_a)}, model().allComputersIndex()));
        QCOMPARE(m_spare->children(), (QList<VLServicePtr>{m_b, m_c}));
        QMimeData foreign;
        foreign.setData(QLatin1String(ServicePasteboard::type),
                        ServicePasteboard::encode({std::make_shared<SampleService>(u"X"_s, u"1.1.1.1"_s)}));
        QVERIFY(!drop(foreign, model().indexOf(m_bays)));
        foreign.setData(QLatin1String(ServicePasteboard::type), "junk");
        QVERIFY(!drop(foreign, model().indexOf(m_bays)));
    }

    void sorting_data() {
        QTest::addColumn<QString>("column");
        QTest::addColumn<bool>("descending");
        QTest::addColumn<QString>("order");
        QTest::newRow("name") << u"name"_s << false << u"A, B, C"_s;
        QTest::newRow("name, backwards") << u"name"_s << true << u"C, B, A"_s;
        QTest::newRow("address by number, none last") << u"address"_s << false << u"B, A, C"_s;
        QTest::newRow("trouble first") << u"state"_s << false << u"C, A, B"_s;
    }
    void sorting() {
        QFETCH(QString, column);
        QFETCH(bool, descending);
        QFETCH(QString, order);
        std::static_pointer_cast<SampleService>(m_c)->showNotConnected({});
        model().refresh();
        m_outline->setSorting(column, descending ? Qt::DescendingOrder : Qt::AscendingOrder);
        QCOMPARE(shown(model()).first(), u"All Computers: "_s + order);
        makeOutline();
        QCOMPARE(shown(model()).first(), u"All Computers: "_s + order);
    }

    void searchFindsTheModel() {
        class Configured : public SampleService {
        public:
            Configured() : SampleService(u"D"_s, u"10.0.0.5"_s) {
                m_configDict.set({{u"model"_s, u"MacPro4,1"_s}});
            }
        };
        m_list->addServiceToList(std::make_shared<Configured>());
        m_outline->searchField()->setText(u"macpro"_s);
        QCOMPARE(shown(model()), (QStringList{u"All Computers: D"_s, u"Bays: "_s, u"Spare: "_s}));
        QVERIFY(model()
                    .index(0, 0, model().index(0, 0))
                    .data(Qt::ToolTipRole)
                    .toString()
                    .contains(u"MacPro4,1"_s));
    }

    void groupsAreRenamedInPlace() {
        m_outline->editGroupName(m_bays);
        auto* editor = view().findChild<QLineEdit*>(u"groupNameEditor"_s);
        QVERIFY(editor);
        editor->setText(u"SPARE"_s);  // taken: the editor stays
        QTest::keyClick(editor, Qt::Key_Return);
        QVERIFY(editor->isVisible() && m_bays->name() == u"Bays"_s);
        editor->setText(u" bays "_s);
        QTest::keyClick(editor, Qt::Key_Return);
        QTRY_COMPARE(m_bays->name(), u"bays"_s);
    }

    void badgesAreClicked() {
        QStringList clicks;
        auto& center = VLNotificationCenter::defaultCenter();
        center.addObserver(this, u"VLTableBadgeClicked"_s, [&](const VLNotification& notification) {
            clicks << notification.userInfo.value(u"badge"_s).toString() + u' ' +
                          notification.userInfo.value(u"service"_s).value<VLServicePtr>()->name();
        });
        m_b->setNeedsMaintenance(true);
        m_outline->setErrorCounts({{m_b->hostName(), 2}});
        model().setUpdateCount([](const QString&) { return 1; });
        const QModelIndex index = model().indexInGroup(m_b);
        for (const auto badge :
             {ClientRowDelegate::Updates, ClientRowDelegate::Errors, ClientRowDelegate::Maintenance}) {
            const QRect rect = ClientRowDelegate::badgeRect(view().visualRect(index), index, badge);
            QTest::mouseClick(view().viewport(), Qt::LeftButton, {}, rect.center());
        }
        QCOMPARE(clicks, (QStringList{u"updates B"_s, u"errors B"_s, u"maintenance B"_s}));
        QVERIFY(m_list->allSelected());
        center.removeObserver(this);
    }

    /// The window's own actions, sheets and answers to badges; and the groups are there again after a
    /// restart.
    void windowWorksOnGroups() {
        SampleConsole console;
        QVERIFY(console.start());
        console.window->show();
        ServiceList& services = console.controller->services();
        const auto one = console.add(u"One"_s, u"10.0.0.1"_s);
        services.setSelectedServices({one});
        console.find<QAction>("newGroupAction")->trigger();
        auto* sheet = console.find<QDialog>("groupSheet");
        sheet->findChild<QLineEdit*>(u"groupNameText"_s)->setText(u"Bays"_s);
        sheet->accept();
        QCOMPARE(services.groups().first()->children(), QList<VLServicePtr>{one});
        QCOMPARE(services.chosenGroups(), services.groups());

        const auto clickBadge = [&](const char* badge) {
            Q_EMIT console.controller->serviceOutlineBadgeClicked(one, QLatin1String(badge));
        };
        clickBadge("updates");
        QVERIFY(console.find<QDialog>("updatesSheet"));
        clickBadge("maintenance");
        QVERIFY(console.find<QDialog>("maintenanceSheet"));
        console.controller->errorCallback()->addStringToQueue(u"Disk full"_s, one->hostName());
        console.controller->errorCallback()->addStringToQueue(u"Disk full"_s, u"other.local."_s);
        clickBadge("errors");
        const auto* table = console.find<QTreeView>("errorLogTable");
        QTRY_COMPARE(table->model()->rowCount(), 2);
        clickBadge("errors");
        QCOMPARE(table->selectionModel()->selectedRows().size(), 1);

        services.setSelectedServices({one});
        QAction* enable = console.find<QAction>("enableComputerAction");
        enable->trigger();
        QVERIFY(!one->enabled() && enable->text() == u"Enable Computer"_s);
        {
            ServiceList later;
            ServiceGroupStore store(later);
            store.populate();
            QCOMPARE(later.groups().size(), 1);
        }
        services.setSelection({}, services.groups());
        console.find<QAction>("deleteGroupAction")->trigger();
        QCOMPARE(services.groups().size(), 1);  // asks, as there is a machine in it
        console.find<QDialog>("deleteGroupSheet")->accept();
        QVERIFY(services.groups().isEmpty());
        console.window.reset();
        QVERIFY(console.controller->shutDown());
        VLThread::reset();
        MainThread::resume();
    }
};

ORLENDO_WIDGETS_TEST_MAIN(ClientOutlineTest)
#include "client_outline_test.moc"
