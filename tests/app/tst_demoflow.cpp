// The first steps of someone trying the program with its demonstration installation: start
// with --demo, discover the interfaces, discover and read the lights, save the map. Every
// step goes through the real window, its actions and the dialogs it opens, against the
// simulated installation that --demo starts inside this process.
//
// The slots build on one another in declaration order (as the person does); each one checks
// first that the step before left what it needs.
#include "app/kestrel.h"
#include "app/networkoptions.h"
#include "app/scriptedprompts.h"
#include "app/testsettings.h"
#include "devices/definitionpropertyformat.h"
#include "devices/dmxaddress.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "net/ksocket.h"
#include "sim/siminstallation.h"
#include "support/netnamespace.h"
#include "ui/discoveredlightmodel.h"
#include "ui/discoverinterfaceswizard.h"
#include "ui/discoverlightswizard.h"
#include "ui/lightdiscoverpage.h"
#include "ui/lightreadpage.h"
#include "ui/supplylistmodel.h"

#include <QAction>
#include <QCommandLineParser>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

// Short listening keeps the test quick; loop-back answers come within milliseconds.
constexpr int kListenMs = 500;
constexpr int kSearchTimeoutMs = 15000;
// Reading all the lights' memories one light after another takes a few seconds.
constexpr int kReadTimeoutMs = 90000;

QString mapsDmxOffsetText(const Light &light)
{
    return light.deviceProperty(QStringLiteral("DMX_OFFSET"));
}

int dmxOffsetOf(const Light &light)
{
    return DmxAddress::offsetFromText(mapsDmxOffsetText(light)).value_or(-1);
}

} // namespace

class tst_DemoFlow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void discoverInterfacesAddsTheDemoSupplies();
    void discoverLightsReadsEveryLightIntoTheMap();
    void savedMapKeepsAddressesAndOffsets();

private:
    void clickWizardButton(QWizard &wizard, QWizard::WizardButton which);
    static QPushButton *pageButton(QWizardPage *page, const QString &text);

    std::unique_ptr<TestSettings> m_settings;
    // Parent of the simulator that --demo starts.
    std::unique_ptr<QObject> m_demo;
    std::unique_ptr<Kestrel> m_window;
    ScriptedPrompts *m_prompts = nullptr;
    QTemporaryDir m_dir;

    // What the simulated installation holds, by serial.
    QHash<quint64, int> m_simOffsets;
    QHash<quint64, quint64> m_simSupplyOfLight;
    QHash<quint64, QHostAddress> m_simAddresses;
};

void tst_DemoFlow::initTestCase()
{
    // The window's discovery engine broadcasts as soon as it exists.
    const QString why = NetNamespace::enterOwn();
    if (!why.isEmpty())
        QSKIP(qPrintable(why));
    m_settings = std::make_unique<TestSettings>();
    TestSettings::clear();
    QVERIFY(m_dir.isValid());

    // As main() does: the network choice comes before anything that can send.
    QCommandLineParser parser;
    NetworkOptions::addTo(parser);
    QVERIFY(parser.parse({QStringLiteral("orrery"), QStringLiteral("--demo")}));
    m_demo = std::make_unique<QObject>();
    QString error;
    QVERIFY2(NetworkOptions::apply(parser, m_demo.get(), &error), qPrintable(error));
    QVERIFY(KSocket::isLoopbackOnly());

    for (const SimSupply &supply : SimInstallation::builtIn().supplies) {
        m_simAddresses.insert(supply.serial, supply.address);
        for (const SimPort &port : supply.ports) {
            for (const SimLight &light : port.lights) {
                m_simOffsets.insert(light.serial, light.dmxOffset());
                m_simSupplyOfLight.insert(light.serial, supply.serial);
            }
        }
    }
    QCOMPARE(m_simAddresses.size(), 4);
    QCOMPARE(m_simOffsets.size(), 350);
    // Along a port every light has an offset of its own, so that a lost or mixed-up one shows.
    const QList<int> offsets = m_simOffsets.values();
    QVERIFY(QSet<int>(offsets.cbegin(), offsets.cend()).size() > 20);

    auto prompts = std::make_unique<ScriptedPrompts>();
    m_prompts = prompts.get();
    m_window = std::make_unique<Kestrel>(std::move(prompts));
    m_window->setDiscoveryListenMs(kListenMs);
    m_window->show();
}

void tst_DemoFlow::cleanupTestCase()
{
    m_window.reset();
    m_demo.reset();
    KSocket::setLoopbackOnly(false);
    KSocket::setDefaultBroadcastAddress(QHostAddress());
}

