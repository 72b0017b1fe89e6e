// Device definitions read from their files, the dictionary that finds a light's by serial,
// property maps, the format that writes device properties into map files, the device view's
// grouping, and the definitions that ship.
#include "support/mapbuild.h"

#include "devices/definitionpropertyformat.h"
#include "devices/devicedictionary.h"
#include "devices/devicepresentation.h"
#include "devices/deviceresources.h"
#include "devices/dmxaddress.h"
#include "devices/jsonvalues.h"
#include "devices/propertymapper.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// Collects the messages of the "orrery.devices" category while it lives; other messages go
// on to the previous handler. One at a time.
class LogCapture
{
public:
    LogCapture()
    {
        s_lines = &m_lines;
        s_previous = qInstallMessageHandler(&LogCapture::handle);
    }
    ~LogCapture()
    {
        qInstallMessageHandler(s_previous);
        s_lines = nullptr;
    }
    const QStringList &lines() const { return m_lines; }

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        if (s_lines && qstrcmp(context.category, "orrery.devices") == 0)
            s_lines->append(text);
        else if (s_previous)
            s_previous(type, context, text);
    }

    QStringList m_lines;
    static inline QStringList *s_lines = nullptr;
    static inline QtMessageHandler s_previous = nullptr;
};

namespace Describe {

// "RGB=1 RGBW=2 0..511"; a lone bound shows as "10.." or "..100".
QString values(const PropertyValues &v)
{
    QStringList parts;
    for (const auto &option : v.options)
        parts << option.first + QLatin1Char('=') + QString::number(option.second);
    if (v.hasBounds())
        parts << (v.hasMin ? QString::number(v.min) : QString()) + QStringLiteral("..") +
                     (v.hasMax ? QString::number(v.max) : QString());
    return parts.join(QLatin1Char(' '));
}

// `DMX_OFFSET "DMX Address" [address,settings] 666 {0..511}`, then " pid 240/2" for RDM
// parameters and " (--)" for a description.
QString property(const std::optional<PropertyEntry> &p)
{
    if (!p)
        return QStringLiteral("none");
    QString text = QStringLiteral("%1 \"%2\" [%3] %4 {%5}")
                       .arg(p->tokenName(), p->stringName(), p->category().join(QLatin1Char(',')))
                       .arg(p->access())
                       .arg(values(p->values()));
    if (p->parameterID() || p->payloadSize())
        text += QStringLiteral(" pid %1/%2").arg(p->parameterID()).arg(p->payloadSize());
    if (!p->description().isEmpty())
        text += QStringLiteral(" (%1)").arg(p->description());
    return text;
}

// `NAME read 64,65 write - shared` ("-": no address), then what is given beyond that:
// "default -1", "access 644", "[settings]", "{0..1}", "user", "ro".
QString item(const MemoryMapEntry &e)
{
    const auto addresses = [](const QVector<quint16> &list) {
        QStringList parts;
        for (quint16 a : list)
            parts << QString::number(a);
        return parts.isEmpty() ? QStringLiteral("-") : parts.join(QLatin1Char(','));
    };
    QStringList parts{e.name(), "read", addresses(e.readAddresses()), "write",
                      addresses(e.writeAddresses())};
    if (e.sharedAddress())
        parts << QStringLiteral("shared");
    if (e.hasDefaultValue())
        parts << QStringLiteral("default %1").arg(e.defaultValue());
    if (e.access() != -1)
        parts << QStringLiteral("access %1").arg(e.access());
    if (!e.categories().isEmpty())
        parts << QLatin1Char('[') + e.categories().join(QLatin1Char(',')) + QLatin1Char(']');
    if (!e.values().isEmpty())
        parts << QLatin1Char('{') + values(e.values()) + QLatin1Char('}');
    if (e.userConfigurable())
        parts << QStringLiteral("user");
    if (e.readOnly())
        parts << QStringLiteral("ro");
    return parts.join(QLatin1Char(' '));
}

} // namespace Describe

using EntryPointer = DeviceDictionary::EntryPointer;

const QString kMissingAddresses =
    QStringLiteral("Json file missing read/write addresses or is invalid");

// The kind and the fields that describe a definition file rather than the device, one line.
QString metadata(const DeviceEntry &e)
{
    const DeviceEntry::FileVerification &v = e.fileVerification();
    QStringList boot;
    for (auto it = e.bootloaderInfo().cbegin(); it != e.bootloaderInfo().cend(); ++it)
        boot << it.key() + QLatin1Char('=') + it.value().toString();
    return QStringLiteral("type=%1 verified=%2 by=%3 date=%4 sft=%5 port=%6 boot=%7")
        .arg(int(e.deviceType()))
        .arg(v.verified)
        .arg(v.verifiedBy, v.date, e.sftNumbers().join(QLatin1Char(',')))
        .arg(e.discoverPort())
        .arg(boot.join(QLatin1Char(',')));
}

