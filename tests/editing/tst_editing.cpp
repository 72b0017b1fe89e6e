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

// A light as the rows state it: name, port index, DMX offset and the properties an edit may
// change but the fixture type ("Cove 1 p0 @0 LED_CHEMISTRY=1"). DMX_OFFSET, where stored, must
// agree with the offset: a mismatch shows as "@0!=3".
QString line(const Light &light)
{
    QString text =
        QStringLiteral("%1 p%2 @%3").arg(light.name()).arg(light.portNumber()).arg(light.channel());
    const QString stored = light.deviceProperty(QStringLiteral("DMX_OFFSET"));
    if (!stored.isEmpty() && stored.toInt() != light.channel())
        text += QStringLiteral("!=") + stored;
    const QMap<QString, QString> properties = light.deviceProperties();
    for (auto p = properties.cbegin(); p != properties.cend(); ++p) {
        if (p.key() != QLatin1String("DMX_OFFSET") && p.key() != QLatin1String("FIXTURE_TYPE"))
            text += QLatin1Char(' ') + p.key() + QLatin1Char('=') + p.value();
    }
    return text;
}

// Every stored field of the lights, for "nothing else changed" and "undo gives back all".
QStringList everything(const MapModel &model, const QList<quint64> &uids)
{
    QStringList all;
    for (const quint64 uid : uids) {
        const Light &light = *model.light(uid);
        QString text = line(light) + QLatin1String(" |");
        const QMap<QString, QString> properties = light.deviceProperties();
        for (auto p = properties.cbegin(); p != properties.cend(); ++p)
            text += QLatin1Char(' ') + p.key() + QLatin1Char('=') + p.value();
        all << text;
    }
    return all;
}

QStringList lines(const MapModel &model, const QList<quint64> &uids)
{
    QStringList all;
    for (const quint64 uid : uids)
        all << line(*model.light(uid));
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
    void oneEditIsOneUndoStep_data();
    void oneEditIsOneUndoStep();
    void refusalsChangeNothing_data();
    void refusalsChangeNothing();
    void groupEditsAreUndoneAndChaseInTheirOrder();

private:
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
    m_supply = MapBuild::supply(*m_model);
    m_model->dataSupply(m_supply)->setPortCount(2);
    // Three lights of 3, 4 and 5 channels (RGB, RGBW, RGBAW); the last near the end of the
    // port and known by its channel alone (no DMX_OFFSET stored).
    m_lights.clear();
    for (const auto &[name, offset] : {std::pair{"Cove 1", 0}, {"Cove 2", 3}, {"Cove 3", 505}}) {
        Light *light = m_model->light(MapBuild::light(*m_model, m_supply, 0, 0, name));
        light->setChannel(offset);
        light->setDeviceProperty(QStringLiteral("DMX_OFFSET"), QString::number(offset));
        light->setDeviceProperty(QStringLiteral("LED_CHEMISTRY"),
                                 QString::number(m_lights.size() + 1));
        light->setDeviceProperty(QStringLiteral("FIXTURE_TYPE"), QStringLiteral("Generic 3-Ch"));
        m_lights << light->uid();
    }
    m_model->light(m_lights.last())->removeDeviceProperty(QStringLiteral("DMX_OFFSET"));
}

// The editor's fields as "name | DMX address | port | fixture type | LED chemistry".
void tst_Editing::summaryShowsVariousOrTheCommonValue_data()
{
    QTest::addColumn<QList<int>>("which");
    QTest::addColumn<QString>("firstChemistry"); // empty: as made
    QTest::addColumn<QString>("fields");
    QTest::newRow("one light") << QList<int>{1} << ""
                               << "Cove 2 | 4 | 1 | Generic 3-Ch | RGBW";
    QTest::newRow("all differ") << QList<int>{0, 1, 2} << ""
                                << "Various | Various | 1 | Generic 3-Ch | Various";
    // Maps keep a chemistry as text, lights made by hand as its number: one value.
    QTest::newRow("text and number forms are one value")
        << QList<int>{0, 1} << "RGBW"
        << "Various | Various | 1 | Generic 3-Ch | RGBW";
}

