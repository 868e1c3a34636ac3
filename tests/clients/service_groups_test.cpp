// Groups of the client list: who is in them, what is stored of them, what a drag carries.

#include "clients/ServiceGroupStore.h"
#include "clients/ServiceList.h"
#include "clients/ServicePasteboard.h"
#include "clients/support/ClientsFixture.h"
#include "support/SampleService.h"
#include "support/TestTable.h"

#include <QGuiApplication>
#include <QSignalSpy>

namespace {

const QString key = u"serviceGroups"_s, unreadableKey = u"serviceGroupsUnreadable"_s;

VLServicePtr client(const QString& name, const QString& hostName, const QString& advertisedHost = {}) {
    const auto service = std::make_shared<SampleService>(name, QString());
    service->setHostName(hostName);
    if (!advertisedHost.isEmpty()) service->showAdvertised(advertisedHost);
    return service;
}

VLServicePtr client(const QString& name, const QString& ip, int port) {
    const auto service = std::make_shared<SampleService>(name, QString());
    service->showEnteredByHand(ip, port);
    return service;
}

/// The list of one run of the console.
struct Run {
    ServiceList list;
    ServiceGroupStore store{list};
    Run() { store.populate(); }
    [[nodiscard]] VLServiceGroupPtr group(const QString& name) const {
        for (const VLServiceGroupPtr& group : list.groups())
            if (group->name() == name) return group;
        return nullptr;
    }
    /// "Bays: A, B (+1)" for each group: its members, and how many are missing.
    [[nodiscard]] QStringList contents() const {
        QStringList lines;
        for (const VLServiceGroupPtr& group : list.groups()) {
            QStringList names;
            for (const VLServicePtr& service : group->children())
                names << service->name();
            QString line = group->name() + u": "_s + names.join(u", "_s);
            if (!group->absent().isEmpty()) line += u" (+%1)"_s.arg(group->absent().size());
            lines << line;
        }
        return lines;
    }
};

QVariantMap storedGroup(const QVariant& name, const QVariant& services = QVariantList()) {
    return {{u"name"_s, name}, {u"services"_s, services}};
}

}  // namespace

class ServiceGroupsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        for (const QString& used : {key, unreadableKey})
            VLUserDefaults::standardUserDefaults().removeObjectForKey(used);
    }

    void membersComeBack() {
        {
            Run run;
            const auto a = client(u"A"_s, u"a."_s), b = client(u"B"_s, u"b."_s);
            const auto byHand = client(u"Hand"_s, u"10.0.0.9"_s, 2000);
            for (const auto& service : {a, b, byHand})
                run.list.addServiceToList(service);
            run.list.addGroup(u"Spare"_s);
            const auto bays = run.list.addGroup(u"Bays"_s);
            run.list.moveToGroup({a, b, byHand}, bays);
            run.list.moveToGroup({b}, run.group(u"Spare"_s));
            const auto demo = client(u"Demo 1"_s, u"Demo 1.virtual."_s);  // is not stored
            run.list.addServiceToList(demo);
            run.list.moveToGroup({demo}, bays);
            QCOMPARE(run.contents(), (QStringList{u"Spare: B"_s, u"Bays: A, Hand, Demo 1"_s}));
            run.list.removeServiceFromList(a);  // leaving the network is no leaving of the group
            QVERIFY(!a->parent());
            run.list.renameGroup(bays, u"Edit Bays"_s);
        }
        Run run;
        QCOMPARE(run.contents(), (QStringList{u"Spare:  (+1)"_s, u"Edit Bays:  (+2)"_s}));
        QSignalSpy stored(&run.list, &ServiceList::storedGroupsChanged);
        const auto again = client(u"A renamed"_s, u"a."_s);
        run.list.addServiceToList(again);
        run.list.addServiceToList(client(u"Other port"_s, u"10.0.0.9"_s, 2001));
        run.list.addServiceToList(client(u"Hand 2"_s, u"10.0.0.9"_s, 2000));
        QCOMPARE(run.contents(), (QStringList{u"Spare:  (+1)"_s, u"Edit Bays: A renamed, Hand 2"_s}));
        QCOMPARE(stored.size(), 0);
        run.list.moveToGroup({again}, nullptr);
        run.list.removeGroup(run.group(u"Spare"_s));
        QCOMPARE(Run().contents(), QStringList{u"Edit Bays:  (+1)"_s});
    }

    void agentsOfOneHostAreToldApart() {
        const QString host = u"host."_s;
        {
            Run run;
            const auto one = client(u"One"_s, host, host), two = client(u"Two"_s, u"host:2"_s, host);
            run.list.addServiceToList(one);
            run.list.moveToGroup({one}, run.list.addGroup(u"G"_s));
            run.list.addServiceToList(two);
        }
        Run run;  // found in the other order, so with the other's host name
        run.list.addServiceToList(client(u"Two"_s, host, host));
        run.list.addServiceToList(client(u"One"_s, u"host:1"_s, host));
        QCOMPARE(run.contents(), QStringList{u"G: One"_s});
    }

    void hostileSettings_data() {
        const TestTable<QVariant, QStringList> table("stored", "contents");
        const QVariant good = storedGroup(u"Good"_s);
        const auto row = [&](const char* name, const QVariant& bad,
                             const QStringList& contents = {u"Good: "_s}) {
            table(name, QVariantList{bad, good}, contents);
        };
        table("no array", u"x"_s, {});
        row("no dictionary", 7);
        row("name is no text", storedGroup(7));
        row("long name", storedGroup(QString(256, u'n')));
        row("name of all", storedGroup(u"all computers"_s));
        row("same name", storedGroup(u"GOOD"_s), {u"GOOD: "_s});
        row("services are no array", storedGroup(u"G"_s, u"x"_s));
        const QVariantMap record = RememberedClient::of(*client(u"A"_s, u"a."_s), false).storedForm();
        QVariantMap cut = record, wrongAddress = record;
        cut[u"record"_s] = record[u"record"_s].toByteArray().chopped(3);
        wrongAddress[u"ip"_s] = 7;
        row("broken records", storedGroup(u"G"_s, QVariantList{7, cut, wrongAddress, QVariantMap(), record}),
            {u"G:  (+1)"_s, u"Good: "_s});
    }
    void hostileSettings() {
        QFETCH(QVariant, stored);
        QFETCH(QStringList, contents);
        VLUserDefaults::standardUserDefaults().setObject(stored, key);
        VLLog::createNewLog();
        QCOMPARE(Run().contents(), contents);
        QVERIFY(logLines().join(u'\n').contains(u"not usable"_s));
        const QVariantList kept = VLUserDefaults::standardUserDefaults().arrayForKey(unreadableKey);
        QCOMPARE(kept.size(), 1);
        Run again;
        again.list.addGroup(u"New"_s);  // stores the groups
        QCOMPARE(VLUserDefaults::standardUserDefaults().arrayForKey(unreadableKey), kept);
    }

    void selectionOfAGroupFollowsIt() {
        Run run;
        const auto a = client(u"A"_s, u"a."_s), b = client(u"B"_s, u"b."_s), c = client(u"C"_s, u"c."_s);
        for (const auto& service : {a, b, c})
            run.list.addServiceToList(service);
        const auto group = run.list.addGroup(u"G"_s);
        run.list.moveToGroup({c}, group);
        run.list.setSelection({a}, {group});
        QCOMPARE(run.list.selectedServices(), (QList<VLServicePtr>{a, c}));
        run.list.moveToGroup({b}, group);
        QCOMPARE(run.list.selectedServices(), (QList<VLServicePtr>{a, b, c}));
        run.list.removeServiceFromList(c);
        run.list.addServiceToList(c);  // remembered, so back in the group and in the selection
        QCOMPARE(run.list.selectedServices(), (QList<VLServicePtr>{a, b, c}));
        run.list.removeGroup(group);
        QCOMPARE(run.list.selectedServices(), QList<VLServicePtr>{a});
    }

    void dragCarriesRecords() {
        const auto a = client(u"A"_s, u"a."_s), b = client(u"B"_s, u"b."_s);
        a->setIcon(QImage(8, 8, QImage::Format_RGB32));
        b->setIcon(a->icon());
        const QByteArray data = ServicePasteboard::encode({a, b});
        const QList<VLServicePtr> records = ServicePasteboard::decode(data);
        QCOMPARE(records.size(), 2);
        QCOMPARE(records.last()->name(), u"B"_s);
        QCOMPARE(records.last()->port(), 51000);
        QCOMPARE(records.last()->icon().size(), QSize(8, 8));
        const auto isKnown = [](const QString& hostName) { return hostName == u"b."_s; };
        const QList<VLServicePtr> dropped = ServicePasteboard::decode(data, isKnown);
        QVERIFY(!dropped.first()->icon().isNull() && dropped.last()->icon().isNull());
        const auto many = ServicePasteboard::decode(ServicePasteboard::encode(QList<VLServicePtr>(100, a)));
        QVERIFY(many.size() == 100 && many.last()->icon().isNull());
        for (const QByteArray& bad :
             {QByteArray(), data.chopped(1), QByteArray(4, '\xff'), QByteArray("\x7f\xff\xff\xff")})
            QVERIFY(ServicePasteboard::decode(bad).isEmpty());
    }
};

ORLENDO_GUI_TEST_MAIN(ServiceGroupsTest)
#include "service_groups_test.moc"
