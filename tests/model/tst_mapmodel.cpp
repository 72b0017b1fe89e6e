#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "support/mapbuild.h"

#include <QSignalSpy>
#include <QtTest>

class tst_MapModel : public QObject
{
    Q_OBJECT

private slots:
    void newUidSkipsHeldUids();
    void clearDeletesLightsThenGroupsAndReports();
    void groupFollowsItsMembers();
    void removingALightLeavesNoDanglingMembership();
    void forgettingTheAddressKeepsOtherProperties();
};

void tst_MapModel::newUidSkipsHeldUids()
{
    MapModel model;
    const quint64 first = model.newUid();
    QVERIFY(model.newUid() > first);

    // Occupy the next values with one object of each kind: the allocator must step over all.
    const quint64 base = model.newUid();
    QVERIFY(MapBuild::supply(model, "S", base + 1));
    QVERIFY(MapBuild::light(model, 0, 0, 0, "L", base + 2));
    QVERIFY(MapBuild::group(model, "G", {}, base + 3));
    QCOMPARE(model.newUid(), base + 4);

    // A second model shares the process-wide counter: uids never repeat within a run.
    MapModel other;
    QCOMPARE(other.newUid(), base + 5);
}

void tst_MapModel::clearDeletesLightsThenGroupsAndReports()
{
    MapModel model;
    for (quint64 uid = 1; uid <= 3; ++uid)
        QVERIFY(MapBuild::light(model, 0, 0, 0, "L", uid));
    QVERIFY(MapBuild::group(model, "G", {1, 2}, 10));
    QVERIFY(MapBuild::supply(model, "S", 20));

    QStringList events;
    connect(&model, &MapModel::deletedLight, this,
            [&](quint64 uid) { events << QString("L%1").arg(uid); });
    connect(&model, &MapModel::deletedGroup, this,
            [&](quint64 uid) { events << QString("G%1").arg(uid); });
    connect(&model, &MapModel::clearedMap, this, [&] { events << "cleared"; });
    QSignalSpy progress(&model, &MapModel::progressUpdated);
    model.clear();

    QCOMPARE(events.size(), 5);
    QVERIFY(events.at(0).startsWith('L') && events.at(1).startsWith('L') &&
            events.at(2).startsWith('L'));
    QCOMPARE(events.at(3), QStringLiteral("G10"));
    QCOMPARE(events.at(4), QStringLiteral("cleared"));
    QCOMPARE(progress.last().at(0).toInt(), 5);
    QVERIFY(model.isEmpty());
    QVERIFY(!model.light(1));
    // Clearing an empty map still reports, so a progress display always closes.
    QSignalSpy started(&model, &MapModel::progressStarted);
    model.clear();
    QCOMPARE(started.at(0).at(2).toString(), QStringLiteral("Clearing Map..."));
    QCOMPARE(events.size(), 6);
}

void tst_MapModel::groupFollowsItsMembers()
{
    MapModel model;
    QVERIFY(MapBuild::light(model, 0, 0, 0, "L", 1));
    // Group added after one member and before the other: both must be followed.
    QVERIFY(MapBuild::group(model, "G", {1, 2}, 10));
    QVERIFY(MapBuild::light(model, 0, 0, 0, "L", 2));
    QVERIFY(MapBuild::light(model, 0, 0, 0, "L", 3));

    QSignalSpy groupUpdates(&model, &MapModel::updatedGroup);
    model.light(1)->setName("renamed");
    model.light(2)->setName("renamed");
    model.light(3)->setName("not a member");
    QCOMPARE(groupUpdates.count(), 2);
    QCOMPARE(groupUpdates.at(0).at(0).toULongLong(), quint64(10));

    QVERIFY(model.addLightToGroup(10, 3));
    groupUpdates.clear();
    model.light(3)->setName("now a member");
    QCOMPARE(groupUpdates.count(), 1);

    QVERIFY(model.removeLightFromGroup(10, 3));
    groupUpdates.clear();
    model.light(3)->setName("gone again");
    QCOMPARE(groupUpdates.count(), 0);
}

void tst_MapModel::removingALightLeavesNoDanglingMembership()
{
    MapModel model;
    MapBuild::supply(model, "S", 20);
    MapBuild::light(model, 20, 0, 0, "L", 1);
    MapBuild::light(model, 20, 0, 0, "L", 2);
    MapBuild::group(model, "G", {1, 2}, 10);

    QSignalSpy deleted(&model, &MapModel::deletedLight);
    QVERIFY(model.removeLight(1));
    QVERIFY(!model.removeLight(1));
    QCOMPARE(deleted.count(), 1);
    QCOMPARE(model.group(10)->children(), QList<quint64>{2});
    QCOMPARE(model.dataSupply(20)->lights(), QList<quint64>{2});
    QVERIFY(model.groupsOfLight(1).isEmpty());
}

void tst_MapModel::forgettingTheAddressKeepsOtherProperties()
{
    DataSupply supply(DataSupply::VistraIp);
    supply.setUid(7);
    supply.setIpAddress(QHostAddress(QStringLiteral("10.1.2.3")));
    supply.setDeviceProperty(QStringLiteral("IPV4_IP_ADDRESS"), QStringLiteral("10.1.2.3"));
    supply.setDeviceProperty(QStringLiteral("DEVICE_VARIABLE_3"), QStringLiteral("17"));
    supply.setDeviceProperty(QStringLiteral("DEVICE_VARIABLE_12"), QStringLiteral("4"));
    supply.setDeviceProperty(QStringLiteral("IPV4_SUBNET_MASK"), QStringLiteral("255.0.0.0"));
    supply.setDeviceProperty(QStringLiteral("FIRMWARE_VERSION"), QStringLiteral("3"));
    QSignalSpy dropped(&supply, &DataSupply::updatedDataSupplyProperty);
    QSignalSpy updated(&supply, &DataSupply::updatedDataSupply);

    supply.forgetAddressData();

    QVERIFY(supply.ipText().isEmpty());
    QCOMPARE(QStringList(supply.deviceProperties().keys()),
             QStringList({"FIRMWARE_VERSION", "IPV4_SUBNET_MASK"}));
    QCOMPARE(dropped.count(), 3);
    for (const QList<QVariant> &args : qAsConst(dropped)) {
        QCOMPARE(args.at(0).toULongLong(), quint64(7));
        QVERIFY(DataSupply::isAddressProperty(args.at(1).toString()));
        QVERIFY(args.at(2).toString().isEmpty());
    }
    QCOMPARE(updated.count(), 1);

    // The new address brings its own text back.
    supply.setIpAddress(QHostAddress(QStringLiteral("10.9.8.7")));
    QCOMPARE(supply.ipText(), QByteArray("10.9.8.7"));
}

QTEST_GUILESS_MAIN(tst_MapModel)
#include "tst_mapmodel.moc"
