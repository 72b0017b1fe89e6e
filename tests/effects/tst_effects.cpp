#include "support/mapbuild.h"
#include "support/netnamespace.h"
#include "support/simmap.h"

#include "discovery/discoveryengine.h"
#include "effects/effect.h"
#include "effects/effectengine.h"
#include "effects/effectfields.h"
#include "effects/frametiming.h"
#include "effects/selectioneffect.h"
#include "net/vistrarequests.h"
#include "sim/simoutput.h"
#include "sim/simulator.h"

#include <QSignalSpy>
#include <QtTest>

// The effect engine's timing, the selection effect, effects in map files, and one live frame.
class tst_Effects : public QObject
{
    Q_OBJECT

private slots:
    void nextDelay_data();
    void nextDelay();
    void selection_data();
    void selection();
    void chaseStepsThroughTheGroup();
    void effectsSurviveAMapFile();
    void selectedLightsArriveRedTheOthersDark();

private:
    // Lights 1..4 on supply 0x10 (lights 1, 2) and 0x11 (3, 4); group 0x20 holds 4, 1.
    static void fill(MapModel &model)
    {
        MapBuild::supply(model, QStringLiteral("A"), 0x10);
        MapBuild::supply(model, QStringLiteral("B"), 0x11);
        for (quint64 uid = 1; uid <= 4; ++uid)
            MapBuild::light(model, uid <= 2 ? 0x10 : 0x11, 0, 0, QStringLiteral("L"), uid);
        MapBuild::group(model, QStringLiteral("G"), {4, 1}, 0x20);
    }
};

// Interval, drift before, time since the last frame -> the wait, the drift after.
void tst_Effects::nextDelay_data()
{
    QTest::addColumn<int>("interval");
    QTest::addColumn<int>("drift");
    QTest::addColumn<int>("elapsed");
    QTest::addColumn<int>("delay");
    QTest::addColumn<int>("driftAfter");

    QTest::newRow("on time") << 25 << 0 << 25 << 25 << 0;
    QTest::newRow("50 ms late: 5 ms, held at the quarter") << 25 << 0 << 75 << 6 << 50;
    QTest::newRow("20 ms early lengthens the wait") << 25 << 0 << 5 << 29 << 0;
    QTest::newRow("never more than twice the interval") << 100 << 0 << -2000 << 200 << 0;
    QTest::newRow("drift above 200 intervals is a stall, thrown away")
        << 25 << 5000 << 26 << 25 << 0;
    QTest::newRow("drift between 100 and 200 intervals is capped")
        << 25 << 2400 << 225 << 6 << 2500;
    QTest::newRow("drift is never negative") << 100 << 10 << 50 << 110 << 0;
}

void tst_Effects::nextDelay()
{
    QFETCH(int, interval);
    QFETCH(int, drift);
    QFETCH(int, elapsed);
    QFETCH(int, delay);
    QFETCH(int, driftAfter);
    FrameTiming timing(interval);
    timing.drift = drift;
    QCOMPARE(timing.nextDelay(elapsed), delay);
    QCOMPARE(timing.drift, driftAfter);
}

// A selection call and the lightSelectionChanged signals it gives, as "uid:0/1"; clearing
// reports only the lights that change.
void tst_Effects::selection_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<quint64>("uid");
    QTest::addColumn<QStringList>("changes");

    QTest::newRow("light") << "light" << quint64(3) << QStringList{"3:1"};
    QTest::newRow("unknown light: nothing") << "light" << quint64(99) << QStringList{};
    QTest::newRow("supply, in its order") << "supply" << quint64(0x11) << QStringList{"3:1", "4:1"};
    QTest::newRow("unknown supply: nothing") << "supply" << quint64(0x12) << QStringList{};
    QTest::newRow("group, in its order") << "group" << quint64(0x20) << QStringList{"4:1", "1:1"};
    QTest::newRow("select all") << "all" << quint64(0) << QStringList{"1:1", "2:1", "3:1", "4:1"};
}

void tst_Effects::selection()
{
    QFETCH(QString, call);
    QFETCH(quint64, uid);
    QFETCH(QStringList, changes);
    MapModel model;
    fill(model);
    SelectionEffect effect(&model);
    QStringList seen;
    connect(&effect, &SelectionEffect::lightSelectionChanged, this,
            [&seen](quint64 u, bool on) { seen << QStringLiteral("%1:%2").arg(u).arg(int(on)); });
    if (call == QLatin1String("light"))
        effect.setLightSelected(uid, true);
    else if (call == QLatin1String("supply"))
        effect.setDataSupplySelected(uid, true);
    else if (call == QLatin1String("group"))
        effect.setGroupSelected(uid, true);
    else
        effect.selectAll();
    if (call == QLatin1String("all"))
        std::sort(seen.begin(), seen.end());
    QCOMPARE(seen, changes);
    seen.clear();
    effect.clearSelection();
    QCOMPARE(seen.size(), changes.size());
}

// Each frame the engine renders lights the chase's next step, compiles and updates lights.
void tst_Effects::chaseStepsThroughTheGroup()
{
    MapModel model;
    fill(model);
    SelectionEffect effect(&model);
    EffectEngine engine(&model, {&effect}, 1000);
    engine.pause(true);
    QSignalSpy compiled(&engine, &EffectEngine::propertiesCompiled);
    effect.setLightSelected(2, true);
    effect.highlightGroup(0x20);
    QList<QList<quint64>> frames;
    for (int i = 0; i < 3; ++i) {
        engine.renderFrame(QDateTime::currentDateTime());
        frames << effect.selectedLights();
    }
    QCOMPARE(frames, (QList<QList<quint64>>{{4}, {1}, {4}}));
    QCOMPARE(compiled.count(), 3);
    QCOMPARE(engine.frameCount(), 3u);
    QCOMPARE(model.light(4)->output().color(), VelaColor(Qt::red));
    QCOMPARE(model.light(2)->output().color(), VelaColor(Qt::black));

    // One step: the same lights every frame. An explicit selection stops the chase.
    effect.highlightGroup(0x20, 2);
    engine.renderFrame(QDateTime::currentDateTime());
    engine.renderFrame(QDateTime::currentDateTime());
    QCOMPARE(effect.selectedCount(), 2);
    effect.setLightSelected(3, true);
    QVERIFY(!effect.isHighlighting());
}

