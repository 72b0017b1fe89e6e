#include "ui/groupeditordialog.h"

#include "effects/selectioneffect.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSet>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kUidRole = Qt::UserRole + 1;

QPushButton *button(const QString &text, const QString &name, QWidget *parent)
{
    auto *b = new QPushButton(text, parent);
    b->setObjectName(name);
    return b;
}

} // namespace

GroupEditorDialog::GroupEditorDialog(const MapModel &model, const GroupState &group,
                                     SelectionSource selection, QWidget *parent)
    : QDialog(parent), m_model(model), m_original(group), m_selection(std::move(selection))
{
    setObjectName(QStringLiteral("GroupEditorDialog"));
    setWindowTitle(QStringLiteral("Group Editor"));
    auto *outer = new QVBoxLayout(this);
    auto *form = new QFormLayout;
    m_nameEdit = new QLineEdit(group.name, this);
    m_nameEdit->setObjectName(QStringLiteral("m_nameLineEdit"));
    m_nameEdit->selectAll();
    form->addRow(QStringLiteral("Name:"), m_nameEdit);
    m_typeCombo = new QComboBox(this);
    m_typeCombo->setObjectName(QStringLiteral("m_typeComboBox"));
    // A group made from a canvas selection is plain too; it keeps its own number.
    const int plain = group.type == Group::SelectionType ? Group::SelectionType : Group::PlainType;
    m_typeCombo->addItem(QStringLiteral("Plain"), plain);
    m_typeCombo->addItem(QStringLiteral("Synchronised"), int(Group::SynchronisedType));
    m_typeCombo->addItem(QStringLiteral("Chasing"), int(Group::ChasingType));
    m_typeCombo->setItemData(0, QStringLiteral("A named set of lights."), Qt::ToolTipRole);
    m_typeCombo->setItemData(1, QStringLiteral("The members show the same thing at the same time."),
                             Qt::ToolTipRole);
    m_typeCombo->setItemData(2,
                             QStringLiteral("Highlighting the group steps through its "
                                            "members in their order."),
                             Qt::ToolTipRole);
    const int typeIndex = m_typeCombo->findData(group.type);
    m_typeCombo->setCurrentIndex(typeIndex >= 0 ? typeIndex : 0);
    form->addRow(QStringLiteral("Type:"), m_typeCombo);
    outer->addLayout(form);

    auto *membersBox = new QGroupBox(QStringLiteral("Members, in order"), this);
    auto *membersLayout = new QHBoxLayout(membersBox);
    m_memberList = new QListWidget(membersBox);
    m_memberList->setObjectName(QStringLiteral("m_memberList"));
    m_memberList->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_memberList->setDragDropMode(QAbstractItemView::InternalMove);
    m_memberList->setDefaultDropAction(Qt::MoveAction);
    m_memberList->setUniformItemSizes(true);
    for (const quint64 uid : group.members)
        addMemberItem(uid);
    membersLayout->addWidget(m_memberList, 1);
    auto *buttons = new QVBoxLayout;
    auto *up = button(QStringLiteral("Move &Up"), QStringLiteral("m_moveUpButton"), membersBox);
    auto *down =
        button(QStringLiteral("Move &Down"), QStringLiteral("m_moveDownButton"), membersBox);
    auto *reverse =
        button(QStringLiteral("Re&verse"), QStringLiteral("m_reverseButton"), membersBox);
    auto *remove = button(QStringLiteral("&Remove"), QStringLiteral("m_removeButton"), membersBox);
    m_addSelectionButton = button(QStringLiteral("&Add Selection"),
                                  QStringLiteral("m_addSelectionButton"), membersBox);
    m_addSelectionButton->setToolTip(
        QStringLiteral("Adds the lights selected on the canvas or in the panes that are not "
                       "members yet, at the end."));
    m_addSelectionButton->setEnabled(bool(m_selection));
    for (QPushButton *b : {up, down, reverse, remove, m_addSelectionButton})
        buttons->addWidget(b);
    buttons->addStretch();
    m_memberCount = new QLabel(membersBox);
    buttons->addWidget(m_memberCount);
    membersLayout->addLayout(buttons);
    outer->addWidget(membersBox, 1);
    connect(up, &QPushButton::clicked, this, [this] { moveSelectedMembers(-1); });
    connect(down, &QPushButton::clicked, this, [this] { moveSelectedMembers(1); });
    connect(reverse, &QPushButton::clicked, this, &GroupEditorDialog::reverseMembers);
    connect(remove, &QPushButton::clicked, this, &GroupEditorDialog::removeSelectedMembers);
    connect(m_addSelectionButton, &QPushButton::clicked, this, &GroupEditorDialog::addSelection);
    connect(m_memberList->model(), &QAbstractItemModel::rowsMoved, this,
            &GroupEditorDialog::updateSteps);

    auto *chase = new QGroupBox(QStringLiteral("Chase"), this);
    m_chaseBox = chase;
    auto *chaseForm = new QFormLayout(chase);
    m_lightsPerStep = new QSpinBox(chase);
    m_lightsPerStep->setObjectName(QStringLiteral("m_lightsPerStepSpinBox"));
    m_lightsPerStep->setRange(1, 15000);
    m_lightsPerStep->setValue(std::max(1, group.lightsPerStep));
    chaseForm->addRow(QStringLiteral("Lights per step:"), m_lightsPerStep);
    m_stepsLabel = new QLabel(chase);
    m_stepsLabel->setObjectName(QStringLiteral("m_stepsLabel"));
    m_stepsLabel->setWordWrap(true);
    chaseForm->addRow(QStringLiteral("Steps:"), m_stepsLabel);
    outer->addWidget(chase);
    connect(m_lightsPerStep, qOverload<int>(&QSpinBox::valueChanged), this,
            &GroupEditorDialog::updateSteps);
    connect(m_typeCombo, qOverload<int>(&QComboBox::currentIndexChanged), this,
            &GroupEditorDialog::updateSteps);

    auto *box = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(box, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(box, &QDialogButtonBox::rejected, this, &QDialog::reject);
    outer->addWidget(box);
    updateSteps();
    resize(460, 520);
}

void GroupEditorDialog::addMemberItem(quint64 uid)
{
    const Light *light = m_model.light(uid);
    auto *item = new QListWidgetItem(light ? QStringLiteral("%1   (port %2, DMX %3)")
                                                 .arg(light->name())
                                                 .arg(light->portNumber() + 1)
                                                 .arg(light->channel() + 1)
                                           : QStringLiteral("(deleted light %1)").arg(uid, 0, 16),
                                     m_memberList);
    item->setData(kUidRole, uid);
    item->setFlags(item->flags() & ~Qt::ItemIsDropEnabled);
}

GroupState GroupEditorDialog::state() const
{
    GroupState s = m_original;
    const QString name = m_nameEdit->text().trimmed();
    // The canvas's working selection travels under a reserved name that is never saved.
    if (!name.isEmpty() && name != Group::selectionGroupName())
        s.name = name;
    s.type = m_typeCombo->currentData().toInt();
    s.lightsPerStep = m_lightsPerStep->value();
    s.members.clear();
    s.members.reserve(m_memberList->count());
    for (int i = 0; i < m_memberList->count(); ++i) {
        const quint64 uid = m_memberList->item(i)->data(kUidRole).toULongLong();
        // Lights deleted since the group was made are dropped here.
        if (m_model.light(uid))
            s.members.append(uid);
    }
    return s;
}

void GroupEditorDialog::moveSelectedMembers(int by)
{
    QList<int> rows;
    for (const QListWidgetItem *item : m_memberList->selectedItems())
        rows.append(m_memberList->row(item));
    if (rows.isEmpty())
        return;
    std::sort(rows.begin(), rows.end());
    if (by < 0 && rows.first() == 0)
        return;
    if (by > 0 && rows.last() == m_memberList->count() - 1)
        return;
    if (by > 0)
        std::reverse(rows.begin(), rows.end());
    for (const int row : qAsConst(rows)) {
        QListWidgetItem *item = m_memberList->takeItem(row);
        m_memberList->insertItem(row + by, item);
        item->setSelected(true);
    }
    updateSteps();
}

void GroupEditorDialog::removeSelectedMembers()
{
    qDeleteAll(m_memberList->selectedItems());
    updateSteps();
}

void GroupEditorDialog::addSelection()
{
    if (!m_selection)
        return;
    QSet<quint64> members;
    for (int i = 0; i < m_memberList->count(); ++i)
        members.insert(m_memberList->item(i)->data(kUidRole).toULongLong());
    for (const quint64 uid : m_selection())
        if (!members.contains(uid) && m_model.light(uid)) {
            members.insert(uid);
            addMemberItem(uid);
        }
    updateSteps();
}

void GroupEditorDialog::reverseMembers()
{
    QList<QListWidgetItem *> items;
    while (m_memberList->count() > 0)
        items.prepend(m_memberList->takeItem(0));
    for (QListWidgetItem *item : qAsConst(items))
        m_memberList->addItem(item);
    updateSteps();
}

void GroupEditorDialog::updateSteps()
{
    const int members = m_memberList->count();
    m_memberCount->setText(QStringLiteral("%1 light(s)").arg(members));
    const bool chasing = m_typeCombo->currentData().toInt() == Group::ChasingType;
    m_chaseBox->setEnabled(chasing);
    const auto steps = SelectionEffect::stepsOf(state().members, m_lightsPerStep->value());
    QStringList sizes;
    for (int i = 0; i < std::min<int>(steps.size(), 12); ++i)
        sizes.append(QString::number(steps.at(i).size()));
    if (steps.size() > 12)
        sizes.append(QStringLiteral("…"));
    m_stepsLabel->setText(steps.isEmpty() ? QStringLiteral("none: the group has no lights")
                                          : QStringLiteral("%1, one a frame (lights: %2)")
                                                .arg(steps.size())
                                                .arg(sizes.join(QStringLiteral(", "))));
}
