#include "logcapture.h"

#include "devices/propertymapper.h"

#include <QFile>
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

} // namespace

class tst_PropertyMapper : public QObject
{
    Q_OBJECT

private slots:
    void readsEveryKey();
    void laterMapWinsAClash();
    void lookupsByTokenAndDisplayName();
    void unreadableFilesAreLoggedAndSkipped_data();
    void unreadableFilesAreLoggedAndSkipped();
    void valueToText_data();
    void valueToText();
    void textToValue_data();
    void textToValue();
    void valuesRoundTrip();
};

void tst_PropertyMapper::readsEveryKey()
{
    const auto mapper = testMapper();
    QCOMPARE(mapper->count(), 7);

    const std::optional<PropertyEntry> dmx = mapper->property(QStringLiteral("DMX_OFFSET"));
    QVERIFY(dmx);
    QCOMPARE(dmx->tokenName(), QStringLiteral("DMX_OFFSET"));
    QCOMPARE(dmx->stringName(), QStringLiteral("DMX Address"));
    QCOMPARE(dmx->description(), QStringLiteral("--"));
    QCOMPARE(dmx->category(), (QStringList{"address", "settings"}));
    QCOMPARE(dmx->access(), 666);
    QVERIFY(dmx->values().hasMin && dmx->values().hasMax);
    QCOMPARE(dmx->values().min, qint64(0));
    QCOMPARE(dmx->values().max, qint64(511));
    QVERIFY(!dmx->values().hasOptions());

    const std::optional<PropertyEntry> chemistry =
        mapper->property(QStringLiteral("LED_CHEMISTRY"));
    QVERIFY(chemistry);
    QCOMPARE(chemistry->category(), QStringList{"information"});
    QVERIFY(!chemistry->values().hasBounds());
    QCOMPARE(chemistry->values().options.size(), 2);

    const std::optional<PropertyEntry> name = mapper->property(QStringLiteral("DEVICE_NAME"));
    QVERIFY(name);
    QCOMPARE(name->access(), -1);
    QVERIFY(name->values().isEmpty());

    const std::optional<PropertyEntry> limit = mapper->property(QStringLiteral("LIMIT"));
    QVERIFY(limit);
    QCOMPARE(limit->values().min, qint64(10));
    QCOMPARE(limit->values().max, qint64(100));

    const std::optional<PropertyEntry> rdm = mapper->property(QStringLiteral("RDM_DMX_ADDRESS"));
    QVERIFY(rdm);
    QCOMPARE(rdm->parameterID(), 240);
    QCOMPARE(rdm->payloadSize(), 2);
    QVERIFY(!mapper->property(QStringLiteral("NOPE")));
}

void tst_PropertyMapper::laterMapWinsAClash()
{
    const auto mapper = testMapper();
    const std::optional<PropertyEntry> clash = mapper->property(QStringLiteral("CLASH"));
    QVERIFY(clash);
    QCOMPARE(clash->stringName(), QStringLiteral("Clash (RDM)"));
    QCOMPARE(clash->parameterID(), 4096);
    QCOMPARE(clash->access(), 666);
    QCOMPARE(mapper->displayName(QStringLiteral("CLASH")), QStringLiteral("Clash (RDM)"));
    QCOMPARE(mapper->tokenForDisplayName(QStringLiteral("Clash (RDM)")), QStringLiteral("CLASH"));

    // Loaded the other way round, the own map wins: it is the order that decides.
    PropertyMapper reversed;
    reversed.loadJson(kRdmMap, QStringLiteral("rdm"));
    reversed.loadJson(kOwnMap, QStringLiteral("own"));
    QCOMPARE(reversed.displayName(QStringLiteral("CLASH")), QStringLiteral("Clash (own)"));
}

void tst_PropertyMapper::lookupsByTokenAndDisplayName()
{
    const auto mapper = testMapper();
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
    const QString unknown = mapper->tokenForDisplayName(QStringLiteral("Colour"));
    QCOMPARE(unknown, QStringLiteral("Unsupported Property: Colour"));
    // Callers detect the failure by searching without regard to case.
    QVERIFY(unknown.contains(QLatin1String("unsupported property"), Qt::CaseInsensitive));
}

