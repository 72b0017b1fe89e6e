#pragma once

#include <QDialog>

class DiscoveryEngine;
class ListenProgressBar;
class MapModel;
class QLabel;
class QPushButton;
class QTreeView;
class SupplyListModel;
class SupplySearch;

// "Sync Interfaces...": discovers the supplies on the network again and brings the supplies
// of the map that answered up to date (IP address, version, universe, ports). A map supply
// answered when its serial did, at its own address or, if nothing with that serial answered
// there, at another (it moved). The list says what changed for each supply and which ones
// did not answer.
class SyncInterfacesDialog final : public QDialog
{
    Q_OBJECT
public:
    SyncInterfacesDialog(MapModel &model, DiscoveryEngine &engine, QWidget *parent = nullptr);

    void setListenMs(int ms) { m_listenMs = ms; }
    void start();
    bool isSearching() const;

    SupplyListModel *supplyModel() const { return m_supplies; }
    int updatedCount() const { return m_updated; }
    int missingCount() const { return m_missing; }
    QString summaryText() const;

    void done(int result) override;

signals:
    void setDirty(bool dirty);
    void statusMsg(const QString &text, int timeoutMs);
    void syncFinished();

private:
    void handleSearchFinished();

    MapModel &m_model;
    DiscoveryEngine &m_engine;
    SupplySearch *m_search = nullptr;
    SupplyListModel *m_supplies = nullptr;
    int m_listenMs = 2000;
    int m_updated = 0;
    int m_missing = 0;
    QTreeView *m_view = nullptr;
    ListenProgressBar *m_progress = nullptr;
    QLabel *m_summary = nullptr;
    QPushButton *m_again = nullptr;
};
