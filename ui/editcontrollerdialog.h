#pragma once

#include <QDialog>
#include <QPointer>

class DataSupply;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;

// The "Interface Editor": the stored settings of one data supply (name, address, universe,
// serial, ports, protocol version). It edits the map only; nothing is sent to the supply.
// Values are stored as typed: text that does not parse becomes 0 or the null address.
class EditControllerDialog final : public QDialog
{
    Q_OBJECT
public:
    // `group` is the settings group under which the dialog keeps its size ("/EditController").
    EditControllerDialog(const QString &group, DataSupply *dataSupply, QWidget *parent = nullptr);
    ~EditControllerDialog() override;

    // The supply being edited; null once it left the map.
    DataSupply *dataSupply() const;

    QFormLayout *formLayout() const { return m_form; }
    QLineEdit *nameLineEdit() const { return m_nameLineEdit; }
    QLabel *typeLabel() const { return m_typeLabel; }
    QLabel *uidLabel() const { return m_uidLabel; }
    QLineEdit *serialLineEdit() const { return m_serialLineEdit; }
    QLineEdit *ipLineEdit() const { return m_ipLineEdit; }
    QLineEdit *universeLineEdit() const { return m_universeLineEdit; }
    QLabel *macLabel() const { return m_macLabel; }
    QSpinBox *numPortsSpinBox() const { return m_numPortsSpinBox; }
    QComboBox *versionComboBox() const { return m_versionComboBox; }
    QLabel *errorLabel() const { return m_errorLabel; }
    QPushButton *okButton() const { return m_okButton; }
    QPushButton *cancelButton() const { return m_cancelButton; }

public slots:
    void handleAccept();
    void handleReject();

signals:
    // Emitted when accepting changed the map.
    void setDirty(bool dirty);

private:
    void buildWidgets();
    void fillFromSupply();
    void writeToSupply();
    void saveSize();

    QString m_group;
    QPointer<DataSupply> m_dataSupply;
    QFormLayout *m_form = nullptr;
    QLineEdit *m_nameLineEdit = nullptr;
    QLabel *m_typeLabel = nullptr;
    QLabel *m_uidLabel = nullptr;
    QLineEdit *m_serialLineEdit = nullptr;
    QLineEdit *m_ipLineEdit = nullptr;
    QLineEdit *m_universeLineEdit = nullptr;
    QLabel *m_macLabel = nullptr;
    QSpinBox *m_numPortsSpinBox = nullptr;
    QComboBox *m_versionComboBox = nullptr;
    QLabel *m_errorLabel = nullptr;
    QPushButton *m_okButton = nullptr;
    QPushButton *m_cancelButton = nullptr;
};
