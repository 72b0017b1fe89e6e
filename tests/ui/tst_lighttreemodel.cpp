#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "support/mapbuild.h"
#include "ui/lighttreemodel.h"
#include "ui/lightview.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QtTest>

// The lights pane follows the model change by change: rows are inserted, moved and removed
// where they belong, never rebuilt, so selections and expansions survive edits.
class tst_LightTreeModel : public QObject
{
    Q_OBJECT

private slots:
    void showsTheExampleInstallation();
    void lightsWithoutTheirSupplyWaitUnderTheirOwnRow();
    void portChangeMovesTheRowAndKeepsTheSelection();
    void supplyChangeMovesTheRowToTheOtherSupply();
    void propertyChangeUpdatesTheDmxAddress();
    void deletingALightRemovesOnlyItsRow();
    void clearingTheMapEmptiesThePane();
    void renamingMarksTheMapDirty();
    void viewReportsSelectedUidsInShownOrder();

private:
    static QStringList childNames(const LightTreeModel &tree, int supplyRow);
};

QStringList tst_LightTreeModel::childNames(const LightTreeModel &tree, int supplyRow)
{
    QStringList names;
    const QModelIndex parent = tree.index(supplyRow, 0);
    for (int row = 0; row < tree.rowCount(parent); ++row)
        names << tree.index(row, 0, parent).data().toString();
    return names;
}

