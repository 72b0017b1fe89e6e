#include "ui/lightdiscoverpage.h"

#include "discovery/discoveryengine.h"
#include "discovery/lightsearch.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "ui/discoveredlightmodel.h"
#include "ui/listenprogressbar.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>

LightDiscoverPage::LightDiscoverPage(MapModel &model, DiscoveryEngine &engine, QWidget *parent)
    : QWizardPage(parent), m_model(model), m_engine(engine),
      m_search(new LightSearch(engine, this)), m_lights(new DiscoveredLightModel(model, this))
{
    setTitle(tr("Discover Lights"));
    setSubTitle(tr("The ports of the chosen interfaces are scanned for lights."));
    m_view = new QTreeView(this);
    m_view->setObjectName(QStringLiteral("m_discoveredLightsView"));
    m_view->setRootIsDecorated(false);
    m_view->setUniformRowHeights(true);
    m_view->setAlternatingRowColors(true);
    m_view->setModel(m_lights);
    m_view->setColumnHidden(DiscoveredLightModel::Status, true);
    m_view->setColumnHidden(DiscoveredLightModel::DmxAddress, true);
    m_view->header()->setStretchLastSection(true);
    m_view->setColumnWidth(DiscoveredLightModel::Serial, 150);
    m_view->setColumnWidth(DiscoveredLightModel::Interface, 160);
    m_view->setColumnWidth(DiscoveredLightModel::Port, 50);
    m_view->setColumnWidth(DiscoveredLightModel::Device, 220);
    m_progress = new ListenProgressBar(this);
    m_summary = new QLabel(this);
    m_summary->setObjectName(QStringLiteral("m_discoverSummaryLabel"));
    m_summary->setWordWrap(true);
    m_scanAgain = new QPushButton(tr("Scan Again"), this);
    m_scanAgain->setObjectName(QStringLiteral("m_scanAgainButton"));
    connect(m_scanAgain, &QPushButton::clicked, this, &LightDiscoverPage::scan);
    auto *row = new QHBoxLayout;
    row->addWidget(m_progress, 1);
    row->addWidget(m_scanAgain);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(row);
    layout->addWidget(m_summary);
    layout->addWidget(m_view, 1);

    connect(m_search, &LightSearch::lightFound, this, &LightDiscoverPage::handleLightFound);
    connect(m_search, &LightSearch::finished, this, &LightDiscoverPage::handleFinished);
    connect(&m_engine, &DiscoveryEngine::sendFailed, this, &LightDiscoverPage::handleSendFailed);
}

void LightDiscoverPage::initializePage()
{
    scan();
}

void LightDiscoverPage::cleanupPage()
{
    // Going back stops what this page started.
    cancel();
}

bool LightDiscoverPage::isComplete() const
{
    return !m_search->isRunning() && m_lights->rowCount() > 0;
}

bool LightDiscoverPage::isScanning() const
{
    return m_search->isRunning();
}

void LightDiscoverPage::scan()
{
    m_search->cancel();
    // The rows point at lights the engine is about to forget.
    m_lights->clear();
    m_countPerSupply.clear();
    m_sendFailure.clear();
    m_engine.forgetLights();
    m_scanAgain->setEnabled(false);
    m_search->start(m_supplies, m_listenMs);
    m_progress->start(m_listenMs);
    updateSummary();
    emit completeChanged();
}

void LightDiscoverPage::cancel()
{
    m_search->cancel();
}

QList<Light *> LightDiscoverPage::lights() const
{
    return m_lights->lights();
}

void LightDiscoverPage::handleLightFound(Light *light)
{
    m_lights->addLight(light);
    ++m_countPerSupply[light->dataSupply()];
    updateSummary();
}

void LightDiscoverPage::handleSendFailed(const QString &message)
{
    // The engine is shared; only what this page's scan sent concerns it.
    if (!m_search->isRunning())
        return;
    m_sendFailure = message;
    emit statusMsg(message, 10000);
    updateSummary();
}

void LightDiscoverPage::handleFinished()
{
    m_progress->finish();
    m_scanAgain->setEnabled(true);
    updateSummary();
    emit completeChanged();
}

QString LightDiscoverPage::summaryText() const
{
    QStringList parts;
    for (const DataSupply *supply : m_supplies) {
        const int count = m_countPerSupply.value(supply->uid());
        QStringList silent;
        if (!m_search->isRunning()) {
            for (int port : m_search->unansweredPorts(supply))
                silent << QString::number(supply->port(port).number);
        }
        const QString unanswered =
            silent.isEmpty()
                ? QString()
                : tr(" (port %1 did not answer)").arg(silent.join(QStringLiteral(", ")));
        if (count > 0)
            parts << (count == 1 ? tr("%1: 1 light").arg(supply->name())
                                 : tr("%1: %2 lights").arg(supply->name()).arg(count))
                         + unanswered;
        else if (!m_search->isRunning())
            parts << tr("%1: no answer").arg(supply->name());
        else
            parts << tr("%1: waiting").arg(supply->name());
    }
    const int found = m_lights->rowCount();
    const QString lights = found == 1 ? tr("1 light") : tr("%1 lights").arg(found);
    const QString head = m_search->isRunning() ? tr("Scanning... %1 found so far.").arg(lights)
                                               : tr("%1 found.").arg(lights);
    const QString failure = m_sendFailure.isEmpty() ? QString() : QLatin1Char('\n') + m_sendFailure;
    return head + QLatin1Char('\n') + parts.join(QStringLiteral("; ")) + failure;
}

void LightDiscoverPage::updateSummary()
{
    m_summary->setText(summaryText());
}
