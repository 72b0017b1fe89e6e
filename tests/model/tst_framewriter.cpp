#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QBuffer>
#include <QSignalSpy>
#include <QtTest>

using Contributions = QVector<QPair<int, int>>;

// One supply's frames from its lights' colours: which transport signal carries them, with
// which bytes, under which gates.
class tst_FrameWriter : public QObject
{
    Q_OBJECT

private slots:
    void dispatch_data();
    void dispatch();
    void lightEncoding_data();
    void lightEncoding();
    void unchangedColoursAreCopied();
    void composition_data();
    void composition();
    void attachedDeviceStreamsRgbAndCountsFrames();
    void liveOffStillStartsEveryFrame();
    void nothingToSend_data();
    void nothingToSend();

private:
    // A supply of the given type, version and port kinds with one RGB light per port at
    // DMX start 2 (channel 1), coloured red on port 0 and blue on the others.
    static DataSupply *build(MapModel &model, unsigned int type, int version,
                             const QVector<int> &portKinds);
};

DataSupply *tst_FrameWriter::build(MapModel &model, unsigned int type, int version,
                                   const QVector<int> &portKinds)
{
    auto supply = std::make_unique<DataSupply>(type);
    supply->setUid(0x100);
    supply->setVersion(version);
    supply->setIpAddress(QHostAddress(QStringLiteral("10.0.0.7")));
    supply->setPortCount(quint8(portKinds.size()));
    for (int i = 0; i < portKinds.size(); ++i)
        supply->setPort(i, SupplyPort{i + 1, portKinds.at(i), quint16(i == 1 ? 0x0003 : 0)});
    DataSupply *s = supply.get();
    model.addDataSupply(std::move(supply));
    for (int i = 0; i < portKinds.size(); ++i) {
        auto light = std::make_unique<Light>();
        light->setUid(0x200 + i);
        light->setDataSupply(0x100);
        light->setPortNumber(unsigned(i));
        light->setDeviceProperty(QStringLiteral("DMX_OFFSET"), QStringLiteral("1"));
        light->output().applyContribution(i == 0 ? VelaColor(Qt::red) : VelaColor(Qt::blue), 0);
        s->addLight(light->uid());
        model.addLight(std::move(light));
    }
    return s;
}

// Each row: what one frame of a supply emits. `frames` lists "signal:port:flags:bytes(hex)".
void tst_FrameWriter::dispatch_data()
{
    QTest::addColumn<unsigned int>("type");
    QTest::addColumn<int>("version");
    QTest::addColumn<QVector<int>>("ports");
    QTest::addColumn<bool>("held");
    QTest::addColumn<bool>("live");
    QTest::addColumn<QStringList>("frames");

    const QString red3 = QStringLiteral("00ff0000"); // channel 0 dark, then R G B
    const QString blue3 = QStringLiteral("000000ff");
    const QString red512 = red3 + QString(1016, QLatin1Char('0'));
    const QString blue512 = blue3 + QString(1016, QLatin1Char('0'));
    QTest::newRow("v1 unicast: DMX out at the used length")
        << 2u << 1 << QVector<int>{0} << false << true << QStringList{"dmx:0:0:" + red3};
    QTest::newRow("v1 unicast held: nothing")
        << 2u << 1 << QVector<int>{0} << true << true << QStringList{};
    QTest::newRow("v1 broadcast held: nothing")
        << 3u << 1 << QVector<int>{0} << true << true << QStringList{};
    QTest::newRow("v1 unicast not live: nothing")
        << 2u << 1 << QVector<int>{0} << false << false << QStringList{};
    QTest::newRow("v1 broadcast: 512 bytes")
        << 3u << 1 << QVector<int>{0} << false << true << QStringList{"bdmx:0:0:" + red512};
    QTest::newRow("v2 unicast: port out per port, flag nibble ORed in")
        << 2u << 2 << QVector<int>{1, 1} << false << true
        << QStringList{"port:1:50:" + red3, "port:2:53:" + blue3};
    QTest::newRow("v3 unicast ignores the gates")
        << 2u << 3 << QVector<int>{1} << true << false << QStringList{"port:1:50:" + red3};
    QTest::newRow("v2 broadcast: 512 bytes, no nibble")
        << 3u << 2 << QVector<int>{1, 1} << false << true
        << QStringList{"bport:1:0:" + red512, "bport:2:3:" + blue512};
    QTest::newRow("v2 broadcast not live: nothing")
        << 3u << 2 << QVector<int>{1, 1} << false << false << QStringList{};
    QTest::newRow("streaming supply: sACN and Art-Net ports by kind")
        << 6u << 2 << QVector<int>{6, 7, 1} << false << true
        << QStringList{"sacn:0:0:" + red3, "artnet:1:0:" + blue3};
    QTest::newRow("Vistra supply with a port set to stream: streams")
        << 2u << 2 << QVector<int>{1, 7} << false << true << QStringList{"artnet:1:0:" + blue3};
}

