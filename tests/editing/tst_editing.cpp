// The light-property editor's rules and the group edits, without a window: what "Various"
// and "No Change" mean, that one edit is one undo step for every light and every field,
// how consecutive DMX addresses follow each light's channel count, refusals that change
// nothing, and groups through a saved map.
#include "devices/devicedictionary.h"
#include "devices/deviceresources.h"
#include "devices/propertymapper.h"
#include "editing/editlightscommand.h"
#include "editing/groupedit.h"
#include "editing/lightedit.h"
#include "effects/selectioneffect.h"
#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "model/undomanager.h"

#include <QTemporaryDir>
#include <QtTest>

using LightEdit::Request;
Q_DECLARE_METATYPE(LightEdit::Request)

namespace {

// Everything an edit can touch, for before/after comparisons.
struct Snapshot
{
    QString name;
    unsigned int port;
    int channel;
    QMap<QString, QString> properties;
    bool operator==(const Snapshot &o) const
    {
        return name == o.name && port == o.port && channel == o.channel &&
               properties == o.properties;
    }
};

QVector<Snapshot> snapshot(const MapModel &model, const QList<quint64> &uids)
{
    QVector<Snapshot> all;
    for (const quint64 uid : uids) {
        const Light *l = model.light(uid);
        all.append({l->name(), l->portNumber(), l->channel(), l->deviceProperties()});
    }
    return all;
}

} // namespace

class tst_Editing final : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void summaryShowsVariousOrTheCommonValue_data();
    void summaryShowsVariousOrTheCommonValue();
    void textAndNumberFormsAreOneValue();
    void oneEditIsOneUndoStep_data();
    void oneEditIsOneUndoStep();
    void refusalsChangeNothing_data();
    void refusalsChangeNothing();
    void groupEditsSurviveASavedMapAndUndo();
    void groupLosesDeletedMembers();
    void chaseStepsFollowTheGroupOrder();

private:
    quint64 addLight(const QString &name, int offset, const QString &chemistry, int port = 0);

    std::unique_ptr<MapModel> m_model;
    quint64 m_supply = 0;
    QList<quint64> m_lights;
    const DeviceDictionary *m_dictionary = nullptr;
    const PropertyMapper *m_mapper = nullptr;
};

void tst_Editing::initTestCase()
{
    DeviceResources::registerResources();
    m_dictionary = DeviceDictionary::instance();
    m_mapper = PropertyMapper::instance();
}

void tst_Editing::init()
{
    m_model = std::make_unique<MapModel>();
    auto supply = std::make_unique<DataSupply>(DataSupply::VistraIp);
    m_supply = m_model->newUid();
    supply->setUid(m_supply);
    supply->setPortCount(2);
    m_model->addDataSupply(std::move(supply));
    m_lights.clear();
    // Three lights of 3, 4 and 5 channels (RGB, RGBW, RGBAW); the last near the end of the
    // port and known by its channel alone (no DMX_OFFSET stored).
    m_lights << addLight(QStringLiteral("Cove 1"), 0, QStringLiteral("1"))
             << addLight(QStringLiteral("Cove 2"), 3, QStringLiteral("2"))
             << addLight(QStringLiteral("Cove 3"), 505, QStringLiteral("3"));
    m_model->light(m_lights.last())->removeDeviceProperty(QStringLiteral("DMX_OFFSET"));
}

quint64 tst_Editing::addLight(const QString &name, int offset, const QString &chemistry, int port)
{
    auto light = std::make_unique<Light>();
    const quint64 uid = m_model->newUid();
    light->setUid(uid);
    light->setName(name);
    light->setDataSupply(m_supply);
    light->setPortNumber(unsigned(port));
    light->setChannel(offset);
    light->setDeviceProperty(QStringLiteral("DMX_OFFSET"), QString::number(offset));
    light->setDeviceProperty(QStringLiteral("LED_CHEMISTRY"), chemistry);
    light->setDeviceProperty(QStringLiteral("FIXTURE_TYPE"), QStringLiteral("Generic 3-Ch"));
    m_model->addLight(std::move(light));
    m_model->dataSupply(m_supply)->addLight(uid);
    return uid;
}

