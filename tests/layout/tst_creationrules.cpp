#include "layout/creationrules.h"

#include <QtTest>

using namespace CreationRules;

Q_DECLARE_METATYPE(CreationRules::StringShape)

class tst_CreationRules final : public QObject
{
    Q_OBJECT
private slots:
    void shapePositions_data();
    void shapePositions();
    void dmxSlots_data();
    void dmxSlots();
    void names_data();
    void names();
    void numbering_data();
    void numbering();
    void progressInterval_data();
    void progressInterval();
};

static QVector<QPoint> points(std::initializer_list<std::pair<int, int>> list)
{
    QVector<QPoint> result;
    for (const auto &p : list)
        result.append(QPoint(p.first, p.second));
    return result;
}

void tst_CreationRules::shapePositions_data()
{
    QTest::addColumn<StringShape>("shape");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("placement");
    QTest::addColumn<QVector<QPoint>>("expected");
    // Existing lights end at (100, 50); grid 10. Rows or columns a shape does not use are
    // ignored.
    QTest::newRow("horizontal below") << StringShape::Horizontal << 7 << 3 << 0
                                      << points({{10, 70}, {20, 70}, {30, 70}});
    QTest::newRow("vertical right") << StringShape::Vertical << 3 << 7 << 1
                                    << points({{120, 10}, {120, 20}, {120, 30}});
    QTest::newRow("back-slash below") << StringShape::BackSlash << 5 << 3 << 0
                                      << points({{10, 70}, {20, 80}, {30, 90}});
    QTest::newRow("forward-slash below keeps its top")
        << StringShape::ForwardSlash << 5 << 3 << 0 << points({{10, 90}, {20, 80}, {30, 70}});
    QTest::newRow("tile right") << StringShape::Tile << 2 << 2 << 1
                                << points({{120, 10}, {130, 10}, {120, 20}, {130, 20}});
}

void tst_CreationRules::shapePositions()
{
    QFETCH(StringShape, shape);
    QFETCH(int, rows);
    QFETCH(int, columns);
    QFETCH(int, placement);
    QFETCH(QVector<QPoint>, expected);
    const ShapeRaster raster = rasterFor(shape, rows, columns);
    const QRectF bounds(QPointF(0, 0), QPointF(100, 50));
    const QPoint origin = stringOrigin(raster, placement ? StringPlacement::Right
                                                         : StringPlacement::Below,
                                       10, bounds);
    QCOMPARE(stringPositions(raster, 10, origin), expected);
}

void tst_CreationRules::dmxSlots_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("baseOffset");
    QTest::addColumn<int>("ports");
    QTest::addColumn<int>("lastPort");
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

void tst_CreationRules::dmxSlots()
{
    QFETCH(int, count);
    QFETCH(int, channels);
    QFETCH(int, baseOffset);
    QFETCH(int, ports);
    QFETCH(int, lastPort);
    QFETCH(int, lastOffset);
    const auto planned = CreationRules::dmxSlots(count, channels, 1, baseOffset, ports);
    QCOMPARE(bool(planned), lastPort >= 0);
    if (!planned)
        return;
    QCOMPARE(planned->size(), count);
    if (count == 0)
        return;
    QCOMPARE(planned->constLast(), (DmxSlot{lastPort, lastOffset}));
    QCOMPARE(portsNeeded(count, channels, baseOffset), lastPort);
    for (const DmxSlot &slot : *planned)
        QVERIFY(slot.offset + channels <= kChannelsPerPort);
}

void tst_CreationRules::names_data()
{
    QTest::addColumn<QString>("baseName");
    QTest::addColumn<QString>("type");
    QTest::addColumn<int>("port");
    QTest::addColumn<int>("offset");
    QTest::addColumn<QString>("expected");
    QTest::newRow("default") << "Light" << "" << 1 << 0 << "Light  01-001";
    QTest::newRow("empty base name") << "" << "" << 3 << 6 << " 03-003";
    QTest::newRow("type text") << "Cove" << "RGB" << 12 << 3 * 169 << "Cove RGB 12-170";
    QTest::newRow("past two digits") << "A" << "" << 100 << 0 << "A  100-001";
}

void tst_CreationRules::names()
{
    QFETCH(QString, baseName);
    QFETCH(QString, type);
    QFETCH(int, port);
    QFETCH(int, offset);
    QFETCH(QString, expected);
    QCOMPARE(lightName(namePrefix(baseName), type, DmxSlot{port, offset}, 3), expected);
}

void tst_CreationRules::numbering_data()
{
    QTest::addColumn<bool>("rightToLeft");
    QTest::addColumn<bool>("bottomToTop");
    QTest::addColumn<bool>("raster");
    QTest::addColumn<QVector<int>>("expected");
    // A 2 x 3 tile; cells in creation order (row by row), values their numbers.
    QTest::newRow("snake from top left") << false << false << false << QVector<int>{0, 1, 2, 5, 4, 3};
    QTest::newRow("raster from top left") << false << false << true << QVector<int>{0, 1, 2, 3, 4, 5};
    QTest::newRow("raster from top right") << true << false << true << QVector<int>{2, 1, 0, 5, 4, 3};
    QTest::newRow("snake from bottom left") << false << true << false << QVector<int>{5, 4, 3, 0, 1, 2};
    QTest::newRow("snake from bottom right") << true << true << false << QVector<int>{3, 4, 5, 2, 1, 0};
}

void tst_CreationRules::numbering()
{
    QFETCH(bool, rightToLeft);
    QFETCH(bool, bottomToTop);
    QFETCH(bool, raster);
    QFETCH(QVector<int>, expected);
    QCOMPARE(numberingSequence(ShapeRaster{2, 3, 0}, NumberingOrder{rightToLeft, bottomToTop, raster}),
             expected);
}

void tst_CreationRules::progressInterval_data()
{
    QTest::addColumn<int>("total");
    QTest::addColumn<int>("interval");
    QTest::newRow("150") << 150 << 1;
    QTest::newRow("1,000") << 1000 << 10;
    QTest::newRow("0") << 0 << 1;
}

void tst_CreationRules::progressInterval()
{
    QFETCH(int, total);
    QFETCH(int, interval);
    QCOMPARE(CreationRules::progressInterval(total), interval);
}

QTEST_GUILESS_MAIN(tst_CreationRules)
#include "tst_creationrules.moc"
