#pragma once

#include <QHash>
#include <QWizardPage>

class DataSupply;
class DiscoveredLightModel;
class DiscoveryEngine;
class LightSearch;
class Light;
class ListenProgressBar;
class MapModel;
class QLabel;
class QPushButton;
class QTreeView;

// The light wizard's discover page: scans the ports of the chosen supplies for lights while
// listening and lists the lights as they answer. A supply that finds no light says so, and so
// does a port that no scan answer named, so that a switched-off or unplugged interface or
// line shows rather than hides. A request that cannot be sent is shown with its reason.
class LightDiscoverPage final : public QWizardPage
{
    Q_OBJECT
public:
    LightDiscoverPage(MapModel &model, DiscoveryEngine &engine, QWidget *parent = nullptr);

    void setSupplies(const QList<DataSupply *> &supplies) { m_supplies = supplies; }
    void setListenMs(int ms) { m_listenMs = ms; }
    int listenMs() const { return m_listenMs; }

    void scan();
    void cancel();
    bool isScanning() const;
    // Lights found by the last scan, in the order they answered.
    QList<Light *> lights() const;
    DiscoveredLightModel *lightModel() const { return m_lights; }
    QString summaryText() const;

    void initializePage() override;
    void cleanupPage() override;
    bool isComplete() const override;

signals:
    void statusMsg(const QString &text, int timeoutMs);

private:
    void handleLightFound(Light *light);
    void handleSendFailed(const QString &message);
    void handleFinished();
    void updateSummary();

    MapModel &m_model;
    DiscoveryEngine &m_engine;
    LightSearch *m_search = nullptr;
    DiscoveredLightModel *m_lights = nullptr;
    QList<DataSupply *> m_supplies;
    QHash<quint64, int> m_countPerSupply;
    int m_listenMs = 2000;
    QTreeView *m_view = nullptr;
    ListenProgressBar *m_progress = nullptr;
    QLabel *m_summary = nullptr;
    QPushButton *m_scanAgain = nullptr;
    QString m_sendFailure;
};
