#include "layout/creationrules.h"
#include "layout/creationundoaction.h"
#include "layout/lightcreator.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QBuffer>
#include <QtTest>

using namespace CreationRules;

class tst_LightCreator final : public QObject
{
    Q_OBJECT
private slots:
    void namesAndAddresses_data();
    void namesAndAddresses();
    void refusalsLeaveTheMapUntouched_data();
    void refusalsLeaveTheMapUntouched();
    void cancelKeepsWhatWasMade();
    void countLimits_data();
    void countLimits();
    void hostileNamesSurviveSaveAndLoad_data();
    void hostileNamesSurviveSaveAndLoad();
    void undoRemovesAndRedoRestores();
    void autoSetFollowsTheLastUsedChannel();
    void handMadeInterfacesAreToldApartByName();

private:
    static quint64 addSupply(MapModel &model, quint64 serial);
};

quint64 tst_LightCreator::addSupply(MapModel &model, quint64 serial)
{
    auto supply = std::make_unique<DataSupply>(DataSupply::VistraIp);
    const quint64 uid = model.newUid();
    supply->setUid(uid);
    supply->setSerialNumber(serial);
    supply->setName(QStringLiteral("Roof"));
    model.addDataSupply(std::move(supply));
    return uid;
}

static CreationRequest request(int count)
{
    CreationRequest r;
    r.properties.insert(QStringLiteral("LED_CHEMISTRY"), QStringLiteral("1"));
    r.positions = runPositions(count, RunDirection::Horizontal, 12, QRectF());
    return r;
}

void tst_LightCreator::namesAndAddresses_data()
{
    QTest::addColumn<bool>("existing");
    QTest::addColumn<QString>("baseName");
    QTest::addColumn<int>("baseDmx");
    QTest::addColumn<int>("port");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QStringList>("offsets");
    QTest::newRow("new interface, default name")
        << false << "Light" << 1 << 1 << QStringList{"Light  01-001", "Light  01-002", "Light  01-003"}
        << QStringList{"0", "3", "6"};
    QTest::newRow("new interface, empty name")
        << false << "" << 4 << 2 << QStringList{" 02-002", " 02-003", " 02-004"}
        << QStringList{"3", "6", "9"};
    QTest::newRow("existing interface, rolls over")
        << true << "Bay" << 507 << 1 << QStringList{"Bay  01-169", "Bay  01-170", "Bay  02-001"}
        << QStringList{"506", "509", "0"};
}

void tst_LightCreator::namesAndAddresses()
{
    QFETCH(bool, existing);
    QFETCH(QString, baseName);
    QFETCH(int, baseDmx);
    QFETCH(int, port);
    QFETCH(QStringList, names);
    QFETCH(QStringList, offsets);
    MapModel model;
    const quint64 roof = addSupply(model, 0x1A2B3C);
    CreationRequest r = request(3);
    r.baseName = baseName;
    r.baseDmxAddress = baseDmx;
    r.port = port;
    r.ports = 2;
    if (existing) {
        r.interfaceChoice = CreationRequest::InterfaceChoice::Existing;
        r.interfaceText = QStringLiteral("1A2B3C Roof");
    }
    LightCreator creator(model, r);
    QVERIFY(!creator.prepare());
    creator.run(1, {});
    QCOMPARE(creator.createdLights().size(), 3);
    const DataSupply *supply = model.dataSupply(creator.supplyUid());
    QVERIFY(supply);
    QCOMPARE(supply->uid() == roof, existing);
    if (!existing) {
        QCOMPARE(supply->type(), 2u);
        QCOMPARE(supply->name(), namePrefix(baseName) + " Interface");
    }
    QCOMPARE(supply->lights(), creator.createdLights());
    for (int i = 0; i < 3; ++i) {
        const Light *light = model.light(creator.createdLights().at(i));
        QCOMPARE(light->name(), names.at(i));
        QCOMPARE(light->deviceProperty("DMX_OFFSET"), offsets.at(i));
        QCOMPARE(light->dataSupply(), supply->uid());
    }
}

