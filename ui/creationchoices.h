#pragma once

#include "layout/lightcreator.h"

#include <QHash>
#include <QWidget>

class DeviceDictionary;
class MapModel;
class QCheckBox;
class QComboBox;
class QGridLayout;
class QGroupBox;
class QLabel;
class QLineEdit;
class QRadioButton;
class QSettings;
class QSpinBox;

// The choices both creation dialogs share: the interface ("Choose an Interface"), the
// "Parameters:" (port, base DMX address with its auto-set value, ports), the base name and the
// fixture properties. Each dialog puts the group boxes where it wants them and reads and
// writes them under its own settings group.
class CreationChoices final : public QObject
{
    Q_OBJECT
public:
    CreationChoices(const MapModel &model, const DeviceDictionary &dictionary, QWidget *owner);

    QGroupBox *interfaceGroup() const { return m_interfaceGroup; }
    QGroupBox *parametersGroup() const { return m_parametersGroup; }
    QGroupBox *nameGroup() const { return m_nameGroup; }
    QGroupBox *fixtureGroup() const { return m_fixtureGroup; }

    // Reads and writes the keys of the dialog's group ("/interface", "/basedmxaddr",
    // "/portnum", "/basename", "/newinterface", "/dmxautoset", "/portnumautoincrement"); the
    // caller has begun the group.
    void load(const QSettings &settings);
    void save(QSettings &settings) const;

    // Everything but the positions and numbering.
    CreationRequest request() const;
    // Offers only fixture types whose lights have one white channel.
    void setWhiteOnly(bool on);
    // Offers only this fixture type.
    void setFixtureType(const QString &name);
    QString autoSetValue() const;

public slots:
    void refreshDmxAutoSetValue();
    void handleFixtureTypeChanged(const QString &name);
    void handleSpanModeChanged(const QString &text);
    void handleLedChemistryChanged(const QString &text);

private:
    struct PropertyRow
    {
        QLabel *label = nullptr;
        QComboBox *combo = nullptr;
    };
    void buildInterfaceGroup(QWidget *owner);
    void buildParametersGroup(QWidget *owner);
    void buildFixtureGroup(QWidget *owner);
    void applyAutoSet();

    const MapModel &m_model;
    const DeviceDictionary &m_dictionary;
    QGroupBox *m_interfaceGroup = nullptr;
    QGroupBox *m_parametersGroup = nullptr;
    QGroupBox *m_nameGroup = nullptr;
    QGroupBox *m_fixtureGroup = nullptr;
    QRadioButton *m_existingInterfaceRadioButton = nullptr;
    QComboBox *m_interfaceComboBox = nullptr;
    QRadioButton *m_newInterfaceRadioButton = nullptr;
    QSpinBox *m_portNumSpinBox = nullptr;
    QCheckBox *m_portNumAutoIncrementCheckBox = nullptr;
    QSpinBox *m_dmxAddressSpinBox = nullptr;
    QCheckBox *m_dmxAutoSetCheckBox = nullptr;
    QLineEdit *m_dmxAutoSetLineEdit = nullptr;
    QSpinBox *m_portsSpinBox = nullptr;
    QLineEdit *m_baseNameLineEdit = nullptr;
    QComboBox *m_fixtureTypeComboBox = nullptr;
    QGridLayout *m_fixtureLayout = nullptr;
    QHash<QString, PropertyRow> m_propertyRows; // by token
};
