// Making lights: the rules (where a shape puts its lights, DMX slots across ports, names,
// numbering orders) and what the creator does with them in a map (refusals that change
// nothing, cancelling, undo, the interface it fills). The command line's wiring: tst_cli.
#include "layout/creationrules.h"
#include "layout/creationundoaction.h"
#include "layout/lightcreator.h"
#include "support/mapbuild.h"

#include <QtTest>

using namespace CreationRules;

Q_DECLARE_METATYPE(CreationRules::StringShape)

namespace {

QVector<QPoint> points(std::initializer_list<std::pair<int, int>> list)
{
    QVector<QPoint> result;
    for (const auto &p : list)
        result.append(QPoint(p.first, p.second));
    return result;
}

quint64 addSupply(MapModel &model, quint64 serial)
{
    const quint64 uid = MapBuild::supply(model, QStringLiteral("Roof"));
    model.dataSupply(uid)->setSerialNumber(serial);
    return uid;
}

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
    void shapePositions_data();
    void shapePositions();
    void dmxSlots_data();
    void dmxSlots();
    void numbering_data();
    void numbering();
    void namesAndAddresses_data();
    void namesAndAddresses();
    void prepareRefusesOrMakesAll_data();
    void prepareRefusesOrMakesAll();
    void cancelKeepsWhatWasMade();
    void undoRemovesAndRedoRestores();
    void autoSetFollowsTheLastUsedChannel();
    void handMadeInterfacesAreToldApartByName();
};

void tst_LightCreator::shapePositions_data()
{
    QTest::addColumn<StringShape>("shape");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("columns");
    QTest::addColumn<bool>("right");
    QTest::addColumn<QVector<QPoint>>("expected");
    // Existing lights end at (100, 50); grid 10. Rows or columns a shape does not use are
    // ignored.
    QTest::newRow("horizontal below")
        << StringShape::Horizontal << 7 << 3 << false << points({{10, 70}, {20, 70}, {30, 70}});
    QTest::newRow("vertical right")
        << StringShape::Vertical << 3 << 7 << true << points({{120, 10}, {120, 20}, {120, 30}});
    QTest::newRow("back-slash below")
        << StringShape::BackSlash << 5 << 3 << false << points({{10, 70}, {20, 80}, {30, 90}});
    QTest::newRow("forward-slash below keeps its top")
        << StringShape::ForwardSlash << 5 << 3 << false << points({{10, 90}, {20, 80}, {30, 70}});
    QTest::newRow("tile right") << StringShape::Tile << 2 << 2 << true
                                << points({{120, 10}, {130, 10}, {120, 20}, {130, 20}});
}

void tst_LightCreator::shapePositions()
{
    QFETCH(StringShape, shape);
    QFETCH(int, rows);
    QFETCH(int, columns);
    QFETCH(bool, right);
    const ShapeRaster raster = rasterFor(shape, rows, columns);
    const QPoint origin =
        stringOrigin(raster, right ? StringPlacement::Right : StringPlacement::Below, 10,
                     QRectF(QPointF(0, 0), QPointF(100, 50)));
    QTEST(stringPositions(raster, 10, origin), "expected");
}

void tst_LightCreator::dmxSlots_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("baseOffset");
    QTest::addColumn<int>("ports");
    QTest::addColumn<int>("lastPort"); // -1: refused
    QTest::addColumn<int>("lastOffset");
    QTest::newRow("one port") << 3 << 3 << 0 << 1 << 1 << 6;
    QTest::newRow("exactly fills the port") << 170 << 3 << 2 << 1 << 1 << 509;
    QTest::newRow("rolls over to the next port") << 171 << 3 << 0 << 2 << 2 << 0;
    QTest::newRow("one channel at DMX 512") << 1 << 1 << 511 << 1 << 1 << 511;
    QTest::newRow("three channels at DMX 512 start the next port") << 1 << 3 << 511 << 2 << 2 << 0;
    QTest::newRow("three channels at DMX 512, one port") << 1 << 3 << 511 << 1 << -1 << -1;
    QTest::newRow("more ports needed than allowed") << 1000 << 3 << 0 << 5 << -1 << -1;
    QTest::newRow("1,000 lights on 6 ports") << 1000 << 3 << 0 << 6 << 6 << 149 * 3;
    QTest::newRow("10,000 lights on 59 ports") << 10000 << 3 << 0 << 59 << 59 << 139 * 3;
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