// A definition: serial ranges ("start-end" in hex, or "start-end/product code"), its
// memory-map tokens ("TOKEN=2": the item has that default) and, unless 0, a static chemistry.
EntryPointer definition(const QString &name, const QStringList &ranges,
                        const QStringList &tokens = {}, int chemistry = 0)
{
    QJsonArray list;
    for (const QString &range : ranges) {
        const QString bounds = range.section(QLatin1Char('/'), 0, 0);
        QJsonObject object{{"start", bounds.section(QLatin1Char('-'), 0, 0)},
                           {"end", bounds.section(QLatin1Char('-'), 1)}};
        if (range.contains(QLatin1Char('/')))
            object.insert("productCode", range.section(QLatin1Char('/'), 1));
        list.append(object);
    }
    QJsonArray items;
    for (const QString &token : tokens) {
        QJsonObject item{{"name", token.section(QLatin1Char('='), 0, 0)}, {"address", 1}};
        if (token.contains(QLatin1Char('=')))
            item.insert("defaultValue", token.section(QLatin1Char('='), 1).toInt());
        items.append(item);
    }
    QJsonObject json{{"DeviceName", name}, {"SerialNumberRanges", list}, {"MemoryMap", items}};
    if (chemistry)
        json.insert("StaticValues",
                    QJsonArray{QJsonObject{{"name", "LED_CHEMISTRY"}, {"value", chemistry}}});
    return std::make_shared<const DeviceEntry>(name, QJsonDocument(json).toJson());
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

const QByteArray kOwnMap = R"json({"PropertyMap": [
    {"tokenName": "DMX_OFFSET", "stringName": "DMX Address", "description": "--",
     "category": ["address", "settings"], "access": 666, "values": [{"min": 0}, {"max": 511}]},
    {"tokenName": "LED_CHEMISTRY", "stringName": "LED Chemistry", "access": 664,
     "category": "information",
     "values": [{"name": "RGB", "value": 1}, {"name": "RGBW", "value": 2}]},
    {"tokenName": "INPUT_RESOLUTION", "stringName": "Input Resolution",
     "values": [{"name": "8 bit", "value": 0}, {"name": "16 bit", "value": 1}]},
    {"tokenName": "FIRMWARE_VERSION", "stringName": "Firmware Version", "values": []},
    {"tokenName": "DEVICE_NAME", "stringName": "Device Name", "values": []},
    {"tokenName": "BOTH", "stringName": "Both",
     "values": [{"name": "Auto", "value": 0}, {"min": 1}, {"max": 10}]},
    {"tokenName": "CLASH", "stringName": "Clash (own)", "access": 444}
]})json";

const QByteArray kRdmMap = R"json({"PropertyMap": [
    {"tokenName": "RDM_DMX_ADDRESS", "stringName": "RDM DMX Address", "parameterID": 240,
     "payloadSize": 2, "access": 666, "values": [{"min": 1}, {"max": 512}]},
    {"tokenName": "CLASH", "stringName": "Clash (RDM)", "parameterID": 4096, "payloadSize": 1,
     "access": 666}
]})json";

// "K=V;K=V" as an ordered list of pairs.
PropertyList pairs(const QString &text)
{
    PropertyList list;
    for (const QString &part : text.split(QLatin1Char(';'), Qt::SkipEmptyParts))
        list.append({part.section(QLatin1Char('='), 0, 0), part.section(QLatin1Char('='), 1)});
    return list;
}

} // namespace

class tst_DeviceDefinitions : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void fileFields();
    void rangesMapValuesAndProfiles();
    void unreadableFiles_data();
    void unreadableFiles();
    void memoryMapItems_data();
    void memoryMapItems();
    void dmxOffsetText_data();
    void dmxOffsetText();
    void dmxOffsetBytes();
    void lookupBySerial_data();
    void lookupBySerial();
    void duplicateRangeLogsAndLaterFileWins();
    void productCodeRanges();
    void folderLoadingSkipsBrokenFiles();
    void presentation();
    void lightsGroupedByKind();
    void shippedFilesLoadWithoutALogLine();
    void readsEveryKey_data();
    void readsEveryKey();
    void lookupsByTokenAndDisplayName();
    void unreadableMapsAreSkipped();
    void mapping_data();
    void mapping();
    void lightProperties_data();
    void lightProperties();
    void roundTripThroughAMapFile();

private:
    PropertyMapper m_mapper;
    DeviceDictionary m_dictionary;
    std::shared_ptr<DefinitionPropertyFormat> m_format;
};

void tst_DeviceDefinitions::initTestCase()
{
    const QStringList fixture{"INPUT_RESOLUTION", "DMX_OFFSET", "FIRMWARE_VERSION"};
    m_dictionary.addEntry(definition("x", {"10110000-1011FFFF"}, fixture));
    m_dictionary.addEntry(
        definition("x", {"1F010000-1F01FFFF"}, {"DMX_OFFSET", "LED_CHEMISTRY"}, 2));
    m_dictionary.addEntry(definition("x", {"10310000-1031FFFF"}, {"LED_CHEMISTRY=2"}));
    m_dictionary.addEntry(
        definition("x", {"01A20000-01A2FFFF"}, {"DEVICE_NAME", "DMX_OFFSET", "FIRMWARE_VERSION"}));
    m_dictionary.addEntry(
        definition("x", {"7A7001000000-7A7001FFFFFF/D.0301-P.0101-F.0102"}, {"RDM_DMX_ADDRESS"}));
    // A generic RDM range; inside it one flood in two firmware versions of another chemistry.
    const QString flood = QStringLiteral("7A7002000000-7A7002FFFFFF/D.0302-P.0101-F.");
    m_dictionary.addEntry(definition("x", {"7A7002000000-7A70FFFFFFFF"}, {"LED_CHEMISTRY"}, 1));
    m_dictionary.addEntry(definition("x", {flood + "0102"}, {"LED_CHEMISTRY"}, 2));
    m_dictionary.addEntry(definition("x", {flood + "0200"}, {"LED_CHEMISTRY"}, 1));
    m_mapper.loadJson(kOwnMap, QStringLiteral("own"));
    m_mapper.loadJson(kRdmMap, QStringLiteral("rdm"));
    m_format = std::make_shared<DefinitionPropertyFormat>(m_dictionary, m_mapper);
}

