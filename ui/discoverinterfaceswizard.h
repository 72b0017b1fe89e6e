#pragma once

#include <QString>
#include <QWizard>

class DataSupply;
class DiscoveryEngine;
class ListenProgressBar;
class MapModel;
class QDoubleSpinBox;
class QLabel;
class QPushButton;
class QTreeView;
class SupplyListModel;
class SupplySearch;

// "Discover Interfaces...": finds the supplies on the network and their ports, lists what
// answered, and adds the ones the user picks to the map. Supplies the map already holds (same
// serial at the same address, or moved) are marked and left unchecked; adding them again
// would do nothing. Two addresses answering with one serial are two interfaces, both marked;
// a request that cannot be sent is shown with its reason.
class DiscoverInterfacesWizard final : public QWizard
{
    Q_OBJECT
public:
    enum PageId { IntroPage, ResultsPage };

    DiscoverInterfacesWizard(MapModel &model, DiscoveryEngine &engine, QWidget *parent = nullptr);
    ~DiscoverInterfacesWizard() override;

    int listenMs() const;
    void setListenMs(int ms);
    bool isSearching() const;
    SupplyListModel *supplyModel() const { return m_supplies; }
    QTreeView *supplyView() const { return m_view; }
    // Starts a new search on the results page (also what "Search Again" does).
    void search();
    // Adds the checked supplies that the map does not hold yet; returns how many were added.
    int addChosenToMap();

    void done(int result) override;

signals:
    void setDirty(bool dirty);
    void statusMsg(const QString &text, int timeoutMs);

private:
    QWizardPage *buildIntroPage();
    QWizardPage *buildResultsPage();
    void handleSupplyFound(DataSupply *supply);
    void handlePortsFound(DataSupply *supply);
    void handleDuplicateSerial(DataSupply *supply, DataSupply *earlier);
    void handleSendFailed(const QString &message);
    bool isInMap(const DataSupply *supply) const;
    void handleSearchFinished();
    void updateSummary();

    MapModel &m_model;
    DiscoveryEngine &m_engine;
    SupplySearch *m_search = nullptr;
    SupplyListModel *m_supplies = nullptr;
    QDoubleSpinBox *m_listenSeconds = nullptr;
    QTreeView *m_view = nullptr;
    ListenProgressBar *m_progress = nullptr;
    QLabel *m_summary = nullptr;
    QPushButton *m_searchAgain = nullptr;
    QString m_sendFailure;
};
