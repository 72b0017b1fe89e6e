#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "support/mapbuild.h"
#include "ui/grouptreemodel.h"
#include "ui/groupview.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QtTest>

class tst_GroupTreeModel : public QObject
{
    Q_OBJECT

private slots:
    void selectionGroupIsNotShown();
    void membershipChangesTouchOnlyTheirRows_data();
    void membershipChangesTouchOnlyTheirRows();
    void deletedLightLeavesItsGroups();
    void missingMembersAreShownAsMissing();
    void deletedGroupRemovesItsRow();
    void renamingAGroupMarksTheMapDirty();
    void viewReportsSelectedGroupsAndLights();
};

void tst_GroupTreeModel::selectionGroupIsNotShown()
{
    MapModel model;
    GroupTreeModel tree(model);
    QAbstractItemModelTester tester(&tree, QAbstractItemModelTester::FailureReportingMode::QtTest);
    const quint64 light = MapBuild::light(model, 0, 0, 0, QStringLiteral("L"));
    MapBuild::group(model, Group::selectionGroupName(), {light});
    const quint64 real = MapBuild::group(model, QStringLiteral("Stage"), {light});
    QCOMPARE(tree.rowCount(), 1);
    model.group(real)->setName(Group::selectionGroupName());
    QCOMPARE(tree.rowCount(), 0);
    model.group(real)->setName(QStringLiteral("Stage again"));
    QCOMPARE(tree.rowCount(), 1);
    QCOMPARE(tree.index(0, 0).data(Qt::EditRole).toString(), QStringLiteral("Stage again"));
}

void tst_GroupTreeModel::membershipChangesTouchOnlyTheirRows_data()
{
    // Members as indexes into five lights; an edit on the group; the rows expected to be
    // removed and inserted (first, last), -1 for none.
    QTest::addColumn<QList<int>>("before");
    QTest::addColumn<QList<int>>("after");
    QTest::addColumn<QPoint>("removed");
    QTest::addColumn<QPoint>("inserted");
    QTest::newRow("append") << QList<int>{0, 1} << QList<int>{0, 1, 2} << QPoint(-1, -1)
                            << QPoint(2, 2);
    QTest::newRow("remove middle")
        << QList<int>{0, 1, 2} << QList<int>{0, 2} << QPoint(1, 1) << QPoint(-1, -1);
    QTest::newRow("replace middle")
        << QList<int>{0, 1, 2, 3} << QList<int>{0, 4, 3} << QPoint(1, 2) << QPoint(1, 1);
    QTest::newRow("prepend two") << QList<int>{2} << QList<int>{0, 1, 2} << QPoint(-1, -1)
                                 << QPoint(0, 1);
}

