// The discovery wizards driven through their pages against the simulated installation, which
// runs in this process on loop-back addresses of a network namespace of the test's own. What
// the searches and reads find is pinned in tst_discoveryengine and tst_supplysync; here the
// pages, what they show and what accepting adds.
#include "devices/deviceresources.h"
#include "discovery/discoveredmap.h"
#include "discovery/discoveryengine.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "net/ksocket.h"
#include "sim/simulator.h"
#include "support/mapbuild.h"
#include "support/netnamespace.h"
#include "ui/discoveredlightmodel.h"
#include "ui/discoverinterfaceswizard.h"
#include "ui/discoverlightswizard.h"
#include "ui/lightdiscoverpage.h"
#include "ui/lightreadpage.h"
#include "ui/supplylistmodel.h"
#include "ui/syncinterfacesdialog.h"

#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

namespace {

constexpr int kListenMs = 400;
constexpr int kReadTimeoutMs = 60000;

QString statusOf(const DiscoveredLightModel &model, int row)
{
    return model.index(row, DiscoveredLightModel::Status).data().toString();
}

} // namespace

class tst_DiscoveryWizards : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void discoverInterfacesAddsTheChosenSupplies();
    void discoverLightsFindsReadsAndAddsEverything();
    void silentLightsEndAsNoAnswer();
    void syncUpdatesAnsweringSuppliesAndListsTheSilentOnes();

private:
    void addSuppliesFoundAndAGoneOne();
    // Walks the light wizard to its light page and leaves the first `lights` chosen (all: -1).
    void walkToLightPage(DiscoverLightsWizard &wizard, int lights);
    // The map holds every light of the simulator, once, on its supply and port, at its DMX
    // address.
    void verifyLightsAsInstalled() const;

    std::unique_ptr<Simulator> m_simulator;
    // Each light as "serial on supply serial, port, DMX address", as installed in the simulator.
    QStringList m_installed;
    std::unique_ptr<MapModel> m_model;
    std::unique_ptr<DiscoveryEngine> m_engine;
};

void tst_DiscoveryWizards::initTestCase()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    KSocket::setDefaultBroadcastAddress(QHostAddress(QStringLiteral("127.255.255.255")));
    DeviceResources::registerResources();
    m_simulator = std::make_unique<Simulator>(SimInstallation::builtIn());
    QString error;
    QVERIFY2(m_simulator->start(&error), qPrintable(error));
    for (const SimSupply &supply : m_simulator->installation().supplies) {
        for (const SimPort &port : supply.ports) {
            for (const SimLight &light : port.lights)
                m_installed << QStringLiteral("%1 on %2, %3, %4")
                                   .arg(light.serial, 0, 16)
                                   .arg(supply.serial, 0, 16)
                                   .arg(port.number - 1)
                                   .arg(light.dmxOffset() + 1);
        }
    }
    m_installed.sort();
}

void tst_DiscoveryWizards::init()
{
    m_simulator->setFaults(SimFaults{});
    m_model = std::make_unique<MapModel>();
    m_engine = std::make_unique<DiscoveryEngine>();
}

void tst_DiscoveryWizards::addSuppliesFoundAndAGoneOne()
{
    DiscoverInterfacesWizard wizard(*m_model, *m_engine);
    wizard.setListenMs(kListenMs);
    wizard.show();
    wizard.next();
    QTRY_VERIFY(!wizard.isSearching());
    wizard.accept();
    QCOMPARE(m_model->dataSupplyCount(), m_simulator->installation().supplies.size());
    // A supply of the map where nothing answers.
    DataSupply *gone =
        m_model->dataSupply(MapBuild::supply(*m_model, QStringLiteral("Gone Supply")));
    gone->setSerialNumber(0x4C5F0009);
    gone->setIpAddress(QHostAddress(QStringLiteral("127.0.9.9")));
}

void tst_DiscoveryWizards::walkToLightPage(DiscoverLightsWizard &wizard, int lights)
{
    wizard.setListenMs(kListenMs);
    wizard.show();
    QCOMPARE(wizard.supplyModel()->rowCount(), m_model->dataSupplyCount());
    wizard.next();
    QTRY_VERIFY(!wizard.discoverPage()->isScanning());
    QCOMPARE(wizard.discoverPage()->lights().size(), m_installed.size());
    QVERIFY(wizard.discoverPage()->summaryText().contains("Gone Supply: no answer"));
    wizard.next();
    if (lights >= 0) {
        DiscoveredLightModel *choose = wizard.chooseModel();
        choose->setAllChecked(false);
        for (int row = 0; row < lights; ++row)
            choose->setData(choose->index(row, 0), Qt::Checked, Qt::CheckStateRole);
    }
}

