// The three panes that list the map: lights under their supplies, groups with their members,
// devices under their kind. They follow the model change by change: rows are inserted, moved
// and removed where they belong, never rebuilt, so selections and expansions survive edits.
// And the Interface Editor the lights pane opens on a supply.
#include "app/testsettings.h"
#include "devices/devicedictionary.h"
#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "support/mapbuild.h"
#include "ui/deviceview.h"
#include "ui/editcontrollerdialog.h"
#include "ui/grouptreemodel.h"
#include "ui/groupview.h"
#include "ui/lighttreemodel.h"
#include "ui/lightview.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTableWidget>
#include <QtTest>

Q_DECLARE_METATYPE(SupplyPort)

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
const auto kReport = QAbstractItemModelTester::FailureReportingMode::QtTest;

QStringList childNames(const QAbstractItemModel &tree, const QModelIndex &parent)
{
    QStringList names;
    for (int row = 0; row < tree.rowCount(parent); ++row)
        names << tree.index(row, 0, parent).data().toString();
    return names;
}

const QString kGroup = QStringLiteral("/EditController");

// Learnt at its address: the address text and DEVICE_VARIABLE_n; the firmware is the unit's own.
std::unique_ptr<DataSupply> exampleSupply()
{
    auto supply = std::make_unique<DataSupply>(DataSupply::VistraIp);
    supply->setUid(0x1A2B3C);
    supply->setName(QStringLiteral("Arcade North"));
    supply->setSerialNumber(0xC0FFEE);
    supply->setIpAddress(QHostAddress(QStringLiteral("10.20.30.40")));
    supply->setUniverse(12);
    supply->setPortCount(2);
    supply->setVersion(2);
    supply->setDeviceProperty(QStringLiteral("IPV4_IP_ADDRESS"), QStringLiteral("10.20.30.40"));
    supply->setDeviceProperty(QStringLiteral("DEVICE_VARIABLE_4"), QStringLiteral("9"));
    supply->setDeviceProperty(QStringLiteral("FIRMWARE_VERSION"), QStringLiteral("5"));
    return supply;
}

// One line of the fields the editor may change on a supply.
QString describe(const DataSupply &s)
{
    return QStringLiteral("%1 %2 \"%3\" u%4 p%5/%6 s%7 v%8")
        .arg(s.name(), s.ipAddress().toString(), QString::fromLatin1(s.ipText()))
        .arg(s.universe())
        .arg(s.portCount())
        .arg(s.ports().size())
        .arg(QString::number(s.serialNumber(), 16))
        .arg(s.version());
}

} // namespace

class tst_Panes : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_settings = std::make_unique<TestSettings>(); }
    void init();
    void cleanup();

    void showsTheExampleInstallation();
    void editsMoveOrUpdateOnlyTheirRow();
    void deletionsRemoveOnlyTheirRows();
    void renamesReachTheModel_data();
    void renamesReachTheModel();
    void groupViewReportsSelectionsInShownOrder();
    void lightPaneAsksForTheRowsEditor();
    void membershipChangesTouchOnlyTheirRows_data();
    void membershipChangesTouchOnlyTheirRows();
    void devicesFollowTheMapOnceShown();
    void acceptWritesEveryField_data();
    void acceptWritesEveryField();
    void rejectOrAGoneSupplyChangesNothing();
    void portOutputs_data();
    void portOutputs();

private:
    LightTreeModel &lightTree() const { return *m_lightView->lightModel(); }
    GroupTreeModel &groupTree() const { return *m_groupView->groupModel(); }
    Light *addLight(quint64 uid, const QString &name, quint64 serial);
    QString shown(const QAbstractItemModel &tree) const;

    std::unique_ptr<TestSettings> m_settings;
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
}

// A pane's rows as "parent[child,child] parent[]" in the order shown; "-" is the row of the
// lights whose supply is not in the map.
QString tst_Panes::shown(const QAbstractItemModel &tree) const
{
    QStringList parents;
    for (int row = 0; row < tree.rowCount(); ++row) {
        const QModelIndex parent = tree.index(row, 0);
        const bool unassigned = &tree == &lightTree() &&
                                lightTree().rowKind(parent) == LightTreeModel::RowKind::Unassigned;
        parents << (unassigned ? QStringLiteral("-") : parent.data().toString()) + '[' +
                       childNames(tree, parent).join(',') + ']';
    }
    return parents.join(' ');
}

