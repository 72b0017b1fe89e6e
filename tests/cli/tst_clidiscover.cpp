// `orrery-cli read` as an installer runs it, against `orrery-sim` in a network namespace of the
// test's own: everything the simulated installation holds is found once, on its own supply and
// port, with its DMX address, whatever the reply loss; what never answered makes the status 1.
#include "devices/definitionpropertyformat.h"
#include "devices/deviceresources.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "sim/siminstallation.h"
#include "support/netnamespace.h"
#include "support/programrun.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString kSim = QStringLiteral(ORRERY_BINARY_DIR "/tools/sim/orrery-sim");
const QStringList kBroadcast{QStringLiteral("--broadcast"), QStringLiteral("127.255.255.255")};
constexpr quint16 kModelDescription = 0x0080;
constexpr quint16 kDmxStartAddress = 0x00F0;

struct ExpectedLight
{
    QString supplyIp;
    int portIndex = 0;
    int dmxAddress = 0; // 0: the light gives none
    QStringList refused;
};

QHash<quint64, ExpectedLight> expectedLights(const SimInstallation &installation)
{
    QHash<quint64, ExpectedLight> lights;
    for (const SimSupply &supply : installation.supplies) {
        for (int p = 0; p < supply.ports.size(); ++p) {
            const SimPort &port = supply.ports.at(p);
            if (!port.answersScan)
                continue;
            for (const SimLight &light : port.lights) {
                ExpectedLight want{supply.address.toString(), p, light.dmxOffset() + 1, {}};
                for (quint16 pid : light.rdm.refused)
                    want.refused << QStringLiteral("0x") +
                                        QString::number(pid, 16).toUpper().rightJustified(4, '0');
                if (light.rdm.refused.contains(kDmxStartAddress))
                    want.dmxAddress = 0;
                lights.insert(light.serial, want);
            }
        }
    }
    return lights;
}

enum class Variant { BuiltIn, Fifth, Faulty };

// The built-in installation; a fifth of it (every fifth light of each port, so every kind of
// light and port stays, and a read takes a fifth of the time); faulty: a fifth with two
// supplies reporting one serial, a fixture run refusing its model description, a port whose
// scan never answers and fixtures that refuse their DMX start.
SimInstallation variant(Variant kind)
{
    SimInstallation installation = SimInstallation::builtIn();
    if (kind == Variant::BuiltIn)
        return installation;
    for (SimSupply &supply : installation.supplies) {
        for (SimPort &port : supply.ports) {
            QVector<SimLight> kept;
            for (int i = 0; i < port.lights.size(); i += 5)
                kept << port.lights.at(i);
            port.lights = kept;
        }
    }
    if (kind == Variant::Fifth)
        return installation;
    installation.supplies[2].serial = installation.supplies[1].serial;
    installation.supplies[3].ports[0].answersScan = false;
    for (const int s : {1, 2}) {
        for (SimLight &light : installation.supplies[s].ports[1].lights) {
            if (light.isRdm())
                light.rdm.refused = {s == 1 ? kModelDescription : kDmxStartAddress};
        }
    }
    return installation;
}

} // namespace

Q_DECLARE_METATYPE(Variant)

class tst_CliDiscover : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void readFindsEverythingOnce_data();
    void readFindsEverythingOnce();
    void textReportCountsFromOne();
    void cleanup();

private:
    bool startSimulator(const SimInstallation &installation, const QStringList &faults);

    QTemporaryDir m_dir;
    QProcess m_sim;
};

void tst_CliDiscover::initTestCase()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
}

void tst_CliDiscover::cleanup()
{
    m_sim.kill();
    m_sim.waitForFinished(5000);
}

bool tst_CliDiscover::startSimulator(const SimInstallation &installation, const QStringList &faults)
{
    const QString config = m_dir.filePath(QStringLiteral("installation.json"));
    QFile file(config);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(QJsonDocument(installation.toJson()).toJson()) < 0)
        return false;
    file.close();
    m_sim.start(kSim, QStringList{"--config", config, "--run-for", "120000"} + faults);
    QByteArray output;
    while (!output.contains("port 6038") && m_sim.waitForReadyRead(10000))
        output += m_sim.readAllStandardOutput();
    return output.contains("port 6038");
}

void tst_CliDiscover::readFindsEverythingOnce_data()
{
    QTest::addColumn<Variant>("kind");
    QTest::addColumn<QStringList>("faults");
    QTest::addColumn<QString>("timeoutMs");
    QTest::addColumn<int>("status");
    QTest::addColumn<QStringList>("problems");
    // This seed once lost a whole scan answer (80 lights) in silence. More seeds, and more
    // loss: bench/loss-matrix.
    QTest::newRow("30% of replies lost")
        << Variant::BuiltIn << QStringList{"--drop", "0.3", "--seed", "3"} << "1000" << 0
        << QStringList();
    // Port counts lost too: the search asks again for those still missing.
    QTest::newRow("replies lost and duplicated")
        << Variant::Fifth << QStringList{"--drop", "0.3", "--duplicate", "0.3", "--seed", "11"}
        << "1000" << 0 << QStringList();
    QTest::newRow("cloned serials, a silent port, fixtures refusing parameters")
        << Variant::Faulty << QStringList() << "600" << 1
        << QStringList{"supply Sim Supply Four (127.0.1.4): no scan answer named port 1",
                       "light 7A7002000401 answered without a DMX start address"};
}