// A later verification record overwrites what it holds; the discover port is decimal text,
// any other given port is the protocol's; known bootloader keys only, numbers stay numbers,
// texts keep leading zeros. Fields of a wrong JSON type are skipped without a log line.
void tst_DeviceDefinitions::fileFields()
{
    LogCapture log;
    const DeviceEntry given(QStringLiteral("given.json"), R"({"DeviceType": "Rdm_Fixture",
        "FileVerification": [{"Verified": true, "Verified By": "AB", "Verified Date": "10-15-2018"},
        {"Verified By": "CD"}], "SFTNumbers": ["S1", "S2"], "DiscoverPort": "6100",
        "BootloaderInfo": {"BLRev": 3, "WordCount": "00020000", "Unlisted": 5}})");
    QCOMPARE(metadata(given), QStringLiteral("type=5 verified=1 by=CD date=10-15-2018 sft=S1,S2 "
                                             "port=6100 boot=BLRev=3,WordCount=00020000"));
    const DeviceEntry wrong(QStringLiteral("wrong.json"), R"({"DeviceType": "LAMP",
        "SerialNumberRanges": {"start": "1", "end": "2"}, "MemoryMap": {"name": "X", "address": 1},
        "StaticValues": {"name": "X"}, "TintlockProfiles": "RGB", "SFTNumbers": 123,
        "FileVerification": {"Verified": true}, "BootloaderInfo": [1, 2], "DiscoverPort": 6100})");
    QCOMPARE(metadata(wrong), QStringLiteral("type=0 verified=0 by=Not Verified date=Not Verified "
                                             "sft= port=6038 boot="));
    QVERIFY(wrong.isLoaded() && wrong.serialRanges().isEmpty() && wrong.memoryMap().isEmpty());
    QVERIFY(wrong.staticValues().isEmpty() && wrong.profileIds().isEmpty());
    QCOMPARE(log.lines(), QStringList());
}

void tst_DeviceDefinitions::rangesMapValuesAndProfiles()
{
    LogCapture log;
    const DeviceEntry e(QStringLiteral("test.json"), R"json({"SerialNumberRanges": [
        {"start": "10110000", "end": "1011FFFF"},
        {"start": "7A7001000000", "end": "7A7001FFFFFF", "productCode": "D.0301-P.0101-F.0102"},
        {"start": "10120000"}, "10130000", {"start": "zz", "end": "ffffffffffffffff"}
    ], "MemoryMap": [
        {"name": "LED_CHEMISTRY", "address": 70}, {"name": "DMX_OFFSET", "address": [64, 65]},
        {"name": "LED_CHEMISTRY", "address": 0}, {"name": "BROKEN", "address": 1, "readAddress": 2},
        "not an item"
    ], "StaticValues": [
        {"name": "HEX", "value": "0x7F84"}, {"name": "DECIMAL_TEXT", "value": "12"},
        {"NAME": "ANY_CASE", "VALUE": 5}, {"name": "NO_VALUE"}, {"name": "BAD", "value": "0xZZ"},
        {"name": "UPPER_X", "value": "0X10"}, {"name": "WIDE", "value": "0xFFFFFFFF"}, {"value": 1}
    ], "TintlockProfiles": [
        {"ledChemistry": "Kx3 (WNC)", "profileId": 26, "inputModeMap": {"0": 17, "4": 17}},
        {"ledChemistry": "RGBW", "profileId": 12}, {"profileId": 9, "inputModeMap": {}},
        {"ledChemistry": "RGBAW", "inputModeMap": {}},
        {"ledChemistry": "RGB", "profileId": 10, "inputModeMap": {"0": 1}},
        {"ledChemistry": "RGB", "profileId": 11, "inputModeMap": {"2": 18}}
    ]})json");
    // A bound that is not hex reads as 0; ranges lacking a bound are skipped.
    QCOMPARE(e.serialRanges(),
             (QVector<SerialRange>{{0x10110000, 0x1011FFFF}, {0, 0xFFFFFFFFFFFFFFFFULL}}));
    QCOMPARE(e.productCodeRanges(),
             (QVector<ProductCodeRange>{
                 {0x7A7001000000ULL, 0x7A7001FFFFFFULL, QStringLiteral("D.0301-P.0101-F.0102")}}));
    // A repeated name: the later item wins. The broken item is kept and logged once.
    QCOMPARE(e.memoryMap().keys(), (QStringList{"BROKEN", "DMX_OFFSET", "LED_CHEMISTRY"}));
    QVERIFY(e.memoryMapEntry(QStringLiteral("LED_CHEMISTRY"))->readAddresses().isEmpty());
    QCOMPARE(log.lines(), QStringList{kMissingAddresses});
    // Only text with "0x" is hexadecimal; other text, bad hex and no value read as 0.
    const QHash<QString, qint64> values{{"HEX", 0x7F84},     {"DECIMAL_TEXT", 0}, {"ANY_CASE", 5},
                                        {"NO_VALUE", 0},     {"BAD", 0},          {"UPPER_X", 0},
                                        {"WIDE", 0xFFFFFFFF}};
    QCOMPARE(e.staticValues(), values);
    // Profiles lacking a key are skipped; a repeated chemistry replaces the earlier profile.
    QCOMPARE(e.profileIds(), (QHash<QString, int>{{"Kx3 (WNC)", 26}, {"RGB", 11}}));
    QCOMPARE(e.inputModeMap(QStringLiteral("Kx3 (WNC)")), (QMap<int, int>{{0, 17}, {4, 17}}));
    QCOMPARE(e.inputModeMap(QStringLiteral("RGB")), (QMap<int, int>{{2, 18}}));
    QVERIFY(e.profileId(QStringLiteral("RGB")) == 11 && !e.profileId(QStringLiteral("RGBW")));
}

