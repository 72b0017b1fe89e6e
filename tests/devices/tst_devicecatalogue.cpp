// Checks the device definitions and property maps that ship inside the program: they load
// without a single log line, every token a definition names is described, and the catalogue
// keeps the promises other parts of the program rely on.
#include "describe.h"
#include "logcapture.h"

#include "devices/devicedictionary.h"
#include "devices/deviceresources.h"
#include "devices/propertymapper.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>
#include <QtTest>

namespace {

using EntryPointer = DeviceDictionary::EntryPointer;

QJsonArray rawMap(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object().value("PropertyMap").toArray();
}

} // namespace

class tst_DeviceCatalogue : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyFileLoadsWithoutALogLine();
    void everyKindIsCovered();
    void everyTokenHasAProperty();
    void tokensAreXmlNames();
    void plainRangesDoNotOverlap();
    void productCodesMatchTheRdmReader();
    void exampleInstallationIsCovered_data();
    void exampleInstallationIsCovered();
    void genericFixtures_data();
    void genericFixtures();
    void chemistriesAreKnown();
    void dmxOffsetProperty();
    void rdmMap();
    void displayNamesAreUnique();
    void optionsRoundTripAndAreNotNumbers();
    void suppliesAreDiscoveredOnTheProtocolPort();

private:
    QStringList m_log;
    const DeviceDictionary *m_dictionary = nullptr;
    const PropertyMapper *m_mapper = nullptr;
};

void tst_DeviceCatalogue::initTestCase()
{
    LogCapture log;
    DeviceResources::registerResources();
    m_mapper = PropertyMapper::instance();
    m_dictionary = DeviceDictionary::instance();
    m_log = log.lines();
}

void tst_DeviceCatalogue::everyFileLoadsWithoutALogLine()
{
    QCOMPARE(m_log, QStringList());
    QVERIFY(m_dictionary->entries().size() >= 30);
    for (const EntryPointer &entry : m_dictionary->entries()) {
        QVERIFY2(entry->isLoaded(), qPrintable(entry->filePath()));
        QVERIFY2(!entry->deviceName().isEmpty(), qPrintable(entry->filePath()));
        QVERIFY2(!entry->memoryMap().isEmpty(), qPrintable(entry->filePath()));
        QVERIFY2(!entry->serialRanges().isEmpty() || !entry->productCodeRanges().isEmpty(),
                 qPrintable(entry->filePath()));
        QVERIFY2(entry->filePath().startsWith(QLatin1String(":/DeviceConfigFiles/")),
                 qPrintable(entry->filePath()));
    }
    QVERIFY(m_mapper->count() > 100);
}

void tst_DeviceCatalogue::everyKindIsCovered()
{
    for (int type = 1; type <= 9; ++type) {
        const auto kind = static_cast<DeviceType>(type);
        QVERIFY2(!m_dictionary->entriesOfType(kind).isEmpty(), qPrintable(deviceTypeName(kind)));
    }
}

void tst_DeviceCatalogue::everyTokenHasAProperty()
{
    QStringList missing;
    for (const EntryPointer &entry : m_dictionary->entries()) {
        for (const QString &token : entry->memoryMap().keys()) {
            if (!m_mapper->hasProperty(token))
                missing << entry->deviceName() + QLatin1Char(':') + token;
        }
    }
    QCOMPARE(missing, QStringList());
}

void tst_DeviceCatalogue::tokensAreXmlNames()
{
    // Tokens become element tags in map files.
    const QRegularExpression token(QStringLiteral("^[A-Z][A-Z0-9_]*$"));
    for (const QString &name : m_mapper->tokens())
        QVERIFY2(token.match(name).hasMatch(), qPrintable(name));
}

void tst_DeviceCatalogue::plainRangesDoNotOverlap()
{
    const QList<SerialRange> ranges = m_dictionary->serialRanges();
    for (int i = 1; i < ranges.size(); ++i) {
        QVERIFY(ranges.at(i - 1).start <= ranges.at(i - 1).end);
        QVERIFY2(ranges.at(i - 1).end < ranges.at(i).start,
                 qPrintable(QString::number(ranges.at(i).start, 16)));
    }
}

