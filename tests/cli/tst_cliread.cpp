#include "devices/definitionpropertyformat.h"
#include "devices/deviceresources.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "sim/simulator.h"
#include "support/netnamespace.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

// `orrery-cli read --save` against the simulated installation: every light is saved with the
// LED chemistry its own definition gives. The RDM floods sit inside the generic RDM range,
// whose definition says RGB; theirs says RGBW.
class tst_CliRead : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void savedLightsCarryTheirDefinitionsChemistry();
};

void tst_CliRead::initTestCase()
{
    const QString reason = NetNamespace::enterOwn();
    if (!reason.isEmpty())
        QSKIP(qPrintable(reason));
}

void tst_CliRead::savedLightsCarryTheirDefinitionsChemistry()
{
    const SimInstallation installation = SimInstallation::builtIn();
    Simulator simulator(installation);
    QString error;
    QVERIFY2(simulator.start(&error), qPrintable(error));
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("read.map"));

    QProcess process;
    process.start(QStringLiteral(ORRERY_BINARY_DIR "/tools/cli/orrery-cli"),
                  {"--broadcast", "127.255.255.255", "read", "--save", path});
    QVERIFY(process.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(process.state() == QProcess::NotRunning, 60000);
    QCOMPARE(process.exitCode(), 0);

    DeviceResources::registerResources();
    MapModel model;
    model.setPropertyFormat(std::make_shared<DefinitionPropertyFormat>());
    QVERIFY(model.loadFromFile(path));
    int rdmLights = 0;
    for (const SimSupply &supply : installation.supplies) {
        for (const SimPort &port : supply.ports) {
            for (const SimLight &simLight : port.lights) {
                if (!simLight.isRdm())
                    continue;
                ++rdmLights;
                const Light *light = nullptr;
                for (const Light *l : model.lights())
                    if (l->serialNumber() == simLight.serial)
                        light = l;
                QVERIFY(light);
                // Device model 302 is the "Vela Flood RDM RGBW"; the others are RGB kinds.
                QCOMPARE(light->deviceProperty(QStringLiteral("LED_CHEMISTRY")),
                         QString(simLight.rdm.deviceModelId == 302 ? "2" : "1"));
            }
        }
    }
    QVERIFY(rdmLights > 0);
}

QTEST_GUILESS_MAIN(tst_CliRead)
#include "tst_cliread.moc"
