#pragma once

#include "discovery/lightdatareader.h"

#include <QWizardPage>

class DiscoveredLightModel;
class DiscoveryEngine;
class Light;
class MapModel;
class QLabel;
class QProgressBar;
class QPushButton;
class QTreeView;

// The light wizard's read page: reads the stored data (DMX address and more) of the chosen
// lights with a progress bar and a state per light. Reading runs on the event loop a few
// lights at a time, so the window stays responsive; a light that never answers ends as
// "No answer" after a bounded number of attempts. "Cancel Reading" stops and keeps what was
// read; "Retry Unfinished" reads again the lights without an answer.
class LightReadPage final : public QWizardPage
{
    Q_OBJECT
public:
    LightReadPage(MapModel &model, DiscoveryEngine &engine, QWidget *parent = nullptr);

    void setLights(const QList<Light *> &lights) { m_toRead = lights; }
    QList<Light *> lights() const;

    void startReading();
    void cancelReading();
    void retryUnfinished();
    bool isReading() const { return m_reader->isRunning(); }

    LightDataReader *reader() const { return m_reader; }
    DiscoveredLightModel *lightModel() const { return m_lights; }
    QProgressBar *progressBar() const { return m_progress; }
    QPushButton *cancelButton() const { return m_cancel; }
    QPushButton *retryButton() const { return m_retry; }

    void initializePage() override;
    void cleanupPage() override;
    bool isComplete() const override;

private:
    void handleStateChanged(quint64 lightUid, LightDataReader::State state);
    void handleProgress(int done, int total);
    void handleFinished();
    void showFirstUnanswered();
    void updateButtons();
    void updateSummary();

    LightDataReader *m_reader = nullptr;
    DiscoveredLightModel *m_lights = nullptr;
    QList<Light *> m_toRead;
    QTreeView *m_view = nullptr;
    QProgressBar *m_progress = nullptr;
    QLabel *m_summary = nullptr;
    QPushButton *m_cancel = nullptr;
    QPushButton *m_retry = nullptr;
};