void tst_FrameWriter::dispatch()
{
    QFETCH(unsigned int, type);
    QFETCH(int, version);
    QFETCH(QVector<int>, ports);
    QFETCH(bool, held);
    QFETCH(bool, live);
    QFETCH(QStringList, frames);

    MapModel model;
    DataSupply *supply = build(model, type, version, ports);
    supply->setPortFlagsNibble(5);
    supply->setHeld(held);
    supply->setLive(live);
    QStringList seen;
    const auto hex = [](const QByteArray &b) { return QString::fromLatin1(b.toHex()); };
    connect(supply, &DataSupply::signalSendDmxFrame, this,
            [&](const QString &ip, quint16 startCode, quint16 timer, const QByteArray &data) {
                QCOMPARE(ip, QStringLiteral("10.0.0.7"));
                QCOMPARE(startCode + timer, 0);
                seen << "dmx:0:0:" + hex(data);
            });
    connect(supply, &DataSupply::signalSendBroadcastDmxFrame, this,
            [&](quint32, quint16, quint16, const QByteArray &data) {
                seen << "bdmx:0:0:" + hex(data);
            });
    connect(supply, &DataSupply::signalSendPortOut, this,
            [&](const QString &, quint32 universe, quint8 port, quint16 flags, quint16,
                const QByteArray &data) {
                QCOMPARE(universe, DataSupply::kNoUniverse);
                seen << QStringLiteral("port:%1:%2:").arg(port).arg(flags, 0, 16) + hex(data);
            });
    connect(supply, &DataSupply::signalSendBroadcastPortOut, this,
            [&](quint32, quint8 port, quint16 flags, quint16, const QByteArray &data) {
                seen << QStringLiteral("bport:%1:%2:").arg(port).arg(flags, 0, 16) + hex(data);
            });
    connect(supply, &DataSupply::signalSendSACNData, this,
            [&](const QString &, const QByteArray &data) {
                seen << QStringLiteral("sacn:%1:0:").arg(supply->emittingPortIndex()) + hex(data);
            });
    connect(supply, &DataSupply::signalSendArtNetData, this,
            [&](const QString &, const QByteArray &data) {
                seen << QStringLiteral("artnet:%1:0:").arg(supply->emittingPortIndex()) + hex(data);
            });

    QVERIFY(supply->updateLights());
    QCOMPARE(seen, frames);
    QCOMPARE(supply->emittingPortIndex(), -1);
}