void tst_DiscoveryWizards::verifyLightsAsInstalled() const
{
    QStringList lights;
    for (const Light *light : m_model->lights()) {
        const DataSupply *supply = m_model->dataSupply(light->dataSupply());
        QVERIFY(supply && supply->hasLight(light->uid()));
        lights << QStringLiteral("%1 on %2, %3, %4")
                      .arg(light->serialNumber(), 0, 16)
                      .arg(supply->serialNumber(), 0, 16)
                      .arg(light->portNumber())
                      .arg(dmxAddressOf(*light));
    }
    lights.sort();
    QCOMPARE(lights, m_installed);
}

// The supplies listed as "serial@address ports (their numbers) universe: status", all chosen;
// the one left out is not added. A unit answering with another's serial from its own address
// (a clone that names no ports: only their count) is an interface of its own: both are listed
// with a mark saying so, both are added.
void tst_DiscoveryWizards::discoverInterfacesAddsTheChosenSupplies()
{
    SimInstallation clone;
    clone.supplies << m_simulator->installation().supplies.at(1);
    clone.supplies[0].address = QHostAddress(QStringLiteral("127.0.2.2"));
    clone.supplies[0].ports.clear();
    Simulator twin(clone);
    QString error;
    QVERIFY2(twin.start(&error), qPrintable(error));

    DiscoverInterfacesWizard wizard(*m_model, *m_engine);
    QSignalSpy dirty(&wizard, &DiscoverInterfacesWizard::setDirty);
    QSignalSpy messages(&wizard, &DiscoverInterfacesWizard::statusMsg);
    wizard.setListenMs(kListenMs);
    wizard.show();
    wizard.next();
    QVERIFY(!wizard.currentPage()->isComplete()); // searching
    QTRY_VERIFY(!wizard.isSearching());
    QVERIFY(wizard.currentPage()->isComplete());
    SupplyListModel *rows = wizard.supplyModel();
    QStringList shown;
    for (int row = 0; row < rows->rowCount(); ++row) {
        const DataSupply *s = rows->supplyAt(row);
        QVERIFY(rows->isChecked(row));
        shown << QStringLiteral("%1@%2 ports %3 universe %4: %5")
                     .arg(QString::number(s->serialNumber(), 16), s->ipAddress().toString(),
                          rows->index(row, SupplyListModel::Ports).data().toString())
                     .arg(s->universe())
                     .arg(rows->status(row));
        if (s->serialNumber() == 0x1A50004)
            rows->setData(rows->index(row, SupplyListModel::Name), Qt::Unchecked,
                          Qt::CheckStateRole);
    }
    shown.sort();
    QCOMPARE(shown, QStringList({"1a10001@127.0.1.1 ports 1 (1) universe 0: New",
                                 "1a20002@127.0.1.2 ports 2 (1, 2) universe 1: New; serial "
                                 "01A20002 also at 127.0.2.2",
                                 "1a20002@127.0.2.2 ports 0 universe 1: New; serial 01A20002 "
                                 "also at 127.0.1.2",
                                 "1a30003@127.0.1.3 ports 2 (1, 2) universe 2: New",
                                 "1a50004@127.0.1.4 ports 2 (1, 2) universe 3: New"}));
    QVERIFY(!messages.isEmpty() &&
            messages.last().at(0).toString().contains("same serial number 01A20002"));
    wizard.accept();
    QCOMPARE(m_model->dataSupplyCount(), 4);
    QCOMPARE(dirty.count(), 1);
    QCOMPARE(dirty.at(0).at(0).toBool(), true);
}

