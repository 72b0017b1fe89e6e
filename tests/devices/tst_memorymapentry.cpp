#include "logcapture.h"

#include "devices/dmxaddress.h"
#include "devices/memorymapentry.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

namespace {

const QString kMissingAddresses =
    QStringLiteral("Json file missing read/write addresses or is invalid");

MemoryMapEntry item(const QByteArray &json)
{
    return MemoryMapEntry::fromJson(QJsonDocument::fromJson(json).object());
}

QList<int> toList(const QVector<quint16> &addresses)
{
    QList<int> list;
    for (quint16 a : addresses)
        list << a;
    return list;
}

} // namespace

class tst_MemoryMapEntry : public QObject
{
    Q_OBJECT

private slots:
    void addressForms_data();
    void addressForms();
    void defaultsAndKeys_data();
    void defaultsAndKeys();
    void valuesKeysIgnoreCase();
    void bigEndianValues_data();
    void bigEndianValues();
    void dmxAddressRule_data();
    void dmxOffsetText_data();
    void dmxOffsetText();
    void dmxAddressRule();
    void dmxOffsetThroughItsMemoryMapItem();
};

void tst_MemoryMapEntry::addressForms_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QList<int>>("read");
    QTest::addColumn<QList<int>>("write");
    QTest::addColumn<bool>("shared");
    QTest::addColumn<bool>("logged");

    using L = QList<int>;
    QTest::newRow("one location") << QByteArray(R"json({"address": 5})json") << L{5} << L{5} << true
                                  << false;
    QTest::newRow("0 is no location")
        << QByteArray(R"json({"address": 0})json") << L{} << L{} << true << false;
    QTest::newRow("pair, high byte first") << QByteArray(R"json({"address": [64, 65]})json")
                                           << L{64, 65} << L{64, 65} << true << false;
    QTest::newRow("0 kept inside an array")
        << QByteArray(R"json({"address": [0, 7]})json") << L{0, 7} << L{0, 7} << true << false;
    QTest::newRow("empty array, set by other messages")
        << QByteArray(R"json({"address": []})json") << L{} << L{} << true << false;
    QTest::newRow("separate read and write")
        << QByteArray(R"json({"readAddress": 22, "writeAddress": 16})json") << L{22} << L{16}
        << false << false;
    QTest::newRow("read-only reading")
        << QByteArray(R"json({"readAddress": [48, 49], "writeAddress": []})json") << L{48, 49}
        << L{} << false << false;
    QTest::newRow("read and write win over address")
        << QByteArray(R"json({"address": 5, "readAddress": 6, "writeAddress": 7})json") << L{6}
        << L{7} << false << false;
    QTest::newRow("address with only readAddress")
        << QByteArray(R"json({"address": 5, "readAddress": 6})json") << L{} << L{} << true << true;
    QTest::newRow("address with only writeAddress")
        << QByteArray(R"json({"address": 5, "writeAddress": 6})json") << L{} << L{} << true << true;
    QTest::newRow("only readAddress")
        << QByteArray(R"json({"readAddress": 6})json") << L{} << L{} << true << true;
    QTest::newRow("no address at all")
        << QByteArray(R"json({"name": "X"})json") << L{} << L{} << true << true;
    QTest::newRow("low 16 bits kept")
        << QByteArray(R"json({"address": 65541})json") << L{5} << L{5} << true << false;
    QTest::newRow("low 16 bits inside an array")
        << QByteArray(R"json({"address": [65536, 1]})json") << L{0, 1} << L{0, 1} << true << false;
    QTest::newRow("negative wraps")
        << QByteArray(R"json({"address": -1})json") << L{65535} << L{65535} << true << false;
    QTest::newRow("text is not a number")
        << QByteArray(R"json({"address": "5"})json") << L{} << L{} << true << false;
    QTest::newRow("huge number does not overflow")
        << QByteArray(R"json({"address": 1e300})json") << L{65535} << L{65535} << true << false;
    QTest::newRow("fraction truncated")
        << QByteArray(R"json({"address": [7.9]})json") << L{7} << L{7} << true << false;
}

void tst_MemoryMapEntry::addressForms()
{
    QFETCH(QByteArray, json);
    QFETCH(QList<int>, read);
    QFETCH(QList<int>, write);
    QFETCH(bool, shared);
    QFETCH(bool, logged);

    LogCapture log;
    const MemoryMapEntry entry = item(json);
    QCOMPARE(toList(entry.readAddresses()), read);
    QCOMPARE(toList(entry.writeAddresses()), write);
    QCOMPARE(entry.sharedAddress(), shared);
    QCOMPARE(log.count(kMissingAddresses), logged ? 1 : 0);
    QCOMPARE(log.lines().size(), logged ? 1 : 0);
}

