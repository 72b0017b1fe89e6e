#include "app/kestrel.h"
#include "app/lightcreation.h"
#include "app/scriptedprompts.h"
#include "app/testsettings.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "support/netnamespace.h"
#include "ui/lightview.h"

#include <QAbstractButton>
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QtTest>

#include <memory>

// The window's Add Lights / String / Tile / White Lights / Module, filled in and pressed
// offscreen: what the dialogs pass on, what they refuse, progress and cancel, undo.
class tst_LightCreation : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void addLights_data();
    void addLights();
    void refusalsLeaveTheMapUntouched_data();
    void refusalsLeaveTheMapUntouched();
    void progressStepsAndCancel_data();
    void progressStepsAndCancel();
    void undoRemovesTheWholeCreation();
    void stringSettingsRestoredOnReopen();
    void whiteLightsAndModules();

private:
    using Fill = std::function<void(QDialog &)>;
    void press(const Fill &fill, const char *button);
    void addSupply(quint64 serial);
    QStringList names() const;
    template<typename T>
    static T *child(QDialog &dialog, const char *name)
    {
        T *found = dialog.findChild<T *>(QLatin1String(name));
        if (!found)
            qFatal("no widget %s", name);
        return found;
    }

    std::unique_ptr<TestSettings> m_settings;
    std::unique_ptr<Kestrel> m_window;
    ScriptedPrompts *m_prompts = nullptr;
};

void tst_LightCreation::initTestCase()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    m_settings = std::make_unique<TestSettings>();
}

void tst_LightCreation::init()
{
    TestSettings::clear();
    auto prompts = std::make_unique<ScriptedPrompts>();
    m_prompts = prompts.get();
    m_window = std::make_unique<Kestrel>(std::move(prompts));
}

void tst_LightCreation::cleanup()
{
    m_window.reset();
}

void tst_LightCreation::press(const Fill &fill, const char *button)
{
    m_prompts->dialogScripts.enqueue([fill, button](QDialog &dialog) {
        fill(dialog);
        child<QAbstractButton>(dialog, button)->click();
        return dialog.result();
    });
}

void tst_LightCreation::addSupply(quint64 serial)
{
    auto supply = std::make_unique<DataSupply>(DataSupply::VistraIp);
    supply->setUid(m_window->model().newUid());
    supply->setSerialNumber(serial);
    supply->setName(QStringLiteral("Roof"));
    m_window->model().addDataSupply(std::move(supply));
}

QStringList tst_LightCreation::names() const
{
    QStringList result;
    for (const Light *light : m_window->model().lights())
        result << light->name() + "@" + light->deviceProperty("DMX_OFFSET");
    result.sort();
    return result;
}

void tst_LightCreation::addLights_data()
{
    QTest::addColumn<bool>("existing");
    QTest::addColumn<QString>("baseName");
    QTest::addColumn<bool>("autoSet");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("new interface") << false << "Cove" << false
                                   << QStringList{"Cove  02-004@9", "Cove  02-005@12"};
    QTest::newRow("empty base name") << false << "" << false
                                     << QStringList{" 02-004@9", " 02-005@12"};
    // The supply already drives a light at DMX 1 to 3 of port 2: auto-set gives 4.
    QTest::newRow("existing interface, auto-set")
        << true << "Bay" << true
        << QStringList{"Bay  02-002@3", "Bay  02-003@6", "Old@0"};
}

