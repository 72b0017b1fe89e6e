// The engine's reply handlers, driven directly: what becomes a supply or a light, and how a
// read run moves on. Requests the engine sends go to loop-back addresses of an empty
// namespace where nothing answers.
#include "discovery/discoveredmap.h"
#include "discovery/discoveryengine.h"
#include "model/mapmodel.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "net/ksocket.h"
#include "support/netnamespace.h"
#include "net/vistra.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QSignalSpy>
#include <QtTest>

class tst_DiscoveryEngine : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void secondReplyFromAKnownAddressIsIgnored();
    void wirePortsAreCountedFromOne_data();
    void wirePortsAreCountedFromOne();
    void repeatedScansReportALightOnce();
    void dmxOffsetBytesCombineBigEndian();
    void guardFollowsTheLightItProtects();
    void readRunAdvancesOnlyOnTheAwaitedAnswer();
    void rdmReadRunEndsAfterItsParameters();
    void timeoutRetriesAndRearmsAsRdmGet();
    void forgottenLightsAreReportedAgain();
    void abandonedReadsStopRetrying();
    void lightsTheMapHoldsAreNotAddedTwice();

private:
    static char mac[6];
    static char version[8];
    static char id[16];
    DataSupply *discoverSupply(DiscoveryEngine &engine, quint32 ip, int version);
};

namespace {

constexpr quint32 kIp = 0x7F000101; // 127.0.1.1

// A light of a version-1 supply at 127.0.1.1, found by blink scan.
Light *scanned(DiscoveryEngine &engine, quint32 serial)
{
    engine.handleBlinkScanResponse(kIp, serial);
    return engine.lightBySerial(serial);
}

// The read the guard timer waits for: "method address serial ip", or "off".
QString guard(DiscoveryEngine &engine)
{
    const QTimer *timer = engine.readTimer();
    if (!timer->isActive())
        return QStringLiteral("off");
    return QStringLiteral("%1 %2 0x%3 %4")
        .arg(timer->property("method").toString())
        .arg(timer->property("readAddress").toUInt())
        .arg(timer->property("sn").toULongLong(), 0, 16)
        .arg(timer->property("ip").toString());
}

} // namespace

char tst_DiscoveryEngine::mac[6] = {0x02, 0x4C, 0, 0, 1, 1};
char tst_DiscoveryEngine::version[8] = "2.4.1";
char tst_DiscoveryEngine::id[16] = "North PDS";

void tst_DiscoveryEngine::initTestCase()
{
    if (!NetNamespace::isPrivate())
        QSKIP(NetNamespace::kNotPrivate);
    QString error;
    if (!NetNamespace::enterFresh(&error))
        QSKIP(qPrintable(error));
}

DataSupply *tst_DiscoveryEngine::discoverSupply(DiscoveryEngine &engine, quint32 ip, int ver)
{
    QSignalSpy spy(&engine, &DiscoveryEngine::discoveredController);
    engine.handleVistraDiscoverResponse(mac, ip, 0x4C510000 + (ip & 0xFF), quint16(ver), 3, version,
                                        id);
    return spy.isEmpty() ? nullptr : spy.at(0).at(0).value<DataSupply *>();
}

void tst_DiscoveryEngine::secondReplyFromAKnownAddressIsIgnored()
{
    DiscoveryEngine engine;
    const DataSupply *supply = discoverSupply(engine, kIp, 2);
    QVERIFY(supply);
    QCOMPARE(QStringLiteral("%1 0x%2 %3 %4 v%5 u%6 %7")
                 .arg(supply->name())
                 .arg(supply->serialNumber(), 0, 16)
                 .arg(supply->ipAddress().toString(), supply->macAddress())
                 .arg(supply->version())
                 .arg(supply->universe())
                 .arg(supply->versionString()),
             QStringLiteral("North PDS 0x4c510001 127.0.1.1 02:4C:00:00:01:01 v2 u3 2.4.1"));

    engine.handleVistraDiscoverV3Response(mac, kIp, 0x4C5300000001ULL, 3, 0, version, id);
    QCOMPARE(engine.supplies().size(), 1);
    QVERIFY(discoverSupply(engine, 0x7F000102, 3));
    QCOMPARE(engine.supplies().size(), 2);

    // A new discovery forgets the earlier answers.
    engine.discoverControllers();
    QVERIFY(engine.supplies().isEmpty());
    QVERIFY(discoverSupply(engine, kIp, 2));
}

