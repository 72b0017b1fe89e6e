// The program's protocol object against the simulated installation, both in this process on
// loop-back: every request the program sends gets the answer the installation holds. The two
// sides share no code, so a misreading of the wire tables on either side shows here.
#include "net/ksocket.h"
#include "net/vistra.h"
#include "sim/siminstallation.h"
#include "sim/simoutput.h"
#include "sim/simulator.h"
#include "support/netnamespace.h"

#include <QSignalSpy>
#include <QtTest>

class tst_SimRoundTrip : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void discoverFindsEverySupply();
    void portsAndScans();
    void eeReadsAndDeviceVariables();
    void rdmGets();
    void portOutReachesTheSupply();

private:
    std::unique_ptr<Simulator> m_simulator;
    std::unique_ptr<Vistra> m_vistra;
};

void tst_SimRoundTrip::initTestCase()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    m_simulator = std::make_unique<Simulator>(SimInstallation::builtIn());
    QString error;
    QVERIFY2(m_simulator->start(&error), qPrintable(error));
    KSocket::setDefaultBroadcastAddress(QHostAddress(QStringLiteral("127.255.255.255")));
    m_vistra = std::make_unique<Vistra>();
}

void tst_SimRoundTrip::discoverFindsEverySupply()
{
    QSignalSpy v1(m_vistra.get(), &Vistra::signalDiscoverResponse);
    QSignalSpy v3(m_vistra.get(), &Vistra::signalDiscoverResponseV3);
    QVERIFY(m_vistra->discover(QStringLiteral("10.1.1.222")));
    QTRY_COMPARE(v1.count() + v3.count(), 4);
    QSet<quint32> addresses;
    for (const auto &args : v1)
        addresses << args.at(1).toUInt();
    QCOMPARE(v3.count(), 1); // the supply with a 64-bit serial answers with the wide reply
    QCOMPARE(v3.at(0).at(2).toULongLong(), quint64(0x01A50004));
    QCOMPARE(v3.at(0).at(1).toUInt(), 0x7F000104u);
    QCOMPARE(addresses, (QSet<quint32>{0x7F000101, 0x7F000102, 0x7F000103}));
}

void tst_SimRoundTrip::portsAndScans()
{
    QSignalSpy ports(m_vistra.get(), &Vistra::signalDiscoverPortsResponse);
    QVERIFY(m_vistra->discoverPorts(QStringLiteral("127.0.1.2")));
    QTRY_COMPARE(ports.count(), 1);
    QCOMPARE(ports.at(0).at(0).toUInt(), 0x7F000102u);
    QCOMPARE(ports.at(0).at(1).value<uchar>(), uchar(2));

    QSignalSpy blink(m_vistra.get(), &Vistra::signalBlinkScanResponse);
    QVERIFY(m_vistra->blinkScan(QStringLiteral("127.0.1.1")));
    QTRY_COMPARE(blink.count(), 50);
    QCOMPARE(blink.first().at(1).toUInt(), 0x10310001u);

    QSignalSpy serials(m_vistra.get(), &Vistra::signalBlinkScan2SNResponse);
    QSignalSpy rdm(m_vistra.get(), &Vistra::signalBlinkScan2XRDMResponse);
    QVERIFY(m_vistra->blinkScan2(QStringLiteral("127.0.1.2")));
    QTRY_VERIFY(!rdm.isEmpty());
    QTRY_COMPARE(serials.count(), 2);
    int classic = 0;
    for (const auto &args : serials)
        classic += args.at(3).value<QVector<quint64>>().size();
    QCOMPARE(classic, 80);
    const auto uids = rdm.at(0).at(2).value<QVector<quint64>>();
    QCOMPARE(rdm.at(0).at(1).value<uchar>(), uchar(2)); // wire port 2
    QCOMPARE(uids.size(), 20);
    QCOMPARE(uids.first(), quint64(0x7A7001000201ULL));
}

