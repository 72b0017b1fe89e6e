#include "ui/createstringdialog.h"

#include "ui/creationchoices.h"

#include <QButtonGroup>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSettings>
#include <QSpinBox>
#include <QToolButton>
#include <QVBoxLayout>

using namespace CreationRules;

const QString CreateStringDialog::kSettingsGroup = QStringLiteral("/CreateString");

CreateStringDialog::CreateStringDialog(const MapModel &model, const DeviceDictionary &dictionary,
                                       QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("CreateStringDialog"));
    setWindowTitle(QStringLiteral("Create String"));
    m_choices = new CreationChoices(model, dictionary, this);

    auto *layoutGroup = new QGroupBox(QStringLiteral("Layout"), this);
    auto *layoutGrid = new QGridLayout(layoutGroup);
    m_shapeGroup = new QButtonGroup(this);
    const struct
    {
        const char *text;
        const char *tip;
        const char *name;
    } shapes[] = {
        {"\u2014", "Horizontal", "m_horizontalButton"},
        {"|", "Vertical", "m_verticalButton"},
        {"\\", "Back-slash diagonal", "m_backSlashButton"},
        {"/", "Forward-slash diagonal", "m_forwardSlashButton"},
        {"\u25a6", "Tile", "m_tileButton"},
    };
    auto *shapeRow = new QHBoxLayout;
    for (int i = 0; i < 5; ++i) {
        auto *button = new QToolButton(layoutGroup);
        button->setText(QString::fromUtf8(shapes[i].text));
        button->setToolTip(QString::fromLatin1(shapes[i].tip));
        button->setObjectName(QString::fromLatin1(shapes[i].name));
        button->setCheckable(true);
        button->setMinimumSize(32, 32);
        m_shapeGroup->addButton(button, i);
        shapeRow->addWidget(button);
    }
    shapeRow->addStretch();
    layoutGrid->addLayout(shapeRow, 0, 0, 1, 4);
    m_rowsSpinBox = new QSpinBox(layoutGroup);
    m_rowsSpinBox->setObjectName(QStringLiteral("m_rowsSpinBox"));
    m_rowsSpinBox->setRange(1, kMaxLights);
    m_columnsSpinBox = new QSpinBox(layoutGroup);
    m_columnsSpinBox->setObjectName(QStringLiteral("m_columnsSpinBox"));
    m_columnsSpinBox->setRange(1, kMaxLights);
    layoutGrid->addWidget(new QLabel(QStringLiteral("Rows:"), layoutGroup), 1, 0);
    layoutGrid->addWidget(m_rowsSpinBox, 1, 1);
    layoutGrid->addWidget(new QLabel(QStringLiteral("Columns:"), layoutGroup), 1, 2);
    layoutGrid->addWidget(m_columnsSpinBox, 1, 3);

    auto *orderGroup = new QGroupBox(QStringLiteral("Numbering Order"), this);
    auto *orderGrid = new QGridLayout(orderGroup);
    auto *lrGroup = new QButtonGroup(this);
    auto *tbGroup = new QButtonGroup(this);
    m_leftToRightRadioButton = new QRadioButton(QStringLiteral("Left-to-Right"), orderGroup);
    m_rightToLeftRadioButton = new QRadioButton(QStringLiteral("Right-to-Left"), orderGroup);
    m_topToBottomRadioButton = new QRadioButton(QStringLiteral("Top-to-Bottom"), orderGroup);
    m_bottomToTopRadioButton = new QRadioButton(QStringLiteral("Bottom-to-Top"), orderGroup);
    m_leftToRightRadioButton->setObjectName(QStringLiteral("m_leftToRightRadioButton"));
    m_rightToLeftRadioButton->setObjectName(QStringLiteral("m_rightToLeftRadioButton"));
    m_topToBottomRadioButton->setObjectName(QStringLiteral("m_topToBottomRadioButton"));
    m_bottomToTopRadioButton->setObjectName(QStringLiteral("m_bottomToTopRadioButton"));
    lrGroup->addButton(m_leftToRightRadioButton, 0);
    lrGroup->addButton(m_rightToLeftRadioButton, 1);
    tbGroup->addButton(m_topToBottomRadioButton, 0);
    tbGroup->addButton(m_bottomToTopRadioButton, 1);
    orderGrid->addWidget(m_leftToRightRadioButton, 0, 0);
    orderGrid->addWidget(m_rightToLeftRadioButton, 0, 1);
    orderGrid->addWidget(m_topToBottomRadioButton, 1, 0);
    orderGrid->addWidget(m_bottomToTopRadioButton, 1, 1);
    m_stringLayoutWidget = new StringLayoutWidget(orderGroup);
    orderGrid->addWidget(m_stringLayoutWidget, 2, 0, 1, 2);
    auto *hint = new QLabel(QStringLiteral("Adjust Rows and Columns to match the # of lights "
                                           "found, or pick another layout."),
                            this);

    m_addBelowButton = new QPushButton(QStringLiteral("Add &Below"), this);
    m_addBelowButton->setObjectName(QStringLiteral("m_addBelowButton"));
    m_addBelowButton->setShortcut(QKeySequence(QStringLiteral("Alt+B")));
    m_addRightButton = new QPushButton(QStringLiteral("Add &Right"), this);
    m_addRightButton->setObjectName(QStringLiteral("m_addRightButton"));
    m_addRightButton->setShortcut(QKeySequence(QStringLiteral("Alt+R")));
    auto *cancelButton = new QPushButton(QStringLiteral("&Cancel"), this);
    cancelButton->setObjectName(QStringLiteral("cancelButton"));
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_addBelowButton);
    buttons->addWidget(m_addRightButton);
    buttons->addWidget(cancelButton);

    auto *left = new QVBoxLayout;
    left->addWidget(layoutGroup);
    left->addWidget(orderGroup, 1);
    auto *middle = new QVBoxLayout;
    middle->addWidget(m_choices->interfaceGroup());
    middle->addWidget(m_choices->parametersGroup());
    middle->addWidget(m_choices->nameGroup());
    middle->addStretch();
    auto *columns = new QHBoxLayout;
    columns->addLayout(left);
    columns->addLayout(middle);
    columns->addWidget(m_choices->fixtureGroup(), 0, Qt::AlignTop);
    auto *main = new QVBoxLayout(this);
    main->addLayout(columns);
    main->addWidget(hint);
    main->addLayout(buttons);

    connect(m_shapeGroup, &QButtonGroup::idClicked, this, &CreateStringDialog::refreshShape);
    connect(m_rowsSpinBox, qOverload<int>(&QSpinBox::valueChanged), this,
            &CreateStringDialog::refreshShape);
    connect(m_columnsSpinBox, qOverload<int>(&QSpinBox::valueChanged), this,
            &CreateStringDialog::refreshShape);
    connect(lrGroup, &QButtonGroup::idClicked, this, &CreateStringDialog::handleNumberingChanged);
    connect(tbGroup, &QButtonGroup::idClicked, this, &CreateStringDialog::handleNumberingChanged);
    connect(m_stringLayoutWidget, &StringLayoutWidget::layoutChanged, this,
            &CreateStringDialog::handleStringLayoutChanged);
    connect(m_addBelowButton, &QPushButton::clicked, this, &CreateStringDialog::handleAddBelow);
    connect(m_addRightButton, &QPushButton::clicked, this, &CreateStringDialog::handleAddRight);
    connect(cancelButton, &QPushButton::clicked, this, &CreateStringDialog::reject);
    loadSettings();
}

