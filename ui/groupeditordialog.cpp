#include "ui/groupeditordialog.h"

#include "model/group.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>

GroupEditorDialog::GroupEditorDialog(Group &group, QWidget *parent)
    : QDialog(parent), m_group(group)
{
    setObjectName(QStringLiteral("GroupEditorDialog"));
    setWindowTitle(QStringLiteral("Group Editor"));
    auto *form = new QFormLayout(this);
    m_nameEdit = new QLineEdit(group.name(), this);
    m_nameEdit->setObjectName(QStringLiteral("m_nameLineEdit"));
    m_nameEdit->selectAll();
    form->addRow(QStringLiteral("Name:"), m_nameEdit);
    form->addRow(QStringLiteral("Lights:"),
                 new QLabel(QString::number(group.children().size()), this));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
}

void GroupEditorDialog::accept()
{
    const QString name = m_nameEdit->text().trimmed();
    if (!name.isEmpty())
        m_group.setName(name);
    QDialog::accept();
}
