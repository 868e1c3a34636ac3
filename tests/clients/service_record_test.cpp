// The record without a connection: archived form, pictures of models, the demonstration client.

#include "clients/MachineIcons.h"
#include "clients/VLVirtualService.h"
#include "clients/support/ClientsFixture.h"

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
        QImage icon(360, 120, QImage::Format_ARGB32);  // archived small
        icon.fill(Qt::green);
        original.setIcon(icon);

        QDataStream in(archiveOf(original) + "next");
        const VLServicePtr copy = VLService::decode(in);
        QVERIFY(copy);
        QCOMPARE(in.device()->readAll(), QByteArray("next"));
        QCOMPARE(copy->name(), original.name());
        QCOMPARE(copy->hostName(), original.hostName());
        QCOMPARE(copy->icon().size(), QSize(36, 12));
        QVERIFY(copy->needsMaintenance() && copy->enabled());
        QVERIFY(!copy->isConnected() && !copy->proxyObject());
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

    void modelPictures() {
        const std::pair<QString, QString> rows[] = {
            {u"PowerMac10,1"_s, u"com.apple.macmini.icns"_s},
            // The doubled prefix names a file that nobody has.
            {u"MacBookPro1,1"_s, u"com.apple.com.apple.macbookpro-15.icns"_s}};
        for (const auto& [model, file] : rows) {
            QCOMPARE(MachineIcons::fileNameForModel(model), file);
            QCOMPARE(VLService::iconForMacModel(model, {32, 32}).isNull(), file.contains(u"apple.com"_s));
        }
        ClientsFixture fixture(1h);
        VLNetService service = netService(u"Bay"_s, u"bay.local."_s, 1);
        service.txtRecord.insert(u"model"_s, "MacPro3,1");
        QVERIFY(!fixture.discoveredClient(service)->icon().isNull());
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
};

ORLENDO_GUI_TEST_MAIN(ServiceRecordTest)
#include "service_record_test.moc"
