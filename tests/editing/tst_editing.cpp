// The light-property editor's rules and the group edits, without a window: what "Various"
// and "No Change" mean, that one edit is one undo step for every light and every field,
// how consecutive DMX addresses follow each light's channel count, and refusals that change
// nothing.
#include "devices/devicedictionary.h"
#include "devices/deviceresources.h"
#include "devices/propertymapper.h"
#include "editing/editlightscommand.h"
#include "editing/groupedit.h"
#include "editing/lightedit.h"
#include "effects/selectioneffect.h"
#include "model/undomanager.h"
#include "support/mapbuild.h"

#include <QtTest>

using LightEdit::Request;
Q_DECLARE_METATYPE(LightEdit::Request)

namespace {

// The lights as the rows state them: name, port index, DMX offset and the properties an edit
// may change but the fixture type ("Cove 1 p0 @0 LED_CHEMISTRY=1"); DMX_OFFSET, where stored,
// must agree with the offset: a mismatch shows as "@0!=3". With `all`, every stored property
// follows, for "nothing else changed" and "undo gives back all".
QStringList lines(const MapModel &model, const QList<quint64> &uids, bool all = false)
{
    QStringList described;
    for (const quint64 uid : uids) {
        const Light &light = *model.light(uid);
        QString text = QStringLiteral("%1 p%2 @%3")
                           .arg(light.name())
                           .arg(light.portNumber())
                           .arg(light.channel());
        const QString stored = light.deviceProperty(QStringLiteral("DMX_OFFSET"));
        if (!stored.isEmpty() && stored.toInt() != light.channel())
            text += QStringLiteral("!=") + stored;
        const QMap<QString, QString> properties = light.deviceProperties();
        for (auto p = properties.cbegin(); p != properties.cend(); ++p) {
            if (all || (p.key() != QLatin1String("DMX_OFFSET") &&
                        p.key() != QLatin1String("FIXTURE_TYPE")))
                text += QLatin1Char(' ') + p.key() + QLatin1Char('=') + p.value();
        }
        described << text;
    }
    return described;
}

} // namespace

class tst_Editing final : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void summaryShowsVariousOrTheCommonValue();
    void edits_data();
    void edits();
    void groupEditsAreUndoneAndChaseInTheirOrder();

private:
    std::unique_ptr<MapModel> m_model;
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
    const quint64 supply = MapBuild::supply(*m_model);
    m_model->dataSupply(supply)->setPortCount(2);
    // Three lights of 3, 4 and 5 channels (RGB, RGBW, RGBAW); the last near the end of the
    // port and known by its channel alone (no DMX_OFFSET stored).
    m_lights.clear();
    for (const auto &[name, offset] : {std::pair{"Cove 1", 0}, {"Cove 2", 3}, {"Cove 3", 505}}) {
        Light *light = m_model->light(MapBuild::light(*m_model, supply, 0, 0, name));
        light->setChannel(offset);
        light->setDeviceProperty(QStringLiteral("DMX_OFFSET"), QString::number(offset));
        light->setDeviceProperty(QStringLiteral("LED_CHEMISTRY"),
                                 QString::number(m_lights.size() + 1));
        light->setDeviceProperty(QStringLiteral("FIXTURE_TYPE"), QStringLiteral("Generic 3-Ch"));
        m_lights << light->uid();
    }
    m_model->light(m_lights.last())->removeDeviceProperty(QStringLiteral("DMX_OFFSET"));
}

// The editor's fields for three lights, then two: "name | DMX address | port | fixture type |
// LED chemistry". Maps keep a chemistry as text, lights made by hand as its number: one value.
// The chemistry is the hardware's; the input resolution the user may set.
void tst_Editing::summaryShowsVariousOrTheCommonValue()
{
    m_model->light(m_lights.at(0))->setDeviceProperty("LED_CHEMISTRY", "RGBW");
    QStringList fields;
    for (const int count : {3, 2}) {
        const LightEdit::Summary summary =
            LightEdit::summarise(*m_model, m_lights.mid(0, count), *m_dictionary, *m_mapper);
        const auto row = [&summary](const char *token) {
            return std::find_if(summary.rows.cbegin(), summary.rows.cend(),
                                [token](const auto &r) { return r.token == QLatin1String(token); });
        };
        QVERIFY(row("LED_CHEMISTRY") != summary.rows.cend() && !row("LED_CHEMISTRY")->editable);
        QVERIFY(row("INPUT_RESOLUTION") != summary.rows.cend() &&
                row("INPUT_RESOLUTION")->editable);
        fields << QStringList({summary.name.text(), summary.dmxAddress.text(), summary.port.text(),
                               summary.fixtureType.text(), row("LED_CHEMISTRY")->current.text()})
                      .join(" | ");
    }
    QCOMPARE(fields, QStringList({"Various | Various | 1 | Generic 3-Ch | Various",
                                  "Various | Various | 1 | Generic 3-Ch | RGBW"}));
}