// The bytes one light writes at its DMX start, by format; "" when it writes nothing.
void tst_FrameWriter::lightEncoding_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("chemistry");
    QTest::addColumn<int>("resolution");
    QTest::addColumn<bool>("doubled");
    QTest::addColumn<int>("outputCode");
    QTest::addColumn<QByteArray>("bytes");
    // Colour FFFF 8080 4040: every channel lit, so a channel forced dark shows.
    QTest::newRow("RGB 8 bit") << 0 << 1 << 0 << false << 0 << QByteArray::fromHex("ff8040");
    QTest::newRow("RGBW: white from the common part")
        << 0 << 2 << 0 << false << 0 << QByteArray::fromHex("bf400040");
    QTest::newRow("RGBW last channel forced dark (251)")
        << 0 << 2 << 0 << false << 251 << QByteArray::fromHex("bf400000");
    QTest::newRow("RGB 16 bit last channel dark (252)")
        << 0 << 1 << 1 << false << 252 << QByteArray::fromHex("ffff80800000");
    QTest::newRow("doubled block")
        << 0 << 1 << 0 << true << 0 << QByteArray::fromHex("ff8040ff8040");
    QTest::newRow("doubled, channels 4 and 5 repeat channel 3 (254)")
        << 0 << 1 << 0 << true << 254 << QByteArray::fromHex("ff8040404000");
    QTest::newRow("last channel at 511 fits")
        << 509 << 1 << 0 << false << 0 << QByteArray::fromHex("ff8040");
    QTest::newRow("running past 512 writes nothing") << 510 << 1 << 0 << false << 0 << QByteArray();
}

void tst_FrameWriter::lightEncoding()
{
    QFETCH(int, offset);
    QFETCH(int, chemistry);
    QFETCH(int, resolution);
    QFETCH(bool, doubled);
    QFETCH(int, outputCode);
    QFETCH(QByteArray, bytes);

    MapModel model;
    DataSupply *supply = build(model, 3, 2, {1});
    Light *light = model.light(0x200);
    light->setDeviceProperty(QStringLiteral("DMX_OFFSET"), QString::number(offset));
    light->setDeviceProperty(QStringLiteral("LED_CHEMISTRY"), QString::number(chemistry));
    light->setDeviceProperty(QStringLiteral("INPUT_RESOLUTION"), QString::number(resolution));
    light->output().applyContribution(VelaColor::fromRgb16(0xFFFF, 0x8080, 0x4040), 0);
    QVERIFY(supply->updateLights()); // assigns the format
    LightChannelFormat format = light->output().format();
    format.doubled = doubled;
    format.outputCode = outputCode;
    format.cacheKey |= quint64(doubled) << 7 | quint64(outputCode) << 8;
    light->output().setFormat(format);
    light->output().applyContribution(VelaColor::fromRgb16(0xFFFF, 0x8080, 0x4040), 0);

    QByteArray frame;
    connect(supply, &DataSupply::signalSendBroadcastPortOut, this,
            [&](quint32, quint8, quint16, quint16, const QByteArray &data) { frame = data; });
    QVERIFY(supply->updateLights());
    QCOMPARE(frame.size(), 512);
    QCOMPARE(frame.mid(offset, bytes.size()), bytes);
    // Nothing else of the frame is written.
    QByteArray rest = frame;
    rest.replace(offset, bytes.size(), QByteArray(bytes.size(), '\0'));
    QCOMPARE(rest, QByteArray(512, '\0'));
}

void tst_FrameWriter::unchangedColoursAreCopied()
{
    MapModel model;
    DataSupply *supply = build(model, 2, 2, {1, 1, 1});
    const VelaColor olive = VelaColor::fromRgb(0x55, 0x66, 0x01);
    for (Light *light : model.lights()) {
        light->output().beginFrame();
        light->output().applyContribution(olive, 0);
    }
    const quint64 before = LightOutput::encodeCount();
    QVERIFY(supply->updateLights());
    QCOMPARE(LightOutput::encodeCount() - before, quint64(1)); // three lights, one encoding
    for (Light *light : model.lights())
        light->output().applyContribution(olive, 0);
    QVERIFY(supply->updateLights());
    QCOMPARE(LightOutput::encodeCount() - before, quint64(1));
}