void tst_SimRoundTrip::eeReadsAndDeviceVariables()
{
    QSignalSpy bytes(m_vistra.get(), &Vistra::signalBlinkEEReadResponse);
    // The 31st light of supply one sits at DMX offset 90 (0x005A).
    for (quint16 address : {64, 65, 5})
        QVERIFY(m_vistra->blinkEERead(QStringLiteral("127.0.1.1"), 0x1031001F, address));
    QTRY_COMPARE(bytes.count(), 3);
    QCOMPARE(bytes.at(0).at(1).toUInt(), 0x1031001Fu);
    QCOMPARE(bytes.at(0).at(2).value<uchar>(), uchar(64));
    QCOMPARE(bytes.at(0).at(3).value<uchar>(), uchar(0x00));
    QCOMPARE(bytes.at(1).at(3).value<uchar>(), uchar(0x5A));
    QCOMPARE(bytes.at(2).at(3).value<uchar>(), uchar(17)); // firmware version

    QSignalSpy variables(m_vistra.get(), &Vistra::signalDeviceVariableReply);
    QVERIFY(m_vistra->getDeviceVariable(QStringLiteral("127.0.1.2"), 1));
    QTRY_COMPARE(variables.count(), 1);
    QCOMPARE(variables.at(0).at(1).value<quint16>(), quint16(1));
    QCOMPARE(variables.at(0).at(2).toUInt(), 2u);
}

void tst_SimRoundTrip::rdmGets()
{
    QSignalSpy replies(m_vistra.get(), &Vistra::signalRDMGetReply);
    QVERIFY(m_vistra->rdmGet(QStringLiteral("127.0.1.2"), 0x7A7001000202ULL, 0x0060));
    QVERIFY(m_vistra->rdmGet(QStringLiteral("127.0.1.2"), 0x7A7001000202ULL, 0x0080));
    QVERIFY(m_vistra->rdmGet(QStringLiteral("127.0.1.2"), 0x7A7001000202ULL, 0x00F0));
    QTRY_COMPARE(replies.count(), 3);
    QCOMPARE(replies.at(0).at(1).toULongLong(), 0x7A7001000202ULL);
    // The product code of our "Vela Graze RDM RGB" definitions.
    QCOMPARE(replies.at(0).at(3).toString(), QStringLiteral("D.0301-P.0101-F.0102"));
    QCOMPARE(replies.at(1).at(3).toString(), QStringLiteral("Vela Graze RDM RGB"));
    QCOMPARE(replies.at(2).at(3).toString(), QStringLiteral("94"));
}

void tst_SimRoundTrip::portOutReachesTheSupply()
{
    QSignalSpy recorded(m_simulator->output(), &SimOutput::frameRecorded);
    QByteArray frame(600, '\0');
    frame[0] = char(0xFF);
    frame[511] = char(0x42);
    // Longer than a universe: the call says so, and 512 bytes still go out.
    QTest::ignoreMessage(QtDebugMsg, "Truncating: DMX data length exceed 512");
    QVERIFY(!m_vistra->sendPortOut(QStringLiteral("127.0.1.3"), 0xFFFFFFFF, 2, 0, frame.size(), 0,
                                   reinterpret_cast<const uchar *>(frame.constData())));
    QTRY_COMPARE(recorded.count(), 1);
    QCOMPARE(recorded.at(0).at(0).toInt(), 2); // the third supply
    QCOMPARE(recorded.at(0).at(1).value<quint8>(), quint8(2));
    const QByteArray channels = m_simulator->output()->channels(2, 2);
    QCOMPARE(channels.size(), 512);
    QCOMPARE(quint8(channels.at(0)), quint8(0xFF));
    QCOMPARE(quint8(channels.at(511)), quint8(0x42));
}

QTEST_GUILESS_MAIN(tst_SimRoundTrip)
#include "tst_simroundtrip.moc"