void tst_DiscoveryEngine::wirePortsAreCountedFromOne_data()
{
    QTest::addColumn<int>("wirePort");
    QTest::addColumn<int>("modelPort");
    QTest::newRow("port 1") << 1 << 0;
    QTest::newRow("port 8") << 8 << 7;
}

void tst_DiscoveryEngine::wirePortsAreCountedFromOne()
{
    QFETCH(int, wirePort);
    QFETCH(int, modelPort);
    DiscoveryEngine engine;
    DataSupply *supply = discoverSupply(engine, kIp, 2);
    QSignalSpy lights(&engine, &DiscoveryEngine::discoveredLight);
    engine.handleBlinkScan2SNResponse(kIp, uchar(wirePort), 2, {0x4C310001, 0x4C310002});
    engine.handleBlinkScan2XRDMResponse(kIp, uchar(wirePort), {0x7FF701000201ULL});
    QCOMPARE(lights.count(), 3);
    for (const auto &args : lights) {
        const Light *light = args.at(0).value<Light *>();
        QCOMPARE(light->portNumber(), unsigned(modelPort));
        QCOMPARE(light->dataSupply(), supply->uid());
    }
    QCOMPARE(engine.lightBySerial(0x7FF701000201ULL)->lightNumber(), 2);
    // Replies from addresses no supply answered from are ignored.
    engine.handleBlinkScan2SNResponse(0x7F000109, 1, 1, {0x4C3100FF});
    QCOMPARE(lights.count(), 3);
}

void tst_DiscoveryEngine::repeatedScansReportALightOnce()
{
    DiscoveryEngine engine;
    discoverSupply(engine, kIp, 1);
    QSignalSpy lights(&engine, &DiscoveryEngine::discoveredLight);
    scanned(engine, 0x4C310001);
    scanned(engine, 0x4C310001);
    const Light *second = scanned(engine, 0x4C310002);
    QCOMPARE(lights.count(), 2);
    QCOMPARE(second->portNumber(), 0u);
    QCOMPARE(second->lightNumber(), 1);
}

void tst_DiscoveryEngine::dmxOffsetBytesCombineBigEndian()
{
    DiscoveryEngine engine;
    discoverSupply(engine, kIp, 1);
    Light *light = scanned(engine, 0x4C310001);
    engine.readLightData({light});
    engine.handleBlinkEEReadResponse(kIp, 0x4C310001, 64, 0x12);
    engine.handleBlinkEEReadResponse(kIp, 0x4C310001, 65, 0x34);
    QCOMPARE(light->deviceProperty("DMX_OFFSET"), QString::number(0x1234));
    // The low byte replaces bits 0-7 only.
    engine.handleBlinkEEReadResponse(kIp, 0x4C310001, 65, 0x01);
    QCOMPARE(light->deviceProperty("DMX_OFFSET"), QString::number(0x1201));
    // A light that already holds an offset (from the map) keeps the half that did not answer.
    Light *known = scanned(engine, 0x4C310002);
    known->setDeviceProperty("DMX_OFFSET", "300"); // 0x012C
    engine.handleBlinkEEReadResponse(kIp, 0x4C310002, 65, 0x05);
    QCOMPARE(known->deviceProperty("DMX_OFFSET"), QString::number(0x0105));
}

void tst_DiscoveryEngine::guardFollowsTheLightItProtects()
{
    DiscoveryEngine engine;
    discoverSupply(engine, kIp, 1);
    Light *a = scanned(engine, 0x4C310001);
    Light *b = scanned(engine, 0x4C310002);
    engine.readLightData({a, b});
    engine.handleBlinkEEReadResponse(kIp, 0x4C310001, 64, 0);
    engine.handleBlinkEEReadResponse(kIp, 0x4C310002, 64, 0); // the guard is now on b
    engine.handleBlinkEEReadResponse(kIp, 0x4C310001, 65, 1); // a is done
    QCOMPARE(guard(engine), QStringLiteral("EERead 65 0x4c310002 127.0.1.1"));

    engine.readLightData({a});
    engine.handleBlinkEEReadResponse(kIp, 0x4C310001, 64, 0); // the guard is on a again
    engine.handleBlinkEEReadResponse(kIp, 0x4C310001, 65, 1); // a is done: no guard
    QCOMPARE(guard(engine), QStringLiteral("off"));
    QVERIFY(engine.isReadPending(b)); // b's stall is the reader's to notice
}

