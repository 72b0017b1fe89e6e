// The three panes that list the map: lights under their supplies, groups with their members,
// devices under their kind. They follow the model change by change: rows are inserted, moved
// and removed where they belong, never rebuilt, so selections and expansions survive edits.
#include "devices/devicedictionary.h"
#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "support/mapbuild.h"
#include "ui/deviceview.h"
#include "ui/grouptreemodel.h"
#include "ui/groupview.h"
#include "ui/lighttreemodel.h"
#include "ui/lightview.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QtTest>

namespace {

std::shared_ptr<const DeviceEntry> definition(const QByteArray &name, const QByteArray &start,
                                              const QByteArray &end)
{
    return std::make_shared<const DeviceEntry>(
        QStringLiteral("x.json"), "{\"DeviceType\": \"FIXTURE\", \"DeviceName\": \"" + name +
                                      "\", \"SerialNumberRanges\": [{\"start\": \"" + start +
                                      "\", \"end\": \"" + end + "\"}]}");
}

constexpr quint64 kGrazeSerial = 0x100010;
constexpr quint64 kFloodSerial = 0x200010;
constexpr quint64 kSupplyUid = 0x500;
const auto kReport = QAbstractItemModelTester::FailureReportingMode::QtTest;

} // namespace

class tst_Panes : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void showsTheExampleInstallation();
    void lightsWithoutTheirSupplyWaitUnderTheirOwnRow();
    void portChangeMovesTheRowAndKeepsTheSelection();
    void supplyChangeMovesTheRowToTheOtherSupply();
    void propertyChangeUpdatesTheDmxAddress();
    void deletingALightRemovesOnlyItsRow();
    void renamingMarksTheMapDirty();
    void viewReportsSelectedUidsInShownOrder();

    void selectionGroupIsNotShown();
    void membershipChangesTouchOnlyTheirRows_data();
    void membershipChangesTouchOnlyTheirRows();
    void deletedLightLeavesItsGroups();
    void missingMembersAreShownAsMissing();
    void deletedGroupRemovesItsRow();
    void renamingAGroupMarksTheMapDirty();
    void viewReportsSelectedGroupsAndLights();

    void burstOfChangesRebuildsOnce();
    void followsEditsDeletesAndClear();
    void selectionPassesLightUidsOn();

private:
    LightTreeModel &lightTree() const { return *m_lightView->lightModel(); }
    GroupTreeModel &groupTree() const { return *m_groupView->groupModel(); }
    static QStringList childNames(const LightTreeModel &tree, int supplyRow);
    Light *addLight(quint64 uid, const QString &name, quint64 serial, int channel = 0);

    std::unique_ptr<DeviceDictionary> m_dictionary;
    std::unique_ptr<MapModel> m_model;
    std::unique_ptr<LightView> m_lightView;
    std::unique_ptr<GroupView> m_groupView;
    std::unique_ptr<DeviceView> m_deviceView;
    std::unique_ptr<QAbstractItemModelTester> m_lightTester;
    std::unique_ptr<QAbstractItemModelTester> m_groupTester;
};

void tst_Panes::init()
{
    qRegisterMetaType<QList<quint64>>();
    m_dictionary = std::make_unique<DeviceDictionary>();
    m_dictionary->addEntry(definition("Vela Graze RGB", "00100000", "001FFFFF"));
    m_dictionary->addEntry(definition("Vela Flood RGBW", "00200000", "002FFFFF"));
    // A definition that itself calls its kind "unknown" is still listed as the fixture.
    m_dictionary->addEntry(definition("UNKNOWN DEVICE", "00300000", "003FFFFF"));
    m_model = std::make_unique<MapModel>();
    m_lightView = std::make_unique<LightView>(*m_model);
    m_groupView = std::make_unique<GroupView>(*m_model);
    m_deviceView = std::make_unique<DeviceView>(*m_model, *m_dictionary);
    m_lightTester = std::make_unique<QAbstractItemModelTester>(&lightTree(), kReport);
    m_groupTester = std::make_unique<QAbstractItemModelTester>(&groupTree(), kReport);
}