void tst_Panes::showsTheExampleInstallation()
{
    LightTreeModel &tree = lightTree();
    QSignalSpy resets(&tree, &QAbstractItemModel::modelReset);
    const QString example = QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map");
    QVERIFY(m_model->loadFromFile(example));
    QCOMPARE(resets.size(), 0);
    QCOMPARE(tree.lightRowCount(), 200);
    const auto rowText = [&tree](int row, const QModelIndex &parent) {
        QStringList cells;
        for (int column = 0; column < LightTreeModel::ColumnCount; ++column)
            cells << tree.index(row, column, parent).data().toString();
        return cells.join(QLatin1String(" | "));
    };
    // The supply (edited by its bare name), then its lights port by port along the chain.
    const QModelIndex north = tree.index(0, 0);
    QCOMPARE(rowText(0, {}), QStringLiteral("Arcade North PDS (10.32.1.11) | 01A20011 |  | "));
    QCOMPARE(north.data(Qt::EditRole).toString(), QStringLiteral("Arcade North PDS"));
    QCOMPARE(rowText(0, north), QStringLiteral("North P1-01 | 10110000 | 1 | 1"));
    QCOMPARE(rowText(1, north), QStringLiteral("North P1-02 | 10110001 | 1 | 4"));
    QCOMPARE(rowText(79, north), QStringLiteral("North P2-40 | 10110127 | 2 | 118"));
    m_model->clear();
    QCOMPARE(shown(tree), QString());
}

// A new port moves the row (one move, no removal) and keeps it selected; a new supply moves
// it there. Lights whose supply is not in the map wait under a row of their own, below the
// supplies, until it comes. A property updates the row's DMX address cell.
void tst_Panes::editsMoveOrUpdateOnlyTheirRow()
{
    MapModel &model = *m_model;
    LightTreeModel &tree = lightTree();
    const quint64 first = MapBuild::supply(model, QStringLiteral("First"));
    const quint64 late = model.newUid() + 100;
    const quint64 a = MapBuild::light(model, first, 0, 0, QStringLiteral("A"));
    MapBuild::light(model, first, 0, 1, QStringLiteral("B"));
    MapBuild::light(model, first, 1, 0, QStringLiteral("C"));
    MapBuild::light(model, late, 0, 1, QStringLiteral("E"));
    MapBuild::light(model, late, 0, 0, QStringLiteral("D"));
    m_lightView->selectionModel()->select(tree.indexForLight(a),
                                          QItemSelectionModel::Select | QItemSelectionModel::Rows);
    QSignalSpy moves(&tree, &QAbstractItemModel::rowsMoved);
    QSignalSpy removals(&tree, &QAbstractItemModel::rowsRemoved);
    QSignalSpy changed(&tree, &QAbstractItemModel::dataChanged);
    model.light(a)->setPortNumber(2);
    QCOMPARE(shown(tree), QStringLiteral("First[B,C,A] -[D,E]"));
    QCOMPARE(moves.size() * 10 + removals.size(), 10);
    QCOMPARE(m_lightView->selectedLightUids(), QList<quint64>{a});
    model.light(a)->setPortNumber(0);
    QCOMPARE(shown(tree), QStringLiteral("First[A,B,C] -[D,E]"));
    QCOMPARE(m_lightView->selectedLightUids(), QList<quint64>{a});
    model.light(a)->setDataSupply(late);
    QCOMPARE(shown(tree), QStringLiteral("First[B,C] -[A,D,E]"));
    MapBuild::supply(model, QStringLiteral("Late"), late);
    QCOMPARE(shown(tree), QStringLiteral("First[B,C] Late[A,D,E]"));
    model.light(a)->setDataSupply(first);
    QCOMPARE(shown(tree), QStringLiteral("First[A,B,C] Late[D,E]"));

    const QModelIndex address = tree.indexForLight(a, LightTreeModel::DmxAddressColumn);
    changed.clear();
    model.light(a)->setDeviceProperty(QStringLiteral("DMX_OFFSET"), QStringLiteral("0x20"));
    QCOMPARE(changed.size(), 1);
    QCOMPARE(address.data().toString(), QStringLiteral("33"));
}

