// sACN and Art-Net output: packets against bytes written out by hand from the E1.31-2018 data
// packet and the ArtDmx tables, sequence counters, and real sends on loop-back inside a network
// namespace of the test's own.
#include "support/netdatagrams.h"
#include "support/netnamespace.h"

#include "net/artnetpacket.h"
#include "net/ksocket.h"
#include "net/sacnpacket.h"
#include "net/streamoutput.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QByteArray kCid = QByteArray::fromHex("0123456789abcdeffedcba9876543210");
const QByteArray kRed = QByteArray::fromHex("ff0000");
const QString kHere = QStringLiteral("127.0.0.1");

QByteArray nameField(const QByteArray &utf8)
{
    return utf8 + QByteArray(64 - utf8.size(), '\0');
}

// Root, framing and DMP layers, priority 100, sync address 0, options 0, start code 0. Each
// flags-and-length word counts from itself to the end of the packet.
QByteArray sacnHeader(int slotCount, const char *universe, const char *sequence,
                      const QByteArray &name = nameField("Orrery"))
{
    const int length = 126 + slotCount;
    auto flagsLength = [length](int offset) {
        return QByteArray::number(0x7000 | (length - offset), 16);
    };
    const QByteArray valueCount = QByteArray::number(0x10000 | (1 + slotCount), 16).mid(1);
    return QByteArray::fromHex("0010 0000 4153432d45312e3137000000" + flagsLength(16) +
                               "00000004") +
           kCid + QByteArray::fromHex(flagsLength(38) + "00000002") + name +
           QByteArray::fromHex(QByteArray("64 0000") + sequence + "00" + universe) +
           QByteArray::fromHex(flagsLength(115) + "02 a1 0000 0001" + valueCount + "00");
}

QByteArray frame(int size)
{
    QByteArray data(size, '\0');
    for (int i = 0; i < size; ++i)
        data[i] = char(i * 7 + 1);
    return data;
}

} // namespace

class tst_StreamOutput : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();
    void sacnPacket_data();
    void sacnPacket();
    void artDmx_data();
    void artDmx();
    void persistentCid_data();
    void persistentCid();
    void sendsCountingPerUniverse();
    void loopbackOnly_data();
    void loopbackOnly();
};

void tst_StreamOutput::cleanup()
{
    KSocket::setLoopbackOnly(false);
    KSocket::setDefaultBroadcastAddress(QHostAddress());
}

void tst_StreamOutput::sacnPacket_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("cid");
    QTest::addColumn<int>("universe");
    QTest::addColumn<int>("sequence");
    QTest::addColumn<QByteArray>("dmx");
    QTest::addColumn<QByteArray>("packet");
    const QString orrery = QStringLiteral("Orrery");
    QTest::newRow("red on black") << orrery << kCid << 1 << 0 << kRed
                                  << sacnHeader(3, "0001", "00") + kRed;
    QTest::newRow("last universe, sequence 255")
        << orrery << kCid << 63999 << 255 << kRed << sacnHeader(3, "f9ff", "ff") + kRed;
    QTest::newRow("no slots") << orrery << kCid << 7 << 9 << QByteArray()
                              << sacnHeader(0, "0007", "09");
    QTest::newRow("cut to 512 slots")
        << orrery << kCid << 258 << 1 << frame(600) << sacnHeader(512, "0102", "01") + frame(512);
    QTest::newRow("universe 0") << orrery << kCid << 0 << 0 << kRed << QByteArray();
    QTest::newRow("universe 64000") << orrery << kCid << 64000 << 0 << kRed << QByteArray();
    QTest::newRow("CID of 15 bytes") << orrery << kCid.left(15) << 1 << 0 << kRed << QByteArray();
    // The source name is UTF-8 in 64 bytes, NUL-terminated, never cut inside a character.
    const auto named = [](const QByteArray &field) {
        return sacnHeader(3, "0001", "00", field) + kRed;
    };
    QTest::newRow("name in two-byte UTF-8") << QStringLiteral("Z\u00fcrich") << kCid << 1 << 0
                                            << kRed << named(nameField("Z\xc3\xbcrich"));
    QTest::newRow("name outside the BMP") << QStringLiteral("a\U0001F4A1") << kCid << 1 << 0 << kRed
                                          << named(nameField("a\xf0\x9f\x92\xa1"));
    QTest::newRow("name of 64 bytes cut to 63") << QString(64, QLatin1Char('n')) << kCid << 1 << 0
                                                << kRed << named(nameField(QByteArray(63, 'n')));
    QTest::newRow("name character not split")
        << QString(62, QLatin1Char('n')) + QStringLiteral("\u00fc") << kCid << 1 << 0 << kRed
        << named(nameField(QByteArray(62, 'n')));
}

