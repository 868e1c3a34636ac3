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

}  // namespace

class ServiceListTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keepsTheOrder() {
        ServiceList list;
        const VLServicePtr ten = client("Bay 10", "c.");
        for (const VLServicePtr& service : {ten, client("bay 9", "b."), client("Audio", "a."), ten})
            list.addServiceToList(service);
        QCOMPARE(names(list.serviceArray()), QStringList({"Audio", "bay 9", "Bay 10"}));
        ten->setName("AAA");
        list.serviceChanged(ten);
        QCOMPARE(names(list.serviceArray()), QStringList({"AAA", "Audio", "bay 9"}));
    }

    void findsByHostName() {
        ServiceList list;
        const VLServicePtr bay = client("Bay", "bay.local.", {"other.local."});
        list.addServiceToList(bay);
        for (const QString known : {"bay.local.", "bay.local", "other.local", "other.local."})
            QCOMPARE(list.serviceWithHostName(known), bay);
        for (const QString unknown : {"", ".", "bay", "BAY.local..", "bay.local.."})
            QVERIFY(!list.serviceWithHostName(unknown));
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

    void removal() {
        ServiceList list;
        const VLServicePtr a = client("A", "a."), b = client("B", "b.");
        const auto first = list.addGroup("First"), second = list.addGroup("Second");
        for (const VLServicePtr& service : {b, a})
            list.addServiceToList(service);
        for (const auto& group : {first, first, second})
            group->addChild(a);
        QCOMPARE(first->children().size(), 1);
        list.setSelectedServices({b, client("C", "c."), a});  // in list order, and only what is in it
        QCOMPARE(names(list.selectedServices()), QStringList({"A", "B"}));

        QSignalSpy removed(&list, &ServiceList::serviceRemoved);
        list.removeServiceFromList(a);
        list.removeServiceFromList(a);
        QCOMPARE(removed.size(), 1);
        QVERIFY(first->children().isEmpty() && second->children().isEmpty());
        QVERIFY(!a->parent() && !list.serviceWithHostName("a."));
        QCOMPARE(names(list.selectedServices()), QStringList{"B"});
    }

    void readersSeeWholeLists() {
        ServiceList list;
        std::atomic<bool> stop{false};
        std::atomic<int> faults{0}, listed{0};
        for (int reader = 0; reader < 3; ++reader) {
            onWorker([&] {
                while (!stop) {
                    const int seen = listed, atLeast = seen % 1'000;
                    const bool isWhole =
                        list.selectedServices().size() >= atLeast && list.serviceArray().size() >= atLeast &&
                        (atLeast == 0 || list.serviceWithHostName(u"h%1."_s.arg(atLeast - 1)));
                    const int now = listed;  // nothing was removed meanwhile
                    if (!isWhole && now >= seen && now / 1'000 == seen / 1'000) ++faults;
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
        for (int round = 1; round <= 5; ++round) {
            QList<VLServicePtr> added;
            for (int i = 0; i < 500; ++i) {
                added << client(u"c%1"_s.arg(i), u"h%1."_s.arg(i));
                list.addServiceToList(added.constLast());
                listed = round * 1'000 + i + 1;
            }
            listed = 0;
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