StringShape CreateStringDialog::shape() const
{
    return StringShape(std::max(0, m_shapeGroup->checkedId()));
}

void CreateStringDialog::setShape(StringShape shape)
{
    if (QAbstractButton *button = m_shapeGroup->button(int(shape)))
        button->setChecked(true);
    refreshShape();
}

ShapeRaster CreateStringDialog::raster() const
{
    return rasterFor(shape(), m_rowsSpinBox->value(), m_columnsSpinBox->value());
}

NumberingOrder CreateStringDialog::numberingOrder() const
{
    return m_stringLayoutWidget->numberingOrder();
}

CreationRequest CreateStringDialog::request() const
{
    return m_choices->request();
}

void CreateStringDialog::refreshShape()
{
    const StringShape s = shape();
    m_rowsSpinBox->setEnabled(s == StringShape::Vertical || s == StringShape::Tile);
    m_columnsSpinBox->setEnabled(s != StringShape::Vertical);
    m_stringLayoutWidget->setRaster(raster());
}

void CreateStringDialog::handleNumberingChanged()
{
    const int order = (m_bottomToTopRadioButton->isChecked() ? 2 : 0)
        + (m_rightToLeftRadioButton->isChecked() ? 1 : 0);
    m_stringLayoutWidget->setOrder(StringLayoutWidget::LayoutOrder(order),
                                   m_stringLayoutWidget->rasterMode());
}

