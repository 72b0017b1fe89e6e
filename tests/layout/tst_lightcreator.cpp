// Making lights: the rules (shapes, numbering, DMX slots across ports, names) and what the
// creator does in a map (refusals, cancelling, undo). The command line's wiring: tst_cli.
#include "layout/creationrules.h"
#include "layout/creationundoaction.h"
#include "layout/lightcreator.h"
#include "support/mapbuild.h"

#include <QtTest>

using namespace CreationRules;

Q_DECLARE_METATYPE(CreationRules::StringShape)
Q_DECLARE_METATYPE(CreationRules::NumberingOrder)

namespace {

CreationRequest request(int count, const QString &existingInterface = QString())
{
    CreationRequest r;
    r.properties.insert(QStringLiteral("LED_CHEMISTRY"), QStringLiteral("1"));
    r.positions = runPositions(count, RunDirection::Horizontal, 12, QRectF());
    if (!existingInterface.isNull()) {
        r.interfaceChoice = CreationRequest::InterfaceChoice::Existing;
        r.interfaceText = existingInterface;
    }
    return r;
}

} // namespace

class tst_LightCreator final : public QObject
{
    Q_OBJECT
private slots:
    void shapes_data();
    void shapes();
    void dmxSlots_data();
    void dmxSlots();
    void requests_data();
    void requests();
    void cancelUndoRedo();
    void handMadeInterfacesAreToldApartByName();
};

// Where a shape puts its lights next to existing ones ending at (100, 50), on a grid of 10
// (rows or columns a shape does not use are ignored), and the numbers an order gives them.
void tst_LightCreator::shapes_data()
{
    QTest::addColumn<StringShape>("shape");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("columns");
    QTest::addColumn<bool>("right");
    QTest::addColumn<NumberingOrder>("order");
    QTest::addColumn<QVector<QPoint>>("positions");
    QTest::addColumn<QVector<int>>("numbers"); // of the cells in creation order
    using P = QVector<QPoint>;
    using N = QVector<int>;
    const NumberingOrder plain;
    QTest::newRow("horizontal below") << StringShape::Horizontal << 7 << 3 << false << plain
                                      << P({{10, 70}, {20, 70}, {30, 70}}) << N{0, 1, 2};
    QTest::newRow("vertical right") << StringShape::Vertical << 3 << 7 << true << plain
                                    << P({{120, 10}, {120, 20}, {120, 30}}) << N{0, 1, 2};
    QTest::newRow("back-slash below") << StringShape::BackSlash << 5 << 3 << false << plain
                                      << P({{10, 70}, {20, 80}, {30, 90}}) << N{0, 1, 2};
    QTest::newRow("forward-slash below keeps its top")
        << StringShape::ForwardSlash << 5 << 3 << false << NumberingOrder{true, false, false}
        << P({{10, 90}, {20, 80}, {30, 70}}) << N{2, 1, 0};
    const P tile{{120, 10}, {130, 10}, {140, 10}, {120, 20}, {130, 20}, {140, 20}};
    QTest::newRow("tile right, snake from top left")
        << StringShape::Tile << 2 << 3 << true << plain << tile << N{0, 1, 2, 5, 4, 3};
    QTest::newRow("tile, raster from top right")
        << StringShape::Tile << 2 << 3 << true << NumberingOrder{true, false, true} << tile
        << N{2, 1, 0, 5, 4, 3};
    QTest::newRow("tile, snake from bottom right")
        << StringShape::Tile << 2 << 3 << true << NumberingOrder{true, true, false} << tile
        << N{3, 4, 5, 2, 1, 0};
}

void tst_LightCreator::shapes()
{
    QFETCH(StringShape, shape);
    QFETCH(int, rows);
    QFETCH(int, columns);
    QFETCH(bool, right);
    QFETCH(NumberingOrder, order);
    const ShapeRaster raster = rasterFor(shape, rows, columns);
    const QPoint origin =
        stringOrigin(raster, right ? StringPlacement::Right : StringPlacement::Below, 10,
                     QRectF(QPointF(0, 0), QPointF(100, 50)));
    QTEST(stringPositions(raster, 10, origin), "positions");
    QTEST(numberingSequence(raster, order), "numbers");
}