void tst_LightCreator::numbering_data()
{
    QTest::addColumn<bool>("rightToLeft");
    QTest::addColumn<bool>("bottomToTop");
    QTest::addColumn<bool>("raster");
    QTest::addColumn<QVector<int>>("expected");
    // A 2 x 3 tile; cells in creation order (row by row), values their numbers.
    QTest::newRow("snake from top left")
        << false << false << false << QVector<int>{0, 1, 2, 5, 4, 3};
    QTest::newRow("raster from top left")
        << false << false << true << QVector<int>{0, 1, 2, 3, 4, 5};
    QTest::newRow("raster from top right")
        << true << false << true << QVector<int>{2, 1, 0, 5, 4, 3};
    QTest::newRow("snake from bottom left")
        << false << true << false << QVector<int>{5, 4, 3, 0, 1, 2};
    QTest::newRow("snake from bottom right")
        << true << true << false << QVector<int>{3, 4, 5, 2, 1, 0};
}

void tst_LightCreator::numbering()
{
    QFETCH(bool, rightToLeft);
    QFETCH(bool, bottomToTop);
    QFETCH(bool, raster);
    QTEST(numberingSequence(ShapeRaster{2, 3, 0}, NumberingOrder{rightToLeft, bottomToTop, raster}),
          "expected");
}

// The interface a request fills, and each light's name and DMX_OFFSET ("name @offset").
void tst_LightCreator::namesAndAddresses_data()
{
    QTest::addColumn<QString>("existing"); // null: a new interface
    QTest::addColumn<QString>("baseName");
    QTest::addColumn<QString>("typeText");
    QTest::addColumn<int>("baseDmx");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("supply");
    QTest::addColumn<QStringList>("lights");
    QTest::newRow("new interface, default name")
        << QString() << "Light"
        << "" << 1 << 1 << "Light  Interface"
        << QStringList{"Light  01-001 @0", "Light  01-002 @3", "Light  01-003 @6"};
    QTest::newRow("new interface, empty name")
        << QString() << ""
        << "" << 4 << 2 << " Interface" << QStringList{" 02-002 @3", " 02-003 @6", " 02-004 @9"};
    QTest::newRow("type text, past two digits")
        << QString() << "Cove"
        << "RGB" << 505 << 100 << "Cove  Interface"
        << QStringList{"Cove RGB 100-169 @504", "Cove RGB 100-170 @507", "Cove RGB 101-001 @0"};
    QTest::newRow("existing interface, rolls over")
        << "1A2B3C Roof"
        << "Bay"
        << "" << 507 << 1 << "Roof"
        << QStringList{"Bay  01-169 @506", "Bay  01-170 @509", "Bay  02-001 @0"};
}

void tst_LightCreator::namesAndAddresses()
{
    QFETCH(QString, existing);
    QFETCH(QString, baseName);
    QFETCH(QString, typeText);
    QFETCH(int, baseDmx);
    QFETCH(int, port);
    MapModel model;
    addSupply(model, 0x1A2B3C);
    CreationRequest r = request(3, existing);
    r.baseName = baseName;
    r.typeText = typeText;
    r.baseDmxAddress = baseDmx;
    r.port = port;
    r.ports = 2;
    LightCreator creator(model, r);
    QVERIFY(!creator.prepare());
    creator.run(1, {});
    const DataSupply *supply = model.dataSupply(creator.supplyUid());
    QVERIFY(supply);
    QCOMPARE(supply->type(), 2u);
    QTEST(supply->name(), "supply");
    QCOMPARE(supply->lights(), creator.createdLights());
    QStringList lights;
    for (const quint64 uid : creator.createdLights()) {
        const Light *light = model.light(uid);
        QCOMPARE(light->dataSupply(), supply->uid());
        lights << light->name() + " @" + light->deviceProperty("DMX_OFFSET");
    }
    QTEST(lights, "lights");
}

