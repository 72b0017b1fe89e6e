#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QMetaMethod>
#include <QSignalSpy>
#include <QtTest>

class tst_MapModel : public QObject
{
    Q_OBJECT

private slots:
    void signalsInDeclaredOrder();
    void newUidSkipsHeldUids();
    void clearingAnEmptyModelStillReports();
    void clearDeletesLightsThenGroups();
    void groupFollowsItsMembers();
    void groupBoundsStartInverted();
    void removingALightLeavesNoDanglingMembership();
    void forgettingTheAddressKeepsOtherProperties();

private:
    static std::unique_ptr<Light> lightWithUid(quint64 uid)
    {
        auto l = std::make_unique<Light>();
        l->setUid(uid);
        return l;
    }
    static std::unique_ptr<Group> groupWithUid(quint64 uid, const QList<quint64> &members = {})
    {
        auto g = std::make_unique<Group>();
        g->setUid(uid);
        for (quint64 m : members)
            g->appendChild(m);
        return g;
    }
};

void tst_MapModel::signalsInDeclaredOrder()
{
    // Other parts of the program rely on this order (moc spells quint64 as qulonglong).
    const QString expected =
        "msg(QString) newDataSupply(qulonglong) newGroup(qulonglong) newLight(qulonglong) "
        "newImageFile(QString) updatedDataSupply(qulonglong) updatedLight(qulonglong) "
        "updatedLightPosition(qulonglong) updatedLightProperties(qulonglong,QString,QString) "
        "updatedLightProperty(qulonglong,QString,QString) updatedGroup(qulonglong) "
        "deletedGroup(qulonglong) deletedLight(qulonglong) clearedMap() propertiesCompiled() "
        "discoveredDataSupply(DataSupply*) progressStarted(int,int,QString) progressUpdated(int) "
        "progressTextChanged(QString)";
    const QMetaObject &mo = MapModel::staticMetaObject;
    QStringList actual;
    for (int i = mo.methodOffset(); i < mo.methodCount(); ++i) {
        if (mo.method(i).methodType() == QMetaMethod::Signal)
            actual << QString::fromLatin1(mo.method(i).methodSignature());
    }
    QCOMPARE(actual.join(QLatin1Char(' ')), expected);
}

void tst_MapModel::newUidSkipsHeldUids()
{
    MapModel model;
    const quint64 first = model.newUid();
    QVERIFY(model.newUid() > first);

    // Occupy the next values with one object of each kind: the allocator must step over all.
    const quint64 base = model.newUid();
    auto supply = std::make_unique<DataSupply>(2);
    supply->setUid(base + 1);
    QVERIFY(model.addDataSupply(std::move(supply)));
    QVERIFY(model.addLight(lightWithUid(base + 2)));
    QVERIFY(model.addGroup(groupWithUid(base + 3)));
    QCOMPARE(model.newUid(), base + 4);

    // A second model shares the process-wide counter: uids never repeat within a run.
    MapModel other;
    QCOMPARE(other.newUid(), base + 5);
}

void tst_MapModel::clearingAnEmptyModelStillReports()
{
    MapModel model;
    QSignalSpy started(&model, &MapModel::progressStarted);
    QSignalSpy cleared(&model, &MapModel::clearedMap);
    model.clear();
    QCOMPARE(started.count(), 1);
    QCOMPARE(started.at(0).at(2).toString(), QStringLiteral("Clearing Map..."));
    QCOMPARE(cleared.count(), 1);
}

void tst_MapModel::clearDeletesLightsThenGroups()
{
    MapModel model;
    for (quint64 uid = 1; uid <= 3; ++uid)
        QVERIFY(model.addLight(lightWithUid(uid)));
    QVERIFY(model.addGroup(groupWithUid(10, {1, 2})));
    auto supply = std::make_unique<DataSupply>(2);
    supply->setUid(20);
    QVERIFY(model.addDataSupply(std::move(supply)));

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
}

void tst_MapModel::groupFollowsItsMembers()
{
    MapModel model;
    QVERIFY(model.addLight(lightWithUid(1)));
    // Group added after one member and before the other: both must be followed.
    QVERIFY(model.addGroup(groupWithUid(10, {1, 2})));
    QVERIFY(model.addLight(lightWithUid(2)));
    QVERIFY(model.addLight(lightWithUid(3)));

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

void tst_MapModel::groupBoundsStartInverted()
{
    // Bounds start inverted, so that the first light included sets them; a member that is
    // not a light of the map counts for nothing.
    Group group;
    QVERIFY(!group.hasBounds());
    group.includeInBounds(-5, 7);
    QCOMPARE(group.bounds(), QRectF(QPointF(-5, 7), QPointF(-5, 7)));

    MapModel model;
    auto a = lightWithUid(1);
    a->setPosition(12, 24, 0);
    auto b = lightWithUid(2);
    b->setPosition(-36, 48, 0);
    model.addLight(std::move(a));
    model.addLight(std::move(b));
    model.addGroup(groupWithUid(10, {1, 2, 999}));
    QCOMPARE(model.groupBounds(10), QRectF(QPointF(-36, 24), QPointF(12, 48)));
}

void tst_MapModel::removingALightLeavesNoDanglingMembership()
{
    MapModel model;
    auto supply = std::make_unique<DataSupply>(2);
    supply->setUid(20);
    supply->addLight(1);
    supply->addLight(2);
    model.addDataSupply(std::move(supply));
    auto light = lightWithUid(1);
    light->setDataSupply(20);
    model.addLight(std::move(light));
    model.addLight(lightWithUid(2));
    model.addGroup(groupWithUid(10, {1, 2}));

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
    QCOMPARE(
        supply.deviceProperties().keys(),
        (QList<QString>{QStringLiteral("FIRMWARE_VERSION"), QStringLiteral("IPV4_SUBNET_MASK")}));
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