void tst_StreamOutput::sacnPacket()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, cid);
    QFETCH(int, universe);
    QFETCH(int, sequence);
    QFETCH(QByteArray, dmx);
    QFETCH(QByteArray, packet);
    QCOMPARE(
        SacnPacket::dataPacket(cid, name, 100, quint16(universe), quint8(sequence), dmx).toHex(),
        packet.toHex());
}

void tst_StreamOutput::artDmx_data()
{
    QTest::addColumn<int>("portAddress");
    QTest::addColumn<int>("sequence");
    QTest::addColumn<QByteArray>("dmx");
    QTest::addColumn<QByteArray>("packet");
    // ID, OpCode 0x5000 low byte first, ProtVer 14 high byte first; then Sequence, Physical,
    // SubUni, Net, Length high byte first, and the data.
    const QByteArray head = QByteArray::fromHex("4172742d4e657400 0050 000e");
    QTest::newRow("red, odd length padded")
        << 0x0123 << 1 << kRed << head + QByteArray::fromHex("01 00 23 01 0004 ff000000");
    QTest::newRow("even length") << 0 << 2 << QByteArray::fromHex("ff00")
                                 << head + QByteArray::fromHex("02 00 00 00 0002 ff00");
    QTest::newRow("empty sent as two slots")
        << 5 << 255 << QByteArray() << head + QByteArray::fromHex("ff 00 05 00 0002 0000");
    QTest::newRow("highest port address")
        << 0x7FFF << 1 << kRed << head + QByteArray::fromHex("01 00 ff 7f 0004 ff000000");
    QTest::newRow("cut to 512") << 1 << 1 << frame(513)
                                << head + QByteArray::fromHex("01 00 01 00 0200") + frame(512);
    QTest::newRow("port address 32768") << 0x8000 << 1 << kRed << QByteArray();
}

void tst_StreamOutput::artDmx()
{
    QFETCH(int, portAddress);
    QFETCH(int, sequence);
    QFETCH(QByteArray, dmx);
    QFETCH(QByteArray, packet);
    QCOMPARE(ArtNetPacket::artDmx(quint16(portAddress), quint8(sequence), 0, dmx).toHex(),
             packet.toHex());
}

void tst_StreamOutput::persistentCid_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QByteArray>("kept"); // empty: a new one is made and written back
    QTest::newRow("missing") << QString() << QByteArray();
    QTest::newRow("valid") << "0123456789ABCDEFfedcba9876543210" << kCid;
    QTest::newRow("not hexadecimal") << "0123456789abcdefxedcba9876543210" << QByteArray();
}

void tst_StreamOutput::persistentCid()
{
    QFETCH(QString, stored);
    QFETCH(QByteArray, kept);
    QTemporaryDir dir;
    QSettings settings(dir.filePath(QStringLiteral("orrery.ini")), QSettings::IniFormat);
    if (!stored.isEmpty())
        settings.setValue(QStringLiteral("/sacn_cid"), stored);

    const QByteArray cid = StreamOutput::persistentCid(settings);
    QCOMPARE(cid.size(), 16);
    if (!kept.isEmpty())
        QCOMPARE(cid, kept);
    QCOMPARE(StreamOutput::persistentCid(settings), cid);
}

