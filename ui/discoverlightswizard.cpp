#include "ui/listenprogressbar.h"
#include "ui/discoverlightswizard.h"

#include "discovery/discoveredmap.h"
#include "discovery/discoveryengine.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "ui/discoveredlightmodel.h"
#include "ui/gatedwizardpage.h"
#include "ui/lightdiscoverpage.h"
#include "ui/lightreadpage.h"
#include "ui/supplylistmodel.h"

#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kDefaultListenMs = 2000;

QTreeView *makeTable(QAbstractItemModel *model, const QString &name, QWidget *parent)
{
    auto *view = new QTreeView(parent);
    view->setObjectName(name);
    view->setRootIsDecorated(false);
    view->setUniformRowHeights(true);
    view->setAlternatingRowColors(true);
    view->setModel(model);
    view->header()->setStretchLastSection(true);
    return view;
}

} // namespace

DiscoverLightsWizard::DiscoverLightsWizard(MapModel &model, DiscoveryEngine &engine,
                                           QWidget *parent)
    : QWizard(parent), m_model(model), m_engine(engine), m_supplies(new SupplyListModel(this)),
      m_choose(new DiscoveredLightModel(model, this))
{
    setObjectName(QStringLiteral("m_discoverLightsWizard"));
    setWindowTitle(tr("Discover Lights"));
    setWizardStyle(QWizard::ModernStyle);
    m_supplies->setCheckable(true);
    m_choose->setCheckable(true);
    m_discoverPage = new LightDiscoverPage(model, engine, this);
    m_readPage = new LightReadPage(model, engine, this);
    connect(m_discoverPage, &LightDiscoverPage::statusMsg, this, &DiscoverLightsWizard::statusMsg);
    setPage(ControllerPage, buildControllerPage());
    setPage(DiscoverPage, m_discoverPage);
    setPage(LightPage, buildLightPage());
    setPage(ReadPage, m_readPage);
    setButtonText(QWizard::FinishButton, tr("Add to Map"));
    resize(960, 620);
}

DiscoverLightsWizard::~DiscoverLightsWizard() = default;

QWizardPage *DiscoverLightsWizard::buildControllerPage()
{
    m_controllerPage = new GatedWizardPage(this);
    m_controllerPage->setTitle(tr("Choose Interfaces"));
    m_controllerPage->setSubTitle(
        tr("Check the interfaces of the map whose ports are to be scanned for lights."));
    m_controllerPage->setGate([this] { return !m_supplies->checkedSupplies().isEmpty(); });
    m_controllerPage->setOnInitialize([this] {
        m_supplies->clear();
        QList<DataSupply *> supplies = m_model.dataSupplies();
        std::sort(supplies.begin(), supplies.end(), [](const DataSupply *a, const DataSupply *b) {
            return a->name().localeAwareCompare(b->name()) < 0;
        });
        for (DataSupply *supply : qAsConst(supplies))
            m_supplies->addSupply(supply, true,
                                  supply->lights().size() == 1
                                      ? tr("1 light in map")
                                      : tr("%1 lights in map").arg(supply->lights().size()));
        for (int column = 0; column < SupplyListModel::Status; ++column)
            m_supplyView->resizeColumnToContents(column);
    });
    connect(m_supplies, &SupplyListModel::checkedChanged, m_controllerPage,
            &GatedWizardPage::recheck);
    m_supplyView = makeTable(m_supplies, QStringLiteral("m_mapInterfacesView"), m_controllerPage);
    m_supplyView->setColumnHidden(SupplyListModel::MacAddress, true);
    auto *empty = new QLabel(tr("The map holds no interfaces yet: use \"Discover Interfaces...\" "
                                "or \"Add Interface...\" first."),
                             m_controllerPage);
    empty->setWordWrap(true);
    connect(m_supplies, &QAbstractItemModel::modelReset, empty,
            [this, empty] { empty->setVisible(m_model.dataSupplyCount() == 0); });
    m_listenSeconds = createListenTimeSpinBox(kDefaultListenMs, m_controllerPage);
    auto *form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    form->addRow(tr("Listen for lights for:"), m_listenSeconds);
    auto *layout = new QVBoxLayout(m_controllerPage);
    layout->addWidget(empty);
    layout->addWidget(m_supplyView, 1);
    layout->addLayout(form);
    return m_controllerPage;
}