void tst_DeviceDefinitions::unreadableFiles_data()
{
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("missing") << QByteArray();
    QTest::newRow("not JSON") << QByteArray("DeviceType = FIXTURE");
    QTest::newRow("cut short") << QByteArray(R"json({"DeviceType": "FIXTURE", "Serial)json");
    // Valid, but no definition of ours is a megabyte: the file is not read.
    QTest::newRow("larger than a definition can be")
        << QByteArray(R"json({"DeviceType": "FIXTURE"})json") +
               QByteArray(int(JsonValues::kMaxFileBytes), ' ');
}

void tst_DeviceDefinitions::unreadableFiles()
{
    QFETCH(QByteArray, bytes);

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("broken.json"));
    QVERIFY(bytes.isEmpty() || writeFile(path, bytes));
    LogCapture log;
    const DeviceEntry e(path);
    QVERIFY(!e.isLoaded());
    QStringList expected{QStringLiteral("File \"%1\" is empty or improperly formatted").arg(path)};
    if (bytes.size() > JsonValues::kMaxFileBytes)
        expected.prepend(QStringLiteral("File \"%1\" is larger than 1048576 bytes").arg(path));
    QCOMPARE(log.lines(), expected);
}

// One memory-map item read from its JSON: addresses, default, access, categories, values.
// Items that give no usable address are kept, and logged.
void tst_DeviceDefinitions::memoryMapItems_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("logged");
    const auto row = [](const char *name, const char *json, const char *expected,
                        bool logged = false) {
        QTest::newRow(name) << QByteArray(json) << QString::fromLatin1(expected) << logged;
    };
    const char *unknown = "UNKNOWN_TOKEN_NAME read - write - shared";
    row("0 is no location", R"({"address": 0})", unknown);
    row("0 kept inside an array", R"({"address": [0, 7]})",
        "UNKNOWN_TOKEN_NAME read 0,7 write 0,7 shared");
    row("separate read and write", R"({"readAddress": [48, 49], "writeAddress": []})",
        "UNKNOWN_TOKEN_NAME read 48,49 write -");
    row("read and write win over address", R"({"address": 5, "readAddress": 6, "writeAddress": 7})",
        "UNKNOWN_TOKEN_NAME read 6 write 7");
    row("address with only writeAddress", R"({"address": 5, "writeAddress": 6})", unknown, true);
    row("no address at all", R"({"name": "X"})", "X read - write - shared", true);
    row("low 16 bits kept", R"({"address": 65541})", "UNKNOWN_TOKEN_NAME read 5 write 5 shared");
    row("text is not a number", R"({"address": "5"})", unknown);
    row("huge number does not overflow", R"({"address": 1e300})",
        "UNKNOWN_TOKEN_NAME read 65535 write 65535 shared");
    row("default does not count", R"({"name": "CURVE", "address": 1, "default": 0})",
        "CURVE read 1 write 1 shared");
    row("defaultValue is signed 16-bit", R"({"address": 1, "defaultValue": 65535})",
        "UNKNOWN_TOKEN_NAME read 1 write 1 shared default -1");
    row("access and categories", R"({"address": 1, "access": 644, "category": ["a", "b"]})",
        "UNKNOWN_TOKEN_NAME read 1 write 1 shared access 644 [a,b]");
    row("values keys ignore case",
        R"({"address": 71, "userConfigurable": true, "readOnly": true, "values": [{"MIN": 0},
            {"Max": 1}, {"NAME": "8 bit", "Value": 0}, {"name": "x"}, 7]})",
        "UNKNOWN_TOKEN_NAME read 71 write 71 shared {8 bit=0 0..1} user ro");
}

void tst_DeviceDefinitions::memoryMapItems()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, expected);
    QFETCH(bool, logged);

    LogCapture log;
    const MemoryMapEntry item = MemoryMapEntry::fromJson(QJsonDocument::fromJson(json).object());
    QCOMPARE(Describe::item(item), expected);
    QCOMPARE(log.lines(), logged ? QStringList{kMissingAddresses} : QStringList());
}

void tst_DeviceDefinitions::dmxOffsetText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("address");
    QTest::newRow("first channel") << "0" << 1;
    QTest::newRow("last channel") << "511" << 512;
    QTest::newRow("past the universe") << "512" << 0;
    QTest::newRow("hexadecimal, any case, blanks around") << " 0X1FF " << 512;
    QTest::newRow("negative") << "-1" << 0;
    QTest::newRow("bare prefix") << "0x" << 0;
}