// A deleted light leaves its supply's rows and every group's, one removal each; the unassigned
// row goes with its last light; a deleted group goes alone. Nothing is reset. The working
// selection group is not listed, also when a group is renamed to it and back; a member the
// map does not hold is named as missing.
void tst_Panes::deletionsRemoveOnlyTheirRows()
{
    MapModel &model = *m_model;
    const quint64 supply = MapBuild::supply(model, QStringLiteral("S"));
    const quint64 a = MapBuild::light(model, supply, 0, 0, QStringLiteral("A"));
    const quint64 b = MapBuild::light(model, supply, 0, 1, QStringLiteral("B"));
    MapBuild::light(model, supply, 0, 2, QStringLiteral("C"));
    const quint64 orphan = MapBuild::light(model, 0, 0, 0, QStringLiteral("D"));
    MapBuild::group(model, Group::selectionGroupName(), {a});
    const quint64 one = MapBuild::group(model, QStringLiteral("One"), {a, b});
    Group *two = model.group(MapBuild::group(model, QStringLiteral("Two"), {b, 0xABC}));
    QCOMPARE(shown(groupTree()), QStringLiteral("One (2)[A,B] Two (2)[B,Missing light ABC]"));
    QSignalSpy lightRemovals(&lightTree(), &QAbstractItemModel::rowsRemoved);
    QSignalSpy groupRemovals(&groupTree(), &QAbstractItemModel::rowsRemoved);
    QSignalSpy resets(&lightTree(), &QAbstractItemModel::modelReset);
    QSignalSpy groupResets(&groupTree(), &QAbstractItemModel::modelReset);
    model.removeLight(b);
    QCOMPARE(lightRemovals.size(), 1);
    QCOMPARE(groupRemovals.size(), 2);
    QCOMPARE(shown(lightTree()), QStringLiteral("S[A,C] -[D]"));
    QCOMPARE(shown(groupTree()), QStringLiteral("One (1)[A] Two (1)[Missing light ABC]"));
    model.removeLight(orphan);
    QCOMPARE(shown(lightTree()), QStringLiteral("S[A,C]"));
    model.removeGroup(one);
    QCOMPARE(shown(groupTree()), QStringLiteral("Two (1)[Missing light ABC]"));
    QCOMPARE(resets.size() + groupResets.size(), 0);
    two->setName(Group::selectionGroupName());
    QCOMPARE(shown(groupTree()), QString());
    two->setName(QStringLiteral("Two again"));
    QCOMPARE(shown(groupTree()), QStringLiteral("Two again (1)[Missing light ABC]"));
}

// A name edited in a pane reaches the model and marks the map changed; blanks, the same name
// and the selection group's reserved name change nothing.
void tst_Panes::renamesReachTheModel_data()
{
    QTest::addColumn<QString>("row");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("stored");
    const auto row = [](const char *name, const QString &kind, const QString &typed,
                        const QString &stored) { QTest::newRow(name) << kind << typed << stored; };
    row("a light, trimmed", "light", " Entrance 1 ", "Entrance 1");
    row("a light, blank", "light", "   ", "Old");
    row("a light, the same name", "light", "Old", "Old");
    row("a supply", "supply", "Lobby PDS", "Lobby PDS");
    row("a group", "group", "Canopy", "Canopy");
    row("a group, the selection group's name", "group", Group::selectionGroupName(), "Old");
}

void tst_Panes::renamesReachTheModel()
{
    QFETCH(QString, row);
    QFETCH(QString, typed);
    QFETCH(QString, stored);
    const quint64 supply = MapBuild::supply(*m_model, QStringLiteral("Old"));
    const quint64 light = MapBuild::light(*m_model, supply, 0, 0, QStringLiteral("Old"));
    const quint64 group = MapBuild::group(*m_model, QStringLiteral("Old"), {light});
    QSignalSpy lightDirty(&lightTree(), &LightTreeModel::setDirty);
    QSignalSpy groupDirty(&groupTree(), &GroupTreeModel::setDirty);
    QAbstractItemModel &tree = row == QLatin1String("group")
                                   ? static_cast<QAbstractItemModel &>(groupTree())
                                   : lightTree();
    const QModelIndex index = row == QLatin1String("group") ? groupTree().indexForGroup(group)
                              : row == QLatin1String("supply")
                                  ? lightTree().indexForDataSupply(supply)
                                  : lightTree().indexForLight(light);
    const bool changed = stored != QLatin1String("Old");
    QCOMPARE(tree.setData(index, typed), changed);
    QCOMPARE(index.data(Qt::EditRole).toString(), stored);
    QCOMPARE(lightDirty.size() + groupDirty.size(), changed ? 1 : 0);
}