void tst_DiscoveryEngine::readRunAdvancesOnlyOnTheAwaitedAnswer()
{
    DiscoveryEngine engine;
    discoverSupply(engine, kIp, 1);
    Light *light = scanned(engine, 0x4C310001);
    QSignalSpy complete(&engine, &DiscoveryEngine::lightDataReadComplete);

    engine.readLightData({light});
    QVERIFY(engine.isReadPending(light));
    QCOMPARE(guard(engine), QStringLiteral("off")); // the first request goes out unguarded
    // An answer for 65 before 64 was answered (a late duplicate) does not move the run on.
    engine.handleBlinkEEReadResponse(kIp, 0x4C310001, 65, 0x07);
    QVERIFY(engine.isReadPending(light));
    engine.handleBlinkEEReadResponse(kIp, 0x4C310001, 64, 0x00);
    QCOMPARE(guard(engine), QStringLiteral("EERead 65 0x4c310001 127.0.1.1"));
    engine.handleBlinkEEReadResponse(kIp, 0x4C310001, 65, 0x2A);
    QCOMPARE(complete.count(), 1);
    QCOMPARE(complete.at(0).at(0).toULongLong(), light->uid());
    QVERIFY(!engine.isReadPending(light));
    QCOMPARE(guard(engine), QStringLiteral("off"));
    QCOMPARE(light->deviceProperty("DMX_OFFSET"), QStringLiteral("42"));
    // A duplicate after the end changes nothing and completes nothing twice.
    engine.handleBlinkEEReadResponse(kIp, 0x4C310001, 65, 0x2A);
    QCOMPARE(complete.count(), 1);
}

void tst_DiscoveryEngine::rdmReadRunEndsAfterItsParameters()
{
    DiscoveryEngine engine;
    discoverSupply(engine, kIp, 3);
    engine.handleBlinkScan2XRDMResponse(kIp, 1, {0x7FF701000201ULL});
    Light *light = engine.lightBySerial(0x7FF701000201ULL);
    QSignalSpy complete(&engine, &DiscoveryEngine::lightDataReadComplete);

    engine.readLightData({light});
    QCOMPARE(guard(engine), QStringLiteral("XRDMGet 96 0x7ff701000201 127.0.1.1"));
    engine.handleRDMGetReply(kIp, 0x7FF701000201ULL, 0x0060, "D.0257-P.0101-F.0102");
    engine.handleRDMGetReply(kIp, 0x7FF701000201ULL, 0x0080, "Sim RDM Spot");
    QCOMPARE(complete.count(), 0);
    engine.handleRDMGetReply(kIp, 0x7FF701000201ULL, 0x00F0, "91");
    QCOMPARE(complete.count(), 1);
    QCOMPARE(light->deviceProperty("RDM_DEVICE_INFO"), QStringLiteral("D.0257-P.0101-F.0102"));
    QCOMPARE(light->deviceProperty("RDM_DEVICE_MODEL_DESCRIPTION"), QStringLiteral("Sim RDM Spot"));
    QCOMPARE(light->deviceProperty("DMX_OFFSET"), QStringLiteral("90"));
}

void tst_DiscoveryEngine::timeoutRetriesAndRearmsAsRdmGet()
{
    DiscoveryEngine engine;
    discoverSupply(engine, kIp, 1);
    Light *light = scanned(engine, 0x4C310001);
    engine.readLightData({light});
    engine.handleBlinkEEReadResponse(kIp, 0x4C310001, 64, 0x00);
    const quint16 portBefore = engine.protocol()->socket()->localPort();

    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("No response received from device"));
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("ip: .*sn : .*read address: "));
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("Retry read"));
    QElapsedTimer clock;
    clock.start();
    engine.handleTimeout();
    // The retry runs on a fresh socket, without waiting out the old one's close (30 s), and
    // re-arms the guard as an RDM get, whatever was resent: installations in the field
    // behave so.
    QVERIFY2(clock.elapsed() < Vistra::kSocketCloseWaitMs / 3,
             qPrintable(QString::number(clock.elapsed())));
    QVERIFY(engine.protocol()->socket()->localPort() != portBefore);
    QCOMPARE(guard(engine), QStringLiteral("XRDMGet 65 0x4c310001 127.0.1.1"));
    // Replies still reach the engine after the reset.
    QSignalSpy complete(&engine, &DiscoveryEngine::lightDataReadComplete);
    engine.handleBlinkEEReadResponse(kIp, 0x4C310001, 65, 0x05);
    QCOMPARE(complete.count(), 1);
}