void tst_LightTreeModel::showsTheExampleInstallation()
{
    MapModel model;
    LightTreeModel tree(model);
    QAbstractItemModelTester tester(&tree, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QSignalSpy resets(&tree, &QAbstractItemModel::modelReset);
    QVERIFY(model.loadFromFile(QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map")));

    QCOMPARE(resets.size(), 0);
    QCOMPARE(tree.rowCount(), 3);
    QCOMPARE(tree.lightRowCount(), 200);
    const QModelIndex north = tree.index(0, 0);
    QCOMPARE(north.data().toString(), QStringLiteral("Arcade North PDS (10.32.1.11)"));
    QCOMPARE(north.data(Qt::EditRole).toString(), QStringLiteral("Arcade North PDS"));
    QCOMPARE(tree.index(0, LightTreeModel::SerialColumn).data().toString(),
             QStringLiteral("01A20011"));
    QVERIFY(tree.index(0, 0)
                .data(Qt::ToolTipRole)
                .toString()
                .startsWith(QLatin1String("Vistra Interface")));
    const int lights = tree.rowCount(north);
    QCOMPARE(lights, 80);
    // Port by port, along the chain.
    const QModelIndex first = tree.index(0, 0, north);
    QCOMPARE(first.data().toString(), QStringLiteral("North P1-01"));
    QCOMPARE(tree.index(0, LightTreeModel::SerialColumn, north).data().toString(),
             QStringLiteral("10110000"));
    QCOMPARE(tree.index(0, LightTreeModel::PortColumn, north).data().toString(),
             QStringLiteral("1"));
    QCOMPARE(tree.index(0, LightTreeModel::DmxAddressColumn, north).data().toString(),
             QStringLiteral("1"));
    QCOMPARE(tree.index(1, LightTreeModel::DmxAddressColumn, north).data().toString(),
             QStringLiteral("4"));
    QCOMPARE(tree.index(lights - 1, LightTreeModel::PortColumn, north).data().toString(),
             QStringLiteral("2"));
    QCOMPARE(tree.rowKind(first), LightTreeModel::RowKind::Light);
    QCOMPARE(tree.indexForLight(tree.uidAt(first)), first);
}

void tst_LightTreeModel::lightsWithoutTheirSupplyWaitUnderTheirOwnRow()
{
    MapModel model;
    LightTreeModel tree(model);
    QAbstractItemModelTester tester(&tree, QAbstractItemModelTester::FailureReportingMode::QtTest);
    const quint64 supplyUid = model.newUid() + 100;
    MapBuild::light(model, supplyUid, 0, 1, QStringLiteral("B"));
    MapBuild::light(model, supplyUid, 0, 0, QStringLiteral("A"));
    QCOMPARE(tree.rowCount(), 1);
    QCOMPARE(tree.rowKind(tree.index(0, 0)), LightTreeModel::RowKind::Unassigned);
    QCOMPARE(childNames(tree, 0), (QStringList{"A", "B"}));

    MapBuild::supply(model, QStringLiteral("Before"));
    QCOMPARE(tree.rowCount(), 2);
    QCOMPARE(tree.rowKind(tree.index(1, 0)), LightTreeModel::RowKind::Unassigned);

    auto supply = std::make_unique<DataSupply>(DataSupply::VistraIp);
    supply->setUid(supplyUid);
    supply->setName(QStringLiteral("Late"));
    model.addDataSupply(std::move(supply));
    QCOMPARE(tree.rowCount(), 2);
    QCOMPARE(tree.index(1, 0).data().toString(), QStringLiteral("Late"));
    QCOMPARE(childNames(tree, 1), (QStringList{"A", "B"}));
}

void tst_LightTreeModel::portChangeMovesTheRowAndKeepsTheSelection()
{
    MapModel model;
    LightView view(model);
    LightTreeModel &tree = *view.lightModel();
    QAbstractItemModelTester tester(&tree, QAbstractItemModelTester::FailureReportingMode::QtTest);
    const quint64 supply = MapBuild::supply(model, QStringLiteral("S"));
    const quint64 a = MapBuild::light(model, supply, 0, 0, QStringLiteral("A"));
    MapBuild::light(model, supply, 0, 1, QStringLiteral("B"));
    MapBuild::light(model, supply, 1, 0, QStringLiteral("C"));
    view.selectionModel()->select(tree.indexForLight(a),
                                  QItemSelectionModel::Select | QItemSelectionModel::Rows);

    QSignalSpy moves(&tree, &QAbstractItemModel::rowsMoved);
    QSignalSpy removals(&tree, &QAbstractItemModel::rowsRemoved);
    model.light(a)->setPortNumber(2);
    QCOMPARE(moves.size(), 1);
    QCOMPARE(removals.size(), 0);
    QCOMPARE(childNames(tree, 0), (QStringList{"B", "C", "A"}));
    QCOMPARE(view.selectedLightUids(), QList<quint64>{a});

    model.light(a)->setPortNumber(0);
    QCOMPARE(childNames(tree, 0), (QStringList{"A", "B", "C"}));
    QCOMPARE(view.selectedLightUids(), QList<quint64>{a});
}

void tst_LightTreeModel::supplyChangeMovesTheRowToTheOtherSupply()
{
    MapModel model;
    LightTreeModel tree(model);
    QAbstractItemModelTester tester(&tree, QAbstractItemModelTester::FailureReportingMode::QtTest);
    const quint64 first = MapBuild::supply(model, QStringLiteral("First"));
    const quint64 second = MapBuild::supply(model, QStringLiteral("Second"));
    const quint64 light = MapBuild::light(model, first, 0, 0);
    model.light(light)->setDataSupply(second);
    QCOMPARE(tree.rowCount(tree.index(0, 0)), 0);
    QCOMPARE(tree.rowCount(tree.index(1, 0)), 1);
    // A supply that is not in the map puts the light under the unassigned row and back.
    model.light(light)->setDataSupply(0);
    QCOMPARE(tree.rowCount(), 3);
    model.light(light)->setDataSupply(first);
    QCOMPARE(tree.rowCount(), 2);
    QCOMPARE(tree.indexForLight(light).parent(), tree.index(0, 0));
}

void tst_LightTreeModel::propertyChangeUpdatesTheDmxAddress()
{
    MapModel model;
    LightTreeModel tree(model);
    const quint64 supply = MapBuild::supply(model, QStringLiteral("S"));
    const quint64 light = MapBuild::light(model, supply, 0, 0);
    const QModelIndex address = tree.indexForLight(light, LightTreeModel::DmxAddressColumn);
    QCOMPARE(address.data().toString(), QString());
    QSignalSpy changed(&tree, &QAbstractItemModel::dataChanged);
    model.light(light)->setDeviceProperty(QStringLiteral("DMX_OFFSET"), QStringLiteral("0x20"));
    QCOMPARE(changed.size(), 1);
    QCOMPARE(address.data().toString(), QStringLiteral("33"));
}

void tst_LightTreeModel::deletingALightRemovesOnlyItsRow()
{
    MapModel model;
    LightTreeModel tree(model);
    QAbstractItemModelTester tester(&tree, QAbstractItemModelTester::FailureReportingMode::QtTest);
    const quint64 supply = MapBuild::supply(model, QStringLiteral("S"));
    MapBuild::light(model, supply, 0, 0, QStringLiteral("A"));
    const quint64 b = MapBuild::light(model, supply, 0, 1, QStringLiteral("B"));
    MapBuild::light(model, supply, 0, 2, QStringLiteral("C"));
    const quint64 orphan = MapBuild::light(model, 0, 0, 0, QStringLiteral("Orphan"));
    QSignalSpy removals(&tree, &QAbstractItemModel::rowsRemoved);
    QSignalSpy resets(&tree, &QAbstractItemModel::modelReset);
    model.removeLight(b);
    QCOMPARE(removals.size(), 1);
    QCOMPARE(removals.at(0).at(1).toInt(), 1);
    QCOMPARE(childNames(tree, 0), (QStringList{"A", "C"}));
    model.removeLight(orphan);
    QCOMPARE(tree.rowCount(), 1); // the unassigned row went with its last light
    QCOMPARE(resets.size(), 0);
    QVERIFY(!tree.indexForLight(b).isValid());
}

void tst_LightTreeModel::clearingTheMapEmptiesThePane()
{
    MapModel model;
    LightTreeModel tree(model);
    QAbstractItemModelTester tester(&tree, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QVERIFY(model.loadFromFile(QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map")));
    model.clear();
    QCOMPARE(tree.rowCount(), 0);
    QCOMPARE(tree.lightRowCount(), 0);
    QVERIFY(model.loadFromFile(QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map")));
    QCOMPARE(tree.lightRowCount(), 200);
}

// A name edited in the pane reaches the model and marks the map changed; blanks and the
// same name change nothing.
void tst_LightTreeModel::renamingMarksTheMapDirty()
{
    MapModel model;
    LightTreeModel tree(model);
    const quint64 supply = MapBuild::supply(model, QStringLiteral("S"));
    const quint64 light = MapBuild::light(model, supply, 0, 0, QStringLiteral("Old"));
    QSignalSpy dirty(&tree, &LightTreeModel::setDirty);
    const QModelIndex name = tree.indexForLight(light);
    QVERIFY(tree.flags(name).testFlag(Qt::ItemIsEditable));
    QVERIFY(!tree.flags(tree.indexForLight(light, LightTreeModel::SerialColumn))
                 .testFlag(Qt::ItemIsEditable));
    QVERIFY(!tree.setData(name, QStringLiteral("   ")));
    QVERIFY(!tree.setData(name, QStringLiteral("Old")));
    QCOMPARE(dirty.size(), 0);
    QVERIFY(tree.setData(name, QStringLiteral(" Entrance 1 ")));
    QCOMPARE(model.light(light)->name(), QStringLiteral("Entrance 1"));
    QCOMPARE(dirty.size(), 1);
    QVERIFY(tree.setData(tree.indexForDataSupply(supply), QStringLiteral("Lobby PDS")));
    QCOMPARE(model.dataSupply(supply)->name(), QStringLiteral("Lobby PDS"));
    QCOMPARE(dirty.size(), 2);
}

void tst_LightTreeModel::viewReportsSelectedUidsInShownOrder()
{
    MapModel model;
    LightView view(model);
    LightTreeModel &tree = *view.lightModel();
    const quint64 s1 = MapBuild::supply(model, QStringLiteral("S1"));
    const quint64 s2 = MapBuild::supply(model, QStringLiteral("S2"));
    const quint64 a = MapBuild::light(model, s1, 0, 0);
    const quint64 b = MapBuild::light(model, s2, 0, 0);
    const quint64 c = MapBuild::light(model, s2, 0, 1);
    QSignalSpy updated(&view, &LightView::updatedSelection);
    for (quint64 uid : {c, a, b})
        view.selectionModel()->select(tree.indexForLight(uid),
                                      QItemSelectionModel::Select | QItemSelectionModel::Rows);
    view.selectionModel()->select(tree.indexForDataSupply(s2),
                                  QItemSelectionModel::Select | QItemSelectionModel::Rows);
    QCOMPARE(updated.size(), 4);
    QCOMPARE(view.selectedLightUids(), (QList<quint64>{a, b, c}));
    QCOMPARE(view.selectedDataSupplyUids(), QList<quint64>{s2});
}

QTEST_MAIN(tst_LightTreeModel)
#include "tst_lighttreemodel.moc"
