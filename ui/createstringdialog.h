#pragma once

#include "layout/creationrules.h"
#include "layout/lightcreator.h"
#include "ui/stringlayoutwidget.h"

#include <QDialog>

class CreationChoices;
class DeviceDictionary;
class MapModel;
class QButtonGroup;
class QPushButton;
class QRadioButton;
class QSpinBox;

// "Create String": a string of lights in one of five shapes, numbered from a chosen corner,
// added below or to the right of what the canvas holds. It only collects the choices
// (remembered under "/CreateString"); the caller makes the lights.
class CreateStringDialog final : public QDialog
{
    Q_OBJECT
public:
    static const QString kSettingsGroup;

    CreateStringDialog(const MapModel &model, const DeviceDictionary &dictionary,
                       QWidget *parent = nullptr);

    CreationRules::StringShape shape() const;
    void setShape(CreationRules::StringShape shape);
    CreationRules::ShapeRaster raster() const;
    CreationRules::NumberingOrder numberingOrder() const;
    CreationRules::StringPlacement placement() const { return m_placement; }
    CreationRequest request() const;
    CreationChoices &choices() const { return *m_choices; }

public slots:
    void handleStringLayoutChanged(StringLayoutWidget::LayoutOrder order, bool rasterMode);
    void handleAddBelow();
    void handleAddRight();

private:
    void refreshShape();
    void handleNumberingChanged();
    void loadSettings();
    void saveSettings() const;

    CreationChoices *m_choices = nullptr;
    QButtonGroup *m_shapeGroup = nullptr;
    QSpinBox *m_rowsSpinBox = nullptr;
    QSpinBox *m_columnsSpinBox = nullptr;
    QRadioButton *m_leftToRightRadioButton = nullptr;
    QRadioButton *m_rightToLeftRadioButton = nullptr;
    QRadioButton *m_topToBottomRadioButton = nullptr;
    QRadioButton *m_bottomToTopRadioButton = nullptr;
    StringLayoutWidget *m_stringLayoutWidget = nullptr;
    QPushButton *m_addBelowButton = nullptr;
    QPushButton *m_addRightButton = nullptr;
    CreationRules::StringPlacement m_placement = CreationRules::StringPlacement::Below;
};
