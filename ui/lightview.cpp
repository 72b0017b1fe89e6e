#include "ui/lightview.h"

#include "ui/lighttreemodel.h"
#include "ui/maptreeview.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QHash>
#include <QHeaderView>
#include <QMenu>

#include <algorithm>
#include <utility>

LightView::LightView(MapModel &model, QWidget *parent)
    : QTreeView(parent), m_model(new LightTreeModel(model, this))
{
    setObjectName(QStringLiteral("m_lightView"));
    setModel(m_model);
    MapTreeView::configure(*this);
    // The name takes whatever room the pane has; the other columns fit their contents.
    header()->setSectionResizeMode(QHeaderView::Interactive);
    header()->setSectionResizeMode(LightTreeModel::NameColumn, QHeaderView::Stretch);
    const QFontMetrics metrics = header()->fontMetrics();
    auto fit = [&metrics](const QString &header, const QString &widest) {
        return std::max(metrics.horizontalAdvance(header), metrics.horizontalAdvance(widest)) +
               2 * metrics.averageCharWidth();
    };
    header()->resizeSection(LightTreeModel::SerialColumn,
                            fit(QStringLiteral("Serial"), QStringLiteral("00000000")));
    header()->resizeSection(LightTreeModel::PortColumn,
                            fit(QStringLiteral("Port"), QStringLiteral("00")));
    header()->resizeSection(LightTreeModel::DmxAddressColumn,
                            fit(QStringLiteral("DMX"), QStringLiteral("000")));

    connect(m_model, &LightTreeModel::setDirty, this, &LightView::setDirty);
    connect(m_model, &QAbstractItemModel::rowsInserted, this, &LightView::handleRowsInserted);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &LightView::updatedSelection);
    connect(m_model, &QAbstractItemModel::modelReset, this, &LightView::updatedSelection);

    m_editLightsAction = new QAction(QStringLiteral("Edit Light(s)..."), this);
    m_editLightsAction->setObjectName(QStringLiteral("m_editLightsAction"));
    connect(m_editLightsAction, &QAction::triggered, this, [this] {
        const QList<quint64> lights = selectedLightUids();
        if (!lights.isEmpty())
            emit editLightsRequested(lights);
    });
    m_editInterfaceAction = new QAction(QStringLiteral("Edit Interface..."), this);
    m_editInterfaceAction->setObjectName(QStringLiteral("m_editInterfaceAction"));
    m_editInterfaceAction->setEnabled(false);
    connect(m_editInterfaceAction, &QAction::triggered, this,
            &LightView::handleEditInterfaceAction);
    connect(selectionModel(), &QItemSelectionModel::currentChanged, this,
            &LightView::updateEditInterfaceAction);
    connect(m_model, &QAbstractItemModel::modelReset, this, &LightView::updateEditInterfaceAction);
    // A double-click on a supply opens its editor; the arrow still opens and closes it.
    setExpandsOnDoubleClick(false);
    connect(this, &QAbstractItemView::doubleClicked, this, &LightView::handleDoubleClicked);
}

bool LightView::isSupplyRow(const QModelIndex &index) const
{
    return m_model->rowKind(index) == LightTreeModel::RowKind::DataSupply;
}

void LightView::updateEditInterfaceAction()
{
    m_editInterfaceAction->setEnabled(isSupplyRow(currentIndex()));
}

void LightView::handleEditInterfaceAction()
{
    if (isSupplyRow(currentIndex()))
        emit editDataSupplyRequested(m_model->uidAt(currentIndex()));
}

void LightView::handleDoubleClicked(const QModelIndex &index)
{
    if (isSupplyRow(index))
        emit editDataSupplyRequested(m_model->uidAt(index));
    else if (m_model->rowKind(index) == LightTreeModel::RowKind::Light)
        emit editLightsRequested({m_model->uidAt(index)});
}

void LightView::contextMenuEvent(QContextMenuEvent *event)
{
    // The scroll area hands the event on in viewport coordinates.
    const QModelIndex index = indexAt(event->pos());
    if (!index.isValid())
        return;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (isSupplyRow(index)) {
        selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect |
                                                     QItemSelectionModel::Rows);
        menu->addAction(m_editInterfaceAction);
    } else {
        // A right-click outside the selection edits the light under the pointer alone.
        if (!selectionModel()->isRowSelected(index.row(), index.parent()))
            selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect |
                                                         QItemSelectionModel::Rows);
        menu->addAction(m_editLightsAction);
    }
    menu->popup(event->globalPos());
}

QList<quint64> LightView::selectedLightUids() const
{
    const QModelIndexList rows = MapTreeView::inTreeOrder(selectionModel()->selectedRows());
    QList<quint64> uids;
    for (const QModelIndex &row : rows) {
        if (m_model->rowKind(row) == LightTreeModel::RowKind::Light)
            uids.append(m_model->uidAt(row));
    }
    return uids;
}

QList<quint64> LightView::selectedDataSupplyUids() const
{
    const QModelIndexList rows = MapTreeView::inTreeOrder(selectionModel()->selectedRows());
    QList<quint64> uids;
    for (const QModelIndex &row : rows) {
        if (m_model->rowKind(row) == LightTreeModel::RowKind::DataSupply)
            uids.append(m_model->uidAt(row));
    }
    return uids;
}

void LightView::selectDataSupply(quint64 uid)
{
    const QModelIndex index = m_model->indexForDataSupply(uid);
    if (!index.isValid())
        return;
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect |
                                                 QItemSelectionModel::Rows);
    scrollTo(index);
}

void LightView::showSelectedLights(const QList<quint64> &uids)
{
    // Rows of one parent in runs, so that selecting thousands of lights takes few ranges.
    QHash<QModelIndex, QVector<int>> rowsByParent;
    for (const quint64 uid : uids) {
        const QModelIndex index = m_model->indexForLight(uid);
        if (index.isValid())
            rowsByParent[index.parent()].append(index.row());
    }
    QItemSelection wanted;
    const int lastColumn = m_model->columnCount() - 1;
    for (auto it = rowsByParent.begin(); it != rowsByParent.end(); ++it) {
        QVector<int> &rows = it.value();
        std::sort(rows.begin(), rows.end());
        for (int i = 0; i < rows.size();) {
            int j = i;
            while (j + 1 < rows.size() && rows.at(j + 1) == rows.at(j) + 1)
                ++j;
            wanted.select(m_model->index(rows.at(i), 0, it.key()),
                          m_model->index(rows.at(j), lastColumn, it.key()));
            i = j + 1;
        }
    }
    selectionModel()->select(wanted, QItemSelectionModel::ClearAndSelect);
}

QList<int> LightView::columnWidths() const
{
    QList<int> widths;
    for (int column = 0; column < header()->count(); ++column)
        widths.append(header()->sectionSize(column));
    return widths;
}

void LightView::setColumnWidths(const QList<int> &widths)
{
    for (int column = 0; column < widths.size() && column < header()->count(); ++column) {
        if (widths.at(column) > 0)
            header()->resizeSection(column, widths.at(column));
    }
}

void LightView::handleRowsInserted(const QModelIndex &parent, int first, int last)
{
    // Open a supply when it receives its first lights, unless the map is so large that a
    // wall of rows would hide the other supplies.
    if (parent.isValid() && m_model->rowCount(parent) == last - first + 1 &&
        m_model->lightRowCount() <= kAutoExpandLightCount)
        expand(parent);
}
