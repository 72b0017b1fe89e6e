#include "discovery/discoveryengine.h"
#include "effects/effectengine.h"
#include "effects/selectioneffect.h"
#include "net/vistrarequests.h"
#include "sim/simoutput.h"
#include "sim/simulator.h"
#include "support/netnamespace.h"
#include "support/simmap.h"

#include <QtTest>

// One live frame on its whole road: selection effect, frame writing, the discovery engine's
// transport, the datagrams on loop-back, the simulated installation. The codec's bytes are
// pinned in tests/net; here, that every light gets its colour and that the transport asks the
// codec for the right frame (a whole frame per port, universe "all", flags 0, start code 0).
class tst_LiveOutput : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void selectedLightsArriveRedTheOthersDark();
};

void tst_LiveOutput::initTestCase()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
}

void tst_LiveOutput::selectedLightsArriveRedTheOthersDark()
{
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
        for (const SimPort &port : installation.supplies.at(s).ports) {
            const QByteArray channels = simulator.output()->channels(s, port.number);
            QCOMPARE(channels.size(), 512); // the protocol's frames are always whole
            for (const SimLight &light : port.lights) {
                const QByteArray rgb = channels.mid(light.dmxOffset(), 3);
                const bool on = selected.contains(light.serial);
                QCOMPARE(rgb.toHex(), QByteArray(on ? "ff0000" : "000000"));
                lit += on ? 1 : 0;
            }
        }
    }
    QVERIFY(lit > 0);

    for (int s = 0; s < installation.supplies.size(); ++s) {
        const SimSupply &supply = installation.supplies.at(s);
        const quint8 port = supply.version == 1 ? 0 : supply.ports.constFirst().number;
        const QByteArray sent = simulator.output()->lastFrame(s, port).last.datagram;
        QVERIFY(sent.size() > 512);
        const auto *data = reinterpret_cast<const uchar *>(sent.constData()) + sent.size() - 512;
        QCOMPARE(sent, supply.version == 1
                           ? VistraRequests::dmxOut(0, 0, data, 512)
                           : VistraRequests::portOut(0xFFFFFFFF, port, 0, 0, data, 512));
    }
}

QTEST_GUILESS_MAIN(tst_LiveOutput)
#include "tst_liveoutput.moc"
