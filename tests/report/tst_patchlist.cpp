#include "report/patchlist.h"
#include "report/patchlistformats.h"
#include "support/mapbuild.h"

#include <QJsonDocument>
#include <QtTest>

// The patch list's order, numbering and checks, its JSON, and CSV that keeps any name. The
// example map's whole CSV is compared with a hand-checked file in tst_cli and tst_kestrel.
class tst_PatchList final : public QObject
{
    Q_OBJECT
private slots:
    void orderAndNumbering_data();
    void orderAndNumbering();
    void json();
    void csvKeepsHostileNames_data();
    void csvKeepsHostileNames();
};

namespace {

// A map from one line per light: "SUPPLY[#SERIAL]|PORTINDEX|DMX_OFFSET|NAME|RESOLUTION"; an
// empty SUPPLY or DMX_OFFSET leaves it out; RESOLUTION 1 means 16-bit channels. A supply has
// two ports unless a light names a later one.
void build(MapModel &model, const QStringList &lights)
{
    QHash<QString, quint64> supplies;
    for (const QString &line : lights) {
        const QStringList f = line.split(QLatin1Char('|'));
        quint64 &supply = supplies[f.at(0)];
        if (!f.at(0).isEmpty() && !supply) {
            supply = MapBuild::supply(model, f.at(0).section(QLatin1Char('#'), 0, 0));
            model.dataSupply(supply)->setSerialNumber(
                f.at(0).section(QLatin1Char('#'), 1).toULongLong(nullptr, 16));
        }
        const quint64 serial = 0x10100000 + model.lightCount(); // and uid
        Light *light =
            model.light(MapBuild::light(model, supply, f.at(1).toUInt(), 0, f.at(3), serial));
        light->setSerialNumber(serial);
        if (!f.at(2).isEmpty())
            light->setDeviceProperty(QStringLiteral("DMX_OFFSET"), f.at(2));
        light->setDeviceProperty(QStringLiteral("LED_CHEMISTRY"), QStringLiteral("1"));
        if (f.value(4) == QLatin1String("1"))
            light->setDeviceProperty(QStringLiteral("INPUT_RESOLUTION"), QStringLiteral("1"));
        if (DataSupply *owner = model.dataSupply(supply))
            owner->setPortCount(
                quint8(std::max({2, f.at(1).toInt() + 1, int(owner->portCount())})));
    }
}

// "SUPPLY:PORT:RANGE:NAME" per light in list order, "!overlaps" / "!past 512" appended;
// "SUPPLY:PORT:-" for a port without lights; SUPPLY "(none)" for lights without one.
QStringList rendered(const PatchList &list)
{
    QStringList rows;
    for (const PatchSupply &supply : list.supplies) {
        for (const PatchPort &port : supply.ports) {
            const QString prefix =
                QStringLiteral("%1:%2:")
                    .arg(supply.isSupply ? supply.name : QStringLiteral("(none)"))
                    .arg(port.port);
            if (port.lights.isEmpty())
                rows << prefix + QLatin1Char('-');
            for (const PatchLight &light : port.lights)
                rows << prefix + PatchText::dmxRange(light) + QLatin1Char(':') + light.name +
                            (light.overlapsPrevious ? "!overlaps" : "") +
                            (light.runsPastUniverse() ? "!past 512" : "");
        }
    }
    return rows;
}

} // namespace

void tst_PatchList::orderAndNumbering_data()
{
    QTest::addColumn<QStringList>("lights");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("by DMX address, not map order; 16-bit channels; hexadecimal offsets")
        << QStringList{"A|0|9|c", "A|0|0|wide|1", "A|0|0x6|next"}
        << QStringList{"A:1:1-6:wide", "A:1:7-9:next", "A:1:10-12:c", "A:2:-"};
    QTest::newRow("ports counted from 1, empty ones listed")
        << QStringList{"A|1|0|second port", "A|3|0|fourth port"}
        << QStringList{"A:1:-", "A:2:1-3:second port", "A:3:-", "A:4:1-3:fourth port"};
    QTest::newRow("shared slots and a range past 512 are flagged")
        << QStringList{"A|0|0|first", "A|0|2|clash", "A|0|2|same", "A|0|510|edge", "A|0|509|fit"}
        << QStringList{"A:1:1-3:first",
                       "A:1:3-5:clash!overlaps",
                       "A:1:3-5:same!overlaps",
                       "A:1:510-512:fit",
                       "A:1:511-513:edge!overlaps!past 512",
                       "A:2:-"};
    QTest::newRow("lights without an address last, by name")
        << QStringList{"A|0||unset 10", "A|0|20|set", "A|0||unset 9", "A|0|999|out of range"}
        << QStringList{"A:1:21-23:set", "A:1::out of range", "A:1::unset 9", "A:1::unset 10",
                       "A:2:-"};
    QTest::newRow("supplies by name, numbers by value, then serial; no supply last")
        << QStringList{"PDS 10|0|0|ten", "|0|0|loose", "PDS 2#5|0|0|two b", "PDS 2#1|0|0|two a",
                       "pds 3|0|0|three"}
        << QStringList{"PDS 2:1:1-3:two a", "PDS 2:2:-",         "PDS 2:1:1-3:two b",
                       "PDS 2:2:-",         "pds 3:1:1-3:three", "pds 3:2:-",
                       "PDS 10:1:1-3:ten",  "PDS 10:2:-",        "(none):1:1-3:loose"};
}

