#include "ui/deviceview.h"

#include "devices/devicedictionary.h"
#include "devices/devicepresentation.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QHeaderView>
#include <QSet>
#include <QTimer>

DeviceView::DeviceView(MapModel &model, QWidget *parent)
    : DeviceView(model, *DeviceDictionary::instance(), parent)
{
}

DeviceView::DeviceView(MapModel &model, const DeviceDictionary &dictionary, QWidget *parent)
    : QTreeWidget(parent), m_model(model), m_dictionary(dictionary)
{
    setObjectName(QStringLiteral("m_deviceView"));
    setColumnCount(ColumnCount);
    setHeaderLabels(
        {QStringLiteral("Device"), QStringLiteral("Channel"), QStringLiteral("Interface")});
    headerItem()->setTextAlignment(ChannelColumn, Qt::AlignCenter);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setUniformRowHeights(true);
    setAlternatingRowColors(true);
    setAllColumnsShowFocus(true);
    setSortingEnabled(true);
    sortByColumn(LabelColumn, Qt::AscendingOrder);
    m_kinds.reserve(64);
    m_lightItems.reserve(MapModel::kReservedEntries);

    m_rebuildTimer = new QTimer(this);
    m_rebuildTimer->setSingleShot(true);
    m_rebuildTimer->setInterval(0);
    connect(m_rebuildTimer, &QTimer::timeout, this, &DeviceView::rebuild);

    connect(&m_model, &MapModel::newLight, this, &DeviceView::scheduleRebuild);
    connect(&m_model, &MapModel::deletedLight, this, &DeviceView::scheduleRebuild);
    connect(&m_model, &MapModel::clearedMap, this, &DeviceView::scheduleRebuild);
    connect(&m_model, &MapModel::updatedLight, this, &DeviceView::handleUpdatedLight);
    connect(&m_model, &MapModel::newDataSupply, this, &DeviceView::handleUpdatedDataSupply);
    connect(&m_model, &MapModel::updatedDataSupply, this, &DeviceView::handleUpdatedDataSupply);
    connect(this, &QTreeWidget::itemSelectionChanged, this,
            &DeviceView::handleDeviceSelectionChanged);
    rebuild();
}

bool DeviceView::isRebuildPending() const
{
    return m_rebuildTimer->isActive() || m_staleWhileHidden;
}

void DeviceView::setRebuildOnlyWhenShown(bool onlyWhenShown)
{
    m_rebuildOnlyWhenShown = onlyWhenShown;
    if (!onlyWhenShown && m_staleWhileHidden) {
        m_staleWhileHidden = false;
        m_rebuildTimer->start();
    }
}

void DeviceView::scheduleRebuild()
{
    if (m_rebuildOnlyWhenShown && !isVisible()) {
        m_rebuildTimer->stop();
        m_staleWhileHidden = true;
        return;
    }
    m_rebuildTimer->start();
}

void DeviceView::showEvent(QShowEvent *event)
{
    QTreeWidget::showEvent(event);
    if (m_staleWhileHidden) {
        m_staleWhileHidden = false;
        m_rebuildTimer->start();
    }
}