void tst_MemoryMapEntry::defaultsAndKeys_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("hasDefault");
    QTest::addColumn<int>("defaultValue");
    QTest::addColumn<int>("access");
    QTest::addColumn<QStringList>("categories");

    QTest::newRow("nothing given")
        << QByteArray(R"json({"address": 1})json") << QStringLiteral("UNKNOWN_TOKEN_NAME") << false
        << 0 << -1 << QStringList();
    QTest::newRow("defaultValue counts")
        << QByteArray(R"json({"name": "DIMMING_CURVE", "address": 1, "defaultValue": 0})json")
        << QStringLiteral("DIMMING_CURVE") << true << 0 << -1 << QStringList();
    QTest::newRow("default does not count")
        << QByteArray(R"json({"name": "DIMMING_CURVE", "address": 1, "default": 0})json")
        << QStringLiteral("DIMMING_CURVE") << false << 0 << -1 << QStringList();
    QTest::newRow("default is signed 16-bit")
        << QByteArray(R"json({"address": 1, "defaultValue": 65535})json")
        << QStringLiteral("UNKNOWN_TOKEN_NAME") << true << -1 << -1 << QStringList();
    QTest::newRow("access and one category")
        << QByteArray(R"json({"address": 1, "access": 644, "category": "settings"})json")
        << QStringLiteral("UNKNOWN_TOKEN_NAME") << false << 0 << 644 << QStringList{"settings"};
    QTest::newRow("category list")
        << QByteArray(R"json({"address": 1, "category": ["address", "settings"]})json")
        << QStringLiteral("UNKNOWN_TOKEN_NAME") << false << 0 << -1
        << QStringList{"address", "settings"};
    QTest::newRow("keys are case-sensitive")
        << QByteArray(R"json({"Name": "X", "address": 1, "DefaultValue": 3, "Access": 666})json")
        << QStringLiteral("UNKNOWN_TOKEN_NAME") << false << 0 << -1 << QStringList();
}

void tst_MemoryMapEntry::defaultsAndKeys()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, name);
    QFETCH(bool, hasDefault);
    QFETCH(int, defaultValue);
    QFETCH(int, access);
    QFETCH(QStringList, categories);

    const MemoryMapEntry entry = item(json);
    QCOMPARE(entry.name(), name);
    QCOMPARE(entry.hasDefaultValue(), hasDefault);
    QCOMPARE(int(entry.defaultValue()), defaultValue);
    QCOMPARE(entry.access(), access);
    QCOMPARE(entry.categories(), categories);
    QVERIFY(!entry.userConfigurable());
    QVERIFY(!entry.readOnly());
}

void tst_MemoryMapEntry::valuesKeysIgnoreCase()
{
    const MemoryMapEntry entry = item(R"json({"address": 71, "userConfigurable": true,
        "values": [{"MIN": 0}, {"Max": 1}, {"NAME": "8 bit", "Value": 0},
                   {"name": "16 bit", "value": 1}, {"name": "no value"}, 7]})json");
    QVERIFY(entry.userConfigurable());
    const PropertyValues &values = entry.values();
    QVERIFY(values.hasMin);
    QVERIFY(values.hasMax);
    QCOMPARE(values.min, 0);
    QCOMPARE(values.max, 1);
    QCOMPARE(values.options.size(), 2);
    QCOMPARE(values.options.at(0), qMakePair(QStringLiteral("8 bit"), qint64(0)));
    QCOMPARE(values.options.at(1), qMakePair(QStringLiteral("16 bit"), qint64(1)));
}

void tst_MemoryMapEntry::bigEndianValues_data()
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

void tst_MemoryMapEntry::bigEndianValues()
{
    QFETCH(QByteArray, bytes);
    QFETCH(quint64, value);
    QVector<quint8> list;
    for (char c : bytes)
        list.append(static_cast<quint8>(c));
    QCOMPARE(MemoryMapEntry::valueFromBytes(list), value);
}

void tst_MemoryMapEntry::dmxAddressRule_data()
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

void tst_MemoryMapEntry::dmxAddressRule()
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

void tst_MemoryMapEntry::dmxOffsetText_data()
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

void tst_MemoryMapEntry::dmxOffsetText()
{
    QFETCH(QString, text);
    QFETCH(int, address);
    QCOMPARE(DmxAddress::addressFromText(text), address);
    QCOMPARE(DmxAddress::offsetFromText(text).has_value(), address != 0);
}

void tst_MemoryMapEntry::dmxOffsetThroughItsMemoryMapItem()
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

QTEST_GUILESS_MAIN(tst_MemoryMapEntry)
#include "tst_memorymapentry.moc"