// A second light scan must list every light again, those already taken into the map too, so
// that the light wizard can show them as "in map"; nobody's light may be deleted under them.
void tst_DiscoveryEngine::forgottenLightsAreReportedAgain()
{
    DiscoveryEngine engine;
    discoverSupply(engine, kIp, 1);
    engine.handleBlinkScanResponse(kIp, 0x4C310001);
    engine.handleBlinkScanResponse(kIp, 0x4C310002);
    std::unique_ptr<Light> taken = engine.takeLight(engine.lightBySerial(0x4C310001));
    QPointer<Light> left = engine.lightBySerial(0x4C310002);
    engine.forgetLights();
    QVERIFY(!left); // engine-owned: deleted
    QVERIFY(!engine.lightBySerial(0x4C310001));
    QSignalSpy lights(&engine, &DiscoveryEngine::discoveredLight);
    engine.handleBlinkScanResponse(kIp, 0x4C310001);
    engine.handleBlinkScanResponse(kIp, 0x4C310002);
    QCOMPARE(lights.count(), 2);
    QVERIFY(engine.lightBySerial(0x4C310001) != taken.get());
    // Numbering on the port starts again as well.
    QCOMPARE(engine.lightBySerial(0x4C310001)->lightNumber(), 0);
    QCOMPARE(taken->serialNumber(), quint64(0x4C310001));
}

// Without this a light that never answered would be asked again every half second for as
// long as the program runs.
void tst_DiscoveryEngine::abandonedReadsStopRetrying()
{
    DiscoveryEngine engine;
    discoverSupply(engine, kIp, 1);
    Light *light = scanned(engine, 0x4C310001);
    engine.readLightData({light});
    engine.handleBlinkEEReadResponse(kIp, 0x4C310001, 64, 0x01);
    QVERIFY(engine.readTimer()->isActive());
    QVERIFY(engine.isReadPending(light));
    engine.abandonReads();
    QVERIFY(!engine.readTimer()->isActive());
    QVERIFY(!engine.hasPendingReads());
    // A late answer still lands in the light but starts nothing.
    QSignalSpy complete(&engine, &DiscoveryEngine::lightDataReadComplete);
    engine.handleBlinkEEReadResponse(kIp, 0x4C310001, 65, 0x02);
    QCOMPARE(dmxAddressOf(*light), 0x0102 + 1);
    QCOMPARE(complete.count(), 0);
    QVERIFY(!engine.readTimer()->isActive());
}

void tst_DiscoveryEngine::lightsTheMapHoldsAreNotAddedTwice()
{
    DiscoveryEngine engine;
    MapModel model;
    DataSupply *supply = discoverSupply(engine, kIp, 1);
    engine.handleBlinkScanResponse(kIp, 0x4C310001);
    engine.handleBlinkScanResponse(kIp, 0x4C310002);
    DiscoveredMapResult first =
        addDiscoveredToMap(model, engine, {supply}, {engine.lightBySerial(0x4C310001)});
    QCOMPARE(first.suppliesAdded, 1);
    QCOMPARE(first.lightsAdded, 1);
    const Light *placed = model.lights().constFirst();
    const QString name = placed->name();
    const double x = placed->x(), y = placed->y();

    // The next scan finds both again; only the new one may join the map.
    engine.forgetLights();
    engine.registerSupply(model.dataSupplies().constFirst());
    engine.handleBlinkScanResponse(kIp, 0x4C310001);
    engine.handleBlinkScanResponse(kIp, 0x4C310002);
    const DiscoveredMapResult second =
        addDiscoveredToMap(model, engine, model.dataSupplies(),
                           {engine.lightBySerial(0x4C310001), engine.lightBySerial(0x4C310002)});
    QCOMPARE(second.lightsAdded, 1);
    QCOMPARE(model.lightCount(), 2);
    QCOMPARE(model.dataSupplies().constFirst()->lights().size(), 2);
    QCOMPARE(placed->name(), name);
    QCOMPARE(placed->x(), x);
    QCOMPARE(placed->y(), y);
    QSet<quint64> serials;
    for (const Light *l : model.lights())
        serials.insert(l->serialNumber());
    QCOMPARE(serials, (QSet<quint64>{0x4C310001, 0x4C310002}));
}

QTEST_GUILESS_MAIN(tst_DiscoveryEngine)
#include "tst_discoveryengine.moc"
