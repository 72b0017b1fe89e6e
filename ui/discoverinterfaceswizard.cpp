#include "ui/discoverinterfaceswizard.h"

#include "discovery/discoveredmap.h"
#include "discovery/discoveryengine.h"
#include "discovery/supplysearch.h"
#include "model/datasupply.h"
#include "model/mapmodel.h"
#include "ui/gatedwizardpage.h"
#include "ui/listenprogressbar.h"
#include "ui/supplylistmodel.h"

#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QProgressDialog>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace {

constexpr int kDefaultListenMs = 2000;
// Adding this many supplies or more shows a progress dialog.
constexpr int kProgressFrom = 20;

constexpr int kStatusMessageMs = 10000;

} // namespace

DiscoverInterfacesWizard::DiscoverInterfacesWizard(MapModel &model, DiscoveryEngine &engine,
                                                   QWidget *parent)
    : QWizard(parent), m_model(model), m_engine(engine), m_search(new SupplySearch(engine, this)),
      m_supplies(new SupplyListModel(this))
{
    setObjectName(QStringLiteral("m_discoverInterfacesWizard"));
    setWindowTitle(tr("Discover Interfaces"));
    setWizardStyle(QWizard::ModernStyle);
    setOption(QWizard::NoBackButtonOnLastPage, false);
    m_supplies->setCheckable(true);
    setPage(IntroPage, buildIntroPage());
    setPage(ResultsPage, buildResultsPage());
    setButtonText(QWizard::FinishButton, tr("Add to Map"));
    resize(1000, 560);

    connect(m_search, &SupplySearch::supplyFound, this,
            &DiscoverInterfacesWizard::handleSupplyFound);
    connect(m_search, &SupplySearch::portsFound, this, &DiscoverInterfacesWizard::handlePortsFound);
    connect(m_search, &SupplySearch::duplicateSerialFound, this,
            &DiscoverInterfacesWizard::handleDuplicateSerial);
    connect(&m_engine, &DiscoveryEngine::sendFailed, this,
            &DiscoverInterfacesWizard::handleSendFailed);
    connect(m_search, &SupplySearch::finished, this,
            &DiscoverInterfacesWizard::handleSearchFinished);
}

DiscoverInterfacesWizard::~DiscoverInterfacesWizard() = default;

QWizardPage *DiscoverInterfacesWizard::buildIntroPage()
{
    auto *page = new QWizardPage(this);
    page->setTitle(tr("Discover Interfaces"));
    page->setSubTitle(tr("Find the interfaces (power/data supplies) on this network."));
    auto *text = new QLabel(
        tr("Every interface on the network is asked who it is and which output ports it has. "
           "Requests are repeated while listening, so that a lost answer does not hide an "
           "interface.\n\nYou choose which of the interfaces that answered are added to the "
           "map. Interfaces the map holds already are marked."),
        page);
    text->setWordWrap(true);
    m_listenSeconds = createListenTimeSpinBox(kDefaultListenMs, page);
    auto *form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    form->addRow(tr("Listen for answers for:"), m_listenSeconds);
    auto *layout = new QVBoxLayout(page);
    layout->addWidget(text);
    layout->addSpacing(12);
    layout->addLayout(form);
    layout->addStretch();
    return page;
}

QWizardPage *DiscoverInterfacesWizard::buildResultsPage()
{
    auto *page = new GatedWizardPage(this);
    page->setTitle(tr("Interfaces Found"));
    page->setSubTitle(tr("Check the interfaces to add to the map."));
    page->setGate([this] { return !m_search->isRunning(); });
    page->setOnInitialize([this] { search(); });
    m_view = new QTreeView(page);
    m_view->setObjectName(QStringLiteral("m_interfacesView"));
    m_view->setRootIsDecorated(false);
    m_view->setUniformRowHeights(true);
    m_view->setAlternatingRowColors(true);
    m_view->setModel(m_supplies);
    m_view->header()->setStretchLastSection(true);
    m_progress = new ListenProgressBar(page);
    m_summary = new QLabel(page);
    m_summary->setObjectName(QStringLiteral("m_summaryLabel"));
    m_searchAgain = new QPushButton(tr("Search Again"), page);
    m_searchAgain->setObjectName(QStringLiteral("m_searchAgainButton"));
    connect(m_searchAgain, &QPushButton::clicked, this, &DiscoverInterfacesWizard::search);
    connect(m_supplies, &SupplyListModel::checkedChanged, this,
            &DiscoverInterfacesWizard::updateSummary);
    auto *row = new QHBoxLayout;
    row->addWidget(m_progress, 1);
    row->addWidget(m_searchAgain);
    auto *layout = new QVBoxLayout(page);
    layout->addLayout(row);
    layout->addWidget(m_summary);
    layout->addWidget(m_view, 1);
    return page;
}

int DiscoverInterfacesWizard::listenMs() const
{
    return qRound(m_listenSeconds->value() * 1000);
}

void DiscoverInterfacesWizard::setListenMs(int ms)
{
    m_listenSeconds->setMinimum(qMin(m_listenSeconds->minimum(), ms / 1000.0));
    m_listenSeconds->setValue(ms / 1000.0);
}

bool DiscoverInterfacesWizard::isSearching() const
{
    return m_search->isRunning();
}

