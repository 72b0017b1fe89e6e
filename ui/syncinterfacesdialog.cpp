#include "ui/syncinterfacesdialog.h"

#include "discovery/discoveredmap.h"
#include "discovery/supplysearch.h"
#include "discovery/supplysync.h"
#include "model/datasupply.h"
#include "model/mapmodel.h"
#include "ui/listenprogressbar.h"
#include "ui/supplylistmodel.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHash>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>

SyncInterfacesDialog::SyncInterfacesDialog(MapModel &model, DiscoveryEngine &engine,
                                           QWidget *parent)
    : QDialog(parent), m_model(model), m_engine(engine), m_search(new SupplySearch(engine, this)),
      m_supplies(new SupplyListModel(this))
{
    setObjectName(QStringLiteral("m_syncInterfacesDialog"));
    setWindowTitle(tr("Sync Interfaces"));
    auto *intro = new QLabel(tr("The interfaces of the map are looked for on the network by "
                                "serial number; those that answer get their IP address, "
                                "version, universe and ports from the answer."),
                             this);
    intro->setWordWrap(true);
    m_progress = new ListenProgressBar(this);
    m_summary = new QLabel(this);
    m_summary->setObjectName(QStringLiteral("m_syncSummaryLabel"));
    m_summary->setWordWrap(true);
    m_view = new QTreeView(this);
    m_view->setObjectName(QStringLiteral("m_syncInterfacesView"));
    m_view->setRootIsDecorated(false);
    // Each change of a supply gets a line of its own in the status.
    m_view->setUniformRowHeights(false);
    m_view->setAlternatingRowColors(true);
    m_view->setModel(m_supplies);
    m_view->header()->setStretchLastSection(true);
    m_view->setColumnHidden(SupplyListModel::MacAddress, true);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    m_again = buttons->addButton(tr("Sync Again"), QDialogButtonBox::ActionRole);
    connect(m_again, &QPushButton::clicked, this, &SyncInterfacesDialog::start);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(intro);
    layout->addWidget(m_progress);
    layout->addWidget(m_summary);
    layout->addWidget(m_view, 1);
    layout->addWidget(buttons);
    resize(1040, 460);

    connect(m_search, &SupplySearch::finished, this, &SyncInterfacesDialog::handleSearchFinished);
}

bool SyncInterfacesDialog::isSearching() const
{
    return m_search->isRunning();
}

void SyncInterfacesDialog::start()
{
    m_supplies->clear();
    QList<DataSupply *> supplies = m_model.dataSupplies();
    std::sort(supplies.begin(), supplies.end(), [](const DataSupply *a, const DataSupply *b) {
        return a->name().localeAwareCompare(b->name()) < 0;
    });
    for (DataSupply *supply : qAsConst(supplies))
        m_supplies->addSupply(supply, false, tr("Looking..."));
    m_updated = 0;
    m_missing = 0;
    m_again->setEnabled(false);
    m_summary->setText(tr("Looking for %1 interfaces...").arg(supplies.size()));
    m_search->start(m_listenMs);
    m_progress->start(m_listenMs);
}

void SyncInterfacesDialog::handleSearchFinished()
{
    m_progress->finish();
    m_again->setEnabled(true);
    // Units sharing a serial answer from several addresses; each map supply takes the answer
    // that is its own.
    QHash<const DataSupply *, DataSupply *> answered;
    for (DataSupply *found : m_search->supplies()) {
        const DataSupply *mapSupply = mapSupplyMatching(m_model, m_engine, *found);
        if (mapSupply && !answered.contains(mapSupply))
            answered.insert(mapSupply, found);
    }
    for (int row = 0; row < m_supplies->rowCount(); ++row) {
        DataSupply *supply = m_supplies->supplyAt(row);
        if (!supply)
            continue;
        const DataSupply *found = answered.value(supply);
        if (!found) {
            ++m_missing;
            m_supplies->setStatus(row, tr("No answer"), true);
            continue;
        }
        const QStringList changes = syncSupplyFrom(*supply, *found, m_search->portsKnown(found));
        m_updated += !changes.isEmpty();
        m_supplies->setStatus(row, changes.isEmpty() ? tr("Up to date")
                                                     : tr("Updated:") + QLatin1Char('\n') +
                                                           changes.join(QLatin1Char('\n')));
        m_supplies->refreshRow(row);
    }
    for (int column = 0; column < SupplyListModel::Status; ++column)
        m_view->resizeColumnToContents(column);
    m_summary->setText(summaryText());
    if (m_updated > 0) {
        emit setDirty(true);
        emit statusMsg(tr("Updated %1 interfaces from the network.").arg(m_updated), 5000);
    }
    emit syncFinished();
}

QString SyncInterfacesDialog::summaryText() const
{
    const int total = m_supplies->rowCount();
    if (total == 0)
        return tr("The map holds no interfaces.");
    return tr("%1 of %2 interfaces answered: %3 updated, %4 up to date, %5 did not answer.")
        .arg(total - m_missing)
        .arg(total)
        .arg(m_updated)
        .arg(total - m_missing - m_updated)
        .arg(m_missing);
}

void SyncInterfacesDialog::done(int result)
{
    // Closing during the search applies nothing: half a search would call answering
    // supplies missing.
    disconnect(m_search, nullptr, this, nullptr);
    m_search->cancel();
    QDialog::done(result);
}