void tst_DeviceDefinitions::dmxOffsetText()
{
    QFETCH(QString, text);
    QFETCH(int, address);
    QCOMPARE(DmxAddress::addressFromText(text), address);
    QCOMPARE(DmxAddress::offsetFromText(text).has_value(), address != 0);
}

// The DMX start lives in two memory locations, high byte first; address = offset + 1.
// Out-of-range offsets (an erased memory reads 0xFFFF) are limited, never wrapped.
void tst_DeviceDefinitions::dmxOffsetBytes()
{
    const MemoryMapEntry entry = MemoryMapEntry::fromJson({{"address", QJsonArray{64, 65}}});
    using Writes = QVector<QPair<quint16, quint8>>;
    QCOMPARE(entry.bytesToWrite(258), (Writes{{64, 0x01}, {65, 0x02}}));
    QCOMPARE(MemoryMapEntry::valueFromBytes({0x01, 0x02}), quint64(258));
    QCOMPARE(MemoryMapEntry::valueFromBytes({0xff, 0xff, 1, 2, 3, 4, 5, 6, 7, 8}),
             quint64(0x0102030405060708ULL));
    QCOMPARE(DmxAddress::offsetFromBytes(0x01, 0x02), 258);
    QCOMPARE(DmxAddress::offsetFromBytes(0xFF, 0xFF), 511);
    QCOMPARE(DmxAddress::addressFromOffset(511), 512);
    QCOMPARE(DmxAddress::offsetFromAddress(513), 511);
    QCOMPARE(DmxAddress::bytesForOffset(258), std::make_pair(quint8(1), quint8(2)));
    QCOMPARE(DmxAddress::bytesForOffset(-5), std::make_pair(quint8(0), quint8(0)));
    QCOMPARE(DmxAddress::bytesForOffset(512), std::make_pair(quint8(1), quint8(0xFF)));
}

// Bounds are inclusive; overlapping ranges (not logged): the lower start wins, then lower end.
void tst_DeviceDefinitions::lookupBySerial_data()
{
    QTest::addColumn<quint64>("serial");
    QTest::addColumn<QString>("name");

    QTest::newRow("start") << quint64(0x10110000) << "Graze";
    QTest::newRow("end") << quint64(0x1011FFFF) << "Graze";
    QTest::newRow("before start") << quint64(0x1010FFFF) << "Unknown Device";
    QTest::newRow("after end") << quint64(0x10120000) << "Unknown Device";
    QTest::newRow("single-serial range") << quint64(0x01A20011) << "One";
    // The top range must sort last (unsigned), or it would hide every range below it.
    QTest::newRow("top of 64 bits") << quint64(0xFFFFFFFFFFFFFFFFULL) << "Top";
    QTest::newRow("only the wide range") << quint64(0x1F0) << "Wide";
    QTest::newRow("both, lower start wins") << quint64(0x150) << "Early";
    QTest::newRow("same start, lower end wins") << quint64(0x105) << "Early";
}

void tst_DeviceDefinitions::lookupBySerial()
{
    QFETCH(quint64, serial);
    QFETCH(QString, name);

    LogCapture log;
    DeviceDictionary dictionary;
    dictionary.addEntry(definition(QStringLiteral("Top"), {"FFFFFFFFFFFFFF00-FFFFFFFFFFFFFFFF"}));
    dictionary.addEntry(definition(QStringLiteral("Graze"), {"10110000-1011FFFF"}));
    dictionary.addEntry(definition(QStringLiteral("One"), {"01A20011-01A20011"}));
    dictionary.addEntry(definition(QStringLiteral("Wide"), {"100-1FF"}));
    dictionary.addEntry(definition(QStringLiteral("Early"), {"080-17F", "100-10F"}));
    QCOMPARE(dictionary.deviceNameForSerial(serial), name);
    QCOMPARE(bool(dictionary.entryForSerial(serial)), name != QLatin1String("Unknown Device"));
    QCOMPARE(dictionary.isDevice(serial, name), name != QLatin1String("Unknown Device"));
    QVERIFY(log.lines().isEmpty());
}

void tst_DeviceDefinitions::duplicateRangeLogsAndLaterFileWins()
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

    // Same start but another end is not a duplicate.
    dictionary.addEntry(definition(QStringLiteral("Third"), {"10110000-10110FFF"}));
    QCOMPARE(log.lines().size(), 1);
}

