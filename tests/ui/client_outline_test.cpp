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

    /// Whatever comes in one burst, the rows are those that a new model would have.
    void burstsOfChangesKeepTheRowsRight() {
        const QAbstractItemModelTester tester(&model(),
                                              QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy changes(&model(), &QAbstractItemModel::dataChanged);
        const auto isRight = [&] {
            model().refresh();
            ClientOutlineModel fresh(*m_list);
            fresh.setSorting(model().sortColumn(), model().sortOrder());
            fresh.setFilterText(model().filterText());
            return shown(model()) == shown(fresh);
        };
        QList<VLServicePtr> added;
        for (int i = 0; i < 100; ++i)
            added << add(u"N%1"_s.arg(i * 37 % 100), u"10.0.1.%1"_s.arg(i));
        m_list->moveToGroup(added.mid(20, 50), m_spare);
        QVERIFY(isRight());
        for (int i = 0; i < 100; i += 3)
            m_list->removeServiceFromList(added[i]);
        m_list->moveToGroup(added.mid(30, 20), m_bays);
        added[1]->setName(u"A0"_s);
        added[4]->setEnabled(false);
        QVERIFY(isRight());
        model().setSorting(ClientOutlineModel::ByAddress, Qt::DescendingOrder);
        m_list->removeGroup(m_bays);
        model().setFilterText(u"N1"_s);
        QVERIFY(isRight());
        model().setFilterText({});
        QVERIFY(isRight());
        // Only the machine that changed is drawn again.
        changes.clear();
        added[1]->setNeedsMaintenance(true);
        for (int i = 0; i < 5; ++i)
            m_list->serviceChanged(nullptr);
        model().refresh();
        QCOMPARE(changes.size(), 1);
    }

    void selectionIsKept() {
        click(model().indexOf(m_bays));
        QCOMPARE(m_outline->singleSelectedGroup(), m_bays);
        QCOMPARE(m_list->selectedServices(), QList<VLServicePtr>{m_b});
        click(model().indexOf(m_c), {120, 15}, Qt::ControlModifier);
        QCOMPARE(m_list->selectedServices(), (QList<VLServicePtr>{m_b, m_c}));

        // Of the two rows of a machine the one that was clicked stays.
        click(model().indexInGroup(m_b));
        const VLServicePtr late = add(u"0"_s, u"10.0.0.1"_s);
        m_outline->setSorting(u"address"_s, Qt::DescendingOrder);
        m_outline->searchField()->setText(u"10.0.0.1"_s);
        QCOMPARE(m_list->selectedServices(), QList<VLServicePtr>{m_b});  // hidden, and still selected
        m_outline->searchField()->clear();
        QCOMPARE(view().selectionModel()->selectedIndexes(), QModelIndexList{model().indexInGroup(m_b)});
        m_list->moveToGroup({m_b}, m_spare);
        QCOMPARE(m_outline->singleSelectedService(), m_b);

        m_outline->selectAllComputers();
        m_list->removeServiceFromList(late);
        QCOMPARE(view().selectionModel()->selectedIndexes(), QModelIndexList{model().allComputersIndex()});
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

    void sorting() {
        const std::tuple<QString, Qt::SortOrder, QString> rows[] = {
            {u"name"_s, Qt::DescendingOrder, u"C, B, A"_s},
            {u"address"_s, Qt::AscendingOrder, u"B, A, C"_s},  // by number, none last
            {u"state"_s, Qt::AscendingOrder, u"C, A, B"_s}};   // trouble first
        std::static_pointer_cast<SampleService>(m_c)->showNotConnected({});
        model().refresh();
        for (const auto& [column, direction, order] : rows) {
            m_outline->setSorting(column, direction);
            QCOMPARE(shown(model()).first(), u"All Computers: "_s + order);
            makeOutline();
            QCOMPARE(shown(model()).first(), u"All Computers: "_s + order);
        }
    }

    void search() {
        const auto configured = std::make_shared<SampleService>(u"Edit Bay"_s, u"10.0.0.57"_s);
        configured->showConfiguration({{u"model"_s, u"MacPro4,1"_s}});
        m_list->addServiceToList(configured);
        for (const char* text : {"EDIT", "edit-bay.local", " 0.0.57 ", "macpro"}) {
            m_outline->searchField()->setText(QLatin1String(text));
            QCOMPARE(shown(model()), (QStringList{u"All Computers: Edit Bay"_s, u"Bays: "_s, u"Spare: "_s}));
        }
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

    /// The window's own actions, sheets and answers to badges.
    void windowWorksOnGroups() {
        SampleConsole console;
        QVERIFY(console.start());
        console.window->show();
        ServiceList& services = console.controller->services();
        const auto one = console.add(u"One"_s, u"10.0.0.1"_s);
        const auto clickBadge = [&](const char* badge) {
            Q_EMIT console.controller->serviceOutlineBadgeClicked(one, QLatin1String(badge));
        };
        console.controller->errorCallback()->addStringToQueue(u"Disk full"_s, one->hostName());
        console.controller->errorCallback()->addStringToQueue(u"Disk full"_s, u"other.local."_s);
        clickBadge("errors");
        const auto* table = console.find<QTreeView>("errorLogTable");
        QTRY_COMPARE(table->model()->rowCount(), 2);
        clickBadge("errors");
        QCOMPARE(table->selectionModel()->selectedRows().size(), 1);

        services.setSelectedServices({one});
        console.find<QAction>("enableComputerAction")->trigger();
        QVERIFY(!one->enabled());
        services.moveToGroup({one}, services.addGroup(u"Bays"_s));
        services.setSelection({}, services.groups());
        console.find<QAction>("deleteGroupAction")->trigger();
        QCOMPARE(services.groups().size(), 1);  // asks, as there is a machine in it
        console.find<QDialog>("deleteGroupSheet")->accept();
        QVERIFY(services.groups().isEmpty());
        QVERIFY(console.end());
    }
};

ORLENDO_WIDGETS_TEST_MAIN(ClientOutlineTest)
#include "client_outline_test.moc"