// Every light is found once, named by kind, and read. A read cancelled halfway (slow answers
// make sure it is under way) keeps what was read and marks the rest; Retry reads the rest.
// Accepting adds each light on its supply and port at the DMX address it reports, each in a
// place of its own, one row of the layout per supply and port.
void tst_DiscoveryWizards::discoverLightsFindsReadsAndAddsEverything()
{
    addSuppliesFoundAndAGoneOne();
    DiscoverLightsWizard wizard(*m_model, *m_engine);
    QSignalSpy dirty(&wizard, &DiscoverLightsWizard::setDirty);
    walkToLightPage(wizard, -1);
    DiscoveredLightModel *choose = wizard.chooseModel();
    const int total = m_installed.size();
    QCOMPARE(choose->checkedCount(), total);
    for (int row = 0; row < choose->rowCount(); ++row) {
        const bool rdm = choose->lightAt(row)->serialNumber() > 0xFFFFFFFFULL;
        QCOMPARE(choose->index(row, DiscoveredLightModel::Kind).data().toString() + ' ' +
                     statusOf(*choose, row),
                 QLatin1String(rdm ? "RDM New" : "Classic New"));
    }

    m_simulator->setFaults(SimFaults{0, 0, 1.0, 40, 3});
    wizard.next();
    LightReadPage *read = wizard.readPage();
    QVERIFY(!read->isComplete());
    QTRY_VERIFY(read->reader()->readCount() >= 10);
    read->cancelButton()->click();
    QVERIFY(!read->isReading());
    QVERIFY(read->isComplete());
    const int kept = read->reader()->readCount();
    QVERIFY(kept >= 10 && kept < total);
    QCOMPARE(read->reader()->failedCount(), total - kept);
    QCOMPARE(statusOf(*read->lightModel(), total - 1), QStringLiteral("No answer"));
    QVERIFY(read->retryButton()->isEnabled());

    m_simulator->setFaults(SimFaults{});
    read->retryButton()->click();
    QTRY_VERIFY_WITH_TIMEOUT(!read->isReading(), kReadTimeoutMs);
    QCOMPARE(read->reader()->failedCount(), 0);
    QCOMPARE(read->progressBar()->value(), total);
    QVERIFY(!read->retryButton()->isEnabled());
    for (int row = 0; row < total; ++row)
        QCOMPARE(statusOf(*read->lightModel(), row), QStringLiteral("Read"));

    wizard.accept();
    QCOMPARE(m_model->lightCount(), total);
    QCOMPARE(dirty.count(), 1);
    verifyLightsAsInstalled();
    QSet<QPair<double, double>> places;
    QHash<QPair<quint64, unsigned int>, double> rowOf;
    for (const Light *light : m_model->lights()) {
        places.insert({light->x(), light->y()});
        const auto key = qMakePair(light->dataSupply(), light->portNumber());
        QCOMPARE(rowOf.value(key, light->y()), light->y());
        rowOf.insert(key, light->y());
    }
    QCOMPARE(places.size(), total);
    QCOMPARE(QSet<double>(rowOf.cbegin(), rowOf.cend()).size(), rowOf.size());
}

// Lights that stop answering (one window of the reader) end as "No answer", and nothing keeps
// asking them after.
void tst_DiscoveryWizards::silentLightsEndAsNoAnswer()
{
    addSuppliesFoundAndAGoneOne();
    DiscoverLightsWizard wizard(*m_model, *m_engine);
    walkToLightPage(wizard, 16);
    m_simulator->setFaults(SimFaults{1.0, 0, 0, 0, 5});
    wizard.next();
    LightReadPage *read = wizard.readPage();
    QTRY_VERIFY_WITH_TIMEOUT(!read->isReading(), kReadTimeoutMs);
    QCOMPARE(read->reader()->failedCount(), 16);
    for (int row = 0; row < read->lightModel()->rowCount(); ++row)
        QCOMPARE(statusOf(*read->lightModel(), row), QStringLiteral("No answer"));
    QVERIFY(!m_engine->readTimer()->isActive());
    QVERIFY(!m_engine->hasPendingReads());
}

// What an answering supply says of itself replaces what the map held (the name is the
// user's); the list says what changed, and which supplies did not answer.
void tst_DiscoveryWizards::syncUpdatesAnsweringSuppliesAndListsTheSilentOnes()
{
    addSuppliesFoundAndAGoneOne();
    DataSupply *moved = nullptr;
    for (DataSupply *supply : m_model->dataSupplies()) {
        if (supply->name() == QLatin1String("Sim Supply Two"))
            moved = supply;
    }
    QVERIFY(moved);
    moved->setName(QStringLiteral("Lobby"));
    moved->setIpAddress(QHostAddress(QStringLiteral("127.0.1.99")));
    moved->setVersion(1);
    moved->setUniverse(9);
    moved->setPortCount(1);

    SyncInterfacesDialog dialog(*m_model, *m_engine);
    QSignalSpy dirty(&dialog, &SyncInterfacesDialog::setDirty);
    dialog.setListenMs(kListenMs);
    dialog.show();
    dialog.start();
    QTRY_VERIFY(!dialog.isSearching());
    QCOMPARE(dirty.count(), 1);
    QCOMPARE(QStringLiteral("%1 %2 v%3 universe %4 ports %5")
                 .arg(moved->name(), moved->ipAddress().toString())
                 .arg(moved->version())
                 .arg(moved->universe())
                 .arg(moved->portCount()),
             QStringLiteral("Lobby 127.0.1.2 v2 universe 1 ports 2"));
    SupplyListModel *rows = dialog.supplyModel();
    QStringList statuses;
    for (int row = 0; row < rows->rowCount(); ++row)
        statuses << rows->supplyAt(row)->name() + ": " + rows->status(row).section('\n', 0, 1);
    statuses.sort();
    QCOMPARE(statuses, QStringList({"Gone Supply: No answer",
                                    "Lobby: Updated:\nIP address 127.0.1.99 -> 127.0.1.2",
                                    "Sim Supply Four: Up to date", "Sim Supply One: Up to date",
                                    "Sim Supply Three: Up to date"}));
}

QTEST_MAIN(tst_DiscoveryWizards)
#include "tst_discoverywizards.moc"
