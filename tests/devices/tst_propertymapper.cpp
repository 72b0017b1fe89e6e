// Property maps (how tokens are shown and typed) and the format that writes a light's or
// supply's device properties into map files through its definition.
#include "describe.h"
#include "logcapture.h"
#include "support/mapbuild.h"

#include "devices/definitionpropertyformat.h"
#include "devices/deviceresources.h"
#include "devices/propertymapper.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QByteArray kOwnMap = R"json({"PropertyMap": [
    {"tokenName": "DMX_OFFSET", "stringName": "DMX Address", "description": "--",
     "comments": "DMX Address = offset + 1. Big endian format.",
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
    {"tokenName": "LIMIT", "stringName": "Limit", "values": [{"MIN": 10}, {"Max": 100}]},
    {"tokenName": "CLASH", "stringName": "Clash (own)", "access": 444}
]})json";

const QByteArray kRdmMap = R"json({"PropertyMap": [
    {"tokenName": "RDM_DMX_ADDRESS", "stringName": "RDM DMX Address", "parameterID": 240,
     "payloadSize": 2, "access": 666, "values": [{"min": 1}, {"max": 512}]},
    {"tokenName": "CLASH", "stringName": "Clash (RDM)", "parameterID": 4096, "payloadSize": 1,
     "access": 666}
]})json";

const QByteArray kGraze = R"json({"DeviceType": "FIXTURE", "DeviceName": "Graze",
    "SerialNumberRanges": [{"start": "10110000", "end": "1011FFFF"}],
    "MemoryMap": [{"name": "INPUT_RESOLUTION", "address": 71},
                  {"name": "DMX_OFFSET", "address": [64, 65]},
                  {"name": "FIRMWARE_VERSION", "address": 5}]})json";
const QByteArray kGeneric = R"json({"DeviceType": "FIXTURE", "DeviceName": "Generic RGBW",
    "SerialNumberRanges": [{"start": "1F010000", "end": "1F01FFFF"}],
    "MemoryMap": [{"name": "DMX_OFFSET", "address": [64, 65]},
                  {"name": "LED_CHEMISTRY", "address": 0}],
    "StaticValues": [{"name": "LED_CHEMISTRY", "value": 2}]})json";
const QByteArray kPoint = R"json({"DeviceType": "FIXTURE", "DeviceName": "Point",
    "SerialNumberRanges": [{"start": "10310000", "end": "1031FFFF"}],
    "MemoryMap": [{"name": "LED_CHEMISTRY", "address": 70, "defaultValue": 2}]})json";
const QByteArray kSupply = R"json({"DeviceType": "PDS", "DeviceName": "PDS-480",
    "SerialNumberRanges": [{"start": "01A20000", "end": "01A2FFFF"}],
    "MemoryMap": [{"name": "DEVICE_NAME", "address": []},
                  {"name": "DMX_OFFSET", "address": [64, 65]},
                  {"name": "FIRMWARE_VERSION", "address": 5}]})json";
const QByteArray kRdm = R"json({"DeviceType": "RDM_FIXTURE", "DeviceName": "Graze RDM",
    "SerialNumberRanges": [{"start": "7A7001000000", "end": "7A7001FFFFFF",
                            "productCode": "D.0301-P.0101-F.0102"}],
    "MemoryMap": [{"name": "RDM_DMX_ADDRESS", "address": 240}]})json";
// An RDM flood inside the generic RDM range, in two firmware versions of different chemistry.
const QByteArray kRdmGeneric = R"json({"DeviceType": "RDM_FIXTURE", "DeviceName": "Generic RDM",
    "SerialNumberRanges": [{"start": "7A7002000000", "end": "7A70FFFFFFFF"}],
    "MemoryMap": [{"name": "LED_CHEMISTRY", "address": 0}],
    "StaticValues": [{"name": "LED_CHEMISTRY", "value": 1}]})json";
const QByteArray kRdmFlood = R"json({"DeviceType": "RDM_FIXTURE", "DeviceName": "Flood RDM RGBW",
    "SerialNumberRanges": [{"start": "7A7002000000", "end": "7A7002FFFFFF",
                            "productCode": "D.0302-P.0101-F.0102"}],
    "MemoryMap": [{"name": "LED_CHEMISTRY", "address": 0}],
    "StaticValues": [{"name": "LED_CHEMISTRY", "value": 2}]})json";
