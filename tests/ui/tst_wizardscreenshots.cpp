// Pictures of every page of the discovery wizards, for people to look at, written to the
// folder named by ORRERY_SCREENSHOT_DIR against the simulated installation; skipped when the
// variable is not set. Run it as root inside a namespace of its own, with loop-back up and
// ORRERY_PRIVATE_NETNS=1, ORRERY_SCREENSHOT_DIR and QT_QPA_PLATFORM=offscreen set:
//   unshare -n bash -c 'ip link set lo up; build/tests/ui/tst_wizardscreenshots'
#include "devices/deviceresources.h"
#include "discovery/discoveryengine.h"
#include "model/datasupply.h"
#include "model/mapmodel.h"
#include "net/ksocket.h"
#include "sim/simulator.h"
#include "support/netnamespace.h"
#include "ui/discoverinterfaceswizard.h"
#include "ui/discoverlightswizard.h"
#include "ui/lightdiscoverpage.h"
#include "ui/lightreadpage.h"
#include "ui/syncinterfacesdialog.h"
#include "ui/uiresources.h"

#include <QDir>
#include <QtTest>

class tst_WizardScreenshots : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void pages();

private:
    void save(QWidget *widget, const QString &name);

    QString m_out;
    std::unique_ptr<Simulator> m_simulator;
};

void tst_WizardScreenshots::initTestCase()
{
    m_out = qEnvironmentVariable("ORRERY_SCREENSHOT_DIR");
    if (m_out.isEmpty())
        QSKIP("set ORRERY_SCREENSHOT_DIR to write screenshots");
    const QString reason = NetNamespace::enterOwn();
    if (!reason.isEmpty())
        QSKIP(qPrintable(reason));
    QVERIFY(QDir().mkpath(m_out));
    initUiResources();
    DeviceResources::registerResources();
    KSocket::setDefaultBroadcastAddress(QHostAddress(QStringLiteral("127.255.255.255")));
    m_simulator = std::make_unique<Simulator>(SimInstallation::builtIn());
    QString error;
    QVERIFY2(m_simulator->start(&error), qPrintable(error));
}

void tst_WizardScreenshots::save(QWidget *widget, const QString &name)
{
    QCoreApplication::processEvents();
    const QString path = QDir(m_out).filePath(name);
    QVERIFY(widget->grab().save(path));
    qInfo("wrote %s", qPrintable(path));
}

void tst_WizardScreenshots::pages()
{
    MapModel model;
    DiscoveryEngine engine;
    {
        DiscoverInterfacesWizard wizard(model, engine);
        wizard.setListenMs(600);
        wizard.show();
        save(&wizard, QStringLiteral("01-interfaces-intro.png"));
        wizard.next();
        QTRY_VERIFY(!wizard.isSearching());
        save(&wizard, QStringLiteral("02-interfaces-found.png"));
        wizard.accept();
    }
    {
        // A supply that is in the map but not on the network, for the pages that show silence.
        auto gone = std::make_unique<DataSupply>(DataSupply::VistraIp);
        gone->setUid(model.newUid());
        gone->setName(QStringLiteral("Gone Supply"));
        gone->setSerialNumber(0x4C5F0009);
        gone->setVersion(2);
        gone->setIpAddress(QHostAddress(QStringLiteral("127.0.9.9")));
        model.addDataSupply(std::move(gone));
        DiscoverInterfacesWizard wizard(model, engine);
        wizard.setListenMs(600);
        wizard.show();
        wizard.next();
        QTRY_VERIFY(!wizard.isSearching());
        save(&wizard, QStringLiteral("03-interfaces-again-in-map.png"));
        wizard.reject();
    }
    DiscoverLightsWizard wizard(model, engine);
    wizard.setListenMs(800);
    wizard.show();
    save(&wizard, QStringLiteral("04-lights-controller.png"));
    wizard.next();
    QTRY_VERIFY(wizard.discoverPage()->lights().size() > 40);
    save(&wizard, QStringLiteral("05-lights-discover-scanning.png"));
    QTRY_VERIFY(!wizard.discoverPage()->isScanning());
    save(&wizard, QStringLiteral("06-lights-discover-done.png"));
    wizard.next();
    save(&wizard, QStringLiteral("07-lights-choose.png"));
    m_simulator->setFaults(SimFaults{0, 0, 1.0, 40, 3});
    wizard.next();
    LightReadPage *read = wizard.readPage();
    QTRY_VERIFY(read->reader()->readCount() >= read->reader()->total() / 3);
    save(&wizard, QStringLiteral("08-lights-read-midway.png"));
    read->cancelReading();
    save(&wizard, QStringLiteral("09-lights-read-cancelled.png"));
    m_simulator->setFaults(SimFaults{});
    read->retryUnfinished();
    QTRY_VERIFY_WITH_TIMEOUT(!read->isReading(), 60000);
    save(&wizard, QStringLiteral("10-lights-read-finished.png"));
    wizard.accept();

    // Sync: one supply moved to another address, the gone one stays silent.
    for (DataSupply *supply : model.dataSupplies()) {
        if (supply->name() == QLatin1String("Sim Supply Two")) {
            supply->setIpAddress(QHostAddress(QStringLiteral("127.0.1.99")));
            supply->setVersion(1);
        }
    }
    SyncInterfacesDialog sync(model, engine);
    sync.setListenMs(600);
    sync.show();
    sync.start();
    save(&sync, QStringLiteral("11-sync-looking.png"));
    QTRY_VERIFY(!sync.isSearching());
    save(&sync, QStringLiteral("12-sync-result.png"));
}

QTEST_MAIN(tst_WizardScreenshots)
#include "tst_wizardscreenshots.moc"