// Frames reach their ports as the packets built above, each universe counting on its own:
// sACN 0..255 wrapping to 0, Art-Net 1..255 wrapping to 1 (0 would switch sequencing off).
// Universes and addresses the packets refuse send nothing.
void tst_StreamOutput::sendsCountingPerUniverse()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    DatagramSink sacn, artNet;
    QVERIFY(sacn.bind(StreamOutput::kSacnPort, QHostAddress(kHere)));
    QVERIFY(artNet.bind(StreamOutput::kArtNetPort, QHostAddress(kHere)));
    StreamOutput output;
    output.setCid(kCid);
    QVERIFY(!output.sendSacn(kHere, 0, kRed));
    QVERIFY(!output.sendSacn(kHere, 64000, kRed));
    QVERIFY(!output.sendArtNet(kHere, 32768, kRed));
    QVERIFY(!output.sendSacn(QStringLiteral("127.0.1"), 1, kRed));
    QVERIFY(!output.sendArtNet(QStringLiteral("localhost"), 1, kRed));
    for (int i = 0; i < 260; ++i) {
        const quint16 universe = i % 100 == 50 ? 2 : 1;
        QVERIFY(output.sendSacn(kHere, universe, kRed));
        QVERIFY(output.sendArtNet(kHere, universe, kRed));
        // Drained as we go: hundreds of datagrams would overflow the receive buffer.
        QTRY_COMPARE(sacn.datagrams().size(), i + 1);
        QTRY_COMPARE(artNet.datagrams().size(), i + 1);
    }
    QCOMPARE(sacn.datagrams().first().data(),
             SacnPacket::dataPacket(kCid, QStringLiteral("Orrery"), 100, 1, 0, kRed));
    QCOMPARE(artNet.datagrams().first().data(), ArtNetPacket::artDmx(1, 1, 0, kRed));
    QCOMPARE(output.packetsSent(), quint64(520));
    QList<int> sacnOne, sacnTwo, artNetOne, artNetTwo;
    for (const QNetworkDatagram &d : qAsConst(sacn.datagrams()))
        (d.data().at(114) == 1 ? sacnOne : sacnTwo).append(quint8(d.data().at(111)));
    for (const QNetworkDatagram &d : qAsConst(artNet.datagrams()))
        (d.data().at(14) == 1 ? artNetOne : artNetTwo).append(quint8(d.data().at(12)));
    // Universe 1 sent 260 - 3 = 257 packets, universe 2 three.
    QCOMPARE(sacnOne.size(), 257);
    QCOMPARE(sacnOne.mid(0, 2), (QList<int>{0, 1}));
    QCOMPARE(sacnOne.mid(254), (QList<int>{254, 255, 0}));
    QCOMPARE(sacnTwo, (QList<int>{0, 1, 2}));
    QCOMPARE(artNetOne.mid(0, 2), (QList<int>{1, 2}));
    QCOMPARE(artNetOne.mid(254), (QList<int>{255, 1, 2}));
    QCOMPARE(artNetTwo, (QList<int>{1, 2, 3}));
}

void tst_StreamOutput::loopbackOnly_data()
{
    QTest::addColumn<bool>("sacn");
    QTest::addColumn<QString>("ip");
    QTest::addColumn<QString>("chosenBroadcast");
    QTest::addColumn<QString>("refused");
    const QString none;
    QTest::newRow("sACN unicast") << true << "192.168.1.20" << none << "192.168.1.20";
    QTest::newRow("sACN without address: group") << true << none << none << "239.255.1.2";
    QTest::newRow("Art-Net without address") << false << none << none << "255.255.255.255";
    QTest::newRow("Art-Net 0.0.0.0, chosen broadcast") << false << "0.0.0.0"
                                                       << "10.255.255.255"
                                                       << "10.255.255.255";
}

// The refusal names where the packet would have gone, once per address however many frames
// follow; loop-back stays allowed.
void tst_StreamOutput::loopbackOnly()
{
    QFETCH(bool, sacn);
    QFETCH(QString, ip);
    QFETCH(QString, chosenBroadcast);
    QFETCH(QString, refused);
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    if (!chosenBroadcast.isEmpty())
        KSocket::setDefaultBroadcastAddress(QHostAddress(chosenBroadcast));
    KSocket::setLoopbackOnly(true);
    StreamOutput output;
    auto send = [&](const QString &to) {
        return sacn ? output.sendSacn(to, 258, kRed) : output.sendArtNet(to, 258, kRed);
    };
    static QStringList warnings;
    warnings.clear();
    const QtMessageHandler previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &text) { warnings << text; });
    const QList<bool> sent{send(ip), send(ip), send(kHere)};
    qInstallMessageHandler(previous);

    QCOMPARE(sent, (QList<bool>{false, false, true}));
    QCOMPARE(
        warnings,
        QStringList{QStringLiteral("Not sending to \"%1\" in loop-back-only mode").arg(refused)});
}

QTEST_GUILESS_MAIN(tst_StreamOutput)
#include "tst_streamoutput.moc"