void tst_Editing::summaryShowsVariousOrTheCommonValue_data()
{
    QTest::addColumn<QList<int>>("which");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("dmx");
    QTest::addColumn<QString>("chemistry");
    QTest::addColumn<QString>("type");
    QTest::newRow("one light") << QList<int>{1} << "Cove 2"
                               << "4"
                               << "RGBW"
                               << "Generic 3-Ch";
    QTest::newRow("all differ") << QList<int>{0, 1, 2} << "Various"
                                << "Various"
                                << "Various"
                                << "Generic 3-Ch";
}

void tst_Editing::summaryShowsVariousOrTheCommonValue()
{
    QFETCH(QList<int>, which);
    QList<quint64> uids;
    for (const int i : which)
        uids << m_lights.at(i);
    const LightEdit::Summary summary =
        LightEdit::summarise(*m_model, uids, *m_dictionary, *m_mapper);
    QCOMPARE(summary.lightCount, which.size());
    QTEST(summary.name.text(), "name");
    QTEST(summary.dmxAddress.text(), "dmx");
    QCOMPARE(summary.port.text(), QStringLiteral("1"));
    QTEST(summary.fixtureType.text(), "type");
    const auto row = std::find_if(summary.rows.cbegin(), summary.rows.cend(), [](const auto &r) {
        return r.token == QLatin1String("LED_CHEMISTRY");
    });
    QVERIFY(row != summary.rows.cend());
    QTEST(row->current.text(), "chemistry");
    // The chemistry is the hardware's; the input resolution the user may set.
    QVERIFY(!row->editable);
    QVERIFY(std::any_of(summary.rows.cbegin(), summary.rows.cend(), [](const auto &r) {
        return r.token == QLatin1String("INPUT_RESOLUTION") && r.editable;
    }));
}

// Maps keep a chemistry as text ("RGBW"), lights made by hand as its number: one value.
void tst_Editing::textAndNumberFormsAreOneValue()
{
    m_model->light(m_lights.at(0))->setDeviceProperty(QStringLiteral("LED_CHEMISTRY"), "RGBW");
    const LightEdit::Summary summary = LightEdit::summarise(
        *m_model, {m_lights.at(0), m_lights.at(1)}, *m_dictionary, *m_mapper);
    const auto row = std::find_if(summary.rows.cbegin(), summary.rows.cend(), [](const auto &r) {
        return r.token == QLatin1String("LED_CHEMISTRY");
    });
    QVERIFY(row != summary.rows.cend());
    QCOMPARE(row->current.text(), QStringLiteral("RGBW"));
}

void tst_Editing::oneEditIsOneUndoStep_data()
{
    QTest::addColumn<Request>("request");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QList<int>>("offsets");
    QTest::addColumn<QStringList>("chemistries");
    QTest::addColumn<QList<int>>("ports");
    const QStringList oldNames{"Cove 1", "Cove 2", "Cove 3"};
    const QStringList oldChemistries{"1", "2", "3"};
    Request consecutive;
    consecutive.dmxMode = Request::DmxMode::Consecutive;
    consecutive.dmxAddress = 10;
    // Each next light starts after the channels of the one before: 3, then 4 channels.
    QTest::newRow("consecutive addresses") << consecutive << oldNames << QList<int>{9, 12, 16}
                                           << oldChemistries << QList<int>{0, 0, 0};
    Request same;
    same.dmxMode = Request::DmxMode::Same;
    same.dmxAddress = 100;
    QTest::newRow("one address for all")
        << same << oldNames << QList<int>{99, 99, 99} << oldChemistries << QList<int>{0, 0, 0};
    Request everything;
    everything.name = QStringLiteral("Wash");
    everything.port = 2;
    everything.properties.insert(QStringLiteral("INPUT_RESOLUTION"), QStringLiteral("1"));
    everything.dmxMode = Request::DmxMode::Consecutive;
    everything.dmxAddress = 1;
    // The new resolution (16 bit: two slots a channel) counts for the numbering.
    QTest::newRow("name, port, resolution and addresses")
        << everything << QStringList{"Wash 001", "Wash 002", "Wash 003"} << QList<int>{0, 6, 14}
        << oldChemistries << QList<int>{1, 1, 1};
    Request portOnly;
    portOnly.port = 2;
    // "No Change" everywhere else: each light keeps its own values.
    QTest::newRow("port only") << portOnly << oldNames << QList<int>{0, 3, 505} << oldChemistries
                               << QList<int>{1, 1, 1};
}

