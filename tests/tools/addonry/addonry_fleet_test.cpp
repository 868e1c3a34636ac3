#include "base/PropertyList.h"
#include "support/Fleet.h"
#include "tools/addonry/AddonryController.h"

#include <QDirIterator>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// The plug-ins of one disk: the path of each, from its user's home or the disk's top on, to its version. The
/// user is left out: it is another one on every machine.
using Disk = QMap<QString, QString>;

Disk read(const QString& root) {
    Disk disk;
    QDirIterator paths(root, {u"*.fxplug"_s, u"*.component"_s, u"*.fcfcc"_s}, QDir::AllEntries | QDir::Hidden,
                       QDirIterator::Subdirectories);
    while (paths.hasNext()) {
        const QString path = paths.next();
        QString below = path.mid(root.size() + 1);
        if (!below.contains(u"Plug")) continue;
        if (below.startsWith("Users/")) below = u"~/"_s + below.section(u'/', 2);
        const QVariantMap info = PropertyList::readFile(path + "/Contents/Info.plist").toMap();
        disk.insert(below, info.value(u"CFBundleShortVersionString"_s).toString());
    }
    return disk;
}

}  // namespace

/// The plug-ins of real agents on real disks: what the files are before and after.
class AddonryFleetTest : public QObject {
    Q_OBJECT

    static constexpr int machines = 4;
    std::unique_ptr<Fleet> m_fleet;

    [[nodiscard]] AddonryController& addonry() const {
        return m_fleet->tool<AddonryController>(u"addonry"_s);
    }
    [[nodiscard]] QList<Disk> disks() const {
        QList<Disk> all;
        for (int machine = 0; machine < machines; ++machine)
            all.append(read(m_fleet->diskFolder(machine)));
        return all;
    }
    [[nodiscard]] QStringList rowsThatDiffer() const {
        QStringList names;
        for (const VLPluginItem& row : addonry().addonryArray())
            if (row.state() != VLPluginItem::Alike) names.append(row.name());
        return names;
    }
    bool refresh() {
        return m_fleet->onWorker([this] { addonry().refreshAddonryPlugins(); });
    }
    bool sync() {
        return m_fleet->onWorker([this] { addonry().addonrySyncPlugins(); });
    }

private Q_SLOTS:
    void init() {
        m_fleet = std::make_unique<Fleet>(QStringLiteral(AGENT_PROGRAM));
        QVERIFY(m_fleet->start(machines));
        QVERIFY(refresh());
    }
    void cleanup() { m_fleet.reset(); }

    void syncMakesAllAlike() {
        QVERIFY(rowsThatDiffer().size() > 8);
        m_fleet->answer.isForAll = true;
        QVERIFY(sync());
        QCOMPARE(rowsThatDiffer(), QStringList());
        const QList<Disk> after = disks();
        for (int machine = 1; machine < machines; ++machine)
            QCOMPARE(after.at(machine), after.first());
        const Disk expected{
            {u"Library/Plug-Ins/FxPlug/Chroma Fringe.fxplug"_s, u"1.5.0"_s},          // the newest
            {u"Library/Plug-Ins/FxPlug/Halftone Press.fxplug"_s, u"3.0"_s},           // most enable it
            {u"Library/Plug-Ins/FxPlug (Disabled)/Film Bloom.fxplug"_s, u"2.0.0"_s},  // from one to all
            {u"~/Library/Audio/Plug-Ins/Components/Voice De-Esser.component"_s, u"1.0.9"_s},
        };
        for (auto file = expected.begin(); file != expected.end(); ++file)
            QCOMPARE(after.first().value(file.key(), u"missing"_s), file.value());
        QCOMPARE(m_fleet->timesAsked, 1);
        QVERIFY(sync());
        QCOMPARE(disks(), after);
    }

    void boxesMoveFiles() {
        m_fleet->answer.isForAll = true;
        const QList<Disk> before = disks();
        const QList<RowTarget> both{{u"Aurora Glow"_s}, {u"Skyline Key"_s}};
        QVERIFY(m_fleet->run([&] { addonry().setDisabled(both, true); }));
        const RunRecord disabling = m_fleet->lastRun;
        QVERIFY(m_fleet->run([&] { addonry().setAccessType(both, 1); }));
        for (const Disk& disk : disks()) {
            QVERIFY(disk.contains(u"~/Library/Plug-Ins/FxPlug (Disabled)/Aurora Glow.fxplug"_s));
            QCOMPARE(disk.value(u"~/Library/Plug-Ins/FxPlug (Disabled)/Skyline Key.fxplug"_s), u"4.0.1"_s);
        }
        // Taken back in the other order: what was disabled is looked for where it is by then.
        const RunRecord moving = std::exchange(m_fleet->lastRun, disabling);
        QVERIFY(m_fleet->undo());
        m_fleet->lastRun = moving;
        QVERIFY(m_fleet->undo());
        QCOMPARE(m_fleet->complaint(), QString());
        QCOMPARE(disks(), before);
    }

    /// To every machine's own former state, and forth again.
    void undoes() {
        m_fleet->answer.isForAll = true;
        const QList<Disk> before = disks();
        for (const bool isSync : {false, true}) {
            QVERIFY(m_fleet->run(
                [&] { isSync ? addonry().addonrySyncAction() : addonry().addonryDisableAllAction(); }));
            const QList<Disk> after = disks();
            QVERIFY(after != before);
            QVERIFY(m_fleet->undo());
            const QList<Disk> undone = disks();
            for (int machine = 0; machine < machines; ++machine)  // what was installed stays
                for (const QString& file : before.at(machine).keys())
                    QVERIFY2(undone.at(machine).contains(file), qPrintable(file));
            QVERIFY(isSync || undone == before);
            QVERIFY(m_fleet->undo());
            QCOMPARE(disks(), after);
            QVERIFY(m_fleet->undo());
        }
    }

    void clientThatDropsOutIsLeftAsItWas() {
        constexpr int victim = 3;
        m_fleet->answer.isForAll = true;
        bool isKilled = false;
        const auto killing =
            connect(&m_fleet->console().taskThreads(), &TaskThreads::sheetChanged, this, [&] {
                const QString text = m_fleet->console().taskThreads().sheet().text;
                if (isKilled || !text.startsWith("Syncing ") || text < u"Syncing H"_s) return;
                isKilled = true;
                m_fleet->kill(victim);
            });
        QVERIFY(sync());
        disconnect(killing);
        QVERIFY(isKilled);
        const QList<Disk> after = disks();
        QCOMPARE(after.at(1), after.at(0));
        QVERIFY(after.at(victim) != after.at(0));
        for (auto file = after.at(victim).begin(); file != after.at(victim).end(); ++file)
            QVERIFY2(!file->isEmpty() || file.key().contains("Title Safe Guides"), qPrintable(file.key()));

        QVERIFY(m_fleet->startAgent(victim));
        QTRY_VERIFY_WITH_TIMEOUT(m_fleet->client(victim)->isConnected(), 20'000);
        QVERIFY(refresh());
        QVERIFY(sync());
        QCOMPARE(rowsThatDiffer(), QStringList());
        QCOMPARE(disks().at(victim), disks().at(0));
    }
};

ORLENDO_WIDGETS_TEST_MAIN(AddonryFleetTest)
#include "addonry_fleet_test.moc"
