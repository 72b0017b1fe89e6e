#pragma once

#include <QDialog>
#include <QPointer>

class DataSupply;
struct SupplyPort;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QTableWidget;

// The "Interface Editor": the stored settings of one data supply (name, address, universe,
// serial, ports, protocol version). It edits the map only; nothing is sent to the supply.
// Values are stored as typed: text that does not parse becomes 0 or the null address.
//
// Below the form a table holds one row per port (following "Num Ports:") with what the port
// carries: "Vistra" keeps the type discovery stored, "sACN" makes it a port of kind 6 whose
// number is an E1.31 universe (1..63999), "Art-Net" a port of kind 7 whose number is a
// 15-bit port address (0..32767).
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
    QTableWidget *portTable() const { return m_portTable; }
    // The output choice and number of the port at a zero-based index; null past the last.
    QComboBox *portOutputComboBox(int port) const;
    QSpinBox *portNumberSpinBox(int port) const;
    QLabel *errorLabel() const { return m_errorLabel; }
    QPushButton *okButton() const { return m_okButton; }
    QPushButton *cancelButton() const { return m_cancelButton; }

public slots:
    void handleAccept();
    void handleReject();

signals:
    // Emitted when accepting changed the map.
    void setDirty(bool dirty);

private slots:
    void handlePortCountChanged(int count);

private:
    enum PortColumn { PortNameColumn, PortOutputColumn, PortNumberColumn };

    void buildWidgets();
    QWidget *buildPortTable();
    void fillFromSupply();
    void addPortRow(const SupplyPort &port);
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
    QTableWidget *m_portTable = nullptr;
    QLabel *m_errorLabel = nullptr;
    QPushButton *m_okButton = nullptr;
    QPushButton *m_cancelButton = nullptr;
};