// An edit is one undo step for every light and every field, or is refused whole, changing
// nothing: the lights after it, or a fragment of the refusal.
void tst_Editing::edits_data()
{
    QTest::addColumn<Request>("request");
    QTest::addColumn<QStringList>("expected");
    const auto dmx = [](Request::DmxMode mode, int address) {
        Request r;
        r.dmxMode = mode;
        r.dmxAddress = address;
        return r;
    };
    const auto property = [](const char *token, const char *value) {
        Request r;
        r.properties.insert(QLatin1String(token), QLatin1String(value));
        return r;
    };
    // Each next light starts after the channels of the one before: 3, then 4 channels.
    QTest::newRow("consecutive addresses")
        << dmx(Request::DmxMode::Consecutive, 10)
        << QStringList{"Cove 1 p0 @9 LED_CHEMISTRY=1", "Cove 2 p0 @12 LED_CHEMISTRY=2",
                       "Cove 3 p0 @16 LED_CHEMISTRY=3"};
    QTest::newRow("one address for all")
        << dmx(Request::DmxMode::Same, 100)
        << QStringList{"Cove 1 p0 @99 LED_CHEMISTRY=1", "Cove 2 p0 @99 LED_CHEMISTRY=2",
                       "Cove 3 p0 @99 LED_CHEMISTRY=3"};
    Request everything = dmx(Request::DmxMode::Consecutive, 1);
    everything.name = QStringLiteral("Wash");
    everything.port = 2;
    everything.properties.insert(QStringLiteral("INPUT_RESOLUTION"), QStringLiteral("1"));
    // The new resolution (16 bit: two slots a channel) counts for the numbering.
    QTest::newRow("name, port, resolution and addresses")
        << everything
        << QStringList{"Wash 001 p1 @0 INPUT_RESOLUTION=1 LED_CHEMISTRY=1",
                       "Wash 002 p1 @6 INPUT_RESOLUTION=1 LED_CHEMISTRY=2",
                       "Wash 003 p1 @14 INPUT_RESOLUTION=1 LED_CHEMISTRY=3"};
    Request port;
    port.port = 2;
    // "No Change" everywhere else: each light keeps its own values.
    QTest::newRow("port only") << port
                               << QStringList{"Cove 1 p1 @0 LED_CHEMISTRY=1",
                                              "Cove 2 p1 @3 LED_CHEMISTRY=2",
                                              "Cove 3 p1 @505 LED_CHEMISTRY=3"};
    // 505..507, 508..511, 512..516: the last does not fit.
    QTest::newRow("consecutive run past 512")
        << dmx(Request::DmxMode::Consecutive, 505) << QStringList{"\"Cove 3\" (5 channels)"};
    // 16 bit doubles the last light's slots without moving it: 506..515.
    QTest::newRow("wider light past 512")
        << property("INPUT_RESOLUTION", "1") << QStringList{"\"Cove 3\" (10 channels)"};
    port.port = 3;
    QTest::newRow("port the interface lacks") << port << QStringList{"has 2 port(s)"};
    Request type;
    type.fixtureType = QStringLiteral("Nonesuch");
    type.name = QStringLiteral("Renamed");
    QTest::newRow("unknown fixture type") << type << QStringList{"no fixture type"};
    QTest::newRow("read-only property") << property("LED_CHEMISTRY", "2")
                                        << QStringList{"LED Chemistry of \"Cove 1\" is read only"};
    QTest::newRow("value the property lacks")
        << property("INPUT_RESOLUTION", "7") << QStringList{"7 is not a value of"};
}

void tst_Editing::edits()
{
    QFETCH(Request, request);
    QFETCH(QStringList, expected);
    UndoManager undo(m_model.get());
    const QStringList before = lines(*m_model, m_lights, true);
    auto planned = LightEdit::plan(*m_model, m_lights, request, *m_dictionary, *m_mapper);
    if (const auto *problem = std::get_if<LightEdit::Problem>(&planned)) {
        QVERIFY2(expected.size() == 1 && problem->text.contains(expected.first()),
                 qPrintable(problem->text));
        QCOMPARE(lines(*m_model, m_lights, true), before);
        return;
    }
    auto command = std::move(std::get<std::unique_ptr<EditLightsCommand>>(planned));
    command->apply(*m_model, nullptr);
    undo.addUndoActionList(new UndoActionList{command.release()});
    QCOMPARE(lines(*m_model, m_lights), expected);
    const QStringList after = lines(*m_model, m_lights, true);
    undo.undo();
    QCOMPARE(lines(*m_model, m_lights, true), before);
    undo.redo();
    QCOMPARE(lines(*m_model, m_lights, true), after);
}

// A group made, then changed, each one undo step; a chase steps through it in its own order.
// Undoing the change after one of its lights was deleted leaves that light out.
void tst_Editing::groupEditsAreUndoneAndChaseInTheirOrder()
{
    UndoManager undo(m_model.get());
    GroupState state;
    state.uid = m_model->newUid();
    state.name = QStringLiteral("Stage");
    state.type = Group::ChasingType;
    state.lightsPerStep = 2;
    state.members = {m_lights.at(2), m_lights.at(0), m_lights.at(1)};
    applyGroupState(*m_model, state);
    undo.addUndoActionList(new UndoActionList{GroupEditCommand::created(state.uid)});
    QCOMPARE(GroupState::of(*m_model->group(state.uid)), state);
    SelectionEffect effect(m_model.get());
    effect.highlightGroup(state.uid);
    QCOMPARE(effect.chaseSteps(),
             (QVector<QVector<quint64>>{{m_lights.at(2), m_lights.at(0)}, {m_lights.at(1)}}));

    GroupState changed = state;
    changed.type = Group::SynchronisedType;
    changed.members.removeFirst();
    applyGroupState(*m_model, changed);
    undo.addUndoActionList(new UndoActionList{GroupEditCommand::changed(state)});
    QCOMPARE(GroupState::of(*m_model->group(state.uid)), changed);

    m_model->removeLight(m_lights.at(1));
    GroupState restored = state;
    restored.members = {m_lights.at(2), m_lights.at(0)};
    undo.undo();
    QCOMPARE(GroupState::of(*m_model->group(state.uid)), restored);
    undo.undo();
    QVERIFY(!m_model->group(state.uid));
    undo.redo();
    QCOMPARE(GroupState::of(*m_model->group(state.uid)), restored);
    QCOMPARE(m_model->groupsOfLight(m_lights.at(2)), QList<quint64>{state.uid});
}

QTEST_GUILESS_MAIN(tst_Editing)
#include "tst_editing.moc"