const QByteArray kRdmFloodRgb = R"json({"DeviceType": "RDM_FIXTURE", "DeviceName": "Flood RDM RGB",
    "SerialNumberRanges": [{"start": "7A7002000000", "end": "7A7002FFFFFF",
                            "productCode": "D.0302-P.0101-F.0200"}],
    "MemoryMap": [{"name": "LED_CHEMISTRY", "address": 0}],
    "StaticValues": [{"name": "LED_CHEMISTRY", "value": 1}]})json";

// "K=V;K=V" as an ordered list of pairs.
PropertyList pairs(const QString &text)
{
    PropertyList list;
    for (const QString &part : text.split(QLatin1Char(';'), Qt::SkipEmptyParts))
        list.append({part.section(QLatin1Char('='), 0, 0), part.section(QLatin1Char('='), 1)});
    return list;
}

const QString kEmptyOrImproper = QStringLiteral("is empty or improperly formatted");

std::unique_ptr<PropertyMapper> testMapper()
{
    auto mapper = std::make_unique<PropertyMapper>();
    mapper->loadJson(kOwnMap, QStringLiteral("own"));
    mapper->loadJson(kRdmMap, QStringLiteral("rdm"));
    return mapper;
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

using MapBuild::load;

QByteArray save(MapModel &model)
{
    return MapBuild::saved(model);
}

} // namespace

class tst_PropertyMapper : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void readsEveryKey_data();
    void readsEveryKey();
    void lookupsByTokenAndDisplayName();
    void unreadableFilesAreLoggedAndSkipped_data();
    void unreadableFilesAreLoggedAndSkipped();
    void mapping_data();
    void mapping();
    void valuesRoundTrip();
    void lightProperties_data();
    void lightProperties();
    void supplyPropertiesHaveNoChemistry();
    void readingMapsTextBack();
    void roundTripThroughAMapFile();
    void filesWrittenAsTextStillLoad();

private:
    std::unique_ptr<PropertyMapper> m_mapper = testMapper();
    DeviceDictionary m_dictionary;
    std::shared_ptr<DefinitionPropertyFormat> m_format;
};

void tst_PropertyMapper::initTestCase()
{
    for (const QByteArray &json :
         {kGraze, kGeneric, kPoint, kSupply, kRdm, kRdmGeneric, kRdmFlood, kRdmFloodRgb})
        m_dictionary.addEntry(std::make_shared<const DeviceEntry>(QStringLiteral("x"), json));
    m_format = std::make_shared<DefinitionPropertyFormat>(m_dictionary, *m_mapper);
}

// Every key of a property, as Describe::property shows it.
void tst_PropertyMapper::readsEveryKey_data()
{
    QTest::addColumn<QString>("token");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *token, const char *expected) {
        QTest::newRow(token) << QString::fromLatin1(token) << QString::fromLatin1(expected);
    };
    row("DMX_OFFSET", R"(DMX_OFFSET "DMX Address" [address,settings] 666 {0..511} (--))");
    row("LED_CHEMISTRY", R"(LED_CHEMISTRY "LED Chemistry" [information] 664 {RGB=1 RGBW=2})");
    row("DEVICE_NAME", R"(DEVICE_NAME "Device Name" [] -1 {})");
    row("BOTH", R"(BOTH "Both" [] -1 {Auto=0 1..10})");
    row("LIMIT", R"(LIMIT "Limit" [] -1 {10..100})");
    row("RDM_DMX_ADDRESS", R"(RDM_DMX_ADDRESS "RDM DMX Address" [] 666 {1..512} pid 240/2)");
    // A token in both maps: the one loaded later wins.
    row("CLASH", R"x(CLASH "Clash (RDM)" [] 666 {} pid 4096/1)x");
    row("NOPE", "none");
}

void tst_PropertyMapper::readsEveryKey()
{
    QFETCH(QString, token);
    QFETCH(QString, expected);
    QCOMPARE(Describe::property(m_mapper->property(token)), expected);
    QCOMPARE(m_mapper->count(), 9);
}

