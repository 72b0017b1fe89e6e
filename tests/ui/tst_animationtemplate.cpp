#include "model/light.h"
#include "model/mapmodel.h"
#include "support/mapbuild.h"
#include "ui/animationtemplate.h"

#include <QtTest>

class tst_AnimationTemplate : public QObject
{
    Q_OBJECT

private slots:
    void onePixelPerGridCell_data();
    void onePixelPerGridCell();
};

// The template is one pixel per grid cell over the lights' extent: white where a light
// stands, black elsewhere. An empty size: the template is refused with a reason.
void tst_AnimationTemplate::onePixelPerGridCell_data()
{
    QTest::addColumn<QList<QPointF>>("lights");
    QTest::addColumn<int>("grid");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QList<QPoint>>("white");
    QTest::newRow("row of three") << QList<QPointF>{{48, 48}, {72, 48}, {96, 48}} << 24
                                  << QSize(3, 1) << QList<QPoint>{{0, 0}, {1, 0}, {2, 0}};
    QTest::newRow("coarser grid merges cells") << QList<QPointF>{{0, 0}, {12, 0}, {48, 24}} << 24
                                               << QSize(3, 2) << QList<QPoint>{{0, 0}, {2, 1}};
    QTest::newRow("negative positions") << QList<QPointF>{{-30, -30}, {30, 30}} << 10 << QSize(7, 7)
                                        << QList<QPoint>{{0, 0}, {6, 6}};
    QTest::newRow("single light") << QList<QPointF>{{500, 500}} << 12 << QSize(1, 1)
                                  << QList<QPoint>{{0, 0}};
    QTest::newRow("refused: no lights") << QList<QPointF>{} << 12 << QSize() << QList<QPoint>{};
    QTest::newRow("refused: zero grid")
        << QList<QPointF>{{0, 0}} << 0 << QSize() << QList<QPoint>{};
    QTest::newRow("refused: grid too fine")
        << QList<QPointF>{{0, 0}, {1e7, 0}} << 1 << QSize() << QList<QPoint>{};
    QTest::newRow("refused: only broken positions")
        << QList<QPointF>{{qInf(), 0}} << 12 << QSize() << QList<QPoint>{};
}

void tst_AnimationTemplate::onePixelPerGridCell()
{
    QFETCH(QList<QPointF>, lights);
    QFETCH(int, grid);
    QFETCH(QSize, size);
    QFETCH(QList<QPoint>, white);
    MapModel model;
    for (const QPointF &position : lights)
        MapBuild::lightAt(model, position.x(), position.y());
    QStringList phases;
    const AnimationTemplate::Result result =
        AnimationTemplate::build(model, grid, [&phases](const QString &phase) { phases << phase; });
    if (!size.isValid()) {
        QVERIFY(result.image.isNull());
        QVERIFY(!result.error.isEmpty());
        return;
    }
    QVERIFY2(result.error.isEmpty(), qPrintable(result.error));
    QCOMPARE(phases, (QStringList{"Analyzing Map Geometry...", "Initializing Image Buffer...",
                                  "Creating Template..."}));
    QCOMPARE(result.image.size(), size);
    int whiteCount = 0;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const bool isWhite = result.image.pixel(x, y) == qRgb(255, 255, 255);
            QCOMPARE(isWhite, white.contains(QPoint(x, y)));
            whiteCount += isWhite;
            if (!isWhite)
                QCOMPARE(result.image.pixel(x, y), qRgb(0, 0, 0));
        }
    }
    QCOMPARE(whiteCount, white.size());
}

QTEST_MAIN(tst_AnimationTemplate)
#include "tst_animationtemplate.moc"