// What prepare() refuses ("title: text"), leaving the map as it was; or, when it accepts,
// that every light is made, on a new interface only when there is a light to put on it.
void tst_LightCreator::prepareRefusesOrMakesAll_data()
{
    QTest::addColumn<QString>("interfaceText"); // null: a new interface
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("baseDmx");
    QTest::addColumn<int>("ports");
    QTest::addColumn<QString>("problem");
    const QString parse = "Parse Error: Unable to parse serial number of selected controller";
    QTest::newRow("serial does not parse") << "Roof" << 3 << 1 << 1 << parse;
    QTest::newRow("no interface at all") << "" << 3 << 1 << 1 << parse;
    QTest::newRow("serial not in the map")
        << "DEADBEEF Gone" << 3 << 1 << 1
        << "Find Failure: Unable to find specified controller in map";
    QTest::newRow("needs more ports") << "1A2B3C" << 171 << 1 << 1
                                      << "Error: 171 lights of 3 channels from DMX address 1 of "
                                         "port 1 need 2 ports; 1 allowed (ports end at 255).";
    QTest::newRow("DMX 512 with three channels")
        << "1A2B3C" << 1 << 512 << 1
        << "Error: 1 lights of 3 channels from DMX address 512 of port 1 need 2 ports; 1 allowed "
           "(ports end at 255).";
    QTest::newRow("past the maximum count") << "1A2B3C" << kMaxLights + 1 << 1 << 255
                                            << "Error: At most 15000 lights can be made at once.";
    QTest::newRow("none") << QString() << 0 << 1 << 1 << "";
    QTest::newRow("the maximum") << QString() << kMaxLights << 1 << 89 << "";
}

void tst_LightCreator::prepareRefusesOrMakesAll()
{
    QFETCH(QString, interfaceText);
    QFETCH(int, count);
    QFETCH(int, baseDmx);
    QFETCH(int, ports);
    QFETCH(QString, problem);
    MapModel model;
    addSupply(model, 0x1A2B3C);
    CreationRequest r = request(count, interfaceText);
    r.baseDmxAddress = baseDmx;
    r.ports = ports;
    LightCreator creator(model, r);
    const auto refused = creator.prepare();
    QCOMPARE(refused ? refused->title + ": " + refused->text : QString(), problem);
    if (!refused)
        creator.run(1000, {});
    QCOMPARE(model.lightCount(), refused ? 0 : count);
    QCOMPARE(model.dataSupplyCount(), !refused && count > 0 ? 2 : 1);
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
    // Smaller runs report every light; never every 0th (the interval divides).
    QCOMPARE(progressInterval(150), 1);
    QCOMPARE(progressInterval(0), 1);
    QCOMPARE(model.lightCount(), 500);
    QCOMPARE(creator.createdLights().size(), 500);
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
    const DataSupply &supply = *model.dataSupply(addSupply(model, 0x1A2B3C));
    QCOMPARE(autoSetDmxAddress(LightCreator::lastUsedChannel(model, supply, 0)), 1);
    CreationRequest r = request(2, LightCreator::interfaceText(supply));
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
    for (const quint64 uid : made) {
        LightCreator creator(model,
                             request(2, LightCreator::interfaceText(*model.dataSupply(uid))));
        QVERIFY(!creator.prepare());
        QCOMPARE(creator.supplyUid(), uid);
    }
}

QTEST_GUILESS_MAIN(tst_LightCreator)
#include "tst_lightcreator.moc"
