// The record without a connection: archived form, pictures of models, the demonstration client.

#include "clients/MachineIcons.h"
#include "clients/VLVirtualService.h"
#include "clients/support/ClientsFixture.h"
#include "foundation/PropertyList.h"

#include <QGuiApplication>

class ServiceRecordTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { VLLog::createNewLog(); }

    void archivedForm();
    void damagedArchives();
    void modelPictures_data();
    void modelPictures();
    void discoveredClientGetsThePictureOfItsModel();
    void ordersByName();
    void demonstrationClient();
    void sampleAnswers();
};

void ServiceRecordTest::archivedForm() {
    VLService original;
    original.setName(QStringLiteral("Edit Bay ✂"));
    original.setHostName(QStringLiteral("bay.local."));
    original.setNeedsMaintenance(true);
    QImage icon(3, 2, QImage::Format_ARGB32);
    icon.fill(Qt::green);
    original.setIcon(icon);

    QByteArray data;
    {
        QDataStream out(&data, QIODevice::WriteOnly);
        original.encode(out);
        out << QStringLiteral("next");
    }
    QDataStream in(data);
    const VLServicePtr copy = VLService::decode(in);
    QString next;
    in >> next;
    QVERIFY(copy);
    QCOMPARE(next, QStringLiteral("next"));
    QCOMPARE(copy->name(), original.name());
    QCOMPARE(copy->hostName(), original.hostName());
    QCOMPARE(copy->icon().convertToFormat(QImage::Format_ARGB32), icon);
    QVERIFY(copy->needsMaintenance());
    QVERIFY(!copy->isConnected());
    QVERIFY(copy->enabled());
    QVERIFY(!copy->proxyObject());
}

/// Dragged data may come from anywhere.
void ServiceRecordTest::damagedArchives() {
    VLService original;
    original.setName(QStringLiteral("Bay"));
    QByteArray data;
    QDataStream out(&data, QIODevice::WriteOnly);
    original.encode(out);
    for (qsizetype size = 0; size < data.size(); ++size) {
        QDataStream in(data.first(size));
        QVERIFY(!VLService::decode(in));
    }
    for (qsizetype at = 0; at < data.size(); ++at) {
        QByteArray changed = data;
        changed[at] = static_cast<char>(changed[at] ^ 0xff);
        QDataStream in(changed);
        if (const VLServicePtr service = VLService::decode(in)) QVERIFY(service->port() <= 65535);
    }
}

void ServiceRecordTest::modelPictures_data() {
    QTest::addColumn<QString>("file");
    const auto row = [](const char* model, const char* file) {
        QTest::newRow(model) << (*file ? QStringLiteral("com.apple.%1.icns").arg(QLatin1String(file))
                                       : QString());
    };
    row("MacPro3,1", "macpro");
    row("Xserve2,1", "xserve");
    row("RackMac3,1", "xserve");
    row("Macmini3,1", "macmini");
    row("PowerMac10,1", "macmini");
    row("MacBookAir1,1", "macbookair");
    row("MacBookPro1,1", "com.apple.macbookpro-15");
    row("MacBookPro4,1", "com.apple.macbookpro-15");
    row("MacBookPro5,1", "macbookpro-15-unibody");
    row("MacBookPro11,1", "macbookpro-15-unibody");
    row("MacBook4,1", "macbook-white");
    row("MacBook5,1", "macbook-unibody");
    row("MacBook5,2", "macbook-white");
    row("PowerMac3,5", "powermac-g4-quicksilver");
    row("PowerMac3,6", "powermac-g4-mirrored-drive-doors");
    row("PowerMac3,1", "powermac-g4-graphite");
    row("PowerMac1,1", "powermac-g4-graphite");
    row("PowerMac4,2", "imac-g4-15");
    row("PowerMac6,1", "imac-g4-15");
    row("PowerMac8,1", "imac-g5-17");
    row("PowerMac12,1", "imac-iSight-17");
    row("iMac6,1", "imac-iSight-17");
    row("iMac9,1", "imac-aluminum-20");
    row("PowerMac7,3", "powermac-g5");
    row("PowerBook3,2", "powerbook-g4-titanium");
    row("PowerBook6,5", "ibook-g4-14");
    row("PowerBook5,8", "powerbook-g4-15");
    row("VirtualMac2,1", "");
    row("macpro", "");
    row("", "");
}

void ServiceRecordTest::modelPictures() {
    const QString model = QString::fromLatin1(QTest::currentDataTag());
    QTEST(MachineIcons::fileNameForModel(model), "file");
    QFETCH(QString, file);
    // The doubled prefix names a file that nobody has.
    const bool hasPicture = !file.isEmpty() && !file.startsWith(QLatin1StringView("com.apple.com.apple"));
    const QImage picture = VLService::iconForMacModel(model, {32, 32});
    QCOMPARE(picture.size(), hasPicture ? QSize(32, 32) : QSize(0, 0));
    QVERIFY(logLines().contains(
        vlFormat(QStringLiteral("Getting icon for machine type %@..."), model).trimmed()));
}

