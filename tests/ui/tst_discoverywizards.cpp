// The discovery wizards driven through their pages against the simulated installation, which
// runs in this process on loop-back addresses of a network namespace of the test's own.
#include "devices/deviceresources.h"
#include "discovery/discoveredmap.h"
#include "discovery/discoveryengine.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "net/ksocket.h"
#include "sim/simulator.h"
#include "support/netnamespace.h"
#include "ui/discoveredlightmodel.h"
#include "ui/discoverinterfaceswizard.h"
#include "ui/discoverlightswizard.h"
#include "ui/lightdiscoverpage.h"
#include "ui/lightreadpage.h"
#include "ui/supplylistmodel.h"
#include "ui/syncinterfacesdialog.h"

#include <QElapsedTimer>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

namespace {

constexpr int kListenMs = 400;
constexpr int kReadTimeoutMs = 60000;

struct Expected
{
    quint64 supplySerial;
    unsigned int port;
    int dmxAddress;
};

} // namespace

class tst_DiscoveryWizards : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void discoverInterfacesAddsTheChosenSupplies_data();
    void discoverInterfacesAddsTheChosenSupplies();
    void discoverLightsFindsReadsAndAddsEverything();
    void cancelKeepsWhatWasReadAndRetryReadsTheRest();
    void silentDevicesEndAsNoAnswerWithoutFreezing_data();
    void silentDevicesEndAsNoAnswerWithoutFreezing();
    void syncUpdatesAnsweringSuppliesAndListsTheSilentOnes();

private:
    void addSimulatedSuppliesToMap();
    void addGoneSupply();
    // Walks the light wizard to its read page with every supply of the map (or the first
    // `lights` lights only) and returns once reading started.
    void walkToReadPage(DiscoverLightsWizard &wizard, int lights = -1);
    QString statusOf(const DiscoveredLightModel &model, int row) const;
    static QStringList supplyRows(SupplyListModel &rows);

    std::unique_ptr<Simulator> m_simulator;
    QHash<quint64, Expected> m_expected;
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
                m_expected.insert(light.serial,
                                  {supply.serial, port.number - 1u, light.dmxOffset() + 1});
        }
    }
}

void tst_DiscoveryWizards::init()
{
    m_simulator->setFaults(SimFaults{});
    m_model = std::make_unique<MapModel>();
    m_engine = std::make_unique<DiscoveryEngine>();
}

void tst_DiscoveryWizards::cleanup()
{
    m_engine.reset();
    m_model.reset();
}

QString tst_DiscoveryWizards::statusOf(const DiscoveredLightModel &model, int row) const
{
    return model.index(row, DiscoveredLightModel::Status).data().toString();
}

// A supply of the map where nothing answers.
void tst_DiscoveryWizards::addGoneSupply()
{
    auto gone = std::make_unique<DataSupply>(DataSupply::VistraIp);
    gone->setUid(m_model->newUid());
    gone->setName(QStringLiteral("Gone Supply"));
    gone->setSerialNumber(0x4C5F0009);
    gone->setVersion(2);
    gone->setIpAddress(QHostAddress(QStringLiteral("127.0.9.9")));
    QVERIFY(m_model->addDataSupply(std::move(gone)));
}

void tst_DiscoveryWizards::addSimulatedSuppliesToMap()
{
    DiscoverInterfacesWizard wizard(*m_model, *m_engine);
    wizard.setListenMs(kListenMs);
    wizard.show();
    wizard.next();
    QTRY_VERIFY(!wizard.isSearching());
    wizard.accept();
    QCOMPARE(m_model->dataSupplyCount(), m_simulator->installation().supplies.size());
}

// The supply list as "serial@address ports (their numbers) universe: status [x]" lines, sorted.
QStringList tst_DiscoveryWizards::supplyRows(SupplyListModel &rows)
{
    QStringList lines;
    for (int row = 0; row < rows.rowCount(); ++row) {
        const DataSupply *s = rows.supplyAt(row);
        lines << QStringLiteral("%1@%2 ports %3 universe %4: %5 [%6]")
                     .arg(QString::number(s->serialNumber(), 16), s->ipAddress().toString(),
                          rows.index(row, SupplyListModel::Ports).data().toString())
                     .arg(s->universe())
                     .arg(rows.status(row), rows.isChecked(row) ? "x" : " ");
    }
    lines.sort();
    return lines;
}

