#include "devices/devicedictionary.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "ui/deviceview.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

std::shared_ptr<const DeviceEntry> definition(const QByteArray &name, const QByteArray &start,
                                              const QByteArray &end)
{
    return std::make_shared<const DeviceEntry>(
        QStringLiteral("x.json"), "{\"DeviceType\": \"FIXTURE\", \"DeviceName\": \"" + name +
                                      "\", \"SerialNumberRanges\": [{\"start\": \"" + start +
                                      "\", \"end\": \"" + end + "\"}]}");
}

constexpr quint64 kGrazeSerial = 0x100010;
constexpr quint64 kFloodSerial = 0x200010;
constexpr quint64 kUnknownSerial = 0x900000;
constexpr quint64 kSupplyUid = 0x500;

} // namespace

// The device view: lights listed under the kind their serial names, following the model.
class tst_DeviceView : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void burstOfChangesRebuildsOnce();
    void followsEditsDeletesAndClear();
    void selectionPassesLightUidsOn();

private:
    Light *addLight(quint64 uid, const QString &name, quint64 serial, int channel = 0);
    QStringList kindNames() const;

    std::unique_ptr<DeviceDictionary> m_dictionary;
    std::unique_ptr<MapModel> m_model;
    std::unique_ptr<DeviceView> m_view;
};

void tst_DeviceView::init()
{
    qRegisterMetaType<QList<quint64>>();
    m_dictionary = std::make_unique<DeviceDictionary>();
    m_dictionary->addEntry(definition("Vela Graze RGB", "00100000", "001FFFFF"));
    m_dictionary->addEntry(definition("Vela Flood RGBW", "00200000", "002FFFFF"));
    // A definition that itself calls its kind "unknown" is still listed as the fixture.
    m_dictionary->addEntry(definition("UNKNOWN DEVICE", "00300000", "003FFFFF"));
    m_model = std::make_unique<MapModel>();
    auto supply = std::make_unique<DataSupply>(DataSupply::VistraIp);
    supply->setUid(kSupplyUid);
    supply->setName(QStringLiteral("PDS-480 East"));
    QVERIFY(m_model->addDataSupply(std::move(supply)));
    m_view = std::make_unique<DeviceView>(*m_model, *m_dictionary);
}

void tst_DeviceView::cleanup()
{
    m_view.reset();
    m_model.reset();
    m_dictionary.reset();
}

Light *tst_DeviceView::addLight(quint64 uid, const QString &name, quint64 serial, int channel)
{
    auto light = std::make_unique<Light>();
    light->setUid(uid);
    light->setName(name);
    light->setSerialNumber(serial);
    light->setChannel(channel);
    light->setDataSupply(kSupplyUid);
    Light *raw = light.get();
    if (!m_model->addLight(std::move(light)))
        return nullptr;
    m_model->dataSupply(kSupplyUid)->addLight(uid);
    return raw;
}

QStringList tst_DeviceView::kindNames() const
{
    QStringList names;
    for (int i = 0; i < m_view->topLevelItemCount(); ++i)
        names.append(m_view->topLevelItem(i)->text(DeviceView::LabelColumn));
    names.sort();
    return names;
}

void tst_DeviceView::burstOfChangesRebuildsOnce()
{
    QSignalSpy selections(m_view.get(), &DeviceView::updatedSelection);
    for (quint64 uid = 1; uid <= 200; ++uid)
        addLight(uid, QStringLiteral("L%1").arg(uid), kGrazeSerial + uid);
    // Nothing is built while the changes keep coming.
    QCOMPARE(m_view->topLevelItemCount(), 0);
    QVERIFY(m_view->isRebuildPending());
    QTRY_VERIFY(!m_view->isRebuildPending());
    QCOMPARE(m_view->kindItem(QStringLiteral("Vela Graze RGB"))->childCount(), 200);
    // One rebuild, one selection report.
    QCOMPARE(selections.count(), 1);
    QCOMPARE(selections.at(0).at(0).value<QList<quint64>>().size(), 200);
}

void tst_DeviceView::followsEditsDeletesAndClear()
{
    Light *light = addLight(1, QStringLiteral("Column"), kGrazeSerial);
    addLight(2, QStringLiteral("Canopy"), kGrazeSerial + 1);
    m_view->rebuild();

    light->setName(QStringLiteral("Column renamed"));
    light->setChannel(6);
    QVERIFY(!m_view->isRebuildPending());
    QCOMPARE(m_view->lightItem(1)->text(DeviceView::LabelColumn), QStringLiteral("Column renamed"));
    QCOMPARE(m_view->lightItem(1)->text(DeviceView::ChannelColumn), QStringLiteral("7"));

    m_model->dataSupply(kSupplyUid)->setName(QStringLiteral("PDS-480 West"));
    QCOMPARE(m_view->lightItem(2)->text(DeviceView::SupplyColumn), QStringLiteral("PDS-480 West"));

    // A new serial moves the light to its new kind.
    light->setSerialNumber(kFloodSerial);
    QTRY_VERIFY(!m_view->isRebuildPending());
    QCOMPARE(m_view->lightItem(1)->parent(), m_view->kindItem(QStringLiteral("Vela Flood RGBW")));

    QVERIFY(m_model->removeLight(2));
    QTRY_VERIFY(!m_view->lightItem(2));
    QVERIFY(!m_view->kindItem(QStringLiteral("Vela Graze RGB")));

    m_model->clear();
    QTRY_COMPARE(m_view->topLevelItemCount(), 0);
}

void tst_DeviceView::selectionPassesLightUidsOn()
{
    addLight(1, QStringLiteral("A"), kGrazeSerial);
    addLight(2, QStringLiteral("B"), kGrazeSerial + 1);
    addLight(3, QStringLiteral("C"), kFloodSerial);
    m_view->rebuild();
    QSignalSpy selections(m_view.get(), &DeviceView::updatedSelection);

    m_view->clearSelection();
    QVERIFY(!selections.isEmpty());
    QVERIFY(selections.last().at(0).value<QList<quint64>>().isEmpty());

    m_view->lightItem(3)->setSelected(true);
    QCOMPARE(selections.last().at(0).value<QList<quint64>>(), QList<quint64>{3});

    // A selected kind stands for all its lights; a light is reported once.
    m_view->kindItem(QStringLiteral("Vela Graze RGB"))->setSelected(true);
    m_view->lightItem(1)->setSelected(true);
    QList<quint64> uids = selections.last().at(0).value<QList<quint64>>();
    std::sort(uids.begin(), uids.end());
    QCOMPARE(uids, (QList<quint64>{1, 2, 3}));
    QCOMPARE(m_view->selectedLightUids().size(), 3);
}

QTEST_MAIN(tst_DeviceView)
#include "tst_deviceview.moc"