void DiscoverInterfacesWizard::search()
{
    // A new discovery forgets (and deletes) what the last one found and nobody took.
    m_supplies->clear();
    m_sendFailure.clear();
    m_searchAgain->setEnabled(false);
    m_search->start(listenMs());
    m_progress->start(listenMs());
    updateSummary();
    if (auto *page = qobject_cast<GatedWizardPage *>(this->page(ResultsPage)))
        page->recheck();
}

bool DiscoverInterfacesWizard::isInMap(const DataSupply *supply) const
{
    return supply && mapSupplyMatching(m_model, m_engine, *supply);
}

void DiscoverInterfacesWizard::handleSupplyFound(DataSupply *supply)
{
    const bool inMap = isInMap(supply);
    const int row = m_supplies->addSupply(supply, !inMap, inMap ? tr("In map") : tr("New"));
    m_supplies->setPortsKnown(row, m_search->portsKnown(supply));
    m_view->resizeColumnToContents(SupplyListModel::Name);
    updateSummary();
}

void DiscoverInterfacesWizard::handlePortsFound(DataSupply *supply)
{
    const int row = m_supplies->rowOf(supply);
    m_supplies->setPortsKnown(row, true);
    m_supplies->refreshRow(row);
}

void DiscoverInterfacesWizard::handleDuplicateSerial(DataSupply *supply, DataSupply *earlier)
{
    // Both stay supplies of their own; the user is told because one of them usually needs
    // its serial set before the map can tell them apart in later runs.
    const QString serial = SupplyListModel::serialText(supply->serialNumber());
    for (DataSupply *row : {earlier, supply}) {
        QStringList others;
        for (const DataSupply *other : m_search->sharingSerial(row))
            others << other->ipAddress().toString();
        const QString held = isInMap(row) ? tr("In map") : tr("New");
        m_supplies->setStatus(m_supplies->rowOf(row),
                              tr("%1; serial %2 also at %3")
                                  .arg(held, serial, others.join(QStringLiteral(", "))),
                              true);
    }
    emit statusMsg(tr("Interfaces at %1 and %2 report the same serial number %3; "
                      "each is kept as its own interface. Set the serial of one of them.")
                       .arg(earlier->ipAddress().toString(), supply->ipAddress().toString(),
                            serial),
                   kStatusMessageMs);
}

void DiscoverInterfacesWizard::handleSendFailed(const QString &message)
{
    // The engine is shared; only what this wizard's search sent concerns it.
    if (!m_search->isRunning())
        return;
    m_sendFailure = message;
    emit statusMsg(message, kStatusMessageMs);
    updateSummary();
}

void DiscoverInterfacesWizard::handleSearchFinished()
{
    m_progress->finish();
    m_searchAgain->setEnabled(true);
    for (int column = 0; column < SupplyListModel::Status; ++column)
        m_view->resizeColumnToContents(column);
    updateSummary();
    if (auto *page = qobject_cast<GatedWizardPage *>(this->page(ResultsPage)))
        page->recheck();
}

void DiscoverInterfacesWizard::updateSummary()
{
    if (!m_summary)
        return;
    const int found = m_supplies->rowCount();
    int inMap = 0;
    int chosen = 0;
    for (int row = 0; row < found; ++row) {
        const DataSupply *supply = m_supplies->supplyAt(row);
        const bool held = isInMap(supply);
        inMap += held;
        chosen += !held && m_supplies->isChecked(row);
    }
    const QString state = m_search->isRunning() ? tr("Searching... ") : QString();
    if (!m_sendFailure.isEmpty() && found == 0)
        m_summary->setText(state + m_sendFailure);
    else if (found == 0 && !m_search->isRunning())
        m_summary->setText(tr("No interface answered. Check the network cable and that this "
                              "computer is on the interfaces' network, then search again."));
    else
        m_summary->setText(
            state +
            (found == 1 ? tr("1 interface answered") : tr("%1 interfaces answered").arg(found)) +
            tr(", %1 already in the map, %2 chosen to add.").arg(inMap).arg(chosen));
}

int DiscoverInterfacesWizard::addChosenToMap()
{
    QList<DataSupply *> chosen;
    for (DataSupply *supply : m_supplies->checkedSupplies()) {
        if (!isInMap(supply))
            chosen << supply;
    }
    std::unique_ptr<QProgressDialog> progress;
    if (chosen.size() >= kProgressFrom) {
        progress = std::make_unique<QProgressDialog>(tr("Adding interfaces..."), QString(), 0,
                                                     chosen.size(), this);
        progress->setWindowModality(Qt::WindowModal);
        progress->setMinimumDuration(300);
    }
    const int step = qMax(chosen.size() / 100, 1);
    int added = 0;
    for (int i = 0; i < chosen.size(); ++i) {
        added += addDiscoveredToMap(m_model, m_engine, {chosen.at(i)}, {}).suppliesAdded;
        if (progress && (i % step == 0 || i + 1 == chosen.size()))
            progress->setValue(i + 1);
    }
    if (added > 0) {
        emit setDirty(true);
        emit statusMsg(added == 1 ? tr("Added 1 interface to the map.")
                                  : tr("Added %1 interfaces to the map.").arg(added),
                       5000);
    }
    return added;
}

void DiscoverInterfacesWizard::done(int result)
{
    m_search->cancel();
    if (result == QDialog::Accepted)
        addChosenToMap();
    QWizard::done(result);
}