void tst_DiscoveryWizards::discoverInterfacesAddsTheChosenSupplies_data()
{
    QTest::addColumn<bool>("cloned");
    QTest::newRow("every supply once") << false;
    // A unit answering with another's serial from its own address is an interface of its own:
    // both are listed with a mark saying so, both are added.
    QTest::newRow("a cloned serial: two interfaces, both marked") << true;
}

void tst_DiscoveryWizards::discoverInterfacesAddsTheChosenSupplies()
{
    QFETCH(bool, cloned);
    QVector<SimSupply> sim = m_simulator->installation().supplies;
    SimInstallation clone;
    clone.supplies << sim.at(1);
    clone.supplies[0].address = QHostAddress(QStringLiteral("127.0.2.2"));
    clone.supplies[0].ports.clear();
    Simulator twin(clone);
    if (cloned) {
        QString error;
        QVERIFY2(twin.start(&error), qPrintable(error));
        sim << clone.supplies;
    }
    // What each supply tells about itself; "Sim Supply Four" (serial ...04) is left out first.
    const auto expectedRows = [&](bool secondRun) {
        QStringList lines;
        for (const SimSupply &s : sim) {
            const bool four = s.serial == sim.at(3).serial;
            QString status = secondRun && !four ? "In map" : "New";
            if (cloned && s.serial == sim.at(1).serial)
                status += QStringLiteral("; serial 01A20002 also at %1")
                              .arg(s.address == sim.at(1).address ? "127.0.2.2" : "127.0.1.2");
            QStringList ports;
            for (const SimPort &port : s.ports)
                ports << QString::number(port.number);
            // A unit that names no ports (the clone) shows only their count.
            const QString shown = ports.isEmpty() ? QStringLiteral("0")
                                                  : QStringLiteral("%1 (%2)")
                                                        .arg(ports.size())
                                                        .arg(ports.join(QLatin1String(", ")));
            lines << QStringLiteral("%1@%2 ports %3 universe %4: %5 [%6]")
                         .arg(QString::number(s.serial, 16), s.address.toString(), shown)
                         .arg(s.universe)
                         .arg(status, !secondRun || four ? "x" : " ");
        }
        lines.sort();
        return lines;
    };

    auto wizard = std::make_unique<DiscoverInterfacesWizard>(*m_model, *m_engine);
    QSignalSpy dirty(wizard.get(), &DiscoverInterfacesWizard::setDirty);
    QSignalSpy messages(wizard.get(), &DiscoverInterfacesWizard::statusMsg);
    wizard->setListenMs(kListenMs);
    wizard->show();
    QCOMPARE(wizard->currentId(), int(DiscoverInterfacesWizard::IntroPage));
    wizard->next();
    QVERIFY(wizard->isSearching());
    QVERIFY(!wizard->currentPage()->isComplete());
    QTRY_VERIFY(!wizard->isSearching());
    QVERIFY(wizard->currentPage()->isComplete());
    SupplyListModel *rows = wizard->supplyModel();
    QCOMPARE(supplyRows(*rows), expectedRows(false));
    if (cloned) {
        const QString message = messages.isEmpty() ? QString() : messages.last().at(0).toString();
        QVERIFY2(message.contains(QLatin1String("same serial number 01A20002")),
                 qPrintable(message));
    }
    for (int row = 0; row < rows->rowCount(); ++row) {
        if (rows->supplyAt(row)->serialNumber() == sim.at(3).serial)
            rows->setData(rows->index(row, SupplyListModel::Name), Qt::Unchecked,
                          Qt::CheckStateRole);
    }
    wizard->accept();
    QCOMPARE(m_model->dataSupplyCount(), sim.size() - 1);
    QCOMPARE(dirty.count(), 1);
    QCOMPARE(dirty.at(0).at(0).toBool(), true);

    // A second run marks what the map holds and adds only the rest.
    wizard = std::make_unique<DiscoverInterfacesWizard>(*m_model, *m_engine);
    QSignalSpy dirtyAgain(wizard.get(), &DiscoverInterfacesWizard::setDirty);
    wizard->setListenMs(kListenMs);
    wizard->show();
    wizard->next();
    QTRY_VERIFY(!wizard->isSearching());
    QCOMPARE(supplyRows(*wizard->supplyModel()), expectedRows(true));
    wizard->accept();
    QCOMPARE(m_model->dataSupplyCount(), sim.size());
    QCOMPARE(dirtyAgain.count(), 1);
}

