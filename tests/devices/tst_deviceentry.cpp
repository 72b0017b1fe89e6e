#include "describe.h"
#include "logcapture.h"

#include "devices/deviceentry.h"
#include "devices/dmxaddress.h"
#include "devices/jsonvalues.h"

#include <QJsonDocument>
#include <QTemporaryDir>
#include <QtTest>

namespace {

DeviceEntry entry(const QByteArray &json)
{
    return DeviceEntry(QStringLiteral("test.json"), json);
}

MemoryMapEntry item(const QByteArray &json)
{
    return MemoryMapEntry::fromJson(QJsonDocument::fromJson(json).object());
}

const QString kMissingAddresses =
    QStringLiteral("Json file missing read/write addresses or is invalid");

} // namespace

class tst_DeviceEntry : public QObject
{
    Q_OBJECT

private slots:
    void deviceType_data();
    void deviceType();
    void serialRanges();
    void memoryMapByNameLaterWins();
    void staticValues_data();
    void staticValues();
    void tintlockProfiles();
    void metadata_data();
    void metadata();
    void unreadableFiles_data();
    void unreadableFiles();
    void wrongTypesAreSkippedSilently();
    void memoryMapItems_data();
    void memoryMapItems();
    void bigEndianValues_data();
    void bigEndianValues();
    void dmxAddressRule_data();
    void dmxAddressRule();
    void dmxOffsetText_data();
    void dmxOffsetText();
    void dmxOffsetThroughItsMemoryMapItem();
};

void tst_DeviceEntry::deviceType_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<int>("type");

    QTest::newRow("upper") << QByteArray(R"json({"DeviceType": "FIXTURE"})json") << 3;
    QTest::newRow("lower") << QByteArray(R"json({"DeviceType": "fixture"})json") << 3;
    QTest::newRow("mixed") << QByteArray(R"json({"DeviceType": "Rdm_Fixture"})json") << 5;
    QTest::newRow("every kind, PDS") << QByteArray(R"json({"DeviceType": "PDS"})json") << 1;
    QTest::newRow("OTHER") << QByteArray(R"json({"DeviceType": "OTHER"})json") << 9;
    QTest::newRow("not in the table") << QByteArray(R"json({"DeviceType": "LAMP"})json") << 0;
    QTest::newRow("number") << QByteArray(R"json({"DeviceType": 3})json") << 0;
    QTest::newRow("missing") << QByteArray(R"json({"DeviceName": "X"})json") << 0;
}

void tst_DeviceEntry::deviceType()
{
    QFETCH(QByteArray, json);
    QFETCH(int, type);
    QCOMPARE(static_cast<int>(entry(json).deviceType()), type);
}

void tst_DeviceEntry::serialRanges()
{
    const DeviceEntry e = entry(R"json({"DeviceName": "Graze", "SerialNumberRanges": [
        {"start": "10110000", "end": "1011FFFF"},
        {"start": "7A7001000000", "end": "7A7001FFFFFF", "productCode": "D.0301-P.0101-F.0102"},
        {"start": "10120000"},
        {"end": "1012FFFF"},
        {"start": "zz", "end": "20"},
        {"start": 5, "end": "ffffffffffffffff"},
        "10130000"
    ]})json");
    QCOMPARE(e.deviceName(), QStringLiteral("Graze"));
    QCOMPARE(
        e.serialRanges(),
        (QVector<SerialRange>{{0x10110000, 0x1011FFFF}, {0, 0x20}, {0, 0xFFFFFFFFFFFFFFFFULL}}));
    QCOMPARE(e.productCodeRanges(),
             (QVector<ProductCodeRange>{
                 {0x7A7001000000ULL, 0x7A7001FFFFFFULL, QStringLiteral("D.0301-P.0101-F.0102")}}));
}