void tst_LightCreator::refusalsLeaveTheMapUntouched_data()
{
    QTest::addColumn<QString>("interfaceText");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("baseDmx");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text");
    QTest::newRow("serial does not parse") << "Roof" << 3 << 1 << "Parse Error"
                                           << "Unable to parse serial number of selected controller";
    QTest::newRow("no interface at all") << "" << 3 << 1 << "Parse Error"
                                         << "Unable to parse serial number of selected controller";
    QTest::newRow("serial not in the map") << "DEADBEEF Gone" << 3 << 1 << "Find Failure"
                                           << "Unable to find specified controller in map";
    QTest::newRow("needs more ports") << "1A2B3C" << 171 << 1 << "Error" << "";
    QTest::newRow("DMX 512 with three channels") << "1A2B3C" << 1 << 512 << "Error" << "";
}

void tst_LightCreator::refusalsLeaveTheMapUntouched()
{
    QFETCH(QString, interfaceText);
    QFETCH(int, count);
    QFETCH(int, baseDmx);
    QFETCH(QString, title);
    QFETCH(QString, text);
    MapModel model;
    addSupply(model, 0x1A2B3C);
    CreationRequest r = request(count);
    r.interfaceChoice = CreationRequest::InterfaceChoice::Existing;
    r.interfaceText = interfaceText;
    r.baseDmxAddress = baseDmx;
    LightCreator creator(model, r);
    const auto problem = creator.prepare();
    QVERIFY(problem);
    QCOMPARE(problem->title, title);
    if (!text.isEmpty())
        QCOMPARE(problem->text, text);
    QCOMPARE(model.lightCount(), 0);
    QCOMPARE(model.dataSupplyCount(), 1);
}

void tst_LightCreator::cancelKeepsWhatWasMade()
{
    MapModel model;
    CreationRequest r = request(1000);
    r.ports = 6;
    LightCreator creator(model, r);
    QVERIFY(!creator.prepare());
    QList<int> reports;
    creator.run(progressInterval(1000), [&](int made) {
        reports.append(made);
        return made < 500;
    });
    QCOMPARE(reports.size(), 50);
    QCOMPARE(reports.first(), 10);
    QCOMPARE(model.lightCount(), 500);
    QCOMPARE(creator.createdLights().size(), 500);
}

void tst_LightCreator::countLimits_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("ports");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("0") << 0 << 1 << true;
    QTest::newRow("the maximum") << kMaxLights << 89 << true;
    QTest::newRow("past the maximum") << kMaxLights + 1 << 255 << false;
}

void tst_LightCreator::countLimits()
{
    QFETCH(int, count);
    QFETCH(int, ports);
    QFETCH(bool, accepted);
    MapModel model;
    CreationRequest r = request(count);
    r.ports = ports;
    LightCreator creator(model, r);
    QCOMPARE(!creator.prepare(), accepted);
    if (accepted)
        creator.run(1000, {});
    QCOMPARE(model.lightCount(), accepted ? count : 0);
    // Nothing to make, nothing made: no empty interface either.
    QCOMPARE(model.dataSupplyCount(), accepted && count > 0 ? 1 : 0);
}

void tst_LightCreator::hostileNamesSurviveSaveAndLoad_data()
{
    QTest::addColumn<QString>("baseName");
    QTest::newRow("1,000 characters") << QString(1000, QLatin1Char('x'));
    QTest::newRow("XML-special") << QStringLiteral("<a href=\"x\"> & 'b' ]]>");
}