void tst_PatchList::orderAndNumbering()
{
    QFETCH(QStringList, lights);
    QFETCH(QStringList, expected);
    MapModel model;
    build(model, lights);
    const PatchList list = PatchList::fromModel(model);
    QCOMPARE(rendered(list), expected);
    QCOMPARE(list.lightCount, lights.size());
}

void tst_PatchList::json()
{
    MapModel model;
    build(model, {"Roof#1A2B|1|3|r1", "Roof#1A2B|1||r2", "|0|0|loose"});
    model.dataSupplies().constFirst()->setIpAddress(QHostAddress(QStringLiteral("10.0.0.7")));
    const PatchList list = PatchList::fromModel(model);
    const QJsonObject json = PatchListFormats::toJson(list);
    // DMX_OFFSET 3 is DMX address 4; a light without one has none.
    QCOMPARE(
        QJsonDocument(json).toJson(QJsonDocument::Compact),
        QStringLiteral(
            "{\"supplies\":[{\"ip\":\"10.0.0.7\",\"name\":\"Roof\",\"ports\":[{\"lights\":[],"
            "\"port\":1},{\"lights\":[{\"channels\":3,\"dmxAddress\":4,\"name\":\"r1\","
            "\"serial\":\"10100000\",\"uid\":269484032},{\"channels\":3,\"dmxAddress\":null,"
            "\"name\":\"r2\",\"serial\":\"10100001\",\"uid\":269484033}],\"port\":2}],\"serial\":"
            "\"00001A2B\"},{\"ip\":\"\",\"name\":\"\",\"ports\":[{\"lights\":[{\"channels\":3,"
            "\"dmxAddress\":1,\"name\":\"loose\",\"serial\":\"10100002\",\"uid\":269484034}],"
            "\"port\":1}],\"serial\":\"\"}]}")
            .toUtf8());
    // 0.0.0.0 is a supply that has not been given an address, not an address to print.
    model.dataSupplies().constFirst()->setIpAddress(QHostAddress(QHostAddress::AnyIPv4));
    QCOMPARE(PatchList::fromModel(model).supplies.constFirst().ip, QString());
}

// A name as the CSV field that carries it, for the supply and the light alike.
void tst_PatchList::csvKeepsHostileNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("field");
    QTest::newRow("comma") << QString("Cove, north") << "\"Cove, north\"";
    QTest::newRow("quotes") << QString("The \"big\" one") << "\"The \"\"big\"\" one\"";
    QTest::newRow("line ends") << QString("two\r\nlines") << "\"two\r\nlines\"";
    // A spreadsheet must show these as text, never run them.
    QTest::newRow("formula") << QString("=SUM(A1:A9)") << "\"'=SUM(A1:A9)\"";
    QTest::newRow("formula with a link") << QString("=HYPERLINK(\"http://x\",\"y\")")
                                         << "\"'=HYPERLINK(\"\"http://x\"\",\"\"y\"\")\"";
    QTest::newRow("leading minus") << QString("-2+3") << "\"'-2+3\"";
    QTest::newRow("leading @") << QString("@SUM(1+1)") << "\"'@SUM(1+1)\"";
    QTest::newRow("non-Latin") << QString::fromUtf8("Façade – 東 1")
                               << QString::fromUtf8("Façade – 東 1");
    QTest::newRow("blanks at the ends") << QString("  padded  ") << "  padded  ";
}

void tst_PatchList::csvKeepsHostileNames()
{
    QFETCH(QString, name);
    QFETCH(QString, field);
    MapModel model;
    build(model, {"S|0|0|x"});
    model.lights().constFirst()->setName(name);
    model.dataSupplies().constFirst()->setName(name);
    QCOMPARE(QString::fromUtf8(PatchListFormats::toCsv(PatchList::fromModel(model))),
             QStringLiteral("Supply,Supply Serial,IP Address,Port,Name,Serial,DMX Address,DMX "
                            "End,Channels,Uid\n%1,00000000,,1,%1,10100000,1,3,3,10100000\n")
                 .arg(field));
}

QTEST_GUILESS_MAIN(tst_PatchList)
#include "tst_patchlist.moc"