void tst_DemoFlow::clickWizardButton(QWizard &wizard, QWizard::WizardButton which)
{
    QAbstractButton *button = wizard.button(which);
    QVERIFY(button);
    QVERIFY2(button->isEnabled(), qPrintable(button->text()));
    button->click();
}

QPushButton *tst_DemoFlow::pageButton(QWizardPage *page, const QString &text)
{
    for (QPushButton *button : page->findChildren<QPushButton *>()) {
        if (button->text() == text)
            return button;
    }
    return nullptr;
}

void tst_DemoFlow::discoverInterfacesAddsTheDemoSupplies()
{
    QCOMPARE(m_window->model().dataSupplyCount(), 0);
    QVERIFY(!m_window->isDirty());
    m_window->ui().discoverInterfacesAction->trigger();
    QPointer<DiscoverInterfacesWizard> wizard =
        qobject_cast<DiscoverInterfacesWizard *>(m_window->discoveryDialog());
    QVERIFY(wizard);
    QVERIFY(wizard->isVisible());
    QCOMPARE(wizard->listenMs(), kListenMs);
    QCOMPARE(wizard->currentId(), int(DiscoverInterfacesWizard::IntroPage));

    clickWizardButton(*wizard, QWizard::NextButton);
    QCOMPARE(wizard->currentId(), int(DiscoverInterfacesWizard::ResultsPage));
    QTRY_VERIFY_WITH_TIMEOUT(!wizard->isSearching(), kSearchTimeoutMs);

    // Each demo supply once, on its loop-back address, new and chosen.
    SupplyListModel *rows = wizard->supplyModel();
    QCOMPARE(rows->rowCount(), m_simAddresses.size());
    QSet<quint64> listed;
    for (int row = 0; row < rows->rowCount(); ++row) {
        const DataSupply *supply = rows->supplyAt(row);
        QVERIFY(m_simAddresses.contains(supply->serialNumber()));
        QCOMPARE(supply->ipAddress(), m_simAddresses.value(supply->serialNumber()));
        QCOMPARE(rows->status(row), QStringLiteral("New"));
        QVERIFY(rows->isChecked(row));
        listed.insert(supply->serialNumber());
    }
    QCOMPARE(listed.size(), m_simAddresses.size());

    clickWizardButton(*wizard, QWizard::FinishButton);
    QTRY_VERIFY(!wizard);
    QVERIFY(!m_window->discoveryDialog());
    QCOMPARE(m_window->model().dataSupplyCount(), m_simAddresses.size());
    QVERIFY(m_window->isDirty());
    QVERIFY(m_window->windowTitle().endsWith(QLatin1String(" *")));
}

