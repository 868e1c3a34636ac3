// The list of clients: order, look-ups, groups and the selection.

#include "clients/ServiceList.h"
#include "clients/support/ClientsFixture.h"

#include <QGuiApplication>
#include <QSignalSpy>

namespace {

VLServicePtr client(const QString& name, const QString& hostName, const QStringList& otherNames = {}) {
    auto service = std::make_shared<VLService>();
    service->setName(name);
    service->setHostName(hostName);
    service->setAvailableHostNames(otherNames);
    return service;
}

QStringList names(const QList<VLServicePtr>& services) {
    QStringList result;
    for (const VLServicePtr& service : services)
        result << service->name();
    return result;
}

}  // namespace

class ServiceListTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keepsTheOrder();
    void findsByHostName();
    void findsByAddress();
    void otherNamesNeverHideAClient();
    void selection();
    void removal();
    void readersSeeWholeLists();
    void aThousandClients();
};

void ServiceListTest::keepsTheOrder() {
    ServiceList list;
    const VLServicePtr ten = client(QStringLiteral("Bay 10"), QStringLiteral("c."));
    list.addServiceToList(ten);
    list.addServiceToList(client(QStringLiteral("bay 9"), QStringLiteral("b.")));
    list.addServiceToList(client(QStringLiteral("Audio"), QStringLiteral("a.")));
    list.addServiceToList(ten);
    QCOMPARE(names(list.serviceArray()),
             QStringList({QStringLiteral("Audio"), QStringLiteral("bay 9"), QStringLiteral("Bay 10")}));

    ten->setName(QStringLiteral("AAA"));
    list.serviceChanged(ten);
    QCOMPARE(names(list.serviceArray()),
             QStringList({QStringLiteral("AAA"), QStringLiteral("Audio"), QStringLiteral("bay 9")}));
    QCOMPARE(list.selectedServices(), list.serviceArray());
}

void ServiceListTest::findsByHostName() {
    ServiceList list;
    const VLServicePtr bay =
        client(QStringLiteral("Bay"), QStringLiteral("bay.local."), {QStringLiteral("other.local.")});
    list.addServiceToList(bay);
    for (const char* known : {"bay.local.", "bay.local", "other.local", "other.local."})
        QCOMPARE(list.serviceWithHostName(QLatin1String(known)), bay);
    for (const char* unknown : {"", ".", "bay", "BAY.local..", "bay.local.."})
        QVERIFY(!list.serviceWithHostName(QLatin1String(unknown)));
    QCOMPARE(list.friendlyServiceName(QStringLiteral("bay.local")), QStringLiteral("Bay"));
    QCOMPARE(list.friendlyServiceName(QStringLiteral("gone.local.")), QStringLiteral("gone.local."));

    bay->setHostName(QStringLiteral("new.local."));
    bay->setAvailableHostNames({});
    list.serviceChanged(nullptr);
    QCOMPARE(list.serviceWithHostName(QStringLiteral("new.local.")), bay);
    QVERIFY(!list.serviceWithHostName(QStringLiteral("bay.local.")));
    QVERIFY(!list.serviceWithHostName(QStringLiteral("other.local.")));
}

void ServiceListTest::findsByAddress() {
    ClientsFixture fixture;
    fixture.environment.timing.reconnect = 1h;
    fixture.apply();
    ServiceList list;
    const VLServicePtr manual = fixture.manualClient(QStringLiteral("127.0.0.9"), 1025);
    list.addServiceToList(client(QStringLiteral("No address"), QStringLiteral("a.")));
    list.addServiceToList(manual);
    QCOMPARE(list.serviceWithIPAddress(QStringLiteral("127.0.0.9")), manual);
    QVERIFY(!list.serviceWithIPAddress(QStringLiteral("127.0.0.1")));
    QVERIFY(!list.serviceWithIPAddress(QString()));
}

void ServiceListTest::otherNamesNeverHideAClient() {
    ServiceList list;
    const VLServicePtr pretender = client(QStringLiteral("A"), QStringLiteral("a."), {QStringLiteral("b.")});
    const VLServicePtr real = client(QStringLiteral("B"), QStringLiteral("b."));
    list.addServiceToList(pretender);
    QCOMPARE(list.serviceWithHostName(QStringLiteral("b.")), pretender);
    list.addServiceToList(real);
    QCOMPARE(list.serviceWithHostName(QStringLiteral("b.")), real);
}