void tst_Editing::oneEditIsOneUndoStep()
{
    QFETCH(Request, request);
    UndoManager undo(m_model.get());
    const QVector<Snapshot> before = snapshot(*m_model, m_lights);
    auto planned = LightEdit::plan(*m_model, m_lights, request, *m_dictionary, *m_mapper);
    QVERIFY(std::holds_alternative<std::unique_ptr<EditLightsCommand>>(planned));
    auto command = std::move(std::get<std::unique_ptr<EditLightsCommand>>(planned));
    command->apply(*m_model, nullptr);
    undo.addUndoActionList(new UndoActionList{command.release()});

    QFETCH(QStringList, names);
    QFETCH(QList<int>, offsets);
    QFETCH(QStringList, chemistries);
    QFETCH(QList<int>, ports);
    for (int i = 0; i < m_lights.size(); ++i) {
        const Light *light = m_model->light(m_lights.at(i));
        QCOMPARE(light->name(), names.at(i));
        QCOMPARE(light->channel(), offsets.at(i));
        if (light->hasDeviceProperty(QStringLiteral("DMX_OFFSET")))
            QCOMPARE(light->deviceProperty(QStringLiteral("DMX_OFFSET")).toInt(), offsets.at(i));
        QCOMPARE(light->deviceProperty(QStringLiteral("LED_CHEMISTRY")), chemistries.at(i));
        QCOMPARE(int(light->portNumber()), ports.at(i));
    }
    const QVector<Snapshot> after = snapshot(*m_model, m_lights);
    undo.undo();
    QCOMPARE(snapshot(*m_model, m_lights), before);
    undo.redo();
    QCOMPARE(snapshot(*m_model, m_lights), after);
}

void tst_Editing::refusalsChangeNothing_data()
{
    QTest::addColumn<Request>("request");
    QTest::addColumn<QString>("message");
    Request pastTheEnd;
    pastTheEnd.dmxMode = Request::DmxMode::Same;
    pastTheEnd.dmxAddress = 511; // a 3-channel light needs 511..513
    QTest::newRow("address past 512") << pastTheEnd << "past channel 512";
    Request runsOver;
    runsOver.dmxMode = Request::DmxMode::Consecutive;
    runsOver.dmxAddress = 505; // 505..507, 508..511, 512..516: the last does not fit
    QTest::newRow("consecutive run past 512") << runsOver << "\"Cove 3\" (5 channels)";
    Request wider;
    wider.properties.insert(QStringLiteral("INPUT_RESOLUTION"), QStringLiteral("1"));
    // 16 bit doubles the last light's slots without moving it: 506..515.
    QTest::newRow("wider light past 512") << wider << "\"Cove 3\" (10 channels)";
    Request noSuchPort;
    noSuchPort.port = 3;
    QTest::newRow("port the interface lacks") << noSuchPort << "has 2 port(s)";
    Request noSuchType;
    noSuchType.fixtureType = QStringLiteral("Nonesuch");
    noSuchType.name = QStringLiteral("Renamed");
    QTest::newRow("unknown fixture type") << noSuchType << "no fixture type";
    Request readOnly;
    readOnly.properties.insert(QStringLiteral("LED_CHEMISTRY"), QStringLiteral("2"));
    QTest::newRow("read-only property") << readOnly << "LED Chemistry of \"Cove 1\" is read only";
    Request notAnOption;
    notAnOption.properties.insert(QStringLiteral("INPUT_RESOLUTION"), QStringLiteral("7"));
    QTest::newRow("value the property lacks") << notAnOption << "7 is not a value of";
}