// The group view reports the lights chosen (a group stands for its members) in the order
// they are shown, each once, and the groups chosen.
void tst_Panes::groupViewReportsSelectionsInShownOrder()
{
    MapModel &model = *m_model;
    const quint64 a = MapBuild::light(model, 0, 0, 0, QStringLiteral("A"));
    const quint64 b = MapBuild::light(model, 0, 0, 0, QStringLiteral("B"));
    const quint64 one = MapBuild::group(model, QStringLiteral("One"), {a, b});
    MapBuild::group(model, QStringLiteral("Two"), {b});
    GroupTreeModel &groups = groupTree();
    const QModelIndex rows[] = {groups.index(0, 0, groups.index(1, 0)), // b in Two
                                groups.index(1, 0, groups.index(0, 0)), // b in One
                                groups.index(0, 0, groups.index(0, 0)), // a in One
                                groups.indexForGroup(one)};
    for (const QModelIndex &row : rows)
        m_groupView->selectionModel()->select(row, QItemSelectionModel::Select |
                                                       QItemSelectionModel::Rows);
    QCOMPARE(m_groupView->selectedLightUids(), (QList<quint64>{a, b}));
    QCOMPARE(m_groupView->selectedGroupUids(), QList<quint64>{one});
}

// A supply row asks for the Interface Editor, a light row for the light-property editor: by
// a double-click (the first click, then the second as a double-click, as the window system
// delivers them), by the context menu, or by "Edit Interface..." (offered on supply rows only).
void tst_Panes::lightPaneAsksForTheRowsEditor()
{
    const quint64 supply = MapBuild::supply(*m_model, QStringLiteral("S"));
    const quint64 light = MapBuild::light(*m_model, supply, 0, 0, QStringLiteral("L"));
    LightView &view = *m_lightView;
    view.show();
    view.expandAll();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QSignalSpy supplyEdits(&view, &LightView::editDataSupplyRequested);
    QSignalSpy lightEdits(&view, &LightView::editLightsRequested);
    const QModelIndex supplyRow = lightTree().indexForDataSupply(supply);
    const QModelIndex lightRow = lightTree().indexForLight(light);
    for (const QModelIndex &row : {supplyRow, lightRow}) {
        const QPoint at = view.visualRect(row).center();
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, at);
        QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, at);
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, view.viewport()->mapToGlobal(at));
        QCoreApplication::sendEvent(view.viewport(), &event);
        std::unique_ptr<QMenu> menu(view.findChild<QMenu *>());
        QVERIFY(menu);
        menu->setParent(nullptr);
        QCOMPARE(menu->actions(), QList<QAction *>{row == supplyRow ? view.editInterfaceAction()
                                                                    : view.editLightsAction()});
        QCOMPARE(view.editInterfaceAction()->isEnabled(), row == supplyRow);
    }
    QVERIFY(view.isExpanded(supplyRow));
    QCOMPARE(supplyEdits.size(), 1);
    QCOMPARE(supplyEdits.at(0).at(0).value<quint64>(), supply);
    QCOMPARE(lightEdits.size(), 1);
    QCOMPARE(lightEdits.at(0).at(0).value<QList<quint64>>(), QList<quint64>{light});
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
    Group *g = model.group(MapBuild::group(model, QStringLiteral("G"), members));

    // Change the list quietly, then announce the group once, as after an editor's apply.
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
    QStringList expected;
    for (int i : after)
        expected << QStringLiteral("L%1").arg(i);
    QCOMPARE(childNames(tree, tree.index(0, 0)), expected);
    auto range = [](const QSignalSpy &spy) {
        return spy.isEmpty() ? QPoint(-1, -1)
                             : QPoint(spy.at(0).at(1).toInt(), spy.at(0).at(2).toInt());
    };
    QVERIFY(removals.size() <= 1 && insertions.size() <= 1);
    QCOMPARE(range(removals), removed);
    QCOMPARE(range(insertions), inserted);
}

// The devices pane as the window has it: nothing built while hidden or while changes keep
// coming; once shown, one rebuild and one selection report for a burst. Then it follows
// edits in place, moves a light whose serial changes kind, passes selections on as light
// uids, and drops emptied kinds.
Light *tst_Panes::addLight(quint64 uid, const QString &name, quint64 serial)
{
    constexpr quint64 kSupplyUid = 0x500;
    if (!m_model->dataSupply(kSupplyUid))
        MapBuild::supply(*m_model, QStringLiteral("PDS-480 East"), kSupplyUid);
    MapBuild::light(*m_model, kSupplyUid, 0, 0, name, uid);
    m_model->light(uid)->setSerialNumber(serial);
    return m_model->light(uid);
}

