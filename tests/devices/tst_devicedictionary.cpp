#include "logcapture.h"

#include "devices/devicedictionary.h"
#include "devices/devicepresentation.h"
#include "support/mapbuild.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

namespace {

using EntryPointer = DeviceDictionary::EntryPointer;

// A definition with the given plain ranges ("start-end" in hex) and product-code ranges
// ("start-end/code").
EntryPointer definition(const QString &name, const QStringList &ranges,
                        const QString &type = QStringLiteral("FIXTURE"))
{
    QByteArray json = "{\"DeviceType\": \"" + type.toUtf8() + "\", \"DeviceName\": \"" +
                      name.toUtf8() + "\", \"SerialNumberRanges\": [";
    for (int i = 0; i < ranges.size(); ++i) {
        const QString code = ranges.at(i).section(QLatin1Char('/'), 1);
        const QString bounds = ranges.at(i).section(QLatin1Char('/'), 0, 0);
        json += (i ? ", " : "") + QByteArray("{\"start\": \"") +
                bounds.section(QLatin1Char('-'), 0, 0).toUtf8() + "\", \"end\": \"" +
                bounds.section(QLatin1Char('-'), 1).toUtf8() + "\"";
        if (!code.isEmpty())
            json += ", \"productCode\": \"" + code.toUtf8() + "\"";
        json += "}";
    }
    json += "]}";
    return std::make_shared<const DeviceEntry>(name + QStringLiteral(".json"), json);
}

QStringList names(const QList<EntryPointer> &entries)
{
    QStringList list;
    for (const EntryPointer &e : entries)
        list << e->deviceName();
    return list;
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

class tst_DeviceDictionary : public QObject
{
    Q_OBJECT

private slots:
    void boundsAreInclusive_data();
    void boundsAreInclusive();
    void duplicateRangeLogsAndLaterFileWins();
    void overlappingRangesLowerStartWins_data();
    void overlappingRangesLowerStartWins();
    void productCodeRangesAreInvisibleToThePlainLookup();
    void productCodeLookupInRegistryOrder();
    void deviceNameTest();
    void registriesAreOrderedAsUnsigned();
    void entriesOfType();
    void folderLoadingSkipsBrokenFiles();
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

void tst_DeviceDictionary::boundsAreInclusive_data()
{
    QTest::addColumn<quint64>("serial");
    QTest::addColumn<QString>("name");

    QTest::newRow("start") << quint64(0x10110000) << "Graze";
    QTest::newRow("end") << quint64(0x1011FFFF) << "Graze";
    QTest::newRow("inside") << quint64(0x1011213B) << "Graze";
    QTest::newRow("before start") << quint64(0x1010FFFF) << "Unknown Device";
    QTest::newRow("after end") << quint64(0x10120000) << "Unknown Device";
    QTest::newRow("single-serial range") << quint64(0x01A20011) << "One";
    QTest::newRow("48-bit start") << quint64(0x7A7000000000ULL) << "Rdm";
    QTest::newRow("48-bit end") << quint64(0x7A70FFFFFFFFULL) << "Rdm";
    QTest::newRow("top of 64 bits") << quint64(0xFFFFFFFFFFFFFFFFULL) << "Top";
    QTest::newRow("zero") << quint64(0) << "Unknown Device";
}

void tst_DeviceDictionary::boundsAreInclusive()
{
    QFETCH(quint64, serial);
    QFETCH(QString, name);

    DeviceDictionary dictionary;
    dictionary.addEntry(definition(QStringLiteral("Graze"), {"10110000-1011FFFF"}));
    dictionary.addEntry(definition(QStringLiteral("One"), {"01A20011-01A20011"}));
    dictionary.addEntry(definition(QStringLiteral("Rdm"), {"7A7000000000-7A70FFFFFFFF"}));
    dictionary.addEntry(definition(QStringLiteral("Top"), {"FFFFFFFFFFFFFF00-FFFFFFFFFFFFFFFF"}));
    QCOMPARE(dictionary.deviceNameForSerial(serial), name);
    QCOMPARE(bool(dictionary.entryForSerial(serial)), name != QLatin1String("Unknown Device"));
}

void tst_DeviceDictionary::duplicateRangeLogsAndLaterFileWins()
{
    DeviceDictionary dictionary;
    LogCapture log;
    dictionary.addEntry(definition(QStringLiteral("First"), {"10110000-1011FFFF"}));
    dictionary.addEntry(definition(QStringLiteral("Second"), {"10110000-1011FFFF"}));
    QCOMPARE(log.lines(), QStringList{QStringLiteral(
                              "DeviceDictionary - Duplicated sn range QPair(269549568,269615103) "
                              "\"First\" is duplicated by \"Second\"")});
    QCOMPARE(dictionary.deviceNameForSerial(0x10110000), QStringLiteral("Second"));
    QCOMPARE(dictionary.serialRanges().size(), 1);
    QCOMPARE(dictionary.entries().size(), 2);

    // Same start but another end is not a duplicate.
    log.clear();
    dictionary.addEntry(definition(QStringLiteral("Third"), {"10110000-10110FFF"}));
    QVERIFY(log.lines().isEmpty());
}

void tst_DeviceDictionary::overlappingRangesLowerStartWins_data()
{
    QTest::addColumn<quint64>("serial");
    QTest::addColumn<QString>("name");

    QTest::newRow("only the wide range") << quint64(0x1F0) << "Wide";
    QTest::newRow("both, lower start wins") << quint64(0x150) << "Early";
    QTest::newRow("same start, lower end wins") << quint64(0x105) << "Early";
    QTest::newRow("only the early range") << quint64(0x090) << "Early";
}

void tst_DeviceDictionary::overlappingRangesLowerStartWins()
{
    QFETCH(quint64, serial);
    QFETCH(QString, name);

    LogCapture log;
    DeviceDictionary dictionary;
    dictionary.addEntry(definition(QStringLiteral("Wide"), {"100-1FF"}));
    dictionary.addEntry(definition(QStringLiteral("Early"), {"080-17F", "100-10F"}));
    QCOMPARE(dictionary.deviceNameForSerial(serial), name);
    // Overlaps that are not identical are not reported.
    QVERIFY(log.lines().isEmpty());
}

void tst_DeviceDictionary::productCodeRangesAreInvisibleToThePlainLookup()
{
    DeviceDictionary dictionary;
    dictionary.addEntry(definition(QStringLiteral("Graze RDM"),
                                   {"7A7001000000-7A7001FFFFFF/D.0301-P.0101-F.0102"},
                                   QStringLiteral("RDM_FIXTURE")));
    const quint64 serial = 0x7A7001000042ULL;
    QVERIFY(!dictionary.entryForSerial(serial));
    QCOMPARE(dictionary.deviceNameForSerial(serial), QStringLiteral("Unknown Device"));
    QVERIFY(dictionary.serialRanges().isEmpty());
    QCOMPARE(names(dictionary.productCodeEntriesForSerial(serial)), QStringList{"Graze RDM"});
    QVERIFY(dictionary.productCodeEntriesForSerial(0x7A7002000000ULL).isEmpty());
}

void tst_DeviceDictionary::productCodeLookupInRegistryOrder()
{
    LogCapture log;
    DeviceDictionary dictionary;
    dictionary.addEntry(
        definition(QStringLiteral("B"), {"7A7001000000-7A7001FFFFFF/D.0301-P.0101-F.0200"}));
    dictionary.addEntry(
        definition(QStringLiteral("A"), {"7A7001000000-7A7001FFFFFF/D.0301-P.0101-F.0102"}));
    dictionary.addEntry(
        definition(QStringLiteral("Narrow"), {"7A7001000000-7A70010000FF/D.0301-P.0101-F.0300"}));
    dictionary.addEntry(
        definition(QStringLiteral("Wide"), {"7A7000000000-7A70FFFFFFFF/D.0001-P.0101-F.0001"}));
    // Start, then end, then product code (string order).
    QCOMPARE(names(dictionary.productCodeEntriesForSerial(0x7A7001000010ULL)),
             (QStringList{"Wide", "Narrow", "A", "B"}));
    QCOMPARE(names(dictionary.productCodeEntriesForSerial(0x7A7001000100ULL)),
             (QStringList{"Wide", "A", "B"}));

    // The same product-code key again replaces the entry without a message.
    dictionary.addEntry(
        definition(QStringLiteral("A2"), {"7A7001000000-7A7001FFFFFF/D.0301-P.0101-F.0102"}));
    QCOMPARE(names(dictionary.productCodeEntriesForSerial(0x7A7001000100ULL)),
             (QStringList{"Wide", "A2", "B"}));
    QCOMPARE(dictionary.productCodeRanges().size(), 4);
    QVERIFY(log.lines().isEmpty());
}

void tst_DeviceDictionary::deviceNameTest()
{
    DeviceDictionary dictionary;
    dictionary.addEntry(
        definition(QStringLiteral("Generic RDM Fixture"), {"7A7000000000-7A70FFFFFFFF"}));
    dictionary.addEntry(definition(QStringLiteral("Graze RDM"),
                                   {"7A7001000000-7A7001FFFFFF/D.0301-P.0101-F.0102"}));
    const quint64 serial = 0x7A7001000001ULL;
    QVERIFY(dictionary.isDevice(serial, QStringLiteral("Graze RDM")));
    QVERIFY(dictionary.isDevice(serial, QStringLiteral("Generic RDM Fixture")));
    QVERIFY(!dictionary.isDevice(serial, QStringLiteral("graze rdm")));
    QVERIFY(!dictionary.isDevice(0x7A7002000000ULL, QStringLiteral("Graze RDM")));
    QVERIFY(!dictionary.isDevice(0x10, QStringLiteral("Unknown Device")));
}

void tst_DeviceDictionary::registriesAreOrderedAsUnsigned()
{
    DeviceDictionary dictionary;
    dictionary.addEntry(definition(QStringLiteral("Top"), {"FFFFFFFFFFFFFF00-FFFFFFFFFFFFFFFF"}));
    dictionary.addEntry(definition(QStringLiteral("Rdm"), {"7A7000000000-7A70FFFFFFFF"}));
    dictionary.addEntry(definition(QStringLiteral("Low"), {"10-1F", "10-11"}));
    const QList<SerialRange> ranges = dictionary.serialRanges();
    QCOMPARE(ranges, (QList<SerialRange>{{0x10, 0x11},
                                         {0x10, 0x1F},
                                         {0x7A7000000000ULL, 0x7A70FFFFFFFFULL},
                                         {0xFFFFFFFFFFFFFF00ULL, 0xFFFFFFFFFFFFFFFFULL}}));
}

void tst_DeviceDictionary::entriesOfType()
{
    DeviceDictionary dictionary;
    dictionary.addEntry(definition(QStringLiteral("F1"), {"10-1F"}));
    dictionary.addEntry(definition(QStringLiteral("P1"), {"20-2F"}, QStringLiteral("pds")));
    dictionary.addEntry(definition(QStringLiteral("F2"), {"30-3F"}, QStringLiteral("Fixture")));
    dictionary.addEntry(std::make_shared<const DeviceEntry>(QStringLiteral("bad.json"), "nope"));
    QCOMPARE(names(dictionary.entriesOfType(DeviceType::FIXTURE)), (QStringList{"F1", "F2"}));
    QCOMPARE(names(dictionary.entriesOfType(DeviceType::PDS)), QStringList{"P1"});
    // Files that did not load are kept in the list of entries but belong to no kind.
    QVERIFY(dictionary.entriesOfType(DeviceType::UNKNOWN).isEmpty());
    QCOMPARE(dictionary.entries().size(), 4);
}

void tst_DeviceDictionary::folderLoadingSkipsBrokenFiles()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QVERIFY(writeFile(dir.filePath("fixtures/graze.json"),
                      R"json({"DeviceType": "FIXTURE", "DeviceName": "Graze",
                          "SerialNumberRanges": [{"start": "10110000", "end": "1011FFFF"}]})json"));
    QVERIFY(writeFile(dir.filePath("fixtures/deeper/point.json"),
                      R"json({"DeviceType": "FIXTURE", "DeviceName": "Point",
                          "SerialNumberRanges": [{"start": "10310000", "end": "1031FFFF"}]})json"));
    QVERIFY(writeFile(dir.filePath("broken.json"), "{\"DeviceType\": \"PDS\", "));
    QVERIFY(writeFile(dir.filePath("notes.txt"),
                      R"json({"DeviceName": "Not a definition",
                          "SerialNumberRanges": [{"start": "0", "end": "FFFFFFFF"}]})json"));

    LogCapture log;
    DeviceDictionary dictionary;
    dictionary.loadFolder(dir.path());
    QCOMPARE(dictionary.entries().size(), 3);
    QCOMPARE(log.lines().size(), 1);
    QVERIFY(log.lines().constFirst().contains(dir.filePath("broken.json")));
    QVERIFY(log.lines().constFirst().endsWith(QLatin1String("is empty or improperly formatted")));
    QCOMPARE(dictionary.deviceNameForSerial(0x10110001), QStringLiteral("Graze"));
    QCOMPARE(dictionary.deviceNameForSerial(0x10310001), QStringLiteral("Point"));
    QCOMPARE(dictionary.deviceNameForSerial(0x01A20011), QStringLiteral("Unknown Device"));
}

void tst_DeviceDictionary::interfaceType_data()
{
    QTest::addColumn<uint>("type");
    QTest::addColumn<QString>("text");

    QTest::newRow("unicast") << 2u << "Vistra Interface";
    QTest::newRow("broadcast") << 3u << "Vistra Broadcast Interface";
    QTest::newRow("zero") << 0u << "Unknown Interface Type";
    QTest::newRow("sACN") << 6u << "Unknown Interface Type";
}

void tst_DeviceDictionary::interfaceType()
{
    QFETCH(uint, type);
    QFETCH(QString, text);
    QCOMPARE(DevicePresentation::interfaceTypeText(type), text);
}

void tst_DeviceDictionary::protocolVersions_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("version");

    QTest::newRow("v1") << "Vistra v1" << 1;
    QTest::newRow("v3") << "Vistra v3" << 3;
    QTest::newRow("any case") << "VISTRA V2" << 2;
    QTest::newRow("other text") << "Vistra v4" << 0;
    QTest::newRow("empty") << "" << 0;
}

void tst_DeviceDictionary::protocolVersions()
{
    QFETCH(QString, text);
    QFETCH(int, version);
    QCOMPARE(DevicePresentation::protocolVersionFromText(text), version);
    if (version)
        QCOMPARE(DevicePresentation::protocolVersionTexts()
                     .at(DevicePresentation::protocolVersionIndex(version))
                     .toLower(),
                 text.toLower());
    // Versions outside 1..3 leave the combo at its first item.
    QCOMPARE(DevicePresentation::protocolVersionIndex(0), 0);
    QCOMPARE(DevicePresentation::protocolVersionIndex(7), 0);
}

void tst_DeviceDictionary::typedNumbers_data()
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

void tst_DeviceDictionary::typedNumbers()
{
    QFETCH(QString, text);
    QFETCH(uint, decimal);
    QFETCH(quint64, serial);
    QCOMPARE(DevicePresentation::decimalFromText(text), decimal);
    QCOMPARE(DevicePresentation::serialFromText(text), serial);
    QCOMPARE(DevicePresentation::serialFromText(DevicePresentation::serialText(serial)), serial);
}

void tst_DeviceDictionary::unknownKindsAreTheGenericFixture_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<quint64>("serial");
    QTest::addColumn<QString>("kind");