void tst_DeviceEntry::memoryMapByNameLaterWins()
{
    LogCapture log;
    const DeviceEntry e = entry(R"json({"MemoryMap": [
        {"name": "LED_CHEMISTRY", "address": 70},
        {"name": "DMX_OFFSET", "address": [64, 65]},
        {"name": "LED_CHEMISTRY", "address": 0},
        {"name": "BROKEN", "address": 1, "readAddress": 2},
        "not an item"
    ]})json");
    QCOMPARE(e.memoryMap().keys(), (QStringList{"BROKEN", "DMX_OFFSET", "LED_CHEMISTRY"}));
    QVERIFY(e.memoryMapEntry(QStringLiteral("LED_CHEMISTRY"))->readAddresses().isEmpty());
    QVERIFY(!e.memoryMapEntry(QStringLiteral("NOT_THERE")));
    // The broken item is kept and logged once.
    QCOMPARE(log.lines(), QStringList{kMissingAddresses});
}

void tst_DeviceEntry::staticValues_data()
{
    QTest::addColumn<QByteArray>("element");
    QTest::addColumn<QString>("name");
    QTest::addColumn<qint64>("value");

    const auto row = [](const char *name, const char *element, const char *key, qint64 value) {
        QTest::newRow(name) << QByteArray(element) << QString(key) << value;
    };
    row("hex text", R"({"name": "sftLocation", "value": "0x7F84"})", "sftLocation", 32644);
    row("decimal text reads as 0", R"({"name": "X", "value": "12"})", "X", 0);
    row("keys in any case", R"({"NAME": "X", "VALUE": 5})", "X", 5);
    row("number", R"({"name": "LED_CHEMISTRY", "value": 3})", "LED_CHEMISTRY", 3);
    row("no value stores 0", R"({"name": "X"})", "X", 0);
    row("bad hex reads as 0", R"({"name": "X", "value": "0xZZ"})", "X", 0);
    row("0X is not 0x", R"({"name": "X", "value": "0X10"})", "X", 0);
    row("wide hex", R"({"name": "X", "value": "0xFFFFFFFF"})", "X", 0xFFFFFFFF);
}

void tst_DeviceEntry::staticValues()
{
    QFETCH(QByteArray, element);
    QFETCH(QString, name);
    QFETCH(qint64, value);
    const DeviceEntry e = entry("{\"StaticValues\": [" + element + "]}");
    QVERIFY(e.hasStaticValue(name));
    QCOMPARE(e.staticValue(name), value);
    QCOMPARE(e.staticValues().size(), 1);
}

void tst_DeviceEntry::tintlockProfiles()
{
    const DeviceEntry e = entry(R"json({"TintlockProfiles": [
        {"ledChemistry": "Kx3 (WNC)", "profileId": 26, "inputModeMap": {"0": 17, "4": 17}},
        {"ledChemistry": "RGBW", "profileId": 12},
        {"ledChemistry": "RGBAW", "inputModeMap": {}},
        {"profileId": 9, "inputModeMap": {}},
        {"ledChemistry": "RGB", "profileId": 10, "inputModeMap": {"0": 1}},
        {"ledChemistry": "RGB", "profileId": 11, "inputModeMap": {"2": 18}}
    ]})json");
    QCOMPARE(e.profileIds().size(), 2);
    QCOMPARE(e.profileId(QStringLiteral("Kx3 (WNC)")), std::optional<int>(26));
    QCOMPARE(e.inputModeMap(QStringLiteral("Kx3 (WNC)")), (QMap<int, int>{{0, 17}, {4, 17}}));
    // A repeated chemistry replaces the earlier profile.
    QCOMPARE(e.profileId(QStringLiteral("RGB")), std::optional<int>(11));
    QCOMPARE(e.inputModeMap(QStringLiteral("RGB")), (QMap<int, int>{{2, 18}}));
    // Elements lacking one of the three keys are skipped.
    QVERIFY(!e.profileId(QStringLiteral("RGBW")));
    QVERIFY(!e.profileId(QStringLiteral("RGBAW")));
}