void tst_LightCreator::dmxSlots_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("baseOffset");
    QTest::addColumn<int>("ports");
    QTest::addColumn<int>("lastPort"); // -1: refused
    QTest::addColumn<int>("lastOffset");
    QTest::newRow("exactly fills the port") << 170 << 3 << 2 << 1 << 1 << 509;
    QTest::newRow("rolls over to the next port") << 171 << 3 << 0 << 2 << 2 << 0;
    QTest::newRow("one channel at DMX 512") << 1 << 1 << 511 << 1 << 1 << 511;
    QTest::newRow("three channels at DMX 512 start the next port") << 1 << 3 << 511 << 2 << 2 << 0;
    QTest::newRow("three channels at DMX 512, one port") << 1 << 3 << 511 << 1 << -1 << -1;
    QTest::newRow("more ports needed than allowed") << 1000 << 3 << 0 << 5 << -1 << -1;
    QTest::newRow("no lights") << 0 << 3 << 0 << 1 << 0 << 0;
}

void tst_LightCreator::dmxSlots()
{
    QFETCH(int, count);
    QFETCH(int, channels);
    QFETCH(int, baseOffset);
    QFETCH(int, ports);
    QFETCH(int, lastPort);
    QFETCH(int, lastOffset);
    const auto planned = CreationRules::dmxSlots(count, channels, 1, baseOffset, ports);
    QCOMPARE(bool(planned), lastPort >= 0);
    if (!planned || count == 0)
        return;
    QCOMPARE(planned->size(), count);
    QCOMPARE(planned->constLast(), (DmxSlot{lastPort, lastOffset}));
    QCOMPARE(portsNeeded(count, channels, baseOffset), lastPort);
    for (const DmxSlot &slot : *planned)
        QVERIFY(slot.offset + channels <= kChannelsPerPort);
}

// What a request makes in a map holding the interface "1A2B3C Roof": the name of the interface
// it fills, then its lights as "name @DMX_OFFSET" (the first ones, in order); or what prepare()
// refuses ("title: text"), leaving the map as it was. A new interface is made only when there
// is a light to put on it.
void tst_LightCreator::requests_data()
{
    QTest::addColumn<QString>("existing"); // null: a new interface
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("baseDmx");
    QTest::addColumn<int>("port");
    QTest::addColumn<int>("ports");
    QTest::addColumn<QString>("baseName");
    QTest::addColumn<QString>("typeText");
    QTest::addColumn<QStringList>("expected");
    const QString none;
    QTest::newRow("new interface, default name")
        << none << 3 << 1 << 1 << 2 << "Light"
        << ""
        << QStringList{"Light  Interface", "Light  01-001 @0", "Light  01-002 @3",
                       "Light  01-003 @6"};
    QTest::newRow("new interface, empty name")
        << none << 3 << 4 << 2 << 2 << ""
        << "" << QStringList{" Interface", " 02-002 @3", " 02-003 @6", " 02-004 @9"};
    QTest::newRow("type text, past two digits")
        << none << 3 << 505 << 100 << 2 << "Cove"
        << "RGB"
        << QStringList{"Cove  Interface", "Cove RGB 100-169 @504", "Cove RGB 100-170 @507",
                       "Cove RGB 101-001 @0"};
    QTest::newRow("existing interface, rolls over")
        << "1A2B3C Roof" << 3 << 507 << 1 << 2 << "Bay"
        << "" << QStringList{"Roof", "Bay  01-169 @506", "Bay  01-170 @509", "Bay  02-001 @0"};
    QTest::newRow("none") << none << 0 << 1 << 1 << 1 << "Light"
                          << "" << QStringList();
    QTest::newRow("the maximum") << none << kMaxLights << 1 << 1 << 89 << "Light"
                                 << "" << QStringList{"Light  Interface", "Light  01-001 @0"};
    QTest::newRow("serial does not parse")
        << "Roof" << 3 << 1 << 1 << 1 << "Light"
        << "" << QStringList{"Parse Error: Unable to parse serial number of selected controller"};
    QTest::newRow("serial not in the map")
        << "DEADBEEF Gone" << 3 << 1 << 1 << 1 << "Light"
        << "" << QStringList{"Find Failure: Unable to find specified controller in map"};
    QTest::newRow("needs more ports")
        << "1A2B3C" << 171 << 1 << 1 << 1 << "Light"
        << ""
        << QStringList{"Error: 171 lights of 3 channels from DMX address 1 of port 1 need 2 "
                       "ports; 1 allowed (ports end at 255)."};
    QTest::newRow("past the maximum count")
        << "1A2B3C" << kMaxLights + 1 << 1 << 1 << 255 << "Light"
        << "" << QStringList{"Error: At most 15000 lights can be made at once."};
}

