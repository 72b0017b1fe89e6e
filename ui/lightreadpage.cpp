#include "ui/lightreadpage.h"

#include "discovery/discoveryengine.h"
#include "model/light.h"
#include "ui/discoveredlightmodel.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace {

// Lights asked at once. An RDM request costs a short pause on the event loop, so a small
// window keeps each burst short enough not to be felt.
constexpr int kReadWindow = 16;
constexpr int kRequestTimeoutMs = 300;
constexpr int kMaxAttempts = 6;

} // namespace

LightReadPage::LightReadPage(MapModel &model, DiscoveryEngine &engine, QWidget *parent)
    : QWizardPage(parent), m_reader(new LightDataReader(engine, this)),
      m_lights(new DiscoveredLightModel(model, this))
{
    setTitle(tr("Read Lights"));
    setSubTitle(tr("The DMX address and settings stored in each chosen light are read."));
    m_reader->setWindow(kReadWindow);
    m_reader->setRequestTimeoutMs(kRequestTimeoutMs);
    m_reader->setMaxAttempts(kMaxAttempts);

    m_view = new QTreeView(this);
    m_view->setObjectName(QStringLiteral("m_readLightsView"));
    m_view->setRootIsDecorated(false);
    m_view->setUniformRowHeights(true);
    m_view->setAlternatingRowColors(true);
    m_view->setModel(m_lights);
    m_view->header()->setStretchLastSection(true);
    m_view->setColumnWidth(DiscoveredLightModel::Serial, 150);
    m_view->setColumnWidth(DiscoveredLightModel::Interface, 150);
    m_view->setColumnWidth(DiscoveredLightModel::Port, 50);
    m_view->setColumnWidth(DiscoveredLightModel::Device, 200);
    m_view->setColumnWidth(DiscoveredLightModel::Kind, 70);
    m_view->setColumnWidth(DiscoveredLightModel::Status, 100);
    m_progress = new QProgressBar(this);
    m_progress->setObjectName(QStringLiteral("m_readProgressBar"));
    m_progress->setFormat(QStringLiteral("%v / %m"));
    m_summary = new QLabel(this);
    m_summary->setObjectName(QStringLiteral("m_readSummaryLabel"));
    m_summary->setWordWrap(true);
    m_cancel = new QPushButton(tr("Cancel Reading"), this);
    m_cancel->setObjectName(QStringLiteral("m_cancelReadingButton"));
    m_retry = new QPushButton(tr("Retry Unfinished"), this);
    m_retry->setObjectName(QStringLiteral("m_retryUnfinishedButton"));
    connect(m_cancel, &QPushButton::clicked, this, &LightReadPage::cancelReading);
    connect(m_retry, &QPushButton::clicked, this, &LightReadPage::retryUnfinished);
    auto *row = new QHBoxLayout;
    row->addWidget(m_progress, 1);
    row->addWidget(m_cancel);
    row->addWidget(m_retry);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(row);
    layout->addWidget(m_summary);
    layout->addWidget(m_view, 1);

    connect(m_reader, &LightDataReader::lightStateChanged, this,
            &LightReadPage::handleStateChanged);
    connect(m_reader, &LightDataReader::progress, this, &LightReadPage::handleProgress);
    connect(m_reader, &LightDataReader::finished, this, &LightReadPage::handleFinished);
}

QList<Light *> LightReadPage::lights() const
{
    return m_lights->lights();
}

void LightReadPage::initializePage()
{
    startReading();
}

void LightReadPage::cleanupPage()
{
    // Going back stops what this page started.
    cancelReading();
}

bool LightReadPage::isComplete() const
{
    return !m_reader->isRunning();
}

void LightReadPage::startReading()
{
    m_reader->cancel();
    m_lights->clear();
    m_lights->addLights(m_toRead);
    m_progress->setRange(0, qMax(1, m_toRead.size()));
    m_progress->setValue(0);
    m_reader->start(m_toRead);
    updateButtons();
    updateSummary();
    emit completeChanged();
}

void LightReadPage::cancelReading()
{
    m_reader->cancel();
    m_lights->refresh();
    showFirstUnanswered();
    updateButtons();
    updateSummary();
}

void LightReadPage::retryUnfinished()
{
    if (m_reader->isRunning() || m_reader->failedCount() == 0)
        return;
    m_reader->retryUnfinished();
    updateButtons();
    updateSummary();
    emit completeChanged();
}

void LightReadPage::handleStateChanged(quint64 lightUid, LightDataReader::State state)
{
    m_lights->setReadState(lightUid, state);
}

void LightReadPage::handleProgress(int done, int total)
{
    m_progress->setRange(0, qMax(1, total));
    m_progress->setValue(done);
    updateSummary();
}

void LightReadPage::handleFinished()
{
    m_lights->refresh();
    showFirstUnanswered();
    updateButtons();
    updateSummary();
    emit completeChanged();
}

void LightReadPage::showFirstUnanswered()
{
    // The lights that need attention, not the long list of those that are fine.
    for (int row = 0; row < m_lights->rowCount(); ++row) {
        const Light *light = m_lights->lightAt(row);
        const auto state = light ? m_reader->state(light->uid()) : LightDataReader::State::Read;
        if (state == LightDataReader::State::NoAnswer
            || state == LightDataReader::State::Incomplete) {
            m_view->scrollTo(m_lights->index(row, 0), QAbstractItemView::PositionAtTop);
            return;
        }
    }
}

void LightReadPage::updateButtons()
{
    m_cancel->setEnabled(m_reader->isRunning());
    m_retry->setEnabled(!m_reader->isRunning() && m_reader->failedCount() > 0);
}

void LightReadPage::updateSummary()
{
    const int total = m_reader->total();
    const int read = m_reader->readCount();
    const int failed = m_reader->failedCount();
    QString text = tr("%1 of %2 read, %3 without answer").arg(read).arg(total).arg(failed);
    if (const int incomplete = m_reader->incompleteCount())
        text += tr(", %1 without a DMX address").arg(incomplete);
    if (m_reader->isRunning())
        text = tr("Reading... ") + text + QLatin1Char('.');
    else if (failed > 0)
        text += tr(". Lights without an answer are added without a DMX address; "
                   "\"Retry Unfinished\" asks them again.");
    else
        text += QLatin1Char('.');
    m_summary->setText(text);
}