void tst_DeviceCatalogue::productCodesMatchTheRdmReader()
{
    // The RDM reader writes device model (decimal), product category and software version
    // (both hexadecimal); our codes use hex digits that are all decimal so both readings agree.
    const QRegularExpression code(QStringLiteral("^D\\.\\d{4}-P\\.\\d{4}-F\\.\\d{4}$"));
    const QList<ProductCodeRange> ranges = m_dictionary->productCodeRanges();
    QVERIFY(ranges.size() >= 4);
    for (const ProductCodeRange &range : ranges) {
        QVERIFY2(code.match(range.productCode).hasMatch(), qPrintable(range.productCode));
        QCOMPARE(range.start >> 32, quint64(0x7A70));
        QCOMPARE(range.end >> 32, quint64(0x7A70));
        QVERIFY(!m_dictionary->productCodeEntriesForSerial(range.start).isEmpty());
    }
    const QList<EntryPointer> graze = m_dictionary->productCodeEntriesForSerial(0x7A7001000001ULL);
    QCOMPARE(graze.size(), 2);
    QCOMPARE(graze.at(0)->deviceName(), QStringLiteral("Vela Graze RDM RGB"));
    QCOMPARE(m_dictionary->deviceNameForSerial(0x7A7001000001ULL),
             QStringLiteral("Generic RDM Fixture"));
}

void tst_DeviceCatalogue::exampleInstallationIsCovered_data()
{
    QTest::addColumn<quint64>("serial");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("type");

    QTest::newRow("first light") << quint64(0x10110000) << "Vela Graze RGB" << 3;
    QTest::newRow("last light") << quint64(0x1011213B) << "Vela Graze RGB" << 3;
    QTest::newRow("north supply") << quint64(0x01A20011) << "PDS-480" << 1;
    QTest::newRow("canopy supply") << quint64(0x01A20013) << "PDS-480" << 1;
}

void tst_DeviceCatalogue::exampleInstallationIsCovered()
{
    QFETCH(quint64, serial);
    QFETCH(QString, name);
    QFETCH(int, type);
    const EntryPointer entry = m_dictionary->entryForSerial(serial);
    QVERIFY(entry);
    QCOMPARE(entry->deviceName(), name);
    QCOMPARE(int(entry->deviceType()), type);
}

// Generic fixtures cannot report their chemistry: it comes from the definition's static
// value, and their DMX start is written at 64 and 65.
void tst_DeviceCatalogue::genericFixtures_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("chemistry");
    const auto row = [](const char *name, const char *chemistry) {
        QTest::newRow(name) << QString(name) << QString(chemistry);
    };
    row("Generic 3-Ch", "RGB");
    row("Generic RGBW", "RGBW");
    row("Generic RGBAW", "RGBAW");
    row("Generic White", "Neutral White");
}

void tst_DeviceCatalogue::genericFixtures()
{
    QFETCH(QString, name);
    QFETCH(QString, chemistry);
    EntryPointer generic;
    for (const EntryPointer &entry : m_dictionary->entriesOfType(DeviceType::FIXTURE)) {
        if (entry->deviceName() == name)
            generic = entry;
    }
    QVERIFY(generic);
    QCOMPARE(
        Describe::item(*generic->memoryMapEntry("LED_CHEMISTRY")),
        QStringLiteral("LED_CHEMISTRY read - write - shared access 444 [information,settings] ro"));
    QCOMPARE(Describe::item(*generic->memoryMapEntry("DMX_OFFSET")),
             QStringLiteral("DMX_OFFSET read 64,65 write 64,65 shared default 0 access 666 "
                            "[address,settings] {0..511} user"));
    QCOMPARE(m_mapper->valueToText("LED_CHEMISTRY", generic->staticValue("LED_CHEMISTRY")),
             chemistry);
}

void tst_DeviceCatalogue::chemistriesAreKnown()
{
    const PropertyValues chemistries = m_mapper->property("LED_CHEMISTRY")->values();
    for (const EntryPointer &entry : m_dictionary->entries()) {
        if (entry->hasStaticValue("LED_CHEMISTRY"))
            QVERIFY(chemistries.optionText(entry->staticValue("LED_CHEMISTRY")));
        const std::optional<MemoryMapEntry> item = entry->memoryMapEntry("LED_CHEMISTRY");
        if (item && item->hasDefaultValue())
            QVERIFY(chemistries.optionText(item->defaultValue()));
        for (const QString &chemistry : entry->profileIds().keys())
            QVERIFY2(chemistries.optionValue(chemistry), qPrintable(chemistry));
    }
}

