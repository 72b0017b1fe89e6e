#pragma once

#include <QWizard>

class DataSupply;
class DiscoveredLightModel;
class DiscoveryEngine;
class GatedWizardPage;
class LightDiscoverPage;
class LightReadPage;
class MapModel;
class QDoubleSpinBox;
class QLabel;
class QTreeView;
class SupplyListModel;

// "Discover Lights...": four pages. Controller: choose supplies of the map. Discover: scan
// their ports for lights. Light: choose which of the lights found to add (lights the map
// holds already are marked). Read: read the chosen lights' stored data. Finishing adds the
// chosen lights to the map under their supplies, with names, DMX addresses and whatever was
// read, laid out in one row per supply and port.
class DiscoverLightsWizard final : public QWizard
{
    Q_OBJECT
public:
    enum PageId { ControllerPage, DiscoverPage, LightPage, ReadPage };

    DiscoverLightsWizard(MapModel &model, DiscoveryEngine &engine, QWidget *parent = nullptr);
    ~DiscoverLightsWizard() override;

    void setListenMs(int ms);
    int listenMs() const;

    SupplyListModel *supplyModel() const { return m_supplies; }
    LightDiscoverPage *discoverPage() const { return m_discoverPage; }
    DiscoveredLightModel *chooseModel() const { return m_choose; }
    LightReadPage *readPage() const { return m_readPage; }
    QTreeView *supplyView() const { return m_supplyView; }
    QTreeView *chooseView() const { return m_chooseView; }

    // Adds the chosen lights to the map; returns how many were added.
    int addChosenToMap();

    void done(int result) override;

protected:
    void initializePage(int id) override;

signals:
    void setDirty(bool dirty);
    void statusMsg(const QString &text, int timeoutMs);

private:
    QWizardPage *buildControllerPage();
    QWizardPage *buildLightPage();
    void initializeLightPage();
    void updateChooseSummary();

    MapModel &m_model;
    DiscoveryEngine &m_engine;
    SupplyListModel *m_supplies = nullptr;
    DiscoveredLightModel *m_choose = nullptr;
    QDoubleSpinBox *m_listenSeconds = nullptr;
    QTreeView *m_supplyView = nullptr;
    QTreeView *m_chooseView = nullptr;
    QLabel *m_chooseSummary = nullptr;
    GatedWizardPage *m_controllerPage = nullptr;
    GatedWizardPage *m_lightPage = nullptr;
    LightDiscoverPage *m_discoverPage = nullptr;
    LightReadPage *m_readPage = nullptr;
};