void tst_Editing::refusalsChangeNothing()
{
    QFETCH(Request, request);
    QFETCH(QString, message);
    const QVector<Snapshot> before = snapshot(*m_model, m_lights);
    const auto planned = LightEdit::plan(*m_model, m_lights, request, *m_dictionary, *m_mapper);
    const auto *problem = std::get_if<LightEdit::Problem>(&planned);
    QVERIFY(problem);
    QVERIFY2(problem->text.contains(message), qPrintable(problem->text));
    QCOMPARE(snapshot(*m_model, m_lights), before);
}

void tst_Editing::groupEditsSurviveASavedMapAndUndo()
{
    UndoManager undo(m_model.get());
    GroupState state;
    state.uid = m_model->newUid();
    state.name = QStringLiteral("Bar & \"Stage\" <left>");
    state.type = Group::ChasingType;
    state.lightsPerStep = 2;
    state.members = {m_lights.at(2), m_lights.at(0), m_lights.at(1)};
    applyGroupState(*m_model, state);
    undo.addUndoActionList(new UndoActionList{GroupEditCommand::created(state.uid)});
    QCOMPARE(GroupState::of(*m_model->group(state.uid)), state);

    const GroupState before = GroupState::of(*m_model->group(state.uid));
    GroupState changed = before;
    changed.type = Group::SynchronisedType;
    changed.members.removeFirst();
    applyGroupState(*m_model, changed);
    undo.addUndoActionList(new UndoActionList{GroupEditCommand::changed(before)});

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("groups.map"));
    QVERIFY(m_model->saveToFile(path));
    MapModel reloaded;
    QVERIFY(reloaded.loadFromFile(path));
    QCOMPARE(GroupState::of(*reloaded.group(state.uid)), changed);

    undo.undo();
    QCOMPARE(GroupState::of(*m_model->group(state.uid)), state);
    undo.undo();
    QVERIFY(!m_model->group(state.uid));
    undo.redo();
    QCOMPARE(GroupState::of(*m_model->group(state.uid)), state);
    QCOMPARE(m_model->groupsOfLight(m_lights.at(2)), QList<quint64>{state.uid});
}

void tst_Editing::groupLosesDeletedMembers()
{
    UndoManager undo(m_model.get());
    GroupState state;
    state.uid = m_model->newUid();
    state.name = QStringLiteral("Left");
    state.members = m_lights;
    applyGroupState(*m_model, state);
    const GroupState before = GroupState::of(*m_model->group(state.uid));
    GroupState renamed = before;
    renamed.name = QStringLiteral("Right");
    applyGroupState(*m_model, renamed);
    undo.addUndoActionList(new UndoActionList{GroupEditCommand::changed(before)});

    m_model->removeLight(m_lights.at(1));
    undo.undo();
    const Group *group = m_model->group(state.uid);
    QCOMPARE(group->name(), QStringLiteral("Left"));
    QCOMPARE(group->children(), (QList<quint64>{m_lights.at(0), m_lights.at(2)}));
}

void tst_Editing::chaseStepsFollowTheGroupOrder()
{
    GroupState state;
    state.uid = m_model->newUid();
    state.type = Group::ChasingType;
    state.lightsPerStep = 2;
    state.members = {m_lights.at(2), m_lights.at(0), m_lights.at(1)};
    applyGroupState(*m_model, state);
    SelectionEffect effect(m_model.get());
    effect.highlightGroup(state.uid);
    QCOMPARE(effect.chaseSteps(),
             (QVector<QVector<quint64>>{{m_lights.at(2), m_lights.at(0)}, {m_lights.at(1)}}));
}

QTEST_GUILESS_MAIN(tst_Editing)
#include "tst_editing.moc"