// The fields that describe a definition file rather than the device, one line each.
static QString metadataOf(const DeviceEntry &e)
{
    const DeviceEntry::FileVerification &v = e.fileVerification();
    QStringList boot;
    for (auto it = e.bootloaderInfo().cbegin(); it != e.bootloaderInfo().cend(); ++it)
        boot << it.key() + QLatin1Char('=') + it.value().toString();
    return QStringLiteral("verified=%1 by=%2 date=%3 sft=%4 port=%5 boot=%6")
        .arg(v.verified)
        .arg(v.verifiedBy, v.date, e.sftNumbers().join(QLatin1Char(',')))
        .arg(e.discoverPort())
        .arg(boot.join(QLatin1Char(',')));
}

void tst_DeviceEntry::metadata_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("expected");
    const QString none = QStringLiteral("verified=0 by=Not Verified date=Not Verified sft= ");
    QTest::newRow("nothing given")
        << QByteArray(R"json({"DeviceName": "X"})json") << none + "port=0 boot=";
    QTest::newRow("verification record")
        << QByteArray(R"json({"FileVerification": [{"Verified": true, "Verified By": "AB",
                          "Verified Date": "10-15-2018"}]})json")
        << "verified=1 by=AB date=10-15-2018 sft= port=0 boot=";
    QTest::newRow("a later record overwrites what it holds")
        << QByteArray(R"json({"FileVerification": [{"Verified": true, "Verified By": "AB",
                          "Verified Date": "10-15-2018"}, {"Verified By": "CD"}]})json")
        << "verified=1 by=CD date=10-15-2018 sft= port=0 boot=";
    QTest::newRow("verification not an array")
        << QByteArray(R"json({"FileVerification": {"Verified": true}})json")
        << none + "port=0 boot=";
    QTest::newRow("SFT number as a bare string")
        << QByteArray(R"json({"SFTNumbers": "SFT-000123-00"})json")
        << "verified=0 by=Not Verified date=Not Verified sft=SFT-000123-00 port=0 boot=";
    QTest::newRow("SFT numbers as an array")
        << QByteArray(R"json({"SFTNumbers": ["SFT-1", "SFT-2"]})json")
        << "verified=0 by=Not Verified date=Not Verified sft=SFT-1,SFT-2 port=0 boot=";
    QTest::newRow("SFT number as a number")
        << QByteArray(R"json({"SFTNumbers": 123})json") << none + "port=0 boot=";
    // The discover port is decimal text; anything else given falls back to the protocol port.
    QTest::newRow("port as decimal text")
        << QByteArray(R"json({"DiscoverPort": "6100"})json") << none + "port=6100 boot=";
    QTest::newRow("port as a number")
        << QByteArray(R"json({"DiscoverPort": 6100})json") << none + "port=6038 boot=";
    QTest::newRow("port not a number")
        << QByteArray(R"json({"DiscoverPort": "port"})json") << none + "port=6038 boot=";
    QTest::newRow("port beyond 16 bits")
        << QByteArray(R"json({"DiscoverPort": "70000"})json") << none + "port=6038 boot=";
    QTest::newRow("port in hex") << QByteArray(R"json({"DiscoverPort": "0x17"})json")
                                 << none + "port=6038 boot=";
    // Known bootloader keys only; numbers stay numbers, texts stay texts (leading zeros kept).
    QTest::newRow("bootloader")
        << QByteArray(R"json({"BootloaderInfo": {"BLRev": 3, "ProcName": "TVR-M0-64",
               "Heirarchy": 1, "FileType": "Intel HEX", "WordSize": 2, "WordCount": "00020000",
               "VerLoc": "0x01F7F8", "BLID": "BXQRTLMN0000", "Unlisted": 5}})json")
        << none + "port=0 boot=BLID=BXQRTLMN0000,BLRev=3,FileType=Intel HEX,Heirarchy=1,"
                  "ProcName=TVR-M0-64,VerLoc=0x01F7F8,WordCount=00020000,WordSize=2";
    QTest::newRow("bootloader not an object")
        << QByteArray(R"json({"BootloaderInfo": [1, 2]})json") << none + "port=0 boot=";
}