void tst_PropertyMapper::lookupsByTokenAndDisplayName()
{
    const auto &mapper = m_mapper;
    QCOMPARE(mapper->displayName(QStringLiteral("DMX_OFFSET")), QStringLiteral("DMX Address"));
    QCOMPARE(mapper->displayName(QStringLiteral("NO_SUCH_TOKEN")),
             QStringLiteral("Unsupported Token: NO_SUCH_TOKEN"));
    // Tokens are matched exactly.
    QCOMPARE(mapper->displayName(QStringLiteral("dmx_offset")),
             QStringLiteral("Unsupported Token: dmx_offset"));

    QCOMPARE(mapper->tokenForDisplayName(QStringLiteral("DMX Address")),
             QStringLiteral("DMX_OFFSET"));
    QCOMPARE(mapper->tokenForDisplayName(QStringLiteral("RDM DMX Address")),
             QStringLiteral("RDM_DMX_ADDRESS"));
    QCOMPARE(mapper->tokenForDisplayName(QStringLiteral("Colour")),
             QStringLiteral("Unsupported Property: Colour"));
    QCOMPARE(mapper->tokenForDisplayName(QStringLiteral("Clash (RDM)")), QStringLiteral("CLASH"));
    // A token in both maps: loaded the other way round, the own map wins.
    PropertyMapper reversed;
    reversed.loadJson(kRdmMap, QStringLiteral("rdm"));
    reversed.loadJson(kOwnMap, QStringLiteral("own"));
    QCOMPARE(reversed.displayName(QStringLiteral("CLASH")), QStringLiteral("Clash (own)"));
}

// Empty and cut-off files go through the reader definitions use (pinned in tst_deviceentry).
void tst_PropertyMapper::unreadableFilesAreLoggedAndSkipped_data()
{
    QTest::addColumn<QByteArray>("firstFile");
    QTest::addColumn<bool>("exists");
    QTest::addColumn<bool>("logged");

    QTest::newRow("missing") << QByteArray() << false << true;
    QTest::newRow("not JSON") << QByteArray("PropertyMap: nope") << true << true;
    QTest::newRow("empty object") << QByteArray("{}") << true << true;
    QTest::newRow("array at the top") << QByteArray("[{\"tokenName\": \"X\"}]") << true << true;
    QTest::newRow("PropertyMap not an array")
        << QByteArray(R"json({"PropertyMap": {"tokenName": "X"}})json") << true << false;
    QTest::newRow("elements that are not objects")
        << QByteArray(R"json({"PropertyMap": [1, "two", null]})json") << true << false;
}

void tst_PropertyMapper::unreadableFilesAreLoggedAndSkipped()
{
    QFETCH(QByteArray, firstFile);
    QFETCH(bool, exists);
    QFETCH(bool, logged);

    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString first = dir.filePath(QStringLiteral("PropertyMap.json"));
    const QString second = dir.filePath(QStringLiteral("XRDMPropertyMap.json"));
    if (exists)
        QVERIFY(writeFile(first, firstFile));
    QVERIFY(writeFile(second, kRdmMap));

    LogCapture log;
    PropertyMapper mapper;
    mapper.loadFile(first);
    mapper.loadFile(second);
    QCOMPARE(log.count(kEmptyOrImproper), logged ? 1 : 0);
    if (logged) {
        QVERIFY(log.lines().constFirst().startsWith(QLatin1String("File ")));
        QVERIFY(log.lines().constFirst().contains(first));
    }
    QCOMPARE(mapper.count(), 2);
    QCOMPARE(mapper.displayName(QStringLiteral("RDM_DMX_ADDRESS")),
             QStringLiteral("RDM DMX Address"));
}

