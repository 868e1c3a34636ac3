// The record without a connection: archived form, pictures of models, the demonstration client.

#include "clients/MachineIcons.h"
#include "clients/VLVirtualService.h"
#include "clients/support/ClientsFixture.h"
#include "foundation/PropertyList.h"

#include <QGuiApplication>

namespace {

QByteArray archiveOf(const VLService& service) {
    QByteArray data;
    QDataStream out(&data, QIODevice::WriteOnly);
    service.encode(out);
    return data;
}

}  // namespace

class ServiceRecordTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { startNewLog(); }

    void archivedForm() {
        VLService original;
        original.setName(u"Edit Bay ✂"_s);
        original.setHostName(u"bay.local."_s);
        original.setNeedsMaintenance(true);
        QImage icon(3, 2, QImage::Format_ARGB32);
        icon.fill(Qt::green);
        original.setIcon(icon);

        QDataStream in(archiveOf(original) + "next");
        const VLServicePtr copy = VLService::decode(in);
        QVERIFY(copy);
        QCOMPARE(in.device()->readAll(), QByteArray("next"));
        QCOMPARE(copy->name(), original.name());
        QCOMPARE(copy->hostName(), original.hostName());
        QCOMPARE(copy->icon().convertToFormat(QImage::Format_ARGB32), icon);
        QVERIFY(copy->needsMaintenance() && copy->enabled());
        QVERIFY(!copy->isConnected() && !copy->proxyObject());
    }

    void archivedPicturesAreSmall() {
        VLService original;
        original.setIcon(QImage(300, 100, QImage::Format_RGB32));
        QDataStream in(archiveOf(original));
        QCOMPARE(VLService::decode(in)->icon().size(), QSize(36, 12));
    }

    /// Dragged data may come from anywhere.
    void damagedArchives() {
        VLService original;
        original.setName(u"Bay"_s);
        const QByteArray data = archiveOf(original);
        for (qsizetype at = 0; at < data.size(); ++at) {
            QDataStream cut(data.first(at));
            QVERIFY(!VLService::decode(cut));
            QByteArray changed = data;
            changed[at] = static_cast<char>(changed[at] ^ 0xff);
            QDataStream in(changed);
            if (const VLServicePtr service = VLService::decode(in)) QVERIFY(service->port() <= 65535);
        }
    }

    /// Models whose names begin alike, and those without a picture.
    void modelPictures_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("hasPicture");
        QTest::newRow("PowerMac1,1") << "com.apple.powermac-g4-graphite.icns" << true;
        QTest::newRow("PowerMac10,1") << "com.apple.macmini.icns" << true;
        QTest::newRow("PowerMac12,1") << "com.apple.imac-iSight-17.icns" << true;
        QTest::newRow("MacBookAir1,1") << "com.apple.macbookair.icns" << true;
        QTest::newRow("MacBookPro11,1") << "com.apple.macbookpro-15-unibody.icns" << true;
        QTest::newRow("MacBook5,1") << "com.apple.macbook-unibody.icns" << true;
        QTest::newRow("MacBook5,2") << "com.apple.macbook-white.icns" << true;
        // The doubled prefix names a file that nobody has.
        QTest::newRow("MacBookPro1,1") << "com.apple.com.apple.macbookpro-15.icns" << false;
        QTest::newRow("macpro") << "" << false;
        QTest::newRow("") << "" << false;
    }
    void modelPictures() {
        const QString model = QString::fromLatin1(QTest::currentDataTag());
        QTEST(MachineIcons::fileNameForModel(model), "file");
        QFETCH(bool, hasPicture);
        QCOMPARE(VLService::iconForMacModel(model, {32, 32}).size(),
                 hasPicture ? QSize(32, 32) : QSize(0, 0));
    }

    void discoveredClientGetsThePictureOfItsModel() {
        ClientsFixture fixture(1h);
        VLNetService service = netService(u"Bay"_s, u"bay.local."_s, 1);
        service.txtRecord.insert(u"model"_s, "MacPro3,1");
        const VLServicePtr client = fixture.discoveredClient(service);
        QVERIFY(!client->icon().isNull());
        QCOMPARE(client->ipAddress(), u"127.0.0.1"_s);
    }

    void demonstrationClient() {
        const VLServicePtr client = VLVirtualService::virtualServiceWithName(u"Demo"_s);
        QCOMPARE(client->hostName(), u"Demo.virtual."_s);
        client->disconnect();
        client->invalidate();
        client->connectOnThread(nullptr);
        client->fetchInitialConfiguration(true);
        QVERIFY(client->isConnected());
        QCOMPARE(VLThread::activeCount(), 0);
        const VLProxyObjectPtr proxy = client->proxyObject();
        QVERIFY(proxy->respondsToSelector(u"varispotSystemInfo"_s));
        QVERIFY(!proxy->respondsToSelector(u"qmasterJobs"_s));
        QVERIFY(!proxy->perform(u"qmasterJobs"_s).isValid());
        QVERIFY(!proxy->perform(u"addonryPluginList"_s).toList().isEmpty());
    }

    /// All five samples are complete answers, whichever is drawn.
    void sampleAnswers() {
        QVariantList samples;
        for (int number = 1; number <= 5; ++number) {
            const QVariantMap info = PropertyList::readFile(VLBundle::mainBundle().pathForResource(
                                                                u"Stats%1"_s.arg(number), u"plist"_s))
                                         .toMap();
            QVERIFY(!samples.contains(info));
            samples << info;
            const QVariantList plugins = info.value(u"Plugins"_s).toList();
            QVERIFY(plugins.size() >= 5);
            for (const QVariant& value : plugins) {
                const QVariantMap plugin = value.toMap();
                for (const char* key : {"name", "version", "type", "fullPath"})
                    QVERIFY(!plugin.value(QLatin1String(key)).toString().isEmpty());
                QCOMPARE(plugin.value(u"disabled"_s).typeId(), int(QMetaType::LongLong));
            }
            for (const char* key : {"Frameworks", "Kexts"})
                QVERIFY(!info.value(QLatin1String(key)).toMap().isEmpty());
        }
        QVERIFY(samples.contains(VLVirtualProxy().perform(u"varispotSystemInfo"_s)));
    }
};

ORLENDO_GUI_TEST_MAIN(ServiceRecordTest)
#include "service_record_test.moc"
