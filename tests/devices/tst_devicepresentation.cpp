#include "devices/devicedictionary.h"
#include "devices/devicepresentation.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QtTest>

using namespace DevicePresentation;

namespace {

std::shared_ptr<const DeviceEntry> definition(const QByteArray &name, const QByteArray &start,
                                              const QByteArray &end)
{
    return std::make_shared<const DeviceEntry>(
        QStringLiteral("x.json"), "{\"DeviceType\": \"FIXTURE\", \"DeviceName\": \"" + name +
                                      "\", \"SerialNumberRanges\": [{\"start\": \"" + start +
                                      "\", \"end\": \"" + end + "\"}]}");
}

} // namespace

class tst_DevicePresentation : public QObject
{
    Q_OBJECT

private slots:
    void interfaceType_data();
    void interfaceType();
    void protocolVersions_data();
    void protocolVersions();
    void typedNumbers_data();
    void typedNumbers();
    void unknownKindsAreTheGenericFixture_data();
    void unknownKindsAreTheGenericFixture();
    void lightsGroupedByKind();
};

void tst_DevicePresentation::interfaceType_data()
{
    QTest::addColumn<uint>("type");
    QTest::addColumn<QString>("text");

    QTest::newRow("unicast") << 2u << "Vistra Interface";
    QTest::newRow("broadcast") << 3u << "Vistra Broadcast Interface";
    QTest::newRow("zero") << 0u << "Unknown Interface Type";
    QTest::newRow("sACN") << 6u << "Unknown Interface Type";
}

void tst_DevicePresentation::interfaceType()
{
    QFETCH(uint, type);
    QFETCH(QString, text);
    QCOMPARE(interfaceTypeText(type), text);
}

void tst_DevicePresentation::protocolVersions_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("version");

    QTest::newRow("v1") << "Vistra v1" << 1;
    QTest::newRow("v3") << "Vistra v3" << 3;
    QTest::newRow("any case") << "VISTRA V2" << 2;
    QTest::newRow("other text") << "Vistra v4" << 0;
    QTest::newRow("empty") << "" << 0;
}

void tst_DevicePresentation::protocolVersions()
{
    QFETCH(QString, text);
    QFETCH(int, version);
    QCOMPARE(protocolVersionFromText(text), version);
    if (version)
        QCOMPARE(protocolVersionTexts().at(protocolVersionIndex(version)).toLower(),
                 text.toLower());
    // Versions outside 1..3 leave the combo at its first item.
    QCOMPARE(protocolVersionIndex(0), 0);
    QCOMPARE(protocolVersionIndex(7), 0);
}

void tst_DevicePresentation::typedNumbers_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<uint>("decimal");
    QTest::addColumn<quint64>("serial");

    QTest::newRow("number") << "12" << 12u << quint64(0x12);
    QTest::newRow("not a number") << "abc" << 0u << quint64(0xABC);
    QTest::newRow("spaces") << " 7 " << 7u << quint64(7);
    QTest::newRow("negative") << "-1" << 0u << quint64(0);
    QTest::newRow("empty") << "" << 0u << quint64(0);
    QTest::newRow("supply serial") << "1A20011" << 0u << quint64(0x01A20011);
}

void tst_DevicePresentation::typedNumbers()
{
    QFETCH(QString, text);
    QFETCH(uint, decimal);
    QFETCH(quint64, serial);
    QCOMPARE(decimalFromText(text), decimal);
    QCOMPARE(serialFromText(text), serial);
    QCOMPARE(serialFromText(serialText(serial)), serial);
}

void tst_DevicePresentation::unknownKindsAreTheGenericFixture_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<quint64>("serial");
    QTest::addColumn<QString>("kind");

    QTest::newRow("known") << QByteArray("Vela Graze RGB") << quint64(0x10110000)
                           << "Vela Graze RGB";
    QTest::newRow("no definition")
        << QByteArray("Vela Graze RGB") << quint64(0x99) << "Vela Fixture";
    // A definition that itself calls its kind "unknown device" is not shown under that name.
    QTest::newRow("named unknown in another case")
        << QByteArray("UNKNOWN DEVICE") << quint64(0x10110000) << "Vela Fixture";
}

void tst_DevicePresentation::unknownKindsAreTheGenericFixture()
{
    QFETCH(QByteArray, name);
    QFETCH(quint64, serial);
    QFETCH(QString, kind);
    DeviceDictionary dictionary;
    dictionary.addEntry(definition(name, "10110000", "1011FFFF"));
    QCOMPARE(deviceViewKind(dictionary, serial), kind);
}

void tst_DevicePresentation::lightsGroupedByKind()
{
    DeviceDictionary dictionary;
    dictionary.addEntry(definition("Vela Graze RGB", "10110000", "1011FFFF"));
    dictionary.addEntry(definition("Vela Point Node RGB", "10310000", "1031FFFF"));

    MapModel model;
    auto supply = std::make_unique<DataSupply>(DataSupply::VistraIp);
    supply->setUid(1);
    supply->setName(QStringLiteral("North PDS"));
    model.addDataSupply(std::move(supply));
    const QList<quint64> serials{0x10310001, 0x10110000, 0xDEAD, 0x10110001};
    for (int i = 0; i < serials.size(); ++i) {
        auto light = std::make_unique<Light>();
        light->setUid(10 + i);
        light->setName(QStringLiteral("L%1").arg(i));
        light->setSerialNumber(serials.at(i));
        light->setChannel(3 * i);
        light->setDataSupply(i == 2 ? 99 : 1);
        model.addLight(std::move(light));
    }

    const QVector<DeviceViewKind> kinds = groupLightsByKind(model, dictionary);
    QCOMPARE(kinds.size(), 3);
    QCOMPARE(kinds.at(0).name, QStringLiteral("Vela Point Node RGB"));
    QCOMPARE(kinds.at(1).name, QStringLiteral("Vela Graze RGB"));
    QCOMPARE(kinds.at(2).name, QStringLiteral("Vela Fixture"));
    // Two lights of one kind under one item, channels shown one-based.
    QCOMPARE(kinds.at(1).rows.size(), 2);
    QCOMPARE(kinds.at(1).rows.at(0).label, QStringLiteral("L1"));
    QCOMPARE(kinds.at(1).rows.at(0).displayedChannel, 4);
    QCOMPARE(kinds.at(1).rows.at(1).lightUid, quint64(13));
    QCOMPARE(kinds.at(0).rows.at(0).displayedChannel, 1);
    QCOMPARE(kinds.at(0).rows.at(0).supplyName, QStringLiteral("North PDS"));
    QCOMPARE(kinds.at(2).rows.at(0).supplyName, QString());
}

QTEST_GUILESS_MAIN(tst_DevicePresentation)
#include "tst_devicepresentation.moc"
