#pragma once

#include "layout/creationrules.h"
#include "layout/lightcreator.h"

#include <QDialog>

class CreationChoices;
class DeviceDictionary;
class MapModel;
class QRadioButton;
class QSpinBox;

// "Create Keystone Series Lights": how many lights, in a row or a column, on which interface,
// from which port and DMX address, named how, of which fixture type. It only collects the
// choices (remembered under "/CreateLights"); the caller makes the lights.
class CreateLights final : public QDialog
{
    Q_OBJECT
public:
    static const QString kSettingsGroup;

    CreateLights(const MapModel &model, const DeviceDictionary &dictionary,
                 QWidget *parent = nullptr);

    int count() const;
    // One light of one fixture type ("Add Module..."): count and type cannot be changed.
    void setModule(const QString &fixtureType);
    CreationRules::RunDirection direction() const;
    // The choices, without positions.
    CreationRequest request() const;
    CreationChoices &choices() const { return *m_choices; }

public slots:
    void refreshDmxAutoSetValue();
    void accept() override;

private:
    void loadSettings();
    void saveSettings() const;

    CreationChoices *m_choices = nullptr;
    QSpinBox *m_countSpinBox = nullptr;
    QRadioButton *m_verticalRadioButton = nullptr;
    QRadioButton *m_horizontalRadioButton = nullptr;
};