void tst_LightCreator::hostileNamesSurviveSaveAndLoad()
{
    QFETCH(QString, baseName);
    MapModel model;
    CreationRequest r = request(2);
    r.baseName = baseName;
    LightCreator creator(model, r);
    QVERIFY(!creator.prepare());
    creator.run(10, {});
    QBuffer buffer;
    QVERIFY(buffer.open(QIODevice::ReadWrite));
    QVERIFY(model.saveToDevice(buffer));
    buffer.seek(0);
    MapModel loaded;
    QVERIFY(loaded.loadFromDevice(buffer));
    QCOMPARE(loaded.lightCount(), 2);
    const Light *light = loaded.light(creator.createdLights().at(1));
    QVERIFY(light);
    QCOMPARE(light->name(), baseName + "  01-002");
    QCOMPARE(light->deviceProperty("DMX_OFFSET"), QStringLiteral("3"));
    QCOMPARE(loaded.dataSupply(creator.supplyUid())->name(), baseName + "  Interface");
}

void tst_LightCreator::undoRemovesAndRedoRestores()
{
    MapModel model;
    LightCreator creator(model, request(4));
    QVERIFY(!creator.prepare());
    creator.run(1, {});
    // The interface made for the lights goes with them, and comes back with them.
    CreationUndoAction action(creator.createdLights(), creator.supplyUid());
    QSignalSpy supplyGone(&model, &MapModel::updatedDataSupply);
    action.apply(model, nullptr);
    QCOMPARE(model.lightCount(), 0);
    QCOMPARE(model.dataSupplyCount(), 0);
    // Told as a change of a supply the model no longer holds.
    QVERIFY(!supplyGone.isEmpty());
    QCOMPARE(supplyGone.constLast().at(0).toULongLong(), creator.supplyUid());
    QSignalSpy added(&model, &MapModel::newLight);
    action.apply(model, nullptr);
    QCOMPARE(added.count(), 4);
    QCOMPARE(model.dataSupply(creator.supplyUid())->lights(), creator.createdLights());
    const Light *light = model.light(creator.createdLights().at(3));
    QCOMPARE(light->name(), QStringLiteral("Light  01-004"));
    QCOMPARE(light->x(), 48.0);
}

void tst_LightCreator::autoSetFollowsTheLastUsedChannel()
{
    MapModel model;
    const quint64 roof = addSupply(model, 0x1A2B3C);
    const DataSupply &supply = *model.dataSupply(roof);
    QCOMPARE(autoSetDmxAddress(LightCreator::lastUsedChannel(model, supply, 0)), 1);
    CreationRequest r = request(2);
    r.interfaceChoice = CreationRequest::InterfaceChoice::Existing;
    r.interfaceText = LightCreator::interfaceText(supply);
    r.baseDmxAddress = 11;
    LightCreator creator(model, r);
    QVERIFY(!creator.prepare());
    creator.run(1, {});
    // Lights at offsets 10 and 13, three channels each: channels up to 15 are used.
    QCOMPARE(LightCreator::lastUsedChannel(model, supply, 0), 15);
    QCOMPARE(autoSetDmxAddress(15), 17);
    QCOMPARE(LightCreator::lastUsedChannel(model, supply, 1), 0);
}


// Interfaces made by hand share the unknown serial FFFFFFFF: the one the combo box names (serial
// and name) receives the lights, whichever the map's hash lists first.
void tst_LightCreator::handMadeInterfacesAreToldApartByName()
{
    MapModel model;
    QList<quint64> made;
    for (const char *name : {"North", "South", "West"}) {
        CreationRequest r = request(1);
        r.baseName = QLatin1String(name);
        LightCreator creator(model, r);
        QVERIFY(!creator.prepare());
        creator.run(1, {});
        made << creator.supplyUid();
    }
    for (int i = 0; i < made.size(); ++i) {
        CreationRequest r = request(2);
        r.interfaceChoice = CreationRequest::InterfaceChoice::Existing;
        r.interfaceText = LightCreator::interfaceText(*model.dataSupply(made.at(i)));
        LightCreator creator(model, r);
        QVERIFY(!creator.prepare());
        QCOMPARE(creator.supplyUid(), made.at(i));
    }
}

QTEST_GUILESS_MAIN(tst_LightCreator)
#include "tst_lightcreator.moc"