// Product-code ranges are seen only by their own lookup, ordered by start, then end, then
// product code (string order); the same key again replaces the entry without a message.
void tst_DeviceDefinitions::productCodeRanges()
{
    LogCapture log;
    DeviceDictionary dictionary;
    const QString range = QStringLiteral("7A7001000000-7A7001FFFFFF/D.0301-P.0101-F.");
    dictionary.addEntry(definition(QStringLiteral("B"), {range + "0200"}));
    dictionary.addEntry(definition(QStringLiteral("A"), {range + "0102"}));
    dictionary.addEntry(
        definition(QStringLiteral("Narrow"), {"7A7001000000-7A70010000FF/D.0301-P.0101-F.0300"}));
    dictionary.addEntry(
        definition(QStringLiteral("Wide"), {"7A7000000000-7A70FFFFFFFF/D.0001-P.0101-F.0001"}));
    dictionary.addEntry(definition(QStringLiteral("A2"), {range + "0102"}));
    QCOMPARE(names(dictionary.productCodeEntriesForSerial(0x7A7001000010ULL)),
             (QStringList{"Wide", "Narrow", "A2", "B"}));
    QCOMPARE(names(dictionary.productCodeEntriesForSerial(0x7A7001000100ULL)),
             (QStringList{"Wide", "A2", "B"}));
    QVERIFY(dictionary.productCodeEntriesForSerial(0x7A7100000000ULL).isEmpty());
    QVERIFY(!dictionary.entryForSerial(0x7A7001000010ULL));
    QVERIFY(log.lines().isEmpty());
    // A light is a kind when its product-code range names it (names match exactly).
    QVERIFY(dictionary.isDevice(0x7A7001000010ULL, QStringLiteral("Narrow")));
    QVERIFY(!dictionary.isDevice(0x7A7001000100ULL, QStringLiteral("Narrow")));
    QVERIFY(!dictionary.isDevice(0x7A7001000010ULL, QStringLiteral("narrow")));
}

void tst_DeviceDefinitions::folderLoadingSkipsBrokenFiles()
{
    QTemporaryDir dir;
    const QByteArray graze = R"({"DeviceType": "fixture", "DeviceName": "Graze",
                             "SerialNumberRanges": [{"start": "10110000", "end": "1011FFFF"}]})";
    QVERIFY(writeFile(dir.filePath("fixtures/deeper/graze.json"), graze));
    QVERIFY(writeFile(dir.filePath("notes.txt"), graze));
    QVERIFY(writeFile(dir.filePath("broken.json"), "{\"DeviceType\": \"PDS\", "));

    LogCapture log;
    DeviceDictionary dictionary;
    dictionary.loadFolder(dir.path());
    QCOMPARE(log.lines().size(), 1);
    QVERIFY(log.lines().constFirst().contains(dir.filePath("broken.json")));
    // A file that did not load is kept in the list of entries but belongs to no kind.
    QCOMPARE(dictionary.entries().size(), 2);
    QCOMPARE(names(dictionary.entriesOfType(DeviceType::FIXTURE)), QStringList{"Graze"});
    QVERIFY(dictionary.entriesOfType(DeviceType::PDS).isEmpty());
}

void tst_DeviceDefinitions::presentation()
{
    using namespace DevicePresentation;
    QCOMPARE(protocolVersionFromText(QStringLiteral("VISTRA V3")), 3);
    QCOMPARE(protocolVersionFromText(QStringLiteral("Vistra v4")), 0);
    QCOMPARE(protocolVersionIndex(4), 0); // outside 1..3: the first choice
    // The supply types the protocol speaks have their own name, other types share one.
    QVERIFY(interfaceTypeText(DataSupply::VistraBroadcast) != interfaceTypeText(0));
    // A definition that itself calls its kind "unknown device" is shown as the generic fixture.
    DeviceDictionary named;
    named.addEntry(definition(QStringLiteral("UNKNOWN DEVICE"), {"10110000-1011FFFF"}));
    QCOMPARE(deviceViewKind(named, 0x10110000), kGenericFixtureName);
}

// Kinds in the order of their first light, lights in uid order, channels shown one-based;
// lights of no known kind are the generic fixture.
void tst_DeviceDefinitions::lightsGroupedByKind()
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
                        .arg(row.label, QString::number(row.lightUid),
                             QString::number(row.displayedChannel),
                             row.supplyName.isEmpty() ? QStringLiteral("-") : row.supplyName);
        kinds << kind.name + QStringLiteral(": ") + rows.join(QStringLiteral(", "));
    }
    QCOMPARE(kinds, (QStringList{"Vela Point Node RGB: L0 #10 ch1 North PDS",
                                 "Vela Graze RGB: L1 #11 ch4 North PDS, L3 #13 ch10 North PDS",
                                 "Vela Fixture: L2 #12 ch7 -"}));
}

// The definitions and property maps that ship: they load without a log line, each names a
// kind and a range, every token they name is described and can be a map-file tag.
void tst_DeviceDefinitions::shippedFilesLoadWithoutALogLine()
{
    LogCapture log;
    DeviceResources::registerResources();
    const PropertyMapper &mapper = *PropertyMapper::instance();
    const DeviceDictionary &dictionary = *DeviceDictionary::instance();
    QCOMPARE(log.lines(), QStringList());
    const QRegularExpression xmlName(QStringLiteral("^[A-Z][A-Z0-9_]*$"));
    for (const EntryPointer &entry : dictionary.entries()) {
        QVERIFY2(entry->isLoaded() && entry->deviceType() != DeviceType::UNKNOWN &&
                     !(entry->serialRanges().isEmpty() && entry->productCodeRanges().isEmpty()),
                 qPrintable(entry->filePath()));
        for (const QString &token : entry->memoryMap().keys())
            QVERIFY2(mapper.hasProperty(token) && xmlName.match(token).hasMatch(),
                     qPrintable(entry->deviceName() + QLatin1Char(':') + token));
    }
    QCOMPARE(dictionary.entries().size(), 38);
    QCOMPARE(mapper.count(), 120);
}