void tst_DemoFlow::discoverLightsReadsEveryLightIntoTheMap()
{
    QCOMPARE(m_window->model().dataSupplyCount(), m_simAddresses.size());
    m_window->ui().discoverLightsAction->trigger();
    QPointer<DiscoverLightsWizard> wizard =
        qobject_cast<DiscoverLightsWizard *>(m_window->discoveryDialog());
    QVERIFY(wizard);
    QCOMPARE(wizard->currentId(), int(DiscoverLightsWizard::ControllerPage));

    // Controller page: every supply of the map is offered and chosen.
    SupplyListModel *supplies = wizard->supplyModel();
    QCOMPARE(supplies->rowCount(), m_simAddresses.size());
    for (int row = 0; row < supplies->rowCount(); ++row)
        supplies->setChecked(row, true);
    QCOMPARE(supplies->checkedSupplies().size(), m_simAddresses.size());
    clickWizardButton(*wizard, QWizard::NextButton);

    // Discover page: the scan of all their ports finds every light.
    QCOMPARE(wizard->currentId(), int(DiscoverLightsWizard::DiscoverPage));
    LightDiscoverPage *discover = wizard->discoverPage();
    QTRY_VERIFY_WITH_TIMEOUT(!discover->isScanning(), kSearchTimeoutMs);
    QCOMPARE(discover->lights().size(), m_simOffsets.size());
    QVERIFY(discover->isComplete());
    clickWizardButton(*wizard, QWizard::NextButton);

    // Light page: "Select None" closes the way on, "Select All" chooses every light.
    QCOMPARE(wizard->currentId(), int(DiscoverLightsWizard::LightPage));
    DiscoveredLightModel *choose = wizard->chooseModel();
    QCOMPARE(choose->rowCount(), m_simOffsets.size());
    QPushButton *none = pageButton(wizard->currentPage(), QStringLiteral("Select None"));
    QPushButton *all = pageButton(wizard->currentPage(), QStringLiteral("Select All"));
    QVERIFY(none && all);
    none->click();
    QCOMPARE(choose->checkedCount(), 0);
    QVERIFY(!wizard->button(QWizard::NextButton)->isEnabled());
    all->click();
    QCOMPARE(choose->checkedCount(), m_simOffsets.size());
    clickWizardButton(*wizard, QWizard::NextButton);

    // Read page: every light answers with its stored data.
    QCOMPARE(wizard->currentId(), int(DiscoverLightsWizard::ReadPage));
    LightReadPage *read = wizard->readPage();
    QCOMPARE(read->reader()->total(), m_simOffsets.size());
    QTRY_VERIFY_WITH_TIMEOUT(!read->isReading(), kReadTimeoutMs);
    QCOMPARE(read->reader()->readCount(), m_simOffsets.size());
    QCOMPARE(read->reader()->failedCount(), 0);
    DiscoveredLightModel *states = read->lightModel();
    QCOMPARE(states->rowCount(), m_simOffsets.size());
    for (int row = 0; row < states->rowCount(); ++row)
        QCOMPARE(states->index(row, DiscoveredLightModel::Status).data().toString(),
                 QStringLiteral("Read"));
    QVERIFY(read->isComplete());

    clickWizardButton(*wizard, QWizard::FinishButton);
    QTRY_VERIFY(!wizard);
    QVERIFY(!m_window->discoveryDialog());

    // Each light under the supply it hangs on, with the DMX offset stored in it, in a place
    // of its own on the layout.
    const MapModel &model = m_window->model();
    QCOMPARE(model.lightCount(), m_simOffsets.size());
    QSet<QPair<double, double>> places;
    for (const Light *light : model.lights()) {
        const quint64 serial = light->serialNumber();
        QVERIFY2(m_simOffsets.contains(serial), qPrintable(QString::number(serial, 16)));
        QCOMPARE(dmxOffsetOf(*light), m_simOffsets.value(serial));
        const DataSupply *supply = model.dataSupply(light->dataSupply());
        QVERIFY(supply);
        QCOMPARE(supply->serialNumber(), m_simSupplyOfLight.value(serial));
        places.insert({light->x(), light->y()});
    }
    QCOMPARE(places.size(), m_simOffsets.size());
    QVERIFY(m_window->isDirty());
}

void tst_DemoFlow::savedMapKeepsAddressesAndOffsets()
{
    QCOMPARE(m_window->model().lightCount(), m_simOffsets.size());
    const QString path = m_dir.filePath(QStringLiteral("demo.map"));
    m_prompts->fileAnswers.enqueue(path);
    m_window->ui().saveMapAction->trigger();
    QCOMPARE(m_prompts->asked.size(), 1);
    QCOMPARE(m_prompts->asked.at(0).kind, QStringLiteral("save"));
    QVERIFY(m_prompts->messages().isEmpty());
    QVERIFY(!m_window->isDirty());
    QCOMPARE(m_window->currentMapPath(), QFileInfo(path).absoluteFilePath());
    QVERIFY2(!m_window->windowTitle().endsWith(QLatin1String(" *")),
             qPrintable(m_window->windowTitle()));

    // Opened as the program opens maps: with the properties the device definitions name.
    MapModel reopened;
    reopened.setPropertyFormat(std::make_shared<DefinitionPropertyFormat>());
    QVERIFY(reopened.loadFromFile(path));
    QCOMPARE(reopened.dataSupplyCount(), m_simAddresses.size());
    for (const DataSupply *supply : reopened.dataSupplies()) {
        QVERIFY(m_simAddresses.contains(supply->serialNumber()));
        QCOMPARE(supply->ipAddress(), m_simAddresses.value(supply->serialNumber()));
    }
    QCOMPARE(reopened.lightCount(), m_simOffsets.size());
    for (const Light *light : reopened.lights()) {
        QVERIFY2(dmxOffsetOf(*light) == m_simOffsets.value(light->serialNumber(), -2),
                 qPrintable(QStringLiteral("%1: \"%2\"")
                                .arg(light->serialNumber(), 0, 16)
                                .arg(mapsDmxOffsetText(*light))));
    }
}

QTEST_MAIN(tst_DemoFlow)
#include "tst_demoflow.moc"