    QTest::newRow("known") << "Vela Graze RGB" << quint64(0x10110000) << "Vela Graze RGB";
    QTest::newRow("no definition") << "Vela Graze RGB" << quint64(0x99) << "Vela Fixture";
    // A definition that itself calls its kind "unknown device" is not shown under that name.
    QTest::newRow("named unknown in another case")
        << "UNKNOWN DEVICE" << quint64(0x10110000) << "Vela Fixture";
}

void tst_DeviceDictionary::unknownKindsAreTheGenericFixture()
{
    QFETCH(QString, name);
    QFETCH(quint64, serial);
    QFETCH(QString, kind);
    DeviceDictionary dictionary;
    dictionary.addEntry(definition(name, {"10110000-1011FFFF"}));
    QCOMPARE(DevicePresentation::deviceViewKind(dictionary, serial), kind);
}

// Kinds in the order of their first light, lights in uid order, channels shown one-based.
void tst_DeviceDictionary::lightsGroupedByKind()
{
    DeviceDictionary dictionary;
    dictionary.addEntry(definition(QStringLiteral("Vela Graze RGB"), {"10110000-1011FFFF"}));
    dictionary.addEntry(definition(QStringLiteral("Vela Point Node RGB"), {"10310000-1031FFFF"}));

    MapModel model;
    const quint64 supply = MapBuild::supply(model, QStringLiteral("North PDS"));
    const QList<quint64> serials{0x10310001, 0x10110000, 0xDEAD, 0x10110001};
    for (int i = 0; i < serials.size(); ++i) {
        Light *light = model.light(MapBuild::light(model, i == 2 ? 99 : supply, 0, 0,
                                                   QStringLiteral("L%1").arg(i), 10 + i));
        light->setSerialNumber(serials.at(i));
        light->setChannel(3 * i);
    }

    QStringList kinds;
    for (const DevicePresentation::DeviceViewKind &kind :
         DevicePresentation::groupLightsByKind(model, dictionary)) {
        QStringList rows;
        for (const DevicePresentation::DeviceViewRow &row : kind.rows)
            rows << QStringLiteral("%1 #%2 ch%3 %4")
                        .arg(row.label)
                        .arg(row.lightUid)
                        .arg(row.displayedChannel)
                        .arg(row.supplyName.isEmpty() ? QStringLiteral("-") : row.supplyName);
        kinds << kind.name + QStringLiteral(": ") + rows.join(QStringLiteral(", "));
    }
    QCOMPARE(kinds, (QStringList{"Vela Point Node RGB: L0 #10 ch1 North PDS",
                                 "Vela Graze RGB: L1 #11 ch4 North PDS, L3 #13 ch10 North PDS",
                                 "Vela Fixture: L2 #12 ch7 -"}));
}

QTEST_GUILESS_MAIN(tst_DeviceDictionary)
#include "tst_devicedictionary.moc"
