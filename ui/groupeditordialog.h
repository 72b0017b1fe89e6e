#pragma once

#include "editing/groupedit.h"

#include <QDialog>

#include <functional>

class MapModel;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QSpinBox;

// "Group Editor": a group's name, its kind (plain, synchronised or chasing), its members in
// order — dragged or moved with the buttons, removed, or added from the current selection —
// and for a chase how many members light in each step. The dialog edits a copy; OK gives
// the group the copy's state (state()), so the caller can record the change for undo.
class GroupEditorDialog final : public QDialog
{
    Q_OBJECT
public:
    using SelectionSource = std::function<QList<quint64>()>;

    GroupEditorDialog(const MapModel &model, const GroupState &group,
                      SelectionSource selection = {}, QWidget *parent = nullptr);

    // The state the editors describe.
    GroupState state() const;

    QLineEdit *nameEdit() const { return m_nameEdit; }
    QComboBox *typeCombo() const { return m_typeCombo; }
    QListWidget *memberList() const { return m_memberList; }
    QSpinBox *lightsPerStepSpinBox() const { return m_lightsPerStep; }

public slots:
    void moveSelectedMembers(int by);
    void removeSelectedMembers();
    void addSelection();
    void reverseMembers();

private:
    void addMemberItem(quint64 uid);
    void updateSteps();

    const MapModel &m_model;
    GroupState m_original;
    SelectionSource m_selection;
    QLineEdit *m_nameEdit = nullptr;
    QComboBox *m_typeCombo = nullptr;
    QListWidget *m_memberList = nullptr;
    QLabel *m_memberCount = nullptr;
    QPushButton *m_addSelectionButton = nullptr;
    QSpinBox *m_lightsPerStep = nullptr;
    QLabel *m_stepsLabel = nullptr;
    QWidget *m_chaseBox = nullptr;
};