// Effects are kept in map files element by element, in order; a foreign effect's elements
// come back as they were, and the selection effect gets its settings back.
void tst_Effects::effectsSurviveAMapFile()
{
    MapModel model;
    fill(model);
    SelectionEffect selection(&model);
    selection.setFgColor(VelaColor(Qt::yellow));
    selection.setBgColor(VelaColor::fromRgb(10, 20, 30));
    selection.priority = 3;
    selection.transparency = 0.25;
    EffectRecord foreign;
    foreign.elements = {{"type", "Rainbow <&> Effect"},
                        {"name", "Sweep"},
                        {"brightness", "80"},
                        {"loop", "1"},
                        {"font", "Sans & Serif"}};
    model.setEffects({foreign});
    selection.writeToMap(model);

    MapModel loaded;
    QVERIFY(MapBuild::load(loaded, MapBuild::saved(model)));
    QCOMPARE(loaded.effects(), model.effects());

    SelectionEffect restored(&loaded);
    restored.readFromMap(loaded);
    QCOMPARE(restored.fgColor(), VelaColor(Qt::yellow));
    QCOMPARE(restored.bgColor(), VelaColor::fromRgb(10, 20, 30));
    const std::unique_ptr<Effect> rebuilt = Effect::fromRecord(loaded.effects().at(1), &loaded);
    QCOMPARE(rebuilt->priority, 3);
    QCOMPARE(rebuilt->toRecord(), loaded.effects().at(1));
    QCOMPARE(Effect::fromRecord(foreign, &loaded)->toRecord().value("font"),
             QStringLiteral("Sans & Serif"));

    QStringList names;
    for (const auto &element : loaded.effects().at(1).elements)
        names << element.first;
    QCOMPARE(names.join(QLatin1Char(' ')),
             QStringLiteral("type name eid gid transparency priority begin end fadein fadeout "
                            "starttype startfixedtime startlinkeid startlinkstart startlinkoffset "
                            "endtype endfixedtime endlinkeid endlinkstart endlinkoffset "
                            "endcyclecount fgcolor bgcolor"));
    // Element names are matched exactly: another case is an unknown element.
    QCOMPARE(EffectFields::fieldOf(QStringLiteral("sparkletrans")), EffectFields::Field::Parameter);
    QCOMPARE(EffectFields::fieldOf(QStringLiteral("Priority")), EffectFields::Field::Unknown);
}

// One live frame on its whole road: selection effect, frame writing, the discovery engine's
// transport, loop-back, the simulated installation. The codec's bytes are pinned in
// tests/net; here, that every light gets its colour and that the transport asks the codec for
// the right frame (a whole frame per port, universe "all", flags 0, start code 0).
void tst_Effects::selectedLightsArriveRedTheOthersDark()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    const SimInstallation installation = SimInstallation::builtIn();
    Simulator simulator(installation);
    QString error;
    QVERIFY2(simulator.start(&error), qPrintable(error));

    MapModel model;
    fillFromSimulation(model, installation);
    DiscoveryEngine transport;
    transport.driveMap(model);
    SelectionEffect selection(&model);
    EffectEngine engine(&model, {&selection});
    engine.pause(true);
    // Every light of the first port of every supply.
    QSet<quint64> selected;
    for (const DataSupply *supply : model.dataSupplies())
        for (const quint64 uid : supply->lights())
            if (model.light(uid)->portNumber() == 0) {
                selection.setLightSelected(uid, true);
                selected.insert(model.light(uid)->serialNumber());
            }

    engine.renderFrame(QDateTime::currentDateTime());
    int ports = 0;
    for (const SimSupply &supply : installation.supplies)
        ports += supply.version == 1 ? 1 : supply.ports.size();
    QTRY_COMPARE(int(simulator.output()->totalFrames()), ports);

    int lit = 0;
    for (int s = 0; s < installation.supplies.size(); ++s) {
        const SimSupply &supply = installation.supplies.at(s);
        for (const SimPort &port : supply.ports) {
            const QByteArray channels = simulator.output()->channels(s, port.number);
            QCOMPARE(channels.size(), 512); // the protocol's frames are always whole
            for (const SimLight &light : port.lights) {
                const bool on = selected.contains(light.serial);
                QCOMPARE(channels.mid(light.dmxOffset(), 3).toHex(),
                         QByteArray(on ? "ff0000" : "000000"));
                lit += on ? 1 : 0;
            }
        }
        const quint8 port = supply.version == 1 ? 0 : supply.ports.constFirst().number;
        const QByteArray sent = simulator.output()->lastFrame(s, port).last.datagram;
        QVERIFY(sent.size() > 512);
        const auto *data = reinterpret_cast<const uchar *>(sent.constData()) + sent.size() - 512;
        QCOMPARE(sent, supply.version == 1
                           ? VistraRequests::dmxOut(0, 0, data, 512)
                           : VistraRequests::portOut(0xFFFFFFFF, port, 0, 0, data, 512));
    }
    QVERIFY(lit > 0);
}

QTEST_GUILESS_MAIN(tst_Effects)
#include "tst_effects.moc"