void ServiceListTest::selection() {
    ServiceList list;
    const VLServicePtr a = client(QStringLiteral("A"), QStringLiteral("a."));
    const VLServicePtr b = client(QStringLiteral("B"), QStringLiteral("b."));
    const VLServicePtr c = client(QStringLiteral("C"), QStringLiteral("c."));
    list.addServiceToList(b);
    list.addServiceToList(a);
    QVERIFY(list.allSelected());
    QCOMPARE(names(list.selectedServices()), QStringList({QStringLiteral("A"), QStringLiteral("B")}));

    QSignalSpy changes(&list, &ServiceList::selectionChanged);
    list.setSelectedServices({b, c, a});  // in list order, and only what is in it
    QCOMPARE(names(list.selectedServices()), QStringList({QStringLiteral("A"), QStringLiteral("B")}));
    list.setSelectedServices({b});
    list.setSelectedServices({b});
    QCOMPARE(changes.size(), 2);
    list.addServiceToList(c);
    QCOMPARE(names(list.selectedServices()), QStringList{QStringLiteral("B")});
    list.removeServiceFromList(b);
    QVERIFY(list.selectedServices().isEmpty());
    list.selectAll();
    QCOMPARE(names(list.selectedServices()), QStringList({QStringLiteral("A"), QStringLiteral("C")}));
}

void ServiceListTest::removal() {
    ServiceList list;
    const VLServicePtr a = client(QStringLiteral("A"), QStringLiteral("a."));
    const auto first = list.addGroup(QStringLiteral("First"));
    const auto second = list.addGroup(QStringLiteral("Second"));
    list.addServiceToList(a);
    first->addChild(a);
    first->addChild(a);
    second->addChild(a);
    QCOMPARE(first->children().size(), 1);
    QCOMPARE(a->parent(), second.get());

    QSignalSpy removed(&list, &ServiceList::serviceRemoved);
    list.removeServiceFromList(a);
    list.removeServiceFromList(a);
    QCOMPARE(removed.size(), 1);
    QVERIFY(first->children().isEmpty() && second->children().isEmpty());
    QVERIFY(!a->parent());
    QVERIFY(!list.serviceWithHostName(QStringLiteral("a.")));
    list.removeGroup(first);
    QCOMPARE(list.groups().size(), 1);
}

void ServiceListTest::readersSeeWholeLists() {
    ServiceList list;
    std::atomic<bool> stop{false};
    std::atomic<int> faults{0};
    for (int reader = 0; reader < 3; ++reader) {
        VLThread::detach(QStringLiteral("reader"), [&] {
            while (!stop) {
                const QList<VLServicePtr> services = list.serviceArray();
                for (const VLServicePtr& service : services)
                    if (service->name().isEmpty()) ++faults;
                const VLServicePtr found = list.serviceWithHostName(QStringLiteral("h7."));
                if (found && found->name() != QStringLiteral("c7")) ++faults;
                if (list.friendlyServiceName(QStringLiteral("h8.")).isEmpty()) ++faults;
                if (list.selectedServices().size() > 20) ++faults;
            }
        });
    }
    for (int round = 0; round < 5; ++round) {
        QList<VLServicePtr> added;
        for (int i = 0; i < 20; ++i) {
            added << client(QStringLiteral("c%1").arg(i), QStringLiteral("h%1.").arg(i));
            list.addServiceToList(added.constLast());
        }
        for (const VLServicePtr& service : added)
            list.removeServiceFromList(service);
    }
    stop = true;
    QVERIFY(VLThread::joinAll(10s));
    QCOMPARE(faults.load(), 0);
}

void ServiceListTest::aThousandClients() {
    ServiceList list;
    QElapsedTimer timer;
    timer.start();
    QList<VLServicePtr> clients;
    for (int i = 0; i < 1000; ++i)
        clients << client(QStringLiteral("Bay %1").arg(i * 7919 % 1000),
                          QStringLiteral("bay-%1.local.").arg(i));
    for (const VLServicePtr& service : clients)
        list.addServiceToList(service);
    const qint64 added = timer.restart();
    QCOMPARE(list.serviceArray().size(), 1000);
    for (int i = 0; i < 1000; ++i)
        QCOMPARE(list.serviceWithHostName(QStringLiteral("bay-%1.local").arg(i)), clients[i]);
    const qint64 found = timer.restart();
    for (int i = 0; i < 100; ++i)
        list.serviceChanged(nullptr);
    const qint64 renewed = timer.restart();
    for (const VLServicePtr& service : clients)
        list.removeServiceFromList(service);
    qInfo("1000 added in %lld ms, found in %lld, renewed 100 times in %lld, removed in %lld", added, found,
          renewed, timer.elapsed());
    QVERIFY(list.serviceArray().isEmpty());
    QVERIFY(!list.serviceWithHostName(QStringLiteral("bay-1.local")));
}

ORLENDO_GUI_TEST_MAIN(ServiceListTest)
#include "service_list_test.moc"