void tst_DeviceCatalogue::dmxOffsetProperty()
{
    QCOMPARE(Describe::property(m_mapper->property("DMX_OFFSET")),
             QStringLiteral(R"(DMX_OFFSET "DMX Address" [address,settings] 666 {0..511} (--))"));
    bool noteFound = false;
    for (const QJsonValue &p : rawMap(PropertyMapper::kPropertyMapPath)) {
        if (p.toObject().value("tokenName") == QLatin1String("DMX_OFFSET"))
            noteFound = p.toObject().value("comments") ==
                        QLatin1String("DMX Address = offset + 1. Big endian format.");
    }
    QVERIFY(noteFound);
}

void tst_DeviceCatalogue::rdmMap()
{
    const QJsonArray rdm = rawMap(PropertyMapper::kRdmPropertyMapPath);
    QVERIFY(rdm.size() >= 50);
    QSet<int> ids;
    for (const QJsonValue &value : rdm) {
        const QJsonObject p = value.toObject();
        const QString token = p.value("tokenName").toString();
        QVERIFY2(token.startsWith(QLatin1String("RDM_")), qPrintable(token));
        QVERIFY2(p.value("parameterID").isDouble() && p.value("payloadSize").isDouble(),
                 qPrintable(token));
        QVERIFY2(!ids.contains(p.value("parameterID").toInt()), qPrintable(token));
        ids.insert(p.value("parameterID").toInt());
    }
    QCOMPARE(Describe::property(m_mapper->property("RDM_DMX_ADDRESS")),
             QStringLiteral(R"(RDM_DMX_ADDRESS "RDM DMX Address" [address,settings] 666 {1..512} )"
                            "pid 240/2 (First DMX channel of the device.)"));
    QCOMPARE(Describe::property(m_mapper->property("RDM_DEVICE_INFO")),
             QStringLiteral(R"(RDM_DEVICE_INFO "Device Info" [information] 444 {} pid 96/19 )"
                            "(Model, category, software version, footprint and address.)"));

    // RDM kinds locate their tokens by parameter id.
    for (const EntryPointer &entry : m_dictionary->entries()) {
        for (const MemoryMapEntry &item : entry->memoryMap()) {
            if (!item.name().startsWith(QLatin1String("RDM_")))
                continue;
            QCOMPARE(item.readAddresses(),
                     QVector<quint16>{quint16(m_mapper->property(item.name())->parameterID())});
        }
    }
}

void tst_DeviceCatalogue::displayNamesAreUnique()
{
    // The reverse lookup from display name to token must not be ambiguous, and neither map
    // may shadow a token of the other.
    QHash<QString, QString> tokenByName;
    QSet<QString> tokens;
    for (const QString &path :
         {PropertyMapper::kPropertyMapPath, PropertyMapper::kRdmPropertyMapPath}) {
        for (const QJsonValue &value : rawMap(path)) {
            const QString token = value.toObject().value("tokenName").toString();
            const QString name = value.toObject().value("stringName").toString();
            QVERIFY2(!tokens.contains(token), qPrintable(token));
            QVERIFY2(!tokenByName.contains(name), qPrintable(name));
            tokens.insert(token);
            tokenByName.insert(name, token);
            QCOMPARE(m_mapper->tokenForDisplayName(name), token);
        }
    }
}

void tst_DeviceCatalogue::optionsRoundTripAndAreNotNumbers()
{
    for (const QString &token : m_mapper->tokens()) {
        const PropertyValues values = m_mapper->property(token)->values();
        for (const auto &option : values.options) {
            bool isNumber = false;
            option.first.toLongLong(&isNumber);
            QVERIFY2(!isNumber, qPrintable(token + QLatin1Char(' ') + option.first));
            QCOMPARE(m_mapper->valueToText(token, option.second), option.first);
            QCOMPARE(m_mapper->textToValue(token, option.first), QString::number(option.second));
        }
        if (values.hasMin && values.hasMax) {
            QVERIFY(values.min <= values.max);
            QCOMPARE(m_mapper->textToValue(token, m_mapper->valueToText(token, values.max)),
                     QString::number(values.max));
        }
    }
}

void tst_DeviceCatalogue::suppliesAreDiscoveredOnTheProtocolPort()
{
    for (const DeviceType type : {DeviceType::PDS, DeviceType::ETHERNET}) {
        for (const EntryPointer &entry : m_dictionary->entriesOfType(type))
            QCOMPARE(entry->discoverPort(), quint16(6038));
    }
}

QTEST_GUILESS_MAIN(tst_DeviceCatalogue)
#include "tst_devicecatalogue.moc"