void tst_DiscoveryWizards::walkToReadPage(DiscoverLightsWizard &wizard, int lights)
{
    wizard.setListenMs(kListenMs);
    wizard.show();
    QCOMPARE(wizard.currentId(), int(DiscoverLightsWizard::ControllerPage));
    QCOMPARE(wizard.supplyModel()->rowCount(), m_model->dataSupplyCount());
    QVERIFY(wizard.currentPage()->isComplete());
    wizard.next();
    QCOMPARE(wizard.currentId(), int(DiscoverLightsWizard::DiscoverPage));
    QTRY_VERIFY(!wizard.discoverPage()->isScanning());
    wizard.next();
    QCOMPARE(wizard.currentId(), int(DiscoverLightsWizard::LightPage));
    if (lights >= 0) {
        DiscoveredLightModel *choose = wizard.chooseModel();
        choose->setAllChecked(false);
        for (int row = 0; row < lights; ++row)
            choose->setData(choose->index(row, 0), Qt::Checked, Qt::CheckStateRole);
    }
    wizard.next();
    QCOMPARE(wizard.currentId(), int(DiscoverLightsWizard::ReadPage));
}

void tst_DiscoveryWizards::discoverLightsFindsReadsAndAddsEverything()
{
    addSimulatedSuppliesToMap();
    auto wizard = std::make_unique<DiscoverLightsWizard>(*m_model, *m_engine);
    QSignalSpy dirty(wizard.get(), &DiscoverLightsWizard::setDirty);
    wizard->setListenMs(kListenMs);
    wizard->show();
    wizard->next();
    QTRY_VERIFY(!wizard->discoverPage()->isScanning());
    QCOMPARE(wizard->discoverPage()->lights().size(), m_expected.size());
    wizard->next();

    // The light page: every light once, on its supply and port, named by kind.
    DiscoveredLightModel *choose = wizard->chooseModel();
    QCOMPARE(choose->rowCount(), m_expected.size());
    QCOMPARE(choose->checkedCount(), m_expected.size());
    QSet<quint64> seen;
    for (int row = 0; row < choose->rowCount(); ++row) {
        const Light *light = choose->lightAt(row);
        QVERIFY(!seen.contains(light->serialNumber()));
        seen.insert(light->serialNumber());
        const Expected want = m_expected.value(light->serialNumber());
        QCOMPARE(m_model->dataSupply(light->dataSupply())->serialNumber(), want.supplySerial);
        QCOMPARE(light->portNumber(), want.port);
        const bool rdm = light->serialNumber() > 0xFFFFFFFFULL;
        QCOMPARE(choose->index(row, DiscoveredLightModel::Kind).data().toString(),
                 rdm ? QStringLiteral("RDM") : QStringLiteral("Classic"));
        QVERIFY(!choose->index(row, DiscoveredLightModel::Device).data().toString().isEmpty());
        QCOMPARE(statusOf(*choose, row), QStringLiteral("New"));
    }

    wizard->next();
    LightReadPage *read = wizard->readPage();
    QVERIFY(!read->isComplete());
    QTRY_VERIFY_WITH_TIMEOUT(!read->isReading(), kReadTimeoutMs);
    QVERIFY(read->isComplete());
    QCOMPARE(read->reader()->readCount(), m_expected.size());
    QCOMPARE(read->progressBar()->value(), m_expected.size());
    QVERIFY(!read->retryButton()->isEnabled());
    DiscoveredLightModel *states = read->lightModel();
    for (int row = 0; row < states->rowCount(); ++row) {
        QCOMPARE(statusOf(*states, row), QStringLiteral("Read"));
        QCOMPARE(states->index(row, DiscoveredLightModel::DmxAddress).data().toInt(),
                 m_expected.value(states->lightAt(row)->serialNumber()).dmxAddress);
    }

    wizard->accept();
    QCOMPARE(m_model->lightCount(), m_expected.size());
    QCOMPARE(dirty.count(), 1);
    QSet<QPair<double, double>> places;
    QHash<QPair<quint64, unsigned int>, double> rowOf;
    for (const Light *light : m_model->lights()) {
        const Expected want = m_expected.value(light->serialNumber());
        const DataSupply *supply = m_model->dataSupply(light->dataSupply());
        QVERIFY(supply);
        QVERIFY(supply->hasLight(light->uid()));
        QCOMPARE(supply->serialNumber(), want.supplySerial);
        QCOMPARE(dmxAddressOf(*light), want.dmxAddress);
        QCOMPARE(light->channel(), want.dmxAddress - 1);
        QVERIFY(light->name().startsWith(supply->name()));
        places.insert({light->x(), light->y()});
        // One row per supply and port.
        const auto key = qMakePair(supply->uid(), light->portNumber());
        QCOMPARE(rowOf.value(key, light->y()), light->y());
        rowOf.insert(key, light->y());
    }
    QCOMPARE(places.size(), m_expected.size());
    QCOMPARE(QSet<double>(rowOf.cbegin(), rowOf.cend()).size(), rowOf.size());

    // A second run marks every light as in the map and offers none to add.
    wizard = std::make_unique<DiscoverLightsWizard>(*m_model, *m_engine);
    wizard->setListenMs(kListenMs);
    wizard->show();
    wizard->next();
    QTRY_VERIFY(!wizard->discoverPage()->isScanning());
    wizard->next();
    choose = wizard->chooseModel();
    QCOMPARE(choose->rowCount(), m_expected.size());
    QCOMPARE(choose->checkedCount(), 0);
    QVERIFY(!wizard->currentPage()->isComplete());
    for (int row = 0; row < choose->rowCount(); ++row)
        QCOMPARE(statusOf(*choose, row), QStringLiteral("In map"));
}