void CreateStringDialog::handleStringLayoutChanged(StringLayoutWidget::LayoutOrder order,
                                                   bool rasterMode)
{
    const bool right = order == StringLayoutWidget::TopRight
        || order == StringLayoutWidget::BottomRight;
    const bool bottom = order == StringLayoutWidget::BottomLeft
        || order == StringLayoutWidget::BottomRight;
    (right ? m_rightToLeftRadioButton : m_leftToRightRadioButton)->setChecked(true);
    (bottom ? m_bottomToTopRadioButton : m_topToBottomRadioButton)->setChecked(true);
    m_stringLayoutWidget->setOrder(order, rasterMode);
}

void CreateStringDialog::handleAddBelow()
{
    m_placement = StringPlacement::Below;
    saveSettings();
    accept();
}

void CreateStringDialog::handleAddRight()
{
    m_placement = StringPlacement::Right;
    saveSettings();
    accept();
}

void CreateStringDialog::loadSettings()
{
    QSettings settings;
    settings.beginGroup(kSettingsGroup);
    const int layout = std::clamp(settings.value(QStringLiteral("/layout"), 0).toInt(), 0, 4);
    m_shapeGroup->button(layout)->setChecked(true);
    const int rows = settings.value(QStringLiteral("/rows"), -1).toInt();
    if (rows > 0)
        m_rowsSpinBox->setValue(rows);
    const int columns = settings.value(QStringLiteral("/columns"), -1).toInt();
    if (columns > 0)
        m_columnsSpinBox->setValue(columns);
    const bool rightToLeft = settings.value(QStringLiteral("/numberinglr"), 0).toInt() == 1;
    const bool bottomToTop = settings.value(QStringLiteral("/numberingtb"), 0).toInt() == 1;
    (rightToLeft ? m_rightToLeftRadioButton : m_leftToRightRadioButton)->setChecked(true);
    (bottomToTop ? m_bottomToTopRadioButton : m_topToBottomRadioButton)->setChecked(true);
    const int order = std::clamp(settings.value(QStringLiteral("/layoutorder"), 0).toInt(), 0, 3);
    const bool rasterMode = settings.value(QStringLiteral("/rastermode"), false).toBool();
    m_stringLayoutWidget->setOrder(StringLayoutWidget::LayoutOrder(order), rasterMode);
    // The radio buttons name the corner; "/layoutorder" follows them.
    handleNumberingChanged();
    // The default button is the one used last, so Enter repeats the last placement.
    const bool right = settings.value(QStringLiteral("/defaultaddbutton"), 0).toInt() == 1;
    (right ? m_addRightButton : m_addBelowButton)->setDefault(true);
    m_placement = right ? StringPlacement::Right : StringPlacement::Below;
    m_choices->load(settings);
    refreshShape();
}

void CreateStringDialog::saveSettings() const
{
    QSettings settings;
    settings.beginGroup(kSettingsGroup);
    settings.setValue(QStringLiteral("/layout"), int(shape()));
    settings.setValue(QStringLiteral("/numberinglr"), m_rightToLeftRadioButton->isChecked() ? 1 : 0);
    settings.setValue(QStringLiteral("/numberingtb"), m_bottomToTopRadioButton->isChecked() ? 1 : 0);
    settings.setValue(QStringLiteral("/rastermode"), m_stringLayoutWidget->rasterMode());
    settings.setValue(QStringLiteral("/layoutorder"), int(m_stringLayoutWidget->order()));
    settings.setValue(QStringLiteral("/rows"), m_rowsSpinBox->value());
    settings.setValue(QStringLiteral("/columns"), m_columnsSpinBox->value());
    settings.setValue(QStringLiteral("/defaultaddbutton"),
                      m_placement == StringPlacement::Right ? 1 : 0);
    m_choices->save(settings);
}