void tst_LightCreation::addLights()
{
    QFETCH(bool, existing);
    QFETCH(QString, baseName);
    QFETCH(bool, autoSet);
    QFETCH(QStringList, expected);
    addSupply(0xA1B2);
    if (existing) {
        auto old = std::make_unique<Light>();
        old->setUid(m_window->model().newUid());
        old->setName("Old");
        old->setPortNumber(1);
        old->setDeviceProperty("DMX_OFFSET", "0");
        const quint64 uid = old->uid();
        DataSupply *supply = m_window->model().dataSupplies().constFirst();
        old->setDataSupply(supply->uid());
        m_window->model().addLight(std::move(old));
        supply->addLight(uid);
    }
    press([&](QDialog &d) {
        child<QSpinBox>(d, "m_countSpinBox")->setValue(2);
        child<QRadioButton>(d, "m_verticalRadioButton")->setChecked(true);
        child<QRadioButton>(d, existing ? "m_existingInterfaceRadioButton"
                                        : "m_newInterfaceRadioButton")->setChecked(true);
        child<QSpinBox>(d, "m_portNumSpinBox")->setValue(2);
        child<QSpinBox>(d, "m_dmxAddressSpinBox")->setValue(10);
        child<QCheckBox>(d, "m_dmxAutoSetCheckBox")->setChecked(autoSet);
        child<QLineEdit>(d, "m_baseNameLineEdit")->setText(baseName);
    }, "okButton");
    m_window->ui().addLightsAction->trigger();
    QCOMPARE(names(), expected);
    QCOMPARE(m_window->model().dataSupplyCount(), existing ? 1 : 2);
    QVERIFY(m_window->isDirty());
    QVERIFY(m_prompts->messages().isEmpty());
}

void tst_LightCreation::refusalsLeaveTheMapUntouched_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text");
    QTest::newRow("parse") << "Parse Error" << "Unable to parse serial number of selected controller";
    QTest::newRow("find") << "Find Failure" << "Unable to find specified controller in map";
    QTest::newRow("ports") << "Error" << "";
}

void tst_LightCreation::refusalsLeaveTheMapUntouched()
{
    QFETCH(QString, title);
    QFETCH(QString, text);
    addSupply(0xA1B2);
    MapModel &model = m_window->model();
    press([&](QDialog &d) {
        child<QRadioButton>(d, "m_existingInterfaceRadioButton")->setChecked(true);
        child<QSpinBox>(d, "m_countSpinBox")->setValue(QTest::currentDataTag() == QByteArray("ports") ? 171 : 3);
        if (title == "Parse Error")
            child<QComboBox>(d, "m_interfaceComboBox")->clear();
        if (title == "Find Failure") // the supply went away while the dialog was open
            model.removeDataSupply(model.dataSupplies().constFirst()->uid());
    }, "okButton");
    m_window->ui().addLightsAction->trigger();
    QCOMPARE(m_prompts->messages().size(), 1);
    QCOMPARE(m_prompts->messages().at(0).title, title);
    QCOMPARE(m_prompts->messages().at(0).icon, QMessageBox::Critical);
    if (!text.isEmpty())
        QCOMPARE(m_prompts->messages().at(0).text, text);
    QCOMPARE(model.lightCount(), 0);
    QCOMPARE(model.dataSupplyCount(), title == "Find Failure" ? 0 : 1);
    QVERIFY(!m_window->isDirty());
    QVERIFY(!m_window->ui().undoAction->isEnabled());
}

void tst_LightCreation::progressStepsAndCancel_data()
{
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("cancelAt");
    QTest::addColumn<int>("reports");
    QTest::addColumn<int>("made");
    QTest::newRow("150: every light") << 150 << -1 << 150 << 150;
    QTest::newRow("1,000: every 10") << 1000 << -1 << 100 << 1000;
    QTest::newRow("1,000 cancelled halfway") << 1000 << 500 << 50 << 500;
}

void tst_LightCreation::progressStepsAndCancel()
{
    QFETCH(int, columns);
    QFETCH(int, cancelAt);
    QFETCH(int, reports);
    QFETCH(int, made);
    press([&](QDialog &d) {
        child<QAbstractButton>(d, "m_horizontalButton")->click();
        child<QSpinBox>(d, "m_columnsSpinBox")->setValue(columns);
        child<QRadioButton>(d, "m_newInterfaceRadioButton")->setChecked(true);
        child<QSpinBox>(d, "m_portsSpinBox")->setValue(6);
    }, "m_addBelowButton");
    QList<int> steps;
    connect(&m_window->lightCreation(), &LightCreation::creationProgress, this,
            [&](int count, int total) {
                QCOMPARE(total, columns);
                steps << count;
                if (count == cancelAt)
                    m_window->lightCreation().cancelCreation();
            });
    m_window->ui().addStringAction->trigger();
    QCOMPARE(steps.size(), reports);
    QCOMPARE(m_window->model().lightCount(), made);
    QVERIFY(m_window->ui().undoAction->isEnabled());
}