// Every key of a property, as Describe::property shows it.
void tst_DeviceDefinitions::readsEveryKey_data()
{
    QTest::addColumn<QString>("token");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *token, const char *expected) {
        QTest::newRow(token) << QString::fromLatin1(token) << QString::fromLatin1(expected);
    };
    row("DMX_OFFSET", R"(DMX_OFFSET "DMX Address" [address,settings] 666 {0..511} (--))");
    row("LED_CHEMISTRY", R"(LED_CHEMISTRY "LED Chemistry" [information] 664 {RGB=1 RGBW=2})");
    row("BOTH", R"(BOTH "Both" [] -1 {Auto=0 1..10})");
    // A token in both maps: the one loaded later wins.
    row("CLASH", R"x(CLASH "Clash (RDM)" [] 666 {} pid 4096/1)x");
    row("NOPE", "none");
}

void tst_DeviceDefinitions::readsEveryKey()
{
    QFETCH(QString, token);
    QFETCH(QString, expected);
    QCOMPARE(Describe::property(m_mapper.property(token)), expected);
    QCOMPARE(m_mapper.count(), 8);
}

void tst_DeviceDefinitions::lookupsByTokenAndDisplayName()
{
    // Tokens are matched exactly.
    QCOMPARE(m_mapper.displayName(QStringLiteral("dmx_offset")),
             QStringLiteral("Unsupported Token: dmx_offset"));
    QCOMPARE(m_mapper.tokenForDisplayName(QStringLiteral("Colour")),
             QStringLiteral("Unsupported Property: Colour"));
    QCOMPARE(m_mapper.tokenForDisplayName(QStringLiteral("Clash (RDM)")), QStringLiteral("CLASH"));
    // A token in both maps: loaded the other way round, the own map wins.
    PropertyMapper reversed;
    reversed.loadJson(kRdmMap, QStringLiteral("rdm"));
    reversed.loadJson(kOwnMap, QStringLiteral("own"));
    QCOMPARE(reversed.displayName(QStringLiteral("CLASH")), QStringLiteral("Clash (own)"));
}

// A map that is not a JSON object is logged; a PropertyMap of the wrong shape is skipped.
void tst_DeviceDefinitions::unreadableMapsAreSkipped()
{
    LogCapture log;
    PropertyMapper mapper;
    mapper.loadJson("PropertyMap: nope", QStringLiteral("a.json"));
    mapper.loadJson(R"json({"PropertyMap": {"tokenName": "X"}})json", QStringLiteral("b.json"));
    mapper.loadJson(R"json({"PropertyMap": [1, "two", null]})json", QStringLiteral("c.json"));
    QCOMPARE(log.lines(), QStringList{"File \"a.json\" is empty or improperly formatted"});
    QCOMPARE(mapper.count(), 0);
}

// A property value to the text a person sees, and typed text to the value.
void tst_DeviceDefinitions::mapping_data()
{
    QTest::addColumn<bool>("toText");
    QTest::addColumn<QString>("token");
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    const auto text = [](const char *name, const char *token, const char *value, const char *to) {
        QTest::newRow(name) << true << QString(token) << QString(value) << QString(to);
    };
    const auto value = [](const char *name, const char *token, const char *typed, const char *to) {
        QTest::newRow(name) << false << QString(token) << QString(typed) << QString(to);
    };
    const char *unsupported = "Unsupported Mapping";
    text("offset 0", "DMX_OFFSET", "0", "0");
    text("offset 511", "DMX_OFFSET", "511", "511");
    text("offset above range", "DMX_OFFSET", "512", unsupported);
    text("offset below range", "DMX_OFFSET", "-1", unsupported);
    text("offset hex shown in decimal", "DMX_OFFSET", "0x1F", "31");
    text("hex only for the offset", "BOTH", "0x5", unsupported);
    text("not an option", "LED_CHEMISTRY", "3", unsupported);
    text("text is not a value", "LED_CHEMISTRY", "RGB", unsupported);
    text("free text", "DEVICE_NAME", "North PDS", "North PDS");
    text("outside both", "BOTH", "11", unsupported);
    value("typed offset hex", "DMX_OFFSET", "0x1F", "31");
    value("typed offset hex above range", "DMX_OFFSET", "0x200", unsupported);
    value("typed option in another case", "LED_CHEMISTRY", "rgbw", "2");
    value("typed unknown option", "LED_CHEMISTRY", "RGBAW", unsupported);
    value("typed number for an option-only property", "LED_CHEMISTRY", "2", unsupported);
    value("typed number outside bounds", "BOTH", "0", unsupported);
    value("typed top of the range", "BOTH", "10", "10");
}

void tst_DeviceDefinitions::mapping()
{
    QFETCH(bool, toText);
    QFETCH(QString, token);
    QFETCH(QString, from);
    QFETCH(QString, to);
    QCOMPARE(toText ? m_mapper.valueToText(token, from) : m_mapper.textToValue(token, from), to);
}