void tst_Editing::summaryShowsVariousOrTheCommonValue()
{
    QFETCH(QList<int>, which);
    QFETCH(QString, firstChemistry);
    if (!firstChemistry.isEmpty())
        m_model->light(m_lights.at(0))->setDeviceProperty("LED_CHEMISTRY", firstChemistry);
    QList<quint64> uids;
    for (const int i : which)
        uids << m_lights.at(i);
    const LightEdit::Summary summary =
        LightEdit::summarise(*m_model, uids, *m_dictionary, *m_mapper);
    QCOMPARE(summary.lightCount, which.size());
    const auto row = [&summary](const char *token) {
        return std::find_if(summary.rows.cbegin(), summary.rows.cend(),
                            [token](const auto &r) { return r.token == QLatin1String(token); });
    };
    QVERIFY(row("LED_CHEMISTRY") != summary.rows.cend());
    QTEST(QStringList({summary.name.text(), summary.dmxAddress.text(), summary.port.text(),
                       summary.fixtureType.text(), row("LED_CHEMISTRY")->current.text()})
              .join(" | "),
          "fields");
    // The chemistry is the hardware's; the input resolution the user may set.
    QVERIFY(!row("LED_CHEMISTRY")->editable);
    QVERIFY(row("INPUT_RESOLUTION") != summary.rows.cend() && row("INPUT_RESOLUTION")->editable);
}

void tst_Editing::oneEditIsOneUndoStep_data()
{
    QTest::addColumn<Request>("request");
    QTest::addColumn<QStringList>("lights");
    Request consecutive;
    consecutive.dmxMode = Request::DmxMode::Consecutive;
    consecutive.dmxAddress = 10;
    // Each next light starts after the channels of the one before: 3, then 4 channels.
    QTest::newRow("consecutive addresses")
        << consecutive
        << QStringList{"Cove 1 p0 @9 LED_CHEMISTRY=1", "Cove 2 p0 @12 LED_CHEMISTRY=2",
                       "Cove 3 p0 @16 LED_CHEMISTRY=3"};
    Request same;
    same.dmxMode = Request::DmxMode::Same;
    same.dmxAddress = 100;
    QTest::newRow("one address for all")
        << same
        << QStringList{"Cove 1 p0 @99 LED_CHEMISTRY=1", "Cove 2 p0 @99 LED_CHEMISTRY=2",
                       "Cove 3 p0 @99 LED_CHEMISTRY=3"};
    Request everything;
    everything.name = QStringLiteral("Wash");
    everything.port = 2;
    everything.properties.insert(QStringLiteral("INPUT_RESOLUTION"), QStringLiteral("1"));
    everything.dmxMode = Request::DmxMode::Consecutive;
    everything.dmxAddress = 1;
    // The new resolution (16 bit: two slots a channel) counts for the numbering.
    QTest::newRow("name, port, resolution and addresses")
        << everything
        << QStringList{"Wash 001 p1 @0 INPUT_RESOLUTION=1 LED_CHEMISTRY=1",
                       "Wash 002 p1 @6 INPUT_RESOLUTION=1 LED_CHEMISTRY=2",
                       "Wash 003 p1 @14 INPUT_RESOLUTION=1 LED_CHEMISTRY=3"};
    Request portOnly;
    portOnly.port = 2;
    // "No Change" everywhere else: each light keeps its own values.
    QTest::newRow("port only") << portOnly
                               << QStringList{"Cove 1 p1 @0 LED_CHEMISTRY=1",
                                              "Cove 2 p1 @3 LED_CHEMISTRY=2",
                                              "Cove 3 p1 @505 LED_CHEMISTRY=3"};
}

void tst_Editing::oneEditIsOneUndoStep()
{
    QFETCH(Request, request);
    UndoManager undo(m_model.get());
    const QStringList before = everything(*m_model, m_lights);
    auto planned = LightEdit::plan(*m_model, m_lights, request, *m_dictionary, *m_mapper);
    QVERIFY(std::holds_alternative<std::unique_ptr<EditLightsCommand>>(planned));
    auto command = std::move(std::get<std::unique_ptr<EditLightsCommand>>(planned));
    command->apply(*m_model, nullptr);
    undo.addUndoActionList(new UndoActionList{command.release()});
    QTEST(lines(*m_model, m_lights), "lights");
    const QStringList after = everything(*m_model, m_lights);
    undo.undo();
    QCOMPARE(everything(*m_model, m_lights), before);
    undo.redo();
    QCOMPARE(everything(*m_model, m_lights), after);
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
    const QStringList before = everything(*m_model, m_lights);
    const auto planned = LightEdit::plan(*m_model, m_lights, request, *m_dictionary, *m_mapper);
    const auto *problem = std::get_if<LightEdit::Problem>(&planned);
    QVERIFY(problem);
    QVERIFY2(problem->text.contains(message), qPrintable(problem->text));
    QCOMPARE(everything(*m_model, m_lights), before);
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
