// The list of clients: order, look-ups and readers on other threads.

#include "clients/ServiceList.h"
#include "clients/support/ClientsFixture.h"

#include <QGuiApplication>

namespace {

VLServicePtr client(const QString& name, const QString& hostName, const QStringList& otherNames = {}) {
    auto service = std::make_shared<VLService>();
    service->setName(name);
    service->setHostName(hostName);
    service->setAvailableHostNames(otherNames);
    return service;
}

}  // namespace

class ServiceListTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void findsByHostName() {
        ServiceList list;
        const VLServicePtr bay = client("Bay", "bay.local.", {"other.local."});
        list.addServiceToList(bay);
        for (const QString known : {"bay.local.", "bay.local", "other.local", "other.local."})
            QCOMPARE(list.serviceWithHostName(known), bay);
        for (const QString unknown : {"", ".", "bay", "BAY.local..", "bay.local.."})
            QVERIFY(!list.serviceWithHostName(unknown));
        for (const char* other : {"Bay 10", "bay 9", "Audio"})
            list.addServiceToList(client(other, other));
        QCOMPARE(names(list.serviceArray()), QStringList({"Audio", "Bay", "bay 9", "Bay 10"}));
        QCOMPARE(list.friendlyServiceName("bay.local"), u"Bay"_s);
        QCOMPARE(list.friendlyServiceName("gone.local."), u"gone.local."_s);

        bay->setHostName("new.local.");
        bay->setAvailableHostNames({});
        list.serviceChanged(nullptr);
        QCOMPARE(list.serviceWithHostName("new.local."), bay);
        QVERIFY(!list.serviceWithHostName("bay.local.") && !list.serviceWithHostName("other.local."));
    }

    void otherNamesNeverHideAClient() {
        ServiceList list;
        const VLServicePtr pretender = client("A", "a.", {"b."}), real = client("B", "b.");
        list.addServiceToList(pretender);
        QCOMPARE(list.serviceWithHostName("b."), pretender);
        list.addServiceToList(real);
        QCOMPARE(list.serviceWithHostName("b."), real);
    }

    void readersSeeWholeLists() {
        ServiceList list;
        std::atomic<bool> stop{false};
        std::atomic<int> faults{0};
        for (int reader = 0; reader < 3; ++reader) {
            onWorker([&] {
                while (!stop) {
                    const QList<VLServicePtr> services = list.serviceArray();
                    for (const VLServicePtr& service : services)
                        if (service->name().isEmpty()) ++faults;
                    const VLServicePtr found = list.serviceWithHostName("h7.");
                    if (found && found->name() != u"c7") ++faults;
                    if (list.friendlyServiceName("h8.").isEmpty()) ++faults;
                    if (list.selectedServices().size() > 500) ++faults;
                }
            });
        }
        for (int round = 0; round < 5; ++round) {
            QList<VLServicePtr> added;
            for (int i = 0; i < 500; ++i) {
                added << client(u"c%1"_s.arg(i), u"h%1."_s.arg(i));
                list.addServiceToList(added.constLast());
            }
            for (const VLServicePtr& service : added)
                list.removeServiceFromList(service);
        }
        stop = true;
        QVERIFY(VLThread::joinAll(10s));
        QCOMPARE(faults.load(), 0);
    }
};

ORLENDO_GUI_TEST_MAIN(ServiceListTest)
#include "service_list_test.moc"