void tst_Panes::devicesFollowTheMapOnceShown()
{
    DeviceView &view = *m_deviceView;
    view.setRebuildOnlyWhenShown(true);
    QSignalSpy selections(&view, &DeviceView::updatedSelection);
    for (quint64 uid = 1; uid <= 200; ++uid)
        addLight(uid, QStringLiteral("L%1").arg(uid), kGrazeSerial + uid);
    QTest::qWait(20);
    QCOMPARE(view.topLevelItemCount(), 0);
    QVERIFY(view.isRebuildPending());
    view.show();
    QTRY_VERIFY(!view.isRebuildPending());
    QCOMPARE(view.kindItem(QStringLiteral("Vela Graze RGB"))->childCount(), 200);
    QCOMPARE(selections.count(), 1);

    Light *light = m_model->light(1);
    light->setName(QStringLiteral("Column renamed"));
    light->setChannel(6);
    QVERIFY(!view.isRebuildPending());
    QCOMPARE(view.lightItem(1)->text(DeviceView::LabelColumn), QStringLiteral("Column renamed"));
    QCOMPARE(view.lightItem(1)->text(DeviceView::ChannelColumn), QStringLiteral("7"));
    m_model->dataSupply(light->dataSupply())->setName(QStringLiteral("PDS-480 West"));
    QCOMPARE(view.lightItem(2)->text(DeviceView::SupplyColumn), QStringLiteral("PDS-480 West"));
    light->setSerialNumber(kFloodSerial);
    QTRY_VERIFY(!view.isRebuildPending());
    QCOMPARE(view.lightItem(1)->parent(), view.kindItem(QStringLiteral("Vela Flood RGBW")));
    // A selected kind stands for all its lights; each light is reported once.
    view.clearSelection();
    QVERIFY(selections.last().at(0).value<QList<quint64>>().isEmpty());
    view.lightItem(1)->setSelected(true);
    QCOMPARE(selections.last().at(0).value<QList<quint64>>(), QList<quint64>{1});
    view.kindItem(QStringLiteral("Vela Graze RGB"))->setSelected(true);
    view.lightItem(2)->setSelected(true);
    QCOMPARE(selections.last().at(0).value<QList<quint64>>().size(), 200);
    for (quint64 uid = 2; uid <= 200; ++uid)
        QVERIFY(m_model->removeLight(uid));
    QTRY_VERIFY(!view.lightItem(2));
    QVERIFY(!view.kindItem(QStringLiteral("Vela Graze RGB")));
    m_model->clear();
    QTRY_COMPARE(view.topLevelItemCount(), 0);
}

// What is typed as "name|address|universe|ports|serial|version index" ("-": left as the editor
// showed it), and the supply after OK. What a supply learnt at its address goes when the
// address changes, and only then; the firmware is the unit's own.
void tst_Panes::acceptWritesEveryField_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<bool>("keepsLearnt");
    QTest::newRow("every field") << "Canopy|192.168.4.9|300|4|4C5400012345|2"
                                 << "Canopy 192.168.4.9 \"192.168.4.9\" u300 p4/4 s4c5400012345 v3"
                                 << false;
    QTest::newRow("garbage: a null address, zeros") << "|10.20.300.1|abc|0|zz|1"
                                                    << "  \"\" u0 p0/0 s0 v2" << false;
    QTest::newRow("only the name: the rest comes back as shown")
        << "Renamed|-|-|-|-|-"
        << "Renamed 10.20.30.40 \"10.20.30.40\" u12 p2/2 sc0ffee v2" << true;
}

void tst_Panes::acceptWritesEveryField()
{
    QFETCH(QString, typed);
    QFETCH(QString, stored);
    QFETCH(bool, keepsLearnt);
    const QStringList field = typed.split(QLatin1Char('|'));
    const auto given = [&field](int i) { return field.at(i) != QLatin1String("-"); };
    auto supply = exampleSupply();
    EditControllerDialog dialog(kGroup, supply.get());
    QSignalSpy dirty(&dialog, &EditControllerDialog::setDirty);
    dialog.nameLineEdit()->setText(field.at(0));
    if (given(1))
        dialog.ipLineEdit()->setText(field.at(1));
    if (given(2))
        dialog.universeLineEdit()->setText(field.at(2));
    if (given(3))
        dialog.numPortsSpinBox()->setValue(field.at(3).toInt());
    if (given(4))
        dialog.serialLineEdit()->setText(field.at(4));
    if (given(5))
        dialog.versionComboBox()->setCurrentIndex(field.at(5).toInt());
    QTest::mouseClick(dialog.okButton(), Qt::LeftButton);

    QCOMPARE(describe(*supply), stored);
    const QStringList learnt{"DEVICE_VARIABLE_4", "FIRMWARE_VERSION", "IPV4_IP_ADDRESS"};
    QCOMPARE(supply->deviceProperties().keys(),
             keepsLearnt ? learnt : QStringList{"FIRMWARE_VERSION"});
    QCOMPARE(dirty.count(), 1);
}

