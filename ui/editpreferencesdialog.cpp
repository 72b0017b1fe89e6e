#include "ui/editpreferencesdialog.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QTabWidget>
#include <QVBoxLayout>

namespace {

QSpinBox *spinBox(const char *name, int minimum, int maximum, int step, QWidget *parent)
{
    auto *box = new QSpinBox(parent);
    box->setObjectName(QLatin1String(name));
    box->setRange(minimum, maximum);
    box->setSingleStep(step);
    return box;
}

QWidget *withUnit(QWidget *field, const QString &unit, QWidget *parent)
{
    auto *row = new QWidget(parent);
    auto *box = new QHBoxLayout(row);
    box->setContentsMargins(0, 0, 0, 0);
    box->addWidget(field);
    box->addWidget(new QLabel(unit, row));
    box->addStretch();
    return row;
}

} // namespace

EditPreferencesDialog::EditPreferencesDialog(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("EditPreferencesDialog"));
    setWindowTitle(QStringLiteral("Edit Preferences"));
    auto *tabs = new QTabWidget(this);

    auto *simulation = new QWidget(tabs);
    auto *simulationForm = new QFormLayout(simulation);
    m_frameRateSpinBox = spinBox("m_frameRateSpinBox", 1, 100, 1, simulation);
    simulationForm->addRow(QStringLiteral("Live Play Frame Rate:"),
                           withUnit(m_frameRateSpinBox, QStringLiteral("fps"), simulation));
    tabs->addTab(simulation, QStringLiteral("Simulation"));

    auto *layoutView = new QWidget(tabs);
    auto *layoutForm = new QFormLayout(layoutView);
    m_gridSizeSpinBox = spinBox("m_gridSizeSpinBox", kMinGridSize, kMaxGridSize, 1, layoutView);
    m_canvasHeightSpinBox = spinBox("m_canvasHeightSpinBox", 10000, 50000, 100, layoutView);
    m_canvasWidthSpinBox = spinBox("m_canvasWidthSpinBox", 10000, 50000, 100, layoutView);
    layoutForm->addRow(QStringLiteral("Grid Size:"), m_gridSizeSpinBox);
    layoutForm->addRow(QStringLiteral("Canvas Height:"), m_canvasHeightSpinBox);
    layoutForm->addRow(QStringLiteral("Canvas Width:"), m_canvasWidthSpinBox);
    tabs->addTab(layoutView, QStringLiteral("Layout View"));

    auto *general = new QWidget(tabs);
    auto *generalRow = new QHBoxLayout(general);
    m_recentMapsCheckBox = new QCheckBox(QStringLiteral("Keep a list of the last:"), general);
    m_recentMapsCheckBox->setObjectName(QStringLiteral("m_recentMapsCheckBox"));
    m_recentMapsSpinBox = spinBox("m_recentMapsSpinBox", 1, 9, 1, general);
    generalRow->addWidget(m_recentMapsCheckBox);
    generalRow->addWidget(m_recentMapsSpinBox);
    generalRow->addWidget(new QLabel(QStringLiteral("maps."), general));
    generalRow->addStretch();
    connect(m_recentMapsCheckBox, &QCheckBox::toggled, m_recentMapsSpinBox, &QSpinBox::setEnabled);
    tabs->addTab(general, QStringLiteral("General"));

    auto *buttonOk = new QPushButton(QStringLiteral("&OK"), this);
    buttonOk->setObjectName(QStringLiteral("buttonOk"));
    buttonOk->setDefault(true);
    auto *buttonCancel = new QPushButton(QStringLiteral("&Cancel"), this);
    buttonCancel->setObjectName(QStringLiteral("buttonCancel"));
    connect(buttonOk, &QPushButton::clicked, this, &QDialog::accept);
    connect(buttonCancel, &QPushButton::clicked, this, &QDialog::reject);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(buttonOk);
    buttons->addWidget(buttonCancel);
    auto *main = new QVBoxLayout(this);
    main->addWidget(tabs);
    main->addLayout(buttons);

    // The dialog's own values until the window fills it.
    m_frameRateSpinBox->setValue(40);
    m_canvasHeightSpinBox->setValue(10000);
    m_canvasWidthSpinBox->setValue(10000);
    m_recentMapsSpinBox->setValue(5);
    m_recentMapsSpinBox->setEnabled(false);
}

int EditPreferencesDialog::frameRate() const { return m_frameRateSpinBox->value(); }
void EditPreferencesDialog::setFrameRate(int fps) { m_frameRateSpinBox->setValue(fps); }
int EditPreferencesDialog::canvasWidth() const { return m_canvasWidthSpinBox->value(); }
void EditPreferencesDialog::setCanvasWidth(int width) { m_canvasWidthSpinBox->setValue(width); }
int EditPreferencesDialog::canvasHeight() const { return m_canvasHeightSpinBox->value(); }
void EditPreferencesDialog::setCanvasHeight(int height) { m_canvasHeightSpinBox->setValue(height); }
int EditPreferencesDialog::gridSize() const { return m_gridSizeSpinBox->value(); }
void EditPreferencesDialog::setGridSize(int size) { m_gridSizeSpinBox->setValue(size); }
bool EditPreferencesDialog::recentMapsEnabled() const { return m_recentMapsCheckBox->isChecked(); }

void EditPreferencesDialog::setRecentMapsEnabled(bool on)
{
    m_recentMapsCheckBox->setChecked(on);
    m_recentMapsSpinBox->setEnabled(on);
}

int EditPreferencesDialog::numRecentMaps() const { return m_recentMapsSpinBox->value(); }
void EditPreferencesDialog::setNumRecentMaps(int count) { m_recentMapsSpinBox->setValue(count); }