void DeviceView::rebuild()
{
    m_rebuildTimer->stop();
    m_staleWhileHidden = false;
    QSet<QString> expanded;
    for (auto it = m_kinds.cbegin(); it != m_kinds.cend(); ++it) {
        if (it.value()->isExpanded())
            expanded.insert(it.key());
    }
    const bool firstFill = m_kinds.isEmpty();
    const bool sorting = isSortingEnabled();
    setSortingEnabled(false);
    {
        // One selection report for the whole rebuild, not one per item.
        const QSignalBlocker blocker(this);
        clear();
        m_kinds.clear();
        m_lightItems.clear();
        const QVector<DevicePresentation::DeviceViewKind> kinds =
            DevicePresentation::groupLightsByKind(m_model, m_dictionary);
        QList<QTreeWidgetItem *> topLevel;
        for (const DevicePresentation::DeviceViewKind &kind : kinds) {
            auto *kindItem = new QTreeWidgetItem(QStringList{kind.name});
            QList<QTreeWidgetItem *> children;
            children.reserve(kind.rows.size());
            for (const DevicePresentation::DeviceViewRow &row : kind.rows) {
                auto *child = new QTreeWidgetItem;
                child->setText(LabelColumn, row.label);
                // A number, so that sorting by this column counts rather than spells.
                child->setData(ChannelColumn, Qt::DisplayRole, row.displayedChannel);
                child->setTextAlignment(ChannelColumn, Qt::AlignCenter);
                child->setText(SupplyColumn, row.supplyName);
                child->setData(LabelColumn, UidRole, row.lightUid);
                m_lightItems.insert(row.lightUid, child);
                children.append(child);
            }
            kindItem->addChildren(children);
            m_kinds.insert(kind.name, kindItem);
            topLevel.append(kindItem);
        }
        addTopLevelItems(topLevel);
        const bool expandAll = m_lightItems.size() <= kAutoExpandLightCount;
        for (QTreeWidgetItem *item : qAsConst(topLevel)) {
            item->setSelected(true);
            item->setExpanded(firstFill ? expandAll
                                        : expanded.contains(item->text(LabelColumn)) || expandAll);
        }
    }
    setSortingEnabled(sorting);
    resizeColumnToContents(LabelColumn);
    // A little air between a label and its channel.
    setColumnWidth(LabelColumn, columnWidth(LabelColumn) + 2 * fontMetrics().averageCharWidth());
    handleDeviceSelectionChanged();
}

QString DeviceView::kindOf(quint64 lightUid) const
{
    const Light *light = m_model.light(lightUid);
    return light ? DevicePresentation::deviceViewKind(m_dictionary, light->serialNumber())
                 : QString();
}

void DeviceView::fillLightItem(QTreeWidgetItem *item, quint64 uid) const
{
    const Light *light = m_model.light(uid);
    if (!light)
        return;
    const DataSupply *supply = m_model.dataSupply(light->dataSupply());
    item->setText(LabelColumn, light->name());
    item->setData(ChannelColumn, Qt::DisplayRole, light->channel() + 1);
    item->setText(SupplyColumn, supply ? supply->name() : QString());
}

void DeviceView::handleUpdatedLight(quint64 uid)
{
    if (isRebuildPending())
        return;
    QTreeWidgetItem *item = m_lightItems.value(uid);
    if (!item || !item->parent() || item->parent()->text(LabelColumn) != kindOf(uid)) {
        // A new serial may move the light to another kind.
        scheduleRebuild();
        return;
    }
    fillLightItem(item, uid);
}

void DeviceView::handleUpdatedDataSupply(quint64 uid)
{
    if (isRebuildPending())
        return;
    const DataSupply *supply = m_model.dataSupply(uid);
    if (!supply) {
        // Taken out of the map: its lights' rows lose the name.
        scheduleRebuild();
        return;
    }
    // Supplies report every light added to them; only a new name concerns this view.
    for (quint64 lightUid : supply->lights()) {
        QTreeWidgetItem *item = m_lightItems.value(lightUid);
        if (!item)
            continue;
        if (item->text(SupplyColumn) == supply->name())
            return;
        item->setText(SupplyColumn, supply->name());
    }
}

QList<quint64> DeviceView::selectedLightUids() const
{
    QList<quint64> uids;
    QSet<quint64> seen;
    auto add = [&uids, &seen](const QTreeWidgetItem *item) {
        const quint64 uid = item->data(LabelColumn, UidRole).toULongLong();
        if (!seen.contains(uid)) {
            seen.insert(uid);
            uids.append(uid);
        }
    };
    for (int k = 0; k < topLevelItemCount(); ++k) {
        const QTreeWidgetItem *kind = topLevelItem(k);
        for (int c = 0; c < kind->childCount(); ++c) {
            const QTreeWidgetItem *child = kind->child(c);
            if (kind->isSelected() || child->isSelected())
                add(child);
        }
    }
    return uids;
}

void DeviceView::handleDeviceSelectionChanged()
{
    emit updatedSelection(selectedLightUids());
}