void tst_DiscoveryWizards::cancelKeepsWhatWasReadAndRetryReadsTheRest()
{
    addSimulatedSuppliesToMap();
    // Slow answers so that the read is surely under way when it is cancelled.
    m_simulator->setFaults(SimFaults{0, 0, 1.0, 40, 3});
    DiscoverLightsWizard wizard(*m_model, *m_engine);
    const int total = 60;
    walkToReadPage(wizard, total);
    LightReadPage *read = wizard.readPage();
    QCOMPARE(read->reader()->total(), total);
    QTRY_VERIFY(read->reader()->readCount() >= 10);
    QVERIFY(read->isReading());
    QVERIFY(read->cancelButton()->isEnabled());
    read->cancelButton()->click();
    QVERIFY(!read->isReading());
    QVERIFY(read->isComplete());
    const int kept = read->reader()->readCount();
    QVERIFY(kept >= 10 && kept < total);
    QCOMPARE(read->reader()->failedCount(), total - kept);
    DiscoveredLightModel *states = read->lightModel();
    for (int row = 0; row < states->rowCount(); ++row) {
        const Light *light = states->lightAt(row);
        const QString state = statusOf(*states, row);
        QVERIFY2(state == QLatin1String("Read") || state == QLatin1String("No answer"),
                 qPrintable(state));
        if (state == QLatin1String("Read"))
            QCOMPARE(dmxAddressOf(*light), m_expected.value(light->serialNumber()).dmxAddress);
    }
    QVERIFY(read->retryButton()->isEnabled());

    m_simulator->setFaults(SimFaults{});
    read->retryButton()->click();
    QVERIFY(read->isReading());
    QTRY_VERIFY_WITH_TIMEOUT(!read->isReading(), kReadTimeoutMs);
    QCOMPARE(read->reader()->readCount(), total);
    QCOMPARE(read->reader()->failedCount(), 0);
    for (int row = 0; row < states->rowCount(); ++row)
        QCOMPARE(statusOf(*states, row), QStringLiteral("Read"));
    wizard.accept();
    QCOMPARE(m_model->lightCount(), total);
    for (const Light *light : m_model->lights())
        QCOMPARE(dmxAddressOf(*light), m_expected.value(light->serialNumber()).dmxAddress);
}

void tst_DiscoveryWizards::silentDevicesEndAsNoAnswerWithoutFreezing_data()
{
    QTest::addColumn<bool>("deadSupply");
    QTest::newRow("lights stop answering") << false;
    QTest::newRow("a map supply where nothing listens") << true;
}