// Cancel writes nothing; OK on a supply deleted while the editor was open writes nowhere.
void tst_Panes::rejectOrAGoneSupplyChangesNothing()
{
    auto supply = exampleSupply();
    const QString before = describe(*supply);
    EditControllerDialog dialog(kGroup, supply.get());
    EditControllerDialog orphan(kGroup, supply.get());
    QSignalSpy dirty(&dialog, &EditControllerDialog::setDirty);
    QSignalSpy orphanDirty(&orphan, &EditControllerDialog::setDirty);
    dialog.nameLineEdit()->setText(QStringLiteral("Other"));
    dialog.numPortsSpinBox()->setValue(8);
    dialog.cancelButton()->click();
    QCOMPARE(describe(*supply), before);
    supply.reset();
    orphan.okButton()->click();
    QCOMPARE(orphan.result(), int(QDialog::Accepted));
    QCOMPARE(dirty.count() + orphanDirty.count(), 0);
}

void tst_Panes::portOutputs_data()
{
    QTest::addColumn<int>("port"); // one-based, as the table shows it
    QTest::addColumn<QString>("output");
    QTest::addColumn<int>("number");
    QTest::addColumn<SupplyPort>("stored");

    // Port 1 was discovered as kind 1 with flags 0x4, port 2 carries sACN universe 2.
    QTest::newRow("sACN universe 7 on port 2") << 2 << "sACN" << 7 << SupplyPort{7, 6, 0};
    QTest::newRow("Art-Net 300 on port 1, flags kept")
        << 1 << "Art-Net" << 300 << SupplyPort{300, 7, 0x4};
    QTest::newRow("Vistra keeps the discovered kind")
        << 1 << "Vistra" << 3 << SupplyPort{3, 1, 0x4};
    QTest::newRow("Vistra after sACN: kind unknown") << 2 << "Vistra" << 5 << SupplyPort{5, 0, 0};
    QTest::newRow("sACN universe 0 becomes 1") << 1 << "sACN" << 0 << SupplyPort{1, 6, 0x4};
    QTest::newRow("Art-Net 32768 becomes 32767")
        << 1 << "Art-Net" << 32768 << SupplyPort{32767, 7, 0x4};
}

void tst_Panes::portOutputs()
{
    QFETCH(int, port);
    QFETCH(QString, output);
    QFETCH(int, number);
    QFETCH(SupplyPort, stored);

    auto supply = exampleSupply();
    supply->setPort(0, {1, 1, 0x4});
    supply->setPort(1, {2, 6, 0});
    const QVector<SupplyPort> before = supply->ports();
    EditControllerDialog dialog(kGroup, supply.get());
    QCOMPARE(dialog.portTable()->rowCount(), 2);
    QCOMPARE(dialog.portOutputComboBox(0)->currentText() +
                 dialog.portOutputComboBox(1)->currentText(),
             QStringLiteral("VistrasACN"));
    QCOMPARE(dialog.portNumberSpinBox(0)->value() * 10 + dialog.portNumberSpinBox(1)->value(), 12);
    // A row that goes with "Num Ports:" and comes back shows what the supply stores.
    dialog.numPortsSpinBox()->setValue(1);
    dialog.numPortsSpinBox()->setValue(2);
    QCOMPARE(dialog.portNumberSpinBox(1)->value(), 2);

    dialog.portOutputComboBox(port - 1)->setCurrentText(output);
    dialog.portNumberSpinBox(port - 1)->setValue(number);
    dialog.okButton()->click();

    QCOMPARE(supply->port(port - 1), stored);
    QCOMPARE(supply->port(2 - port), before.at(2 - port));
}

QTEST_MAIN(tst_Panes)
#include "tst_panes.moc"