void tst_Panes::cleanup()
{
    m_lightTester.reset();
    m_groupTester.reset();
    m_deviceView.reset();
    m_groupView.reset();
    m_lightView.reset();
    m_model.reset();
    m_dictionary.reset();
}

// The lights pane.

QStringList tst_Panes::childNames(const LightTreeModel &tree, int supplyRow)
{
    QStringList names;
    const QModelIndex parent = tree.index(supplyRow, 0);
    for (int row = 0; row < tree.rowCount(parent); ++row)
        names << tree.index(row, 0, parent).data().toString();
    return names;
}

void tst_Panes::showsTheExampleInstallation()
{
    MapModel &model = *m_model;
    LightTreeModel &tree = lightTree();
    QSignalSpy resets(&tree, &QAbstractItemModel::modelReset);
    QVERIFY(model.loadFromFile(QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map")));

    QCOMPARE(resets.size(), 0);
    QCOMPARE(tree.rowCount(), 3);
    QCOMPARE(tree.lightRowCount(), 200);
    const auto rowText = [&tree](int row, const QModelIndex &parent) {
        QStringList cells;
        for (int column = 0; column < LightTreeModel::ColumnCount; ++column)
            cells << tree.index(row, column, parent).data().toString();
        return cells.join(QLatin1String(" | "));
    };
    // The supply, then its lights port by port along the chain.
    const QModelIndex north = tree.index(0, 0);
    QCOMPARE(rowText(0, {}), QStringLiteral("Arcade North PDS (10.32.1.11) | 01A20011 |  | "));
    QCOMPARE(north.data(Qt::EditRole).toString(), QStringLiteral("Arcade North PDS"));
    QVERIFY(north.data(Qt::ToolTipRole).toString().startsWith(QLatin1String("Vistra Interface")));
    QCOMPARE(tree.rowCount(north), 80);
    QCOMPARE(rowText(0, north), QStringLiteral("North P1-01 | 10110000 | 1 | 1"));
    QCOMPARE(rowText(1, north), QStringLiteral("North P1-02 | 10110001 | 1 | 4"));
    QCOMPARE(rowText(79, north), QStringLiteral("North P2-40 | 10110127 | 2 | 118"));
    const QModelIndex first = tree.index(0, 0, north);
    QCOMPARE(tree.rowKind(first), LightTreeModel::RowKind::Light);
    QCOMPARE(tree.indexForLight(tree.uidAt(first)), first);

    model.clear();
    QCOMPARE(tree.rowCount(), 0);
    QCOMPARE(tree.lightRowCount(), 0);
    QVERIFY(model.loadFromFile(QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map")));
    QCOMPARE(tree.lightRowCount(), 200);
}

void tst_Panes::lightsWithoutTheirSupplyWaitUnderTheirOwnRow()
{
    MapModel &model = *m_model;
    LightTreeModel &tree = lightTree();
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

void tst_Panes::portChangeMovesTheRowAndKeepsTheSelection()
{
    MapModel &model = *m_model;
    LightView &view = *m_lightView;
    LightTreeModel &tree = lightTree();
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

void tst_Panes::supplyChangeMovesTheRowToTheOtherSupply()
{
    MapModel &model = *m_model;
    LightTreeModel &tree = lightTree();
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

void tst_Panes::propertyChangeUpdatesTheDmxAddress()
{
    MapModel &model = *m_model;
    LightTreeModel &tree = lightTree();
    const quint64 supply = MapBuild::supply(model, QStringLiteral("S"));
    const quint64 light = MapBuild::light(model, supply, 0, 0);
    const QModelIndex address = tree.indexForLight(light, LightTreeModel::DmxAddressColumn);
    QCOMPARE(address.data().toString(), QString());
    QSignalSpy changed(&tree, &QAbstractItemModel::dataChanged);
    model.light(light)->setDeviceProperty(QStringLiteral("DMX_OFFSET"), QStringLiteral("0x20"));
    QCOMPARE(changed.size(), 1);
    QCOMPARE(address.data().toString(), QStringLiteral("33"));
}

void tst_Panes::deletingALightRemovesOnlyItsRow()
{
    MapModel &model = *m_model;
    LightTreeModel &tree = lightTree();
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

// A name edited in the pane reaches the model and marks the map changed; blanks and the
// same name change nothing.
void tst_Panes::renamingMarksTheMapDirty()
{
    MapModel &model = *m_model;
    LightTreeModel &tree = lightTree();
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

void tst_Panes::viewReportsSelectedUidsInShownOrder()
{
    MapModel &model = *m_model;
    LightView &view = *m_lightView;
    LightTreeModel &tree = lightTree();
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

// The groups pane.

void tst_Panes::selectionGroupIsNotShown()
{
    MapModel &model = *m_model;
    GroupTreeModel &tree = groupTree();
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

void tst_Panes::membershipChangesTouchOnlyTheirRows_data()
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

void tst_Panes::membershipChangesTouchOnlyTheirRows()
{
    QFETCH(QList<int>, before);
    QFETCH(QList<int>, after);
    QFETCH(QPoint, removed);
    QFETCH(QPoint, inserted);
    MapModel &model = *m_model;
    GroupTreeModel &tree = groupTree();
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

void tst_Panes::deletedLightLeavesItsGroups()
{
    MapModel &model = *m_model;
    GroupTreeModel &tree = groupTree();
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

void tst_Panes::missingMembersAreShownAsMissing()
{
    MapModel &model = *m_model;
    GroupTreeModel &tree = groupTree();
    MapBuild::group(model, QStringLiteral("Old"), {0xABC});
    QCOMPARE(tree.index(0, 0, tree.index(0, 0)).data().toString(),
             QStringLiteral("Missing light ABC"));
}

void tst_Panes::deletedGroupRemovesItsRow()
{
    MapModel &model = *m_model;
    GroupTreeModel &tree = groupTree();
    const quint64 first = MapBuild::group(model, QStringLiteral("First"), {});
    const quint64 second = MapBuild::group(model, QStringLiteral("Second"), {});
    model.removeGroup(first);
    QCOMPARE(tree.rowCount(), 1);
    QCOMPARE(tree.indexForGroup(second).row(), 0);
    QVERIFY(!tree.indexForGroup(first).isValid());
    model.clear();
    QCOMPARE(tree.rowCount(), 0);
}

void tst_Panes::renamingAGroupMarksTheMapDirty()
{
    MapModel &model = *m_model;
    GroupTreeModel &tree = groupTree();
    const quint64 group = MapBuild::group(model, QStringLiteral("Old"), {});
    QSignalSpy dirty(&tree, &GroupTreeModel::setDirty);
    QVERIFY(!tree.setData(tree.indexForGroup(group), Group::selectionGroupName()));
    QVERIFY(tree.setData(tree.indexForGroup(group), QStringLiteral("Canopy")));
    QCOMPARE(model.group(group)->name(), QStringLiteral("Canopy"));
    QCOMPARE(dirty.size(), 1);
}

void tst_Panes::viewReportsSelectedGroupsAndLights()
{
    MapModel &model = *m_model;
    GroupView &view = *m_groupView;
    GroupTreeModel &tree = groupTree();
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

// The devices pane.

Light *tst_Panes::addLight(quint64 uid, const QString &name, quint64 serial, int channel)
{
    auto light = std::make_unique<Light>();
    light->setUid(uid);
    light->setName(name);
    light->setSerialNumber(serial);
    light->setChannel(channel);
    light->setDataSupply(kSupplyUid);
    if (!m_model->dataSupply(kSupplyUid))
        MapBuild::supply(*m_model, QStringLiteral("PDS-480 East"), kSupplyUid);
    Light *raw = light.get();
    if (!m_model->addLight(std::move(light)))
        return nullptr;
    m_model->dataSupply(kSupplyUid)->addLight(uid);
    return raw;
}

void tst_Panes::burstOfChangesRebuildsOnce()
{
    QSignalSpy selections(m_deviceView.get(), &DeviceView::updatedSelection);
    for (quint64 uid = 1; uid <= 200; ++uid)
        addLight(uid, QStringLiteral("L%1").arg(uid), kGrazeSerial + uid);
    // Nothing is built while the changes keep coming.
    QCOMPARE(m_deviceView->topLevelItemCount(), 0);
    QVERIFY(m_deviceView->isRebuildPending());
    QTRY_VERIFY(!m_deviceView->isRebuildPending());
    QCOMPARE(m_deviceView->kindItem(QStringLiteral("Vela Graze RGB"))->childCount(), 200);
    // One rebuild, one selection report.
    QCOMPARE(selections.count(), 1);
    QCOMPARE(selections.at(0).at(0).value<QList<quint64>>().size(), 200);
}

void tst_Panes::followsEditsDeletesAndClear()
{
    Light *light = addLight(1, QStringLiteral("Column"), kGrazeSerial);
    addLight(2, QStringLiteral("Canopy"), kGrazeSerial + 1);
    m_deviceView->rebuild();

    light->setName(QStringLiteral("Column renamed"));
    light->setChannel(6);
    QVERIFY(!m_deviceView->isRebuildPending());
    QCOMPARE(m_deviceView->lightItem(1)->text(DeviceView::LabelColumn),
             QStringLiteral("Column renamed"));
    QCOMPARE(m_deviceView->lightItem(1)->text(DeviceView::ChannelColumn), QStringLiteral("7"));

    m_model->dataSupply(kSupplyUid)->setName(QStringLiteral("PDS-480 West"));
    QCOMPARE(m_deviceView->lightItem(2)->text(DeviceView::SupplyColumn),
             QStringLiteral("PDS-480 West"));

    // A new serial moves the light to its new kind.
    light->setSerialNumber(kFloodSerial);
    QTRY_VERIFY(!m_deviceView->isRebuildPending());
    QCOMPARE(m_deviceView->lightItem(1)->parent(),
             m_deviceView->kindItem(QStringLiteral("Vela Flood RGBW")));

    QVERIFY(m_model->removeLight(2));
    QTRY_VERIFY(!m_deviceView->lightItem(2));
    QVERIFY(!m_deviceView->kindItem(QStringLiteral("Vela Graze RGB")));

    m_model->clear();
    QTRY_COMPARE(m_deviceView->topLevelItemCount(), 0);
}

void tst_Panes::selectionPassesLightUidsOn()
{
    addLight(1, QStringLiteral("A"), kGrazeSerial);
    addLight(2, QStringLiteral("B"), kGrazeSerial + 1);
    addLight(3, QStringLiteral("C"), kFloodSerial);
    m_deviceView->rebuild();
    QSignalSpy selections(m_deviceView.get(), &DeviceView::updatedSelection);

    m_deviceView->clearSelection();
    QVERIFY(!selections.isEmpty());
    QVERIFY(selections.last().at(0).value<QList<quint64>>().isEmpty());

    m_deviceView->lightItem(3)->setSelected(true);
    QCOMPARE(selections.last().at(0).value<QList<quint64>>(), QList<quint64>{3});

    // A selected kind stands for all its lights; a light is reported once.
    m_deviceView->kindItem(QStringLiteral("Vela Graze RGB"))->setSelected(true);
    m_deviceView->lightItem(1)->setSelected(true);
    QList<quint64> uids = selections.last().at(0).value<QList<quint64>>();
    std::sort(uids.begin(), uids.end());
    QCOMPARE(uids, (QList<quint64>{1, 2, 3}));
    QCOMPARE(m_deviceView->selectedLightUids().size(), 3);
}

QTEST_MAIN(tst_Panes)
#include "tst_panes.moc"