void tst_LightCreation::undoRemovesTheWholeCreation()
{
    press([](QDialog &d) {
        child<QSpinBox>(d, "m_rowsSpinBox")->setValue(3);
        child<QSpinBox>(d, "m_columnsSpinBox")->setValue(4);
    }, "m_addRightButton");
    m_window->ui().addTileAction->trigger();
    QCOMPARE(m_window->model().lightCount(), 12);
    const QStringList made = names();
    m_window->setDirty(false); // as after a save
    m_window->ui().undoAction->trigger();
    QCOMPARE(m_window->model().lightCount(), 0);
    // The interface made for the tile goes too, from the map and from the light pane.
    QCOMPARE(m_window->model().dataSupplyCount(), 0);
    QCOMPARE(m_window->lightView()->model()->rowCount(), 0);
    QVERIFY(m_window->isDirty());
    QVERIFY(!m_window->ui().undoAction->isEnabled());
    m_window->ui().redoAction->trigger();
    QCOMPARE(names(), made);
    QCOMPARE(m_window->lightView()->model()->rowCount(), 1);
}

void tst_LightCreation::stringSettingsRestoredOnReopen()
{
    press([](QDialog &d) {
        child<QAbstractButton>(d, "m_forwardSlashButton")->click();
        child<QSpinBox>(d, "m_columnsSpinBox")->setValue(7);
        child<QRadioButton>(d, "m_rightToLeftRadioButton")->click();
        child<QRadioButton>(d, "m_bottomToTopRadioButton")->click();
        child<QLineEdit>(d, "m_baseNameLineEdit")->setText("Stair");
        child<QSpinBox>(d, "m_portNumSpinBox")->setValue(3);
    }, "m_addRightButton");
    m_window->ui().addStringAction->trigger();
    QStringList seen;
    m_prompts->dialogScripts.enqueue([&seen](QDialog &d) {
        seen << QString::number(child<QAbstractButton>(d, "m_forwardSlashButton")->isChecked())
             << QString::number(child<QSpinBox>(d, "m_columnsSpinBox")->value())
             << QString::number(child<QRadioButton>(d, "m_rightToLeftRadioButton")->isChecked())
             << QString::number(child<QRadioButton>(d, "m_bottomToTopRadioButton")->isChecked())
             << child<QLineEdit>(d, "m_baseNameLineEdit")->text()
             << QString::number(child<QSpinBox>(d, "m_portNumSpinBox")->value())
             << QString::number(child<QPushButton>(d, "m_addRightButton")->isDefault());
        return int(QDialog::Rejected);
    });
    m_window->ui().addStringAction->trigger();
    QCOMPARE(seen, QStringList({"1", "7", "1", "1", "Stair", "3", "1"}));
    QCOMPARE(m_window->model().lightCount(), 7);
}

// "Add White Lights" offers only one-channel fixtures, packed one channel apart; "Add Module"
// makes one light of the type chosen first.
void tst_LightCreation::whiteLightsAndModules()
{
    QStringList types;
    press([&types](QDialog &d) {
        auto *combo = child<QComboBox>(d, "m_fixtureTypeComboBox");
        for (int i = 0; i < combo->count(); ++i)
            types << combo->itemText(i);
        child<QSpinBox>(d, "m_countSpinBox")->setValue(2);
    }, "okButton");
    m_window->ui().addWhiteLightsAction->trigger();
    QVERIFY(types.contains("Generic White"));
    QVERIFY(!types.contains("Generic 3-Ch"));
    QCOMPARE(names(), QStringList({"Light  01-001@0", "Light  01-002@1"}));

    m_prompts->itemAnswers.enqueue(QStringLiteral("Generic RGBW"));
    press([](QDialog &) {}, "okButton");
    m_window->ui().addModuleAction->trigger();
    QCOMPARE(m_window->model().lightCount(), 3);
    int rgbw = 0;
    for (const Light *light : m_window->model().lights())
        rgbw += light->deviceProperty("LED_CHEMISTRY") == "2";
    QCOMPARE(rgbw, 1);
}

QTEST_MAIN(tst_LightCreation)
#include "tst_lightcreation.moc"