void tst_PropertyMapper::unreadableFilesAreLoggedAndSkipped_data()
{
    QTest::addColumn<QByteArray>("firstFile");
    QTest::addColumn<bool>("exists");
    QTest::addColumn<bool>("logged");

    QTest::newRow("missing") << QByteArray() << false << true;
    QTest::newRow("empty") << QByteArray() << true << true;
    QTest::newRow("not JSON") << QByteArray("PropertyMap: nope") << true << true;
    QTest::newRow("truncated") << kOwnMap.left(200) << true << true;
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

void tst_PropertyMapper::valueToText_data()
{
    QTest::addColumn<QString>("token");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("text");

    const QString unsupported = QStringLiteral("Unsupported Mapping");
    QTest::newRow("offset 0") << "DMX_OFFSET"
                              << "0"
                              << "0";
    QTest::newRow("offset 511") << "DMX_OFFSET"
                                << "511"
                                << "511";
    QTest::newRow("offset above range") << "DMX_OFFSET"
                                        << "512" << unsupported;
    QTest::newRow("offset below range") << "DMX_OFFSET"
                                        << "-1" << unsupported;
    QTest::newRow("offset hex shown in decimal") << "DMX_OFFSET"
                                                 << "0x1F"
                                                 << "31";
    QTest::newRow("offset spaces") << "DMX_OFFSET"
                                   << " 12 "
                                   << "12";
    QTest::newRow("offset text") << "DMX_OFFSET"
                                 << "twelve" << unsupported;
    QTest::newRow("hex only for the offset") << "LIMIT"
                                             << "0x20" << unsupported;
    QTest::newRow("not an option") << "LED_CHEMISTRY"
                                   << "3" << unsupported;
    QTest::newRow("text is not a value") << "LED_CHEMISTRY"
                                         << "RGB" << unsupported;
    QTest::newRow("free text") << "DEVICE_NAME"
                               << "North PDS"
                               << "North PDS";
    QTest::newRow("outside both") << "BOTH"
                                  << "11" << unsupported;
    QTest::newRow("unknown token") << "NO_SUCH_TOKEN"
                                   << "1" << unsupported;
}

void tst_PropertyMapper::valueToText()
{
    QFETCH(QString, token);
    QFETCH(QString, value);
    QFETCH(QString, text);
    QCOMPARE(testMapper()->valueToText(token, value), text);
}

void tst_PropertyMapper::textToValue_data()
{
    QTest::addColumn<QString>("token");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("value");

    const QString unsupported = QStringLiteral("Unsupported Mapping");
    QTest::newRow("offset decimal") << "DMX_OFFSET"
                                    << "31"
                                    << "31";
    QTest::newRow("offset hex") << "DMX_OFFSET"
                                << "0x1F"
                                << "31";
    QTest::newRow("offset hex above range") << "DMX_OFFSET"
                                            << "0x200" << unsupported;
    QTest::newRow("offset empty") << "DMX_OFFSET"
                                  << "" << unsupported;
    QTest::newRow("option in another case") << "LED_CHEMISTRY"
                                            << "rgbw"
                                            << "2";
    QTest::newRow("unknown option") << "LED_CHEMISTRY"
                                    << "RGBAW" << unsupported;
    QTest::newRow("number for an option-only property") << "LED_CHEMISTRY"
                                                        << "2" << unsupported;
    QTest::newRow("free text") << "DEVICE_NAME"
                               << "Canopy"
                               << "Canopy";
    QTest::newRow("number outside bounds") << "BOTH"
                                           << "0" << unsupported;
    QTest::newRow("range keys in any case") << "LIMIT"
                                            << "50"
                                            << "50";
    QTest::newRow("below range") << "LIMIT"
                                 << "5" << unsupported;
    QTest::newRow("unknown token") << "NO_SUCH_TOKEN"
                                   << "1" << unsupported;
}

void tst_PropertyMapper::textToValue()
{
    QFETCH(QString, token);
    QFETCH(QString, text);
    QFETCH(QString, value);
    QCOMPARE(testMapper()->textToValue(token, text), value);
}

// Every option and the ends and middle of every range, both ways (the rows above hold what
// goes only one way).
void tst_PropertyMapper::valuesRoundTrip()
{
    const auto mapper = testMapper();
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

QTEST_GUILESS_MAIN(tst_PropertyMapper)
#include "tst_propertymapper.moc"