// A property value to the text a person sees, and typed text to the value.
void tst_PropertyMapper::mapping_data()
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
    text("offset spaces", "DMX_OFFSET", " 12 ", "12");
    text("offset text", "DMX_OFFSET", "twelve", unsupported);
    text("hex only for the offset", "LIMIT", "0x20", unsupported);
    text("not an option", "LED_CHEMISTRY", "3", unsupported);
    text("text is not a value", "LED_CHEMISTRY", "RGB", unsupported);
    text("free text", "DEVICE_NAME", "North PDS", "North PDS");
    text("outside both", "BOTH", "11", unsupported);
    text("unknown token", "NO_SUCH_TOKEN", "1", unsupported);
    value("typed offset decimal", "DMX_OFFSET", "31", "31");
    value("typed offset hex", "DMX_OFFSET", "0x1F", "31");
    value("typed offset hex above range", "DMX_OFFSET", "0x200", unsupported);
    value("typed offset empty", "DMX_OFFSET", "", unsupported);
    value("typed option in another case", "LED_CHEMISTRY", "rgbw", "2");
    value("typed unknown option", "LED_CHEMISTRY", "RGBAW", unsupported);
    value("typed number for an option-only property", "LED_CHEMISTRY", "2", unsupported);
    value("typed free text", "DEVICE_NAME", "Canopy", "Canopy");
    value("typed number outside bounds", "BOTH", "0", unsupported);
    value("typed range keys in any case", "LIMIT", "50", "50");
    value("typed below range", "LIMIT", "5", unsupported);
    value("typed unknown token", "NO_SUCH_TOKEN", "1", unsupported);
}

void tst_PropertyMapper::mapping()
{
    QFETCH(bool, toText);
    QFETCH(QString, token);
    QFETCH(QString, from);
    QFETCH(QString, to);
    QCOMPARE(toText ? m_mapper->valueToText(token, from) : m_mapper->textToValue(token, from), to);
}

// Every option and the ends and middle of every range, both ways (the rows above hold what
// goes only one way).
void tst_PropertyMapper::valuesRoundTrip()
{
    const auto &mapper = m_mapper;
    for (const QString &token : mapper->tokens()) {
        const PropertyValues values = mapper->property(token)->values();
        for (const auto &option : values.options) {
            const QString text = mapper->valueToText(token, option.second);
            QCOMPARE(text, option.first);
            QCOMPARE(mapper->textToValue(token, text), QString::number(option.second));
        }
        if (values.hasMin && values.hasMax) {
            for (qint64 v : {values.min, (values.min + values.max) / 2, values.max}) {
                const QString text = mapper->valueToText(token, v);
                QCOMPARE(mapper->textToValue(token, text), QString::number(v));
            }
        }
    }
}

void tst_PropertyMapper::lightProperties_data()
{
    QTest::addColumn<quint64>("serial");
    QTest::addColumn<QString>("held");
    QTest::addColumn<QString>("written");

    // A chemistry nobody read and no definition names stays unknown (an empty element).
    QTest::newRow("definition tokens in token order, chemistry added")
        << quint64(0x10110005) << "DMX_OFFSET=12;INPUT_RESOLUTION=1"
        << "DMX_OFFSET=12;FIRMWARE_VERSION=;INPUT_RESOLUTION=16 bit;LED_CHEMISTRY=";
    QTest::newRow("chemistry the light holds")
        << quint64(0x10110005) << "LED_CHEMISTRY=2"
        << "DMX_OFFSET=;FIRMWARE_VERSION=;INPUT_RESOLUTION=;LED_CHEMISTRY=RGBW";
    QTest::newRow("chemistry from the static value") << quint64(0x1F010000) << ""
                                                     << "DMX_OFFSET=;LED_CHEMISTRY=RGBW";
    QTest::newRow("held chemistry beats the static value")
        << quint64(0x1F010000) << "LED_CHEMISTRY=1"
        << "DMX_OFFSET=;LED_CHEMISTRY=RGB";
    QTest::newRow("chemistry from the definition's default") << quint64(0x10310000) << ""
                                                             << "LED_CHEMISTRY=RGBW";
    QTest::newRow("unknown serial keeps what the light holds")
        << quint64(0x0BADF00D) << "DMX_OFFSET=3;ZONE=north"
        << "LED_CHEMISTRY=;DMX_OFFSET=3;ZONE=north";
    QTest::newRow("properties the definition does not name come last")
        << quint64(0x10110005) << "CUSTOM_NOTE=by the door;DMX_OFFSET=0"
        << "DMX_OFFSET=0;FIRMWARE_VERSION=;INPUT_RESOLUTION=;LED_CHEMISTRY=;CUSTOM_NOTE=by the "
           "door";
    QTest::newRow("values the map cannot show are written as they stand")
        << quint64(0x10310000) << "LED_CHEMISTRY=7"
        << "LED_CHEMISTRY=7";
    QTest::newRow("text already in text form") << quint64(0x10310000) << "LED_CHEMISTRY=RGBW"
                                               << "LED_CHEMISTRY=RGBW";
    QTest::newRow("offset out of range kept") << quint64(0x1F010000) << "DMX_OFFSET=600"
                                              << "DMX_OFFSET=600;LED_CHEMISTRY=RGBW";
    QTest::newRow("hexadecimal offset shown in decimal") << quint64(0x1F010000) << "DMX_OFFSET=0x10"
                                                         << "DMX_OFFSET=16;LED_CHEMISTRY=RGBW";
    QTest::newRow("product-code definitions when no plain range holds the serial")
        << quint64(0x7A7001000042ULL) << "RDM_DMX_ADDRESS=17"
        << "RDM_DMX_ADDRESS=17;LED_CHEMISTRY=";
    // Inside a generic RDM range the fixture's own definition gives the chemistry: the one
    // of the product code it reported, else the first whose range holds it.
    QTest::newRow("RDM chemistry of the reported product code")
        << quint64(0x7A7002000401ULL) << "RDM_DEVICE_INFO=D.0302-P.0101-F.0200"
        << "LED_CHEMISTRY=RGB;RDM_DEVICE_INFO=D.0302-P.0101-F.0200";
    QTest::newRow("RDM chemistry of the product-code range") << quint64(0x7A7002000401ULL) << ""
                                                             << "LED_CHEMISTRY=RGBW";
    QTest::newRow("RDM chemistry of an unknown product code")
        << quint64(0x7A7002000401ULL) << "RDM_DEVICE_INFO=D.0302-P.0101-F.0999"
        << "LED_CHEMISTRY=RGBW;RDM_DEVICE_INFO=D.0302-P.0101-F.0999";
    QTest::newRow("generic RDM chemistry outside every product code")
        << quint64(0x7A7009000001ULL) << ""
        << "LED_CHEMISTRY=RGB";
}