void tst_CliDiscover::readFindsEverythingOnce()
{
    QFETCH(Variant, kind);
    QFETCH(QStringList, faults);
    QFETCH(QString, timeoutMs);
    QFETCH(int, status);
    QFETCH(QStringList, problems);
    const SimInstallation installation = variant(kind);
    QVERIFY(startSimulator(installation, faults));

    const QString saved = m_dir.filePath(QStringLiteral("read.map"));
    QFile::remove(saved);
    const ProgramRun run =
        cli(kBroadcast + QStringList{"read", "--json", "--timeout", timeoutMs, "--save", saved});
    const QJsonObject result = QJsonDocument::fromJson(run.out).object();
    QVERIFY2(run.status == status, run.err.right(3000).constData());
    QCOMPARE(QString::fromUtf8(run.err).contains(
                 QStringLiteral("127.0.1.2 and 127.0.1.3 report the same "
                                "serial 01A20002")),
             kind == Variant::Faulty);
    const QString reported = result.value("problems").toVariant().toStringList().join('\n');
    QCOMPARE(reported.isEmpty(), problems.isEmpty());
    for (const QString &problem : problems)
        QVERIFY2(reported.contains(problem) && QString::fromUtf8(run.err).contains(problem),
                 qPrintable(reported));

    // Every supply once, keyed by its address, with a uid of its own and the ports it has.
    QHash<quint64, QString> addressOfUid;
    const QJsonArray supplies = result.value("supplies").toArray();
    QCOMPARE(supplies.size(), installation.supplies.size());
    for (const SimSupply &want : installation.supplies) {
        const auto found = std::find_if(supplies.begin(), supplies.end(), [&](const QJsonValue &s) {
            return s.toObject().value("ip").toString() == want.address.toString();
        });
        QVERIFY2(found != supplies.end(), qPrintable(want.address.toString()));
        const QJsonObject supply = found->toObject();
        QJsonArray ports;
        for (const SimPort &port : want.ports)
            ports.append(QJsonObject{{"number", port.number}, {"type", port.type}, {"flags", 0}});
        QCOMPARE(supply.value("ports").toArray(), ports);
        QCOMPARE(supply.value("serialNumber").toDouble(), double(want.serial));
        const auto twins =
            std::count_if(installation.supplies.cbegin(), installation.supplies.cend(),
                          [&want](const SimSupply &other) { return other.serial == want.serial; });
        QCOMPARE(supply.value("duplicateSerial").toBool(), twins > 1);
        addressOfUid.insert(quint64(supply.value("uid").toDouble()), want.address.toString());
    }
    QCOMPARE(addressOfUid.size(), supplies.size());

    // Every light once, on its own supply and port, with its DMX address and what it refused.
    const QHash<quint64, ExpectedLight> expected = expectedLights(installation);
    const QJsonArray lights = result.value("lights").toArray();
    QCOMPARE(lights.size(), expected.size());
    QSet<quint64> seen;
    for (const QJsonValue &value : lights) {
        const QJsonObject light = value.toObject();
        const auto serial = quint64(light.value("serialNumber").toDouble());
        QVERIFY2(expected.contains(serial) && !seen.contains(serial),
                 qPrintable(QString::number(serial, 16)));
        seen.insert(serial);
        const ExpectedLight want = expected.value(serial);
        QCOMPARE(addressOfUid.value(quint64(light.value("dataSupply").toDouble())), want.supplyIp);
        QCOMPARE(light.value("portIndex").toInt(), want.portIndex);
        QCOMPARE(light.value("dmxAddress").toInt(), want.dmxAddress);
        QCOMPARE(light.value("read").toBool(), want.dmxAddress > 0);
        QStringList refused;
        for (const QJsonValue &pid : light.value("refusedParameters").toArray())
            refused << pid.toString();
        QCOMPARE(refused, want.refused);
    }

    // Saved with the LED chemistry each light's own definition gives: the RDM floods (device
    // model 302) sit inside the generic RDM range, whose definition says RGB; theirs, RGBW.
    DeviceResources::registerResources();
    MapModel map;
    map.setPropertyFormat(std::make_shared<DefinitionPropertyFormat>());
    QVERIFY(map.loadFromFile(saved));
    QHash<quint64, QString> chemistry, savedChemistry; // of the RDM lights with a DMX start
    for (const SimSupply &supply : installation.supplies)
        for (const SimPort &port : supply.ports)
            for (const SimLight &light : port.lights)
                if (port.answersScan && light.isRdm() && expected.value(light.serial).dmxAddress)
                    chemistry.insert(light.serial, light.rdm.deviceModelId == 302 ? "2" : "1");
    for (const Light *light : map.lights())
        if (chemistry.contains(light->serialNumber()))
            savedChemistry.insert(light->serialNumber(), light->deviceProperty("LED_CHEMISTRY"));
    QVERIFY(!chemistry.isEmpty());
    QCOMPARE(savedChemistry, chemistry);
}

// The text report counts ports (and positions on a port) from 1, as the supplies' labels do;
// a first-generation supply's one port is port 1 of type 1. A read adds each light's DMX
// address and stored values, and the count of lights read.
void tst_CliDiscover::textReportCountsFromOne()
{
    QVERIFY(startSimulator(variant(Variant::Fifth), {}));
    const ProgramRun run = cli(kBroadcast + QStringList{"read", "--timeout", "300"});
    QCOMPARE(run.status, 0);
    const QString out = QString::fromUtf8(run.out);
    for (const char *line :
         {"127.0.1.1  02:4C:00:00:01:01  v1 1.8.2  universe 0  1 port(s): 1 (type 1)\n",
          "  10310001  supply 127.0.1.1  port 1  light 1  DMX 1  ",
          "  10310606  supply 127.0.1.4  port 2  light 2  DMX 16  ", "\n70 read, 0 without answer"})
        QVERIFY2(out.contains(QLatin1String(line)), qPrintable(out));
}

QTEST_GUILESS_MAIN(tst_CliDiscover)
#include "tst_clidiscover.moc"