void tst_DiscoveryWizards::silentDevicesEndAsNoAnswerWithoutFreezing()
{
    QFETCH(bool, deadSupply);
    addSimulatedSuppliesToMap();
    if (deadSupply) {
        addGoneSupply();
    }
    DiscoverLightsWizard wizard(*m_model, *m_engine);
    wizard.setListenMs(kListenMs);
    wizard.show();
    wizard.next();
    QTRY_VERIFY(!wizard.discoverPage()->isScanning());
    QCOMPARE(wizard.discoverPage()->lights().size(), m_expected.size());
    if (deadSupply) {
        QVERIFY(wizard.discoverPage()->summaryText().contains(
            QStringLiteral("Gone Supply: no answer")));
        return;
    }
    wizard.next();
    DiscoveredLightModel *choose = wizard.chooseModel();
    choose->setAllChecked(false);
    for (int row = 0; row < 16; ++row) // one window of the reader
        choose->setData(choose->index(row, 0), Qt::Checked, Qt::CheckStateRole);
    m_simulator->setFaults(SimFaults{1.0, 0, 0, 0, 5});

    // The event loop keeps turning while nothing answers.
    QElapsedTimer clock;
    qint64 last = 0, longestGap = 0;
    QTimer heartbeat;
    connect(&heartbeat, &QTimer::timeout, this, [&] {
        longestGap = qMax(longestGap, clock.elapsed() - last);
        last = clock.elapsed();
    });
    clock.start();
    heartbeat.start(20);
    wizard.next();
    LightReadPage *read = wizard.readPage();
    QTRY_VERIFY_WITH_TIMEOUT(!read->isReading(), kReadTimeoutMs);
    heartbeat.stop();
    QCOMPARE(read->reader()->failedCount(), 16);
    for (int row = 0; row < read->lightModel()->rowCount(); ++row)
        QCOMPARE(statusOf(*read->lightModel(), row), QStringLiteral("No answer"));
    QVERIFY2(longestGap < 1000, qPrintable(QString::number(longestGap)));
    QVERIFY(read->retryButton()->isEnabled());
    // Nothing keeps asking the silent lights once the read gave up.
    QVERIFY(!m_engine->readTimer()->isActive());
    QVERIFY(!m_engine->hasPendingReads());
}

void tst_DiscoveryWizards::syncUpdatesAnsweringSuppliesAndListsTheSilentOnes()
{
    addSimulatedSuppliesToMap();
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
    addGoneSupply();

    SyncInterfacesDialog dialog(*m_model, *m_engine);
    QSignalSpy dirty(&dialog, &SyncInterfacesDialog::setDirty);
    dialog.setListenMs(kListenMs);
    dialog.show();
    dialog.start();
    QTRY_VERIFY(!dialog.isSearching());
    QCOMPARE(dialog.updatedCount(), 1);
    QCOMPARE(dialog.missingCount(), 1);
    QCOMPARE(dirty.count(), 1);
    // What the supply says of itself replaces what the map held; the name is the user's.
    QCOMPARE(QStringLiteral("%1 %2 v%3 universe %4 ports %5, the second numbered %6")
                 .arg(moved->name(), moved->ipAddress().toString())
                 .arg(moved->version())
                 .arg(moved->universe())
                 .arg(moved->portCount())
                 .arg(moved->port(1).number),
             QStringLiteral("Lobby 127.0.1.2 v2 universe 1 ports 2, the second numbered 2"));
    SupplyListModel *rows = dialog.supplyModel();
    QCOMPARE(rows->rowCount(), m_model->dataSupplyCount());
    for (int row = 0; row < rows->rowCount(); ++row) {
        const QString name = rows->supplyAt(row)->name();
        const QString status = rows->status(row);
        if (name == QLatin1String("Gone Supply"))
            QCOMPARE(status, QStringLiteral("No answer"));
        else if (name == QLatin1String("Lobby"))
            QVERIFY2(
                status.startsWith(QLatin1String("Updated:\nIP address 127.0.1.99 -> 127.0.1.2\n")),
                qPrintable(status));
        else
            QCOMPARE(status, QStringLiteral("Up to date"));
    }
}

QTEST_MAIN(tst_DiscoveryWizards)
#include "tst_discoverywizards.moc"