void tst_DeviceEntry::metadata()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, expected);
    QCOMPARE(metadataOf(entry(json)), expected);
}

void tst_DeviceEntry::unreadableFiles_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("write");

    QTest::newRow("missing") << QByteArray() << false;
    QTest::newRow("empty") << QByteArray() << true;
    QTest::newRow("not JSON") << QByteArray("DeviceType = FIXTURE") << true;
    QTest::newRow("empty object") << QByteArray("{ }") << true;
    QTest::newRow("array") << QByteArray(R"json([{"DeviceType": "FIXTURE"}])json") << true;
    QTest::newRow("cut short")
        << QByteArray(R"json({"DeviceType": "FIXTURE", "SerialNumberRanges": [{"start": "1")json")
        << true;
    // Valid, but no definition of ours is a megabyte: the file is not read.
    QTest::newRow("larger than a definition can be")
        << QByteArray(R"json({"DeviceType": "FIXTURE"})json") +
               QByteArray(int(JsonValues::kMaxFileBytes), ' ')
        << true;
}

void tst_DeviceEntry::unreadableFiles()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, write);

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("broken.json"));
    if (write) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    LogCapture log;
    const DeviceEntry e(path);
    QVERIFY(!e.isLoaded());
    QCOMPARE(e.filePath(), path);
    QVERIFY(e.serialRanges().isEmpty());
    const bool tooLarge = bytes.size() > JsonValues::kMaxFileBytes;
    QCOMPARE(log.lines().size(), tooLarge ? 2 : 1);
    if (tooLarge)
        QVERIFY(log.lines().constFirst().endsWith(QStringLiteral("is larger than 1048576 bytes")));
    QCOMPARE(log.lines().constLast(),
             QStringLiteral("File \"%1\" is empty or improperly formatted").arg(path));
}

void tst_DeviceEntry::wrongTypesAreSkippedSilently()
{
    LogCapture log;
    const DeviceEntry e = entry(R"json({"DeviceType": "PDS", "SerialNumberRanges": {"start": "1",
        "end": "2"}, "MemoryMap": {"name": "X", "address": 1}, "StaticValues": {"name": "X"},
        "TintlockProfiles": "RGB", "FileVerification": true})json");
    QVERIFY(e.isLoaded());
    QCOMPARE(e.deviceType(), DeviceType::PDS);
    QVERIFY(e.serialRanges().isEmpty());
    QVERIFY(e.memoryMap().isEmpty());
    QVERIFY(e.staticValues().isEmpty());
    QVERIFY(e.profileIds().isEmpty());
    QVERIFY(log.lines().isEmpty());
}

