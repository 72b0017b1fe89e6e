#include "logcapture.h"

#include "devices/devicedictionary.h"

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

QTEST_GUILESS_MAIN(tst_DeviceDictionary)
#include "tst_devicedictionary.moc"
