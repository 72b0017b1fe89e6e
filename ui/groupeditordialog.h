#pragma once

#include <QDialog>

class Group;
class QLineEdit;

// "Group Editor": names a group. (Its members come from where it was made.)
class GroupEditorDialog final : public QDialog
{
    Q_OBJECT
public:
    GroupEditorDialog(Group &group, QWidget *parent = nullptr);

    QLineEdit *nameEdit() const { return m_nameEdit; }

    void accept() override;

private:
    Group &m_group;
    QLineEdit *m_nameEdit = nullptr;
};