// One memory-map item read from its JSON: addresses, default, access, categories, values.
// Items that give no usable address are kept, and logged.
void tst_DeviceEntry::memoryMapItems_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("logged");
    const auto row = [](const char *name, const char *json, const char *expected,
                        bool logged = false) {
        QTest::newRow(name) << QByteArray(json) << QString::fromLatin1(expected) << logged;
    };
    const char *unknown = "UNKNOWN_TOKEN_NAME read - write - shared";
    row("one location", R"({"address": 5})", "UNKNOWN_TOKEN_NAME read 5 write 5 shared");
    row("0 is no location", R"({"address": 0})", unknown);
    row("pair, high byte first", R"({"address": [64, 65]})",
        "UNKNOWN_TOKEN_NAME read 64,65 write 64,65 shared");
    row("0 kept inside an array", R"({"address": [0, 7]})",
        "UNKNOWN_TOKEN_NAME read 0,7 write 0,7 shared");
    row("empty array, set by other messages", R"({"address": []})", unknown);
    row("separate read and write", R"({"readAddress": 22, "writeAddress": 16})",
        "UNKNOWN_TOKEN_NAME read 22 write 16");
    row("read-only reading", R"({"readAddress": [48, 49], "writeAddress": []})",
        "UNKNOWN_TOKEN_NAME read 48,49 write -");
    row("read and write win over address", R"({"address": 5, "readAddress": 6, "writeAddress": 7})",
        "UNKNOWN_TOKEN_NAME read 6 write 7");
    row("address with only readAddress", R"({"address": 5, "readAddress": 6})", unknown, true);
    row("address with only writeAddress", R"({"address": 5, "writeAddress": 6})", unknown, true);
    row("only readAddress", R"({"readAddress": 6})", unknown, true);
    row("no address at all", R"({"name": "X"})", "X read - write - shared", true);
    row("low 16 bits kept", R"({"address": 65541})", "UNKNOWN_TOKEN_NAME read 5 write 5 shared");
    row("low 16 bits inside an array", R"({"address": [65536, 1]})",
        "UNKNOWN_TOKEN_NAME read 0,1 write 0,1 shared");
    row("negative wraps", R"({"address": -1})", "UNKNOWN_TOKEN_NAME read 65535 write 65535 shared");
    row("text is not a number", R"({"address": "5"})", unknown);
    row("huge number does not overflow", R"({"address": 1e300})",
        "UNKNOWN_TOKEN_NAME read 65535 write 65535 shared");
    row("fraction truncated", R"({"address": [7.9]})", "UNKNOWN_TOKEN_NAME read 7 write 7 shared");
    row("defaultValue counts", R"({"name": "CURVE", "address": 1, "defaultValue": 0})",
        "CURVE read 1 write 1 shared default 0");
    row("default does not count", R"({"name": "CURVE", "address": 1, "default": 0})",
        "CURVE read 1 write 1 shared");
    row("default is signed 16-bit", R"({"address": 1, "defaultValue": 65535})",
        "UNKNOWN_TOKEN_NAME read 1 write 1 shared default -1");
    row("access and one category", R"({"address": 1, "access": 644, "category": "settings"})",
        "UNKNOWN_TOKEN_NAME read 1 write 1 shared access 644 [settings]");
    row("category list", R"({"address": 1, "category": ["address", "settings"]})",
        "UNKNOWN_TOKEN_NAME read 1 write 1 shared [address,settings]");
    row("keys are case-sensitive",
        R"({"Name": "X", "address": 1, "DefaultValue": 3, "Access": 666})",
        "UNKNOWN_TOKEN_NAME read 1 write 1 shared");
    row("values keys ignore case",
        R"({"address": 71, "userConfigurable": true, "values": [{"MIN": 0}, {"Max": 1},
            {"NAME": "8 bit", "Value": 0}, {"name": "16 bit", "value": 1}, {"name": "x"}, 7]})",
        "UNKNOWN_TOKEN_NAME read 71 write 71 shared {8 bit=0 16 bit=1 0..1} user");
}

void tst_DeviceEntry::memoryMapItems()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, expected);
    QFETCH(bool, logged);

    LogCapture log;
    QCOMPARE(Describe::item(item(json)), expected);
    QCOMPARE(log.lines(), logged ? QStringList{kMissingAddresses} : QStringList());
}

void tst_DeviceEntry::bigEndianValues_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<quint64>("value");

    QTest::newRow("none") << QByteArray() << quint64(0);
    QTest::newRow("one byte") << QByteArray::fromHex("2a") << quint64(42);
    QTest::newRow("pair, high first") << QByteArray::fromHex("0100") << quint64(256);
    QTest::newRow("four bytes") << QByteArray::fromHex("00012345") << quint64(0x12345);
    QTest::newRow("ten bytes keep the last eight")
        << QByteArray::fromHex("ffff0102030405060708") << quint64(0x0102030405060708ULL);
}