void tst_PropertyMapper::lightProperties()
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

void tst_PropertyMapper::supplyPropertiesHaveNoChemistry()
{
    DataSupply supply(DataSupply::VistraIp);
    supply.setSerialNumber(0x01A20011);
    supply.setDeviceProperty(QStringLiteral("DEVICE_NAME"), QStringLiteral("North"));
    supply.setDeviceProperty(QStringLiteral("DMX_OFFSET"), QStringLiteral("5"));
    QCOMPARE(m_format->supplyPropertiesToWrite(supply),
             pairs("DEVICE_NAME=North;DMX_OFFSET=5;FIRMWARE_VERSION="));

    DataSupply unknown(DataSupply::VistraIp);
    QCOMPARE(m_format->supplyPropertiesToWrite(unknown), PropertyList());
}

void tst_PropertyMapper::readingMapsTextBack()
{
    Light light;
    m_format->readLightProperties(
        light, pairs("LED_CHEMISTRY=rgbw;DMX_OFFSET=0x10;FIRMWARE_VERSION=;ZONE=north;"
                     "INPUT_RESOLUTION=32 bit;DEVICE_NAME=Canopy 1"));
    const QMap<QString, QString> expected{{"LED_CHEMISTRY", "2"},
                                          {"DMX_OFFSET", "16"},
                                          {"ZONE", "north"},
                                          {"INPUT_RESOLUTION", "32 bit"},
                                          {"DEVICE_NAME", "Canopy 1"}};
    QCOMPARE(light.deviceProperties(), expected);

    DataSupply supply(DataSupply::VistraIp);
    m_format->readSupplyProperties(supply, pairs("DMX_OFFSET=511;DEVICE_NAME=North"));
    QCOMPARE(supply.deviceProperty(QStringLiteral("DMX_OFFSET")), QStringLiteral("511"));
    QCOMPARE(supply.deviceProperty(QStringLiteral("DEVICE_NAME")), QStringLiteral("North"));
}