void tst_LightCreator::requests()
{
    QFETCH(QString, existing);
    QFETCH(int, count);
    QFETCH(QStringList, expected);
    MapModel model;
    model.dataSupply(MapBuild::supply(model, QStringLiteral("Roof")))->setSerialNumber(0x1A2B3C);
    CreationRequest r = request(count, existing);
    QFETCH(int, baseDmx);
    QFETCH(int, port);
    QFETCH(int, ports);
    QFETCH(QString, baseName);
    QFETCH(QString, typeText);
    r.baseDmxAddress = baseDmx;
    r.port = port;
    r.ports = ports;
    r.baseName = baseName;
    r.typeText = typeText;
    LightCreator creator(model, r);
    QStringList made;
    if (const auto refused = creator.prepare()) {
        made << refused->title + ": " + refused->text;
    } else {
        creator.run(1000, {});
        if (const DataSupply *supply = model.dataSupply(creator.supplyUid())) {
            QCOMPARE(supply->lights(), creator.createdLights());
            made << supply->name();
        }
        for (const quint64 uid : creator.createdLights().mid(0, expected.size() - 1)) {
            const Light *light = model.light(uid);
            QCOMPARE(light->dataSupply(), creator.supplyUid());
            made << light->name() + " @" + light->deviceProperty("DMX_OFFSET");
        }
    }
    QCOMPARE(made, expected);
    QCOMPARE(model.lightCount(), made.size() > 1 ? count : 0);
    QCOMPARE(model.dataSupplyCount(), existing.isNull() && made.size() > 1 ? 2 : 1);
}

// A cancelled run keeps what it made; undo takes those lights and the interface made for them
// away (told as a change of a supply the model no longer holds), redo brings them back. The
// next free DMX address of a port follows its last used channel.
void tst_LightCreator::cancelUndoRedo()
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
    // Smaller runs report every light; never every 0th (the interval divides).
    QCOMPARE(progressInterval(150), 1);
    QCOMPARE(progressInterval(0), 1);
    QCOMPARE(creator.createdLights().size(), 500);

    CreationUndoAction action(creator.createdLights(), creator.supplyUid());
    QSignalSpy supplyGone(&model, &MapModel::updatedDataSupply);
    action.apply(model, nullptr);
    QCOMPARE(model.lightCount(), 0);
    QCOMPARE(model.dataSupplyCount(), 0);
    QVERIFY(!supplyGone.isEmpty());
    QCOMPARE(supplyGone.constLast().at(0).toULongLong(), creator.supplyUid());
    QSignalSpy added(&model, &MapModel::newLight);
    action.apply(model, nullptr);
    QCOMPARE(added.count(), 500);
    const DataSupply &supply = *model.dataSupply(creator.supplyUid());
    QCOMPARE(supply.lights(), creator.createdLights());
    const Light *light = model.light(creator.createdLights().at(3));
    QCOMPARE(light->name(), QStringLiteral("Light  01-004"));
    QCOMPARE(light->x(), 48.0);
    // Port 3 holds lights 341 to 500, three channels each: channels up to 479 are used.
    QCOMPARE(LightCreator::lastUsedChannel(model, supply, 2), 479);
    QCOMPARE(autoSetDmxAddress(479), 481);
    QCOMPARE(autoSetDmxAddress(LightCreator::lastUsedChannel(model, supply, 5)), 1);
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
    for (const quint64 uid : made) {
        LightCreator creator(model,
                             request(2, LightCreator::interfaceText(*model.dataSupply(uid))));
        QVERIFY(!creator.prepare());
        QCOMPARE(creator.supplyUid(), uid);
    }
}

QTEST_GUILESS_MAIN(tst_LightCreator)
#include "tst_lightcreator.moc"