void tst_GroupTreeModel::membershipChangesTouchOnlyTheirRows()
{
    QFETCH(QList<int>, before);
    QFETCH(QList<int>, after);
    QFETCH(QPoint, removed);
    QFETCH(QPoint, inserted);
    MapModel model;
    GroupTreeModel tree(model);
    QAbstractItemModelTester tester(&tree, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QList<quint64> lights;
    for (int i = 0; i < 5; ++i)
        lights << MapBuild::light(model, 0, 0, 0, QStringLiteral("L%1").arg(i));
    QList<quint64> members;
    for (int i : before)
        members << lights.at(i);
    const quint64 group = MapBuild::group(model, QStringLiteral("G"), members);

    // Change the list quietly, then announce the group once, as after an editor's apply.
    Group *g = model.group(group);
    g->blockSignals(true);
    while (!g->children().isEmpty())
        g->removeChild(g->children().constLast());
    for (int i : after)
        g->appendChild(lights.at(i));
    g->blockSignals(false);

    QSignalSpy removals(&tree, &QAbstractItemModel::rowsRemoved);
    QSignalSpy insertions(&tree, &QAbstractItemModel::rowsInserted);
    QSignalSpy resets(&tree, &QAbstractItemModel::modelReset);
    g->handleUpdatedLight(lights.at(0));

    QCOMPARE(resets.size(), 0);
    const QModelIndex parent = tree.index(0, 0);
    QCOMPARE(tree.rowCount(parent), after.size());
    for (int row = 0; row < after.size(); ++row)
        QCOMPARE(tree.uidAt(tree.index(row, 0, parent)), lights.at(after.at(row)));
    auto range = [](const QSignalSpy &spy) {
        if (spy.isEmpty())
            return QPoint(-1, -1);
        return QPoint(spy.at(0).at(1).toInt(), spy.at(0).at(2).toInt());
    };
    QVERIFY(removals.size() <= 1 && insertions.size() <= 1);
    QCOMPARE(range(removals), removed);
    QCOMPARE(range(insertions), inserted);
}

void tst_GroupTreeModel::deletedLightLeavesItsGroups()
{
    MapModel model;
    GroupTreeModel tree(model);
    QAbstractItemModelTester tester(&tree, QAbstractItemModelTester::FailureReportingMode::QtTest);
    const quint64 a = MapBuild::light(model, 0, 0, 0, QStringLiteral("A"));
    const quint64 b = MapBuild::light(model, 0, 0, 0, QStringLiteral("B"));
    const quint64 one = MapBuild::group(model, QStringLiteral("One"), {a, b});
    MapBuild::group(model, QStringLiteral("Two"), {b});
    QCOMPARE(tree.groupUidAt(tree.index(1, 0, tree.index(0, 0))), one);
    QSignalSpy removals(&tree, &QAbstractItemModel::rowsRemoved);
    model.removeLight(b);
    QCOMPARE(removals.size(), 2);
    QCOMPARE(tree.rowCount(tree.index(0, 0)), 1);
    QCOMPARE(tree.rowCount(tree.index(1, 0)), 0);
    QCOMPARE(tree.index(1, 0).data().toString(), QStringLiteral("Two (0)"));
}

void tst_GroupTreeModel::missingMembersAreShownAsMissing()
{
    MapModel model;
    GroupTreeModel tree(model);
    MapBuild::group(model, QStringLiteral("Old"), {0xABC});
    QCOMPARE(tree.index(0, 0, tree.index(0, 0)).data().toString(),
             QStringLiteral("Missing light ABC"));
}

void tst_GroupTreeModel::deletedGroupRemovesItsRow()
{
    MapModel model;
    GroupTreeModel tree(model);
    QAbstractItemModelTester tester(&tree, QAbstractItemModelTester::FailureReportingMode::QtTest);
    const quint64 first = MapBuild::group(model, QStringLiteral("First"), {});
    const quint64 second = MapBuild::group(model, QStringLiteral("Second"), {});
    model.removeGroup(first);
    QCOMPARE(tree.rowCount(), 1);
    QCOMPARE(tree.indexForGroup(second).row(), 0);
    QVERIFY(!tree.indexForGroup(first).isValid());
    model.clear();
    QCOMPARE(tree.rowCount(), 0);
}

void tst_GroupTreeModel::renamingAGroupMarksTheMapDirty()
{
    MapModel model;
    GroupTreeModel tree(model);
    const quint64 group = MapBuild::group(model, QStringLiteral("Old"), {});
    QSignalSpy dirty(&tree, &GroupTreeModel::setDirty);
    QVERIFY(!tree.setData(tree.indexForGroup(group), Group::selectionGroupName()));
    QVERIFY(tree.setData(tree.indexForGroup(group), QStringLiteral("Canopy")));
    QCOMPARE(model.group(group)->name(), QStringLiteral("Canopy"));
    QCOMPARE(dirty.size(), 1);
}

void tst_GroupTreeModel::viewReportsSelectedGroupsAndLights()
{
    MapModel model;
    GroupView view(model);
    GroupTreeModel &tree = *view.groupModel();
    const quint64 a = MapBuild::light(model, 0, 0, 0, QStringLiteral("A"));
    const quint64 b = MapBuild::light(model, 0, 0, 0, QStringLiteral("B"));
    const quint64 one = MapBuild::group(model, QStringLiteral("One"), {a, b});
    MapBuild::group(model, QStringLiteral("Two"), {b});
    auto select = [&](const QModelIndex &index) {
        view.selectionModel()->select(index,
                                      QItemSelectionModel::Select | QItemSelectionModel::Rows);
    };
    select(tree.index(0, 0, tree.index(1, 0))); // b in Two
    select(tree.index(1, 0, tree.index(0, 0))); // b in One
    select(tree.index(0, 0, tree.index(0, 0))); // a in One
    select(tree.indexForGroup(one));
    QCOMPARE(view.selectedLightUids(), (QList<quint64>{a, b}));
    QCOMPARE(view.selectedGroupUids(), QList<quint64>{one});
}

QTEST_MAIN(tst_GroupTreeModel)
#include "tst_grouptreemodel.moc"