// Contributions within one frame: (colour as 8-bit red, priority) pairs in order.
void tst_FrameWriter::composition_data()
{
    QTest::addColumn<Contributions>("contributions");
    QTest::addColumn<int>("red");
    QTest::addColumn<int>("priority");
    QTest::addColumn<int>("count");

    using C = Contributions;
    QTest::newRow("first replaces, whatever its priority") << C{{200, -5}} << 200 << -5 << 1;
    QTest::newRow("lower priority ignored") << C{{200, 5}, {0, 4}} << 200 << 5 << 1;
    QTest::newRow("equal priorities average") << C{{200, 1}, {100, 1}} << 150 << 1 << 2;
    QTest::newRow("higher replaces, count goes on")
        << C{{200, 1}, {100, 1}, {30, 2}} << 30 << 2 << 2;
}

void tst_FrameWriter::composition()
{
    QFETCH(Contributions, contributions);
    QFETCH(int, red);
    QFETCH(int, priority);
    QFETCH(int, count);

    LightOutput output;
    output.applyContribution(VelaColor(Qt::white), 9); // the previous frame's colour
    output.beginFrame();
    for (const auto &[value, p] : contributions)
        output.applyContribution(VelaColor::fromRgb(value, 0, 0), p);
    QVERIFY(qAbs(int(output.color().red16() >> 8) - red) <= 1);
    QCOMPARE(output.priority(), priority);
    QCOMPARE(output.contributions(), count);
}

void tst_FrameWriter::attachedDeviceStreamsRgbAndCountsFrames()
{
    MapModel model;
    DataSupply *supply = build(model, 2, 2, {1, 1});
    QBuffer device;
    device.open(QIODevice::WriteOnly);
    supply->setAttachedDevice(&device, 7);
    supply->setOutputMode(DataSupply::DeviceOutput);
    QSignalSpy sent(supply, &DataSupply::signalSendPortOut);
    QVERIFY(supply->updateLights());
    QCOMPARE(device.data(), QByteArray::fromHex("ff00000000ff"));
    QCOMPARE(supply->frameCount(), quint64(1));
    QCOMPARE(sent.count(), 0);
}

// With live play off nothing is sent, yet every frame starts afresh: a light deselected
// meanwhile shows the background, not an average of every frame since.
void tst_FrameWriter::liveOffStillStartsEveryFrame()
{
    MapModel model;
    DataSupply *supply = build(model, 2, 2, {1});
    QSignalSpy sent(supply, &DataSupply::signalSendPortOut);
    model.setLivePlay(false);
    LightOutput &output = model.light(0x200)->output();
    for (int frame = 0; frame < 5; ++frame) {
        output.applyContribution(frame < 4 ? VelaColor(Qt::red) : VelaColor(Qt::black), 0);
        model.updateLights();
    }
    QCOMPARE(output.color(), VelaColor(Qt::black));
    QCOMPARE(sent.count(), 0);
}

void tst_FrameWriter::nothingToSend_data()
{
    QTest::addColumn<int>("lights");
    QTest::addColumn<int>("ports");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QStringList>("messages");
    QTest::newRow("no lights") << 0 << 1 << 0 << QStringList();
    QTest::newRow("no ports") << 1 << 0 << 0 << QStringList();
    QTest::newRow("unknown output mode")
        << 1 << 1 << 5 << QStringList{"updateLights: Unknown DataSupply mode"};
}

// A supply with nothing to drive, or no way to, sends nothing and says it did not.
void tst_FrameWriter::nothingToSend()
{
    QFETCH(int, lights);
    QFETCH(int, ports);
    QFETCH(int, mode);
    MapModel model;
    DataSupply *supply = build(model, 2, 2, QVector<int>(lights, 1));
    supply->setPortCount(quint8(ports));
    supply->setOutputMode(mode);
    QSignalSpy sent(supply, &DataSupply::signalSendPortOut);
    QStringList messages;
    connect(&model, &MapModel::msg, this, [&](const QString &m) { messages << m; });
    QVERIFY(!supply->updateLights());
    QCOMPARE(sent.count(), 0);
    QTEST(messages, "messages");
}

QTEST_GUILESS_MAIN(tst_FrameWriter)
#include "tst_framewriter.moc"
