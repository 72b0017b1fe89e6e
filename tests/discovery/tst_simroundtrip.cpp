// The program's protocol object against the simulated installation, both in this process on
// loop-back: a broadcast reaches every supply and the built-in installation's answers come back
// as signals. The bytes of each side are pinned in tst_vistrarequests, tst_vistrareplies and
// tst_simresponder, frames on the simulator's sockets in tst_simulator.
#include "net/ksocket.h"
#include "net/vistra.h"
#include "sim/siminstallation.h"
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
    void rdmGets();

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

QTEST_GUILESS_MAIN(tst_SimRoundTrip)
#include "tst_simroundtrip.moc"