QWizardPage *DiscoverLightsWizard::buildLightPage()
{
    m_lightPage = new GatedWizardPage(this);
    m_lightPage->setTitle(tr("Choose Lights"));
    m_lightPage->setSubTitle(tr("Check the lights to read and add to the map. Lights the map "
                                "holds already are marked and are not added again."));
    m_lightPage->setGate([this] { return m_choose->checkedCount() > 0; });
    m_lightPage->setOnInitialize([this] { initializeLightPage(); });
    connect(m_choose, &DiscoveredLightModel::checkedCountChanged, m_lightPage,
            &GatedWizardPage::recheck);
    connect(m_choose, &DiscoveredLightModel::checkedCountChanged, this,
            &DiscoverLightsWizard::updateChooseSummary);
    m_chooseView = makeTable(m_choose, QStringLiteral("m_chooseLightsView"), m_lightPage);
    m_chooseView->setColumnHidden(DiscoveredLightModel::DmxAddress, true);
    m_chooseView->setColumnWidth(DiscoveredLightModel::Serial, 175);
    m_chooseView->setColumnWidth(DiscoveredLightModel::Interface, 160);
    m_chooseView->setColumnWidth(DiscoveredLightModel::Port, 50);
    m_chooseView->setColumnWidth(DiscoveredLightModel::Device, 220);
    m_chooseView->setColumnWidth(DiscoveredLightModel::Kind, 70);
    m_chooseSummary = new QLabel(m_lightPage);
    auto *all = new QPushButton(tr("Select All"), m_lightPage);
    auto *none = new QPushButton(tr("Select None"), m_lightPage);
    connect(all, &QPushButton::clicked, m_choose, [this] { m_choose->setAllChecked(true); });
    connect(none, &QPushButton::clicked, m_choose, [this] { m_choose->setAllChecked(false); });
    auto *row = new QHBoxLayout;
    row->addWidget(m_chooseSummary, 1);
    row->addWidget(all);
    row->addWidget(none);
    auto *layout = new QVBoxLayout(m_lightPage);
    layout->addLayout(row);
    layout->addWidget(m_chooseView, 1);
    return m_lightPage;
}

void DiscoverLightsWizard::setListenMs(int ms)
{
    m_listenSeconds->setMinimum(qMin(m_listenSeconds->minimum(), ms / 1000.0));
    m_listenSeconds->setValue(ms / 1000.0);
}

int DiscoverLightsWizard::listenMs() const
{
    return qRound(m_listenSeconds->value() * 1000);
}

void DiscoverLightsWizard::initializeLightPage()
{
    QList<Light *> found = m_discoverPage->lights();
    // In the order of the installation: supply, port, position on the port.
    std::sort(found.begin(), found.end(), [](const Light *a, const Light *b) {
        return std::make_tuple(a->dataSupply(), a->portNumber(), a->lightNumber()) <
               std::make_tuple(b->dataSupply(), b->portNumber(), b->lightNumber());
    });
    m_choose->clear();
    m_choose->addLights(found);
    updateChooseSummary();
}

void DiscoverLightsWizard::updateChooseSummary()
{
    int inMap = 0;
    for (int row = 0; row < m_choose->rowCount(); ++row)
        inMap += m_choose->isInMap(row);
    m_chooseSummary->setText(tr("%1 lights found, %2 already in the map, %3 chosen.")
                                 .arg(m_choose->rowCount())
                                 .arg(inMap)
                                 .arg(m_choose->checkedCount()));
}

int DiscoverLightsWizard::addChosenToMap()
{
    const QList<Light *> lights = m_readPage->lights();
    const DiscoveredMapResult result =
        addDiscoveredToMap(m_model, m_engine, m_supplies->checkedSupplies(), lights);
    if (result.lightsAdded > 0) {
        emit setDirty(true);
        emit statusMsg(tr("Added %1 lights to the map.").arg(result.lightsAdded), 5000);
    }
    return result.lightsAdded;
}

void DiscoverLightsWizard::done(int result)
{
    m_discoverPage->cancel();
    if (m_readPage->isReading())
        m_readPage->cancelReading();
    if (result == QDialog::Accepted)
        addChosenToMap();
    QWizard::done(result);
}

void DiscoverLightsWizard::initializePage(int id)
{
    // Each page works on what the page before chose.
    if (id == DiscoverPage) {
        m_discoverPage->setSupplies(m_supplies->checkedSupplies());
        m_discoverPage->setListenMs(listenMs());
    } else if (id == ReadPage) {
        m_readPage->setLights(m_choose->checkedLights());
    }
    QWizard::initializePage(id);
}