void tst_DeviceEntry::bigEndianValues()
{
    QFETCH(QByteArray, bytes);
    QFETCH(quint64, value);
    QVector<quint8> list;
    for (char c : bytes)
        list.append(static_cast<quint8>(c));
    QCOMPARE(MemoryMapEntry::valueFromBytes(list), value);
}

void tst_DeviceEntry::dmxAddressRule_data()
{
    QTest::addColumn<int>("high");
    QTest::addColumn<int>("low");
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("address");

    QTest::newRow("first channel") << 0x00 << 0x00 << 0 << 1;
    QTest::newRow("high byte first") << 0x01 << 0x00 << 256 << 257;
    QTest::newRow("low byte") << 0x00 << 0x2A << 42 << 43;
    QTest::newRow("last channel") << 0x01 << 0xFF << 511 << 512;
}

void tst_DeviceEntry::dmxAddressRule()
{
    QFETCH(int, high);
    QFETCH(int, low);
    QFETCH(int, offset);
    QFETCH(int, address);

    QCOMPARE(DmxAddress::offsetFromBytes(quint8(high), quint8(low)), offset);
    QCOMPARE(DmxAddress::addressFromOffset(offset), address);
    QCOMPARE(DmxAddress::offsetFromAddress(address), offset);
    const auto bytes = DmxAddress::bytesForOffset(DmxAddress::offsetFromAddress(address));
    QCOMPARE(int(bytes.first), high);
    QCOMPARE(int(bytes.second), low);
}

void tst_DeviceEntry::dmxOffsetText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("address");
    QTest::newRow("first channel") << "0" << 1;
    QTest::newRow("decimal") << "42" << 43;
    QTest::newRow("last channel") << "511" << 512;
    QTest::newRow("hexadecimal") << "0x1FF" << 512;
    QTest::newRow("upper-case prefix") << "0X10" << 17;
    QTest::newRow("blanks around") << " 7 " << 8;
    QTest::newRow("past the universe") << "512" << 0;
    QTest::newRow("negative") << "-1" << 0;
    QTest::newRow("not a number") << "RGB" << 0;
    QTest::newRow("bare prefix") << "0x" << 0;
    QTest::newRow("unknown") << "" << 0;
}

void tst_DeviceEntry::dmxOffsetText()
{
    QFETCH(QString, text);
    QFETCH(int, address);
    QCOMPARE(DmxAddress::addressFromText(text), address);
    QCOMPARE(DmxAddress::offsetFromText(text).has_value(), address != 0);
}

void tst_DeviceEntry::dmxOffsetThroughItsMemoryMapItem()
{
    const MemoryMapEntry entry = item(R"json({"name": "DMX_OFFSET", "address": [64, 65]})json");
    using Writes = QVector<QPair<quint16, quint8>>;
    QCOMPARE(entry.bytesToWrite(256), (Writes{{64, 0x01}, {65, 0x00}}));
    QCOMPARE(entry.bytesToWrite(511), (Writes{{64, 0x01}, {65, 0xFF}}));
    QCOMPARE(MemoryMapEntry::valueFromBytes({0x01, 0x00}), quint64(256));

    // Out-of-range offsets (an erased memory reads 0xFFFF) are limited, never wrapped.
    QCOMPARE(DmxAddress::offsetFromBytes(0xFF, 0xFF), 511);
    QCOMPARE(DmxAddress::offsetFromBytes(0x02, 0x00), 511);
    QCOMPARE(DmxAddress::offsetFromAddress(0), 0);
    QCOMPARE(DmxAddress::offsetFromAddress(513), 511);
    QCOMPARE(DmxAddress::bytesForOffset(-5), std::make_pair(quint8(0), quint8(0)));
    QCOMPARE(DmxAddress::bytesForOffset(512), std::make_pair(quint8(1), quint8(0xFF)));
}

QTEST_GUILESS_MAIN(tst_DeviceEntry)
#include "tst_deviceentry.moc"