void tst_DeviceDefinitions::lightProperties_data()
{
    QTest::addColumn<quint64>("serial");
    QTest::addColumn<QString>("held");
    QTest::addColumn<QString>("written");
    const auto row = [](const char *name, quint64 serial, const char *held, const char *written) {
        QTest::newRow(name) << serial << QString(held) << QString(written);
    };
    // A chemistry nobody read and no definition names stays unknown (an empty element).
    row("definition tokens in token order, chemistry added", 0x10110005,
        "DMX_OFFSET=12;INPUT_RESOLUTION=1",
        "DMX_OFFSET=12;FIRMWARE_VERSION=;INPUT_RESOLUTION=16 bit;LED_CHEMISTRY=");
    row("chemistry from the static value", 0x1F010000, "", "DMX_OFFSET=;LED_CHEMISTRY=RGBW");
    row("held chemistry beats the static value", 0x1F010000, "LED_CHEMISTRY=1",
        "DMX_OFFSET=;LED_CHEMISTRY=RGB");
    row("chemistry from the definition's default", 0x10310000, "", "LED_CHEMISTRY=RGBW");
    row("unknown serial keeps what the light holds", 0x0BADF00D, "DMX_OFFSET=3;ZONE=north",
        "LED_CHEMISTRY=;DMX_OFFSET=3;ZONE=north");
    row("properties the definition does not name come last", 0x10110005,
        "CUSTOM_NOTE=by the door;DMX_OFFSET=0",
        "DMX_OFFSET=0;FIRMWARE_VERSION=;INPUT_RESOLUTION=;LED_CHEMISTRY=;CUSTOM_NOTE=by the door");
    row("product-code definitions when no plain range holds the serial", 0x7A7001000042ULL,
        "RDM_DMX_ADDRESS=17", "RDM_DMX_ADDRESS=17;LED_CHEMISTRY=");
    // Inside a generic RDM range the fixture's own definition gives the chemistry: the one
    // of the product code it reported, else the first whose range holds it.
    row("RDM chemistry of the reported product code", 0x7A7002000401ULL,
        "RDM_DEVICE_INFO=D.0302-P.0101-F.0200",
        "LED_CHEMISTRY=RGB;RDM_DEVICE_INFO=D.0302-P.0101-F.0200");
    row("RDM chemistry of the product-code range", 0x7A7002000401ULL, "", "LED_CHEMISTRY=RGBW");
    row("generic RDM chemistry outside every product code", 0x7A7009000001ULL, "",
        "LED_CHEMISTRY=RGB");
}

void tst_DeviceDefinitions::lightProperties()
{
    QFETCH(quint64, serial);
    QFETCH(QString, held);
    QFETCH(QString, written);

    Light light;
    light.setSerialNumber(serial);
    for (const auto &p : pairs(held))
        light.setDeviceProperty(p.first, p.second);
    QCOMPARE(m_format->lightPropertiesToWrite(light), pairs(written));
}

// Saved and loaded again: what each light and supply held comes back, text already in its
// text form comes back as the value, an unknown option is kept as it stands and an offset
// outside 0..511 is not taken; the loader says why.
void tst_DeviceDefinitions::roundTripThroughAMapFile()
{
    MapModel model;
    model.setPropertyFormat(m_format);
    DataSupply *supply = model.dataSupply(MapBuild::supply(model, QStringLiteral("N"), 0x10));
    supply->setSerialNumber(0x01A20011);
    supply->setDeviceProperty(QStringLiteral("DEVICE_NAME"), QStringLiteral("North"));
    // A supply's definition tokens, and no chemistry.
    QCOMPARE(m_format->supplyPropertiesToWrite(*supply),
             pairs("DEVICE_NAME=North;DMX_OFFSET=;FIRMWARE_VERSION="));
    const QStringList held{"DMX_OFFSET=511;INPUT_RESOLUTION=1;LED_CHEMISTRY=2;NOTE=spare",
                           "LED_CHEMISTRY=RGB", "DMX_OFFSET=-4;LED_CHEMISTRY=9"};
    const QStringList back{held.at(0), "LED_CHEMISTRY=1", "LED_CHEMISTRY=9"};
    const QList<quint64> serials{0x10110001, 0x10310000, 0x0BADF00D};
    for (int i = 0; i < held.size(); ++i) {
        Light *light = model.light(MapBuild::light(model, 0, 0, 0, QStringLiteral("L"), 0x20 + i));
        light->setSerialNumber(serials.at(i));
        for (const auto &p : pairs(held.at(i)))
            light->setDeviceProperty(p.first, p.second);
    }
    const QByteArray bytes = MapBuild::saved(model);
    QVERIFY(bytes.contains("<INPUT_RESOLUTION>16 bit</INPUT_RESOLUTION>"));

    MapModel loaded;
    loaded.setPropertyFormat(m_format);
    QSignalSpy messages(&loaded, &MapModel::msg);
    QVERIFY(MapBuild::load(loaded, bytes));
    QCOMPARE(loaded.dataSupply(0x10)->deviceProperties(), supply->deviceProperties());
    for (int i = 0; i < held.size(); ++i) {
        QStringList properties;
        const QMap<QString, QString> got = loaded.light(0x20 + i)->deviceProperties();
        for (auto it = got.cbegin(); it != got.cend(); ++it)
            properties << it.key() + QLatin1Char('=') + it.value();
        QCOMPARE(properties.join(QLatin1Char(';')), back.at(i));
    }
    QStringList texts;
    for (const auto &args : messages)
        texts << args.at(0).toString();
    QVERIFY(texts.contains("loadLight: light 22: DMX_OFFSET \"-4\" is not a number from 0 to "
                           "511; not kept"));
    QVERIFY(texts.contains("loadLight: light 22: LED_CHEMISTRY \"9\" is not one of its options; "
                           "kept as it stands"));
}

QTEST_GUILESS_MAIN(tst_DeviceDefinitions)
#include "tst_devicedefinitions.moc"