void tst_PropertyMapper::roundTripThroughAMapFile()
{
    MapModel model;
    model.setPropertyFormat(m_format);
    DataSupply *supply = model.dataSupply(MapBuild::supply(model, QStringLiteral("N"), 0x10));
    supply->setSerialNumber(0x01A20011);
    supply->setDeviceProperty(QStringLiteral("DEVICE_NAME"), QStringLiteral("North <PDS>"));
    const QList<QMap<QString, QString>> held{
        {{"DMX_OFFSET", "0"}, {"LED_CHEMISTRY", "2"}, {"INPUT_RESOLUTION", "1"}},
        {{"DMX_OFFSET", "511"}, {"FIRMWARE_VERSION", "23"}, {"NOTE", "spare"}},
        {{"LED_CHEMISTRY", "RGB"}},
        {{"LED_CHEMISTRY", "9"}, {"DMX_OFFSET", "-4"}},
    };
    const QList<quint64> serials{0x10110001, 0x10110002, 0x10310000, 0x0BADF00D};
    for (int i = 0; i < held.size(); ++i) {
        Light *light = model.light(MapBuild::light(model, 0, 0, 0, QStringLiteral("L"), 0x20 + i));
        light->setSerialNumber(serials.at(i));
        for (auto it = held.at(i).cbegin(); it != held.at(i).cend(); ++it)
            light->setDeviceProperty(it.key(), it.value());
    }

    const QByteArray bytes = save(model);
    QVERIFY(bytes.contains("<LED_CHEMISTRY>RGBW</LED_CHEMISTRY>"));
    QVERIFY(bytes.contains("<INPUT_RESOLUTION>16 bit</INPUT_RESOLUTION>"));
    QVERIFY(bytes.contains("<DEVICE_NAME>North &lt;PDS&gt;</DEVICE_NAME>"));

    MapModel loaded;
    loaded.setPropertyFormat(m_format);
    QSignalSpy messages(&loaded, &MapModel::msg);
    QVERIFY(load(loaded, bytes));
    QCOMPARE(loaded.dataSupply(0x10)->deviceProperties(),
             model.dataSupply(0x10)->deviceProperties());
    // Every light comes back with what it held, text that was already the text form comes
    // back as the value, and an unknown option stays as it was; an offset outside 0..511 is
    // not taken, and the loader says so.
    QCOMPARE(loaded.light(0x20)->deviceProperties(), held.at(0));
    QCOMPARE(loaded.light(0x21)->deviceProperties(), held.at(1));
    QCOMPARE(loaded.light(0x22)->deviceProperties(),
             (QMap<QString, QString>{{"LED_CHEMISTRY", "1"}}));
    QCOMPARE(loaded.light(0x23)->deviceProperties(),
             (QMap<QString, QString>{{"LED_CHEMISTRY", "9"}}));
    QStringList texts;
    for (const auto &args : messages)
        texts << args.at(0).toString();
    QVERIFY(texts.contains("loadLight: light 23: DMX_OFFSET \"-4\" is not a number from 0 to "
                           "511; not kept"));
    QVERIFY(texts.contains("loadLight: light 23: LED_CHEMISTRY \"9\" is not one of its options; "
                           "kept as it stands"));

    // What was loaded saves and loads back to itself.
    MapModel reloaded;
    reloaded.setPropertyFormat(m_format);
    QVERIFY(load(reloaded, save(loaded)));
    QCOMPARE(save(reloaded), save(loaded));
}

void tst_PropertyMapper::filesWrittenAsTextStillLoad()
{
    DeviceResources::registerResources();
    MapModel model;
    model.setPropertyFormat(std::make_shared<DefinitionPropertyFormat>());
    QVERIFY(model.loadFromFile(QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map")));
    QCOMPARE(model.lightCount(), 200);
    for (const Light *light : model.lights()) {
        QCOMPARE(light->deviceProperty("LED_CHEMISTRY"), QStringLiteral("1"));
        const int offset = light->deviceProperty("DMX_OFFSET").toInt();
        QVERIFY(offset >= 0 && offset <= 511);
    }
    const QByteArray bytes = save(model);
    QCOMPARE(bytes.count("<LED_CHEMISTRY>RGB</LED_CHEMISTRY>"), 200);
    QCOMPARE(bytes.count("<DMX_OFFSET>"), 200);
    // Supplies carry the tokens of their definition, empty where nothing is known.
    QCOMPARE(bytes.count("<IPV4_IP_ADDRESS></IPV4_IP_ADDRESS>"), 3);
}

QTEST_GUILESS_MAIN(tst_PropertyMapper)
#include "tst_propertymapper.moc"
