// Bringing a supply of the map up to date from what discovery heard: which fields follow the
// network, which stay the user's, and what the user is told changed.
#include "discovery/supplysync.h"
#include "model/datasupply.h"

#include <QtTest>

class tst_SupplySync : public QObject
{
    Q_OBJECT

private slots:
    void followsTheNetwork_data();
    void followsTheNetwork();
    void keepsWhatTheUserOwns();
};

namespace {

std::unique_ptr<DataSupply> supply(const QString &ip, int version, uint universe,
                                   QVector<SupplyPort> ports)
{
    auto s = std::make_unique<DataSupply>(DataSupply::VistraIp);
    s->setSerialNumber(0x4C510002);
    s->setIpAddress(QHostAddress(ip));
    s->setVersion(version);
    s->setVersionString(QStringLiteral("%1.0").arg(version));
    s->setUniverse(universe);
    s->setPortCount(quint8(ports.size()));
    for (int i = 0; i < ports.size(); ++i)
        s->setPort(i, ports.at(i));
    return s;
}

} // namespace

void tst_SupplySync::followsTheNetwork_data()
{
    QTest::addColumn<QString>("ip");
    QTest::addColumn<int>("version");
    QTest::addColumn<int>("universe");
    QTest::addColumn<int>("ports");
    QTest::addColumn<bool>("portsKnown");
    QTest::addColumn<QStringList>("changes");
    QTest::newRow("same") << "10.0.0.5" << 2 << 1 << 2 << true << QStringList();
    QTest::newRow("new address") << "10.0.0.7" << 2 << 1 << 2 << true
                                 << QStringList{"IP address 10.0.0.7 -> 10.0.0.5"};
    QTest::newRow("firmware and universe")
        << "10.0.0.5" << 3 << 4 << 2 << true
        << QStringList{"version 3 (3.0) -> 2 (2.0)", "universe 4 -> 1"};
    QTest::newRow("one port in the map")
        << "10.0.0.5" << 2 << 1 << 1 << true << QStringList{"ports 1 [1/1] -> 2 [1/1 2/2]"};
    QTest::newRow("ports did not answer") << "10.0.0.5" << 2 << 1 << 1 << false << QStringList();
}

void tst_SupplySync::followsTheNetwork()
{
    QFETCH(QString, ip);
    QFETCH(int, version);
    QFETCH(int, universe);
    QFETCH(int, ports);
    QFETCH(bool, portsKnown);
    QFETCH(QStringList, changes);
    const QVector<SupplyPort> twoPorts{{1, 1, 0}, {2, 2, 0}};
    auto found = supply(QStringLiteral("10.0.0.5"), 2, 1, twoPorts);
    auto mine = supply(ip, version, uint(universe), twoPorts.mid(0, ports));
    QCOMPARE(syncSupplyFrom(*mine, *found, portsKnown), changes);
    QCOMPARE(mine->ipAddress(), found->ipAddress());
    QCOMPARE(mine->version(), 2);
    QCOMPARE(mine->universe(), 1u);
    QCOMPARE(mine->portCount(), quint8(portsKnown ? 2 : ports));
    // A second sync finds nothing left to change.
    QCOMPARE(syncSupplyFrom(*mine, *found, portsKnown), QStringList());
}

void tst_SupplySync::keepsWhatTheUserOwns()
{
    auto found = supply(QStringLiteral("10.0.0.5"), 2, 1, {{1, 1, 0}, {2, 2, 0}});
    found->setName(QStringLiteral("Sim Supply Two"));
    auto mine = supply(QStringLiteral("10.0.0.9"), 2, 1, {{1, 1, 0x10}, {2, 1, 0x20}});
    mine->setName(QStringLiteral("Lobby ceiling"));
    mine->setUid(77);
    mine->addLight(5);
    mine->setDeviceProperty(QStringLiteral("NOTE"), QStringLiteral("left rack"));
    const QStringList changes = syncSupplyFrom(*mine, *found, true);
    QCOMPARE(changes.size(), 2);
    QCOMPARE(mine->name(), QStringLiteral("Lobby ceiling"));
    QCOMPARE(mine->uid(), 77u);
    QCOMPARE(mine->lights(), QList<quint64>{5});
    QCOMPARE(mine->deviceProperty(QStringLiteral("NOTE")), QStringLiteral("left rack"));
    // Port types follow the network, port flags stay the user's.
    QCOMPARE(mine->port(1).type, 2);
    QCOMPARE(mine->port(0).flags, quint16(0x10));
    QCOMPARE(mine->port(1).flags, quint16(0x20));
}

QTEST_GUILESS_MAIN(tst_SupplySync)
#include "tst_supplysync.moc"