void ServiceRecordTest::discoveredClientGetsThePictureOfItsModel() {
    ClientsFixture fixture;
    fixture.environment.timing.reconnect = 1h;
    fixture.apply();
    VLNetService service;
    service.name = QStringLiteral("Bay");
    service.hostName = QStringLiteral("bay.local.");
    service.addresses << VLNetAddress{QHostAddress(QStringLiteral("127.0.0.1")), 1, 0};
    service.txtRecord.insert(QStringLiteral("model"), "MacPro3,1");
    const VLServicePtr client = fixture.keep(VLService::serviceWithNetService(service, nullptr));
    QVERIFY(!client->icon().isNull());
    QCOMPARE(client->ipAddress(), QStringLiteral("127.0.0.1"));
    QVERIFY(logLines().contains(QStringLiteral("Getting TXT record...")));
}

void ServiceRecordTest::ordersByName() {
    VLService a, b;
    a.setName(QStringLiteral("bay 9"));
    b.setName(QStringLiteral("Bay 10"));
    QVERIFY(a.compareTitle(b) < 0);
    QVERIFY(b.compareTitle(a) > 0);
    b.setName(QStringLiteral("Bay 9"));
    QCOMPARE(a.compareTitle(b), 0);
}

void ServiceRecordTest::demonstrationClient() {
    const VLServicePtr client = VLVirtualService::virtualServiceWithName(QStringLiteral("Demo"));
    QCOMPARE(client->hostName(), QStringLiteral("Demo.virtual."));
    QCOMPARE(client->ipAddress(), QStringLiteral("127.0.0.1"));
    QCOMPARE(client->port(), 0);
    QVERIFY(client->isConnected());
    const NotificationRecorder notifications{"vlCorvalinServiceRefresh"};
    client->disconnect();
    client->invalidate();
    client->connectOnThread(nullptr);
    client->fetchInitialConfiguration(true);
    QVERIFY(client->isConnected());
    QCOMPARE(VLThread::activeCount(), 0);
    client->refreshServiceView();
    QTRY_COMPARE(notifications.count("vlCorvalinServiceRefresh"), 1);

    const VLProxyObjectPtr proxy = client->proxyObject();
    QVERIFY(proxy->respondsToSelector(QStringLiteral("addonryPluginList")));
    QVERIFY(proxy->respondsToSelector(QStringLiteral("varispotSystemInfo")));
    QVERIFY(!proxy->respondsToSelector(QStringLiteral("qmasterJobs")));
    QVERIFY(!proxy->perform(QStringLiteral("qmasterJobs")).isValid());
}

/// All five samples are complete answers (twenty draws miss one of five once in a hundred runs, so the files
/// are also read directly).
void ServiceRecordTest::sampleAnswers() {
    const QStringList pluginTypes{QStringLiteral("FxPlug"), QStringLiteral("FxScript"),
                                  QStringLiteral("Audio Unit")};
    QVariantList samples;
    for (int number = 1; number <= 5; ++number) {
        const QString path = VLBundle::mainBundle().pathForResource(
            vlFormat(QStringLiteral("Stats%i"), number), QStringLiteral("plist"));
        samples << PropertyList::readFile(path);
    }
    VLVirtualProxy proxy;
    for (int draw = 0; draw < 20; ++draw) {
        const QVariant info = proxy.perform(QStringLiteral("varispotSystemInfo"));
        QVERIFY(samples.contains(info));
        QVERIFY(!proxy.perform(QStringLiteral("addonryPluginList")).toList().isEmpty());
    }
    for (const QVariant& sample : std::as_const(samples)) {
        const QVariantMap info = sample.toMap();
        QCOMPARE(samples.count(sample), 1);
        const QVariantList plugins = info.value(QStringLiteral("Plugins")).toList();
        QVERIFY(plugins.size() >= 5);
        for (const QVariant& value : plugins) {
            const QVariantMap plugin = value.toMap();
            QVERIFY(!plugin.value(QStringLiteral("name")).toString().isEmpty());
            QVERIFY(plugin.value(QStringLiteral("fullPath")).toString().startsWith(u'/'));
            QVERIFY(!plugin.value(QStringLiteral("version")).toString().isEmpty());
            QVERIFY(pluginTypes.contains(plugin.value(QStringLiteral("type")).toString()));
            QCOMPARE(plugin.value(QStringLiteral("disabled")).typeId(), int(QMetaType::LongLong));
            QCOMPARE(plugin.value(QStringLiteral("accessType")).typeId(), int(QMetaType::LongLong));
        }
        for (const char* key : {"Frameworks", "Kexts"})
            QVERIFY(!info.value(QLatin1String(key)).toMap().isEmpty());
        QVERIFY(info.value(QStringLiteral("Final Cut Pro")).toString().contains(u'.'));
    }
}

ORLENDO_GUI_TEST_MAIN(ServiceRecordTest)
#include "service_record_test.moc"
