#include "effects/effect.h"
#include "effects/effectengine.h"
#include "effects/effectfields.h"
#include "effects/frametiming.h"
#include "effects/selectioneffect.h"
#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QBuffer>
#include <QSignalSpy>
#include <QtTest>

// The effect engine's timing, the selection effect and effects in map files.
class tst_Effects : public QObject
{
    Q_OBJECT

private slots:
    void nextDelay_data();
    void nextDelay();
    void selection_data();
    void selection();
    void chaseStepsThroughTheGroup();
    void frameColoursEveryLight();
    void effectsSurviveAMapFile();
    void readerKnowsEveryElementName();

private:
    // Lights 1..4 on supply 0x10 (lights 1, 2) and 0x11 (3, 4); group 0x20 holds 4, 1.
    static void fill(MapModel &model);
};

void tst_Effects::fill(MapModel &model)
{
    for (quint64 supplyUid : {0x10, 0x11}) {
        auto supply = std::make_unique<DataSupply>(DataSupply::VistraIp);
        supply->setUid(supplyUid);
        model.addDataSupply(std::move(supply));
    }
    for (quint64 uid = 1; uid <= 4; ++uid) {
        auto light = std::make_unique<Light>();
        light->setUid(uid);
        light->setDataSupply(uid <= 2 ? 0x10 : 0x11);
        model.dataSupply(light->dataSupply())->addLight(uid);
        model.addLight(std::move(light));
    }
    auto group = std::make_unique<Group>();
    group->setUid(0x20);
    group->appendChild(4);
    group->appendChild(1);
    model.addGroup(std::move(group));
}

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
    QCOMPARE(timing.minDelay, interval / 4);
    QCOMPARE(timing.maxDrift, 100 * interval);
    timing.drift = drift;
    QCOMPARE(timing.nextDelay(elapsed), delay);
    QCOMPARE(timing.drift, driftAfter);
}

// A selection call and the lightSelectionChanged signals it gives, as "uid:0/1".
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
    QCOMPARE(seen.size(), changes.size()); // only the lights that change report
}

void tst_Effects::chaseStepsThroughTheGroup()
{
    MapModel model;
    fill(model);
    SelectionEffect effect(&model);
    effect.setLightSelected(2, true);
    effect.highlightGroup(0x20);
    QList<QList<quint64>> frames;
    for (int i = 0; i < 3; ++i) {
        effect.render(QDateTime::currentDateTime(), quint32(i));
        model.updateLights(); // starts the lights' next frame
        frames << effect.selectedLights();
    }
    QCOMPARE(frames, (QList<QList<quint64>>{{4}, {1}, {4}}));
    QCOMPARE(model.light(4)->output().color(), VelaColor(Qt::red));
    QCOMPARE(model.light(2)->output().color(), VelaColor(Qt::black));

    // One step: the same lights every frame. An explicit selection stops the chase.
    effect.highlightGroup(0x20, 2);
    effect.render(QDateTime::currentDateTime(), 3);
    effect.render(QDateTime::currentDateTime(), 4);
    QCOMPARE(effect.selectedCount(), 2);
    effect.setLightSelected(3, true);
    QVERIFY(!effect.isHighlighting());
}

void tst_Effects::frameColoursEveryLight()
{
    MapModel model;
    fill(model);
    SelectionEffect effect(&model);
    effect.setFgColor(VelaColor(Qt::green));
    EffectEngine engine(&model, {&effect}, 1000);
    engine.pause(true);
    effect.setLightSelected(2, true);
    QSignalSpy compiled(&engine, &EffectEngine::propertiesCompiled);
    engine.renderFrame(QDateTime::currentDateTime());
    QCOMPARE(compiled.count(), 1);
    QCOMPARE(engine.frameCount(), 1u);
    for (quint64 uid = 1; uid <= 4; ++uid)
        QCOMPARE(model.light(uid)->output().color(),
                 uid == 2 ? VelaColor(Qt::green) : VelaColor(Qt::black));
}

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
    foreign.elements = {{"type", "Rainbow <&> Effect"}, {"name", "Sweep"}, {"brightness", "80"},
                        {"loop", "1"}, {"font", "Sans & Serif"}};
    model.setEffects({foreign});
    selection.writeToMap(model);

    QBuffer file;
    file.open(QIODevice::ReadWrite);
    QVERIFY(model.saveToDevice(file));
    file.seek(0);
    MapModel loaded;
    QVERIFY(loaded.loadFromDevice(file));
    QCOMPARE(loaded.effects(), model.effects());
    QCOMPARE(loaded.effects().size(), 2);

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
    QCOMPARE(names, QStringList({"type", "name", "eid", "gid", "transparency", "priority",
                                 "begin", "end", "fadein", "fadeout", "starttype",
                                 "startfixedtime", "startlinkeid", "startlinkstart",
                                 "startlinkoffset", "endtype", "endfixedtime", "endlinkeid",
                                 "endlinkstart", "endlinkoffset", "endcyclecount", "fgcolor",
                                 "bgcolor"}));
}

void tst_Effects::readerKnowsEveryElementName()
{
    QCOMPARE(EffectFields::knownNameCount(), 93);
    QCOMPARE(EffectFields::fieldOf(QStringLiteral("sparkletrans")),
             EffectFields::Field::Parameter);
    QCOMPARE(EffectFields::fieldOf(QStringLiteral("Priority")), EffectFields::Field::Unknown);
}

QTEST_GUILESS_MAIN(tst_Effects)
#include "tst_effects.moc"
