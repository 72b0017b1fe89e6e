#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "report/patchlist.h"
#include "report/patchlistformats.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QtTest>

// The patch list's order, numbering and checks, its JSON shape, and CSV that survives any
// name. The example map's whole CSV is compared with a hand-checked file in tst_clipatch.
class tst_PatchList final : public QObject
{
    Q_OBJECT
private slots:
    void orderAndNumbering_data();
    void orderAndNumbering();
    void jsonShape();
    void csvKeepsHostileNames_data();
    void csvKeepsHostileNames();
};

namespace {

// Builds a map from one line per light: "SUPPLY|PORTINDEX|DMX_OFFSET|NAME|RESOLUTION".
// SUPPLY is a name, optionally "#SERIAL" (hex); an empty SUPPLY leaves the light without
// one. A supply has two ports unless a light names a later one. An empty DMX_OFFSET leaves
// the property out; RESOLUTION 1 means 16-bit channels.
void build(MapModel &model, const QStringList &lights)
{
    QHash<QString, DataSupply *> supplies;
    for (const QString &line : lights) {
        const QStringList f = line.split(QLatin1Char('|'));
        auto light = std::make_unique<Light>();
        light->setUid(model.newUid());
        light->setName(f.at(3));
        light->setPortNumber(f.at(1).toUInt());
        light->setSerialNumber(0x10100000 + model.lightCount());
        if (!f.at(2).isEmpty())
            light->setDeviceProperty(QStringLiteral("DMX_OFFSET"), f.at(2));
        light->setDeviceProperty(QStringLiteral("LED_CHEMISTRY"), QStringLiteral("1"));
        if (f.value(4) == QLatin1String("1"))
            light->setDeviceProperty(QStringLiteral("INPUT_RESOLUTION"), QStringLiteral("1"));
        if (!f.at(0).isEmpty()) {
            DataSupply *&supply = supplies[f.at(0)];
            if (!supply) {
                auto made = std::make_unique<DataSupply>(DataSupply::VistraIp);
                made->setUid(model.newUid());
                made->setName(f.at(0).section(QLatin1Char('#'), 0, 0));
                made->setSerialNumber(
                    f.at(0).section(QLatin1Char('#'), 1).toULongLong(nullptr, 16));
                made->setPortCount(2);
                supply = made.get();
                model.addDataSupply(std::move(made));
            }
            if (light->portNumber() >= supply->portCount())
                supply->setPortCount(quint8(light->portNumber() + 1));
            light->setDataSupply(supply->uid());
            supply->addLight(light->uid());
        }
        model.addLight(std::move(light));
    }
}

// "SUPPLY:PORT:RANGE:NAME" per light in list order, "!overlaps" / "!past 512" appended;
// "SUPPLY:PORT:-" for a port without lights; SUPPLY "(none)" for lights without one.
QStringList rendered(const PatchList &list)
{
    QStringList rows;
    for (const PatchSupply &supply : list.supplies) {
        const QString owner = supply.isSupply ? supply.name : QStringLiteral("(none)");
        for (const PatchPort &port : supply.ports) {
            const QString prefix = owner + QLatin1Char(':') + QString::number(port.port);
            if (port.lights.isEmpty())
                rows << prefix + QStringLiteral(":-");
            for (const PatchLight &light : port.lights) {
                QString row = prefix + QLatin1Char(':') + PatchText::dmxRange(light) +
                              QLatin1Char(':') + light.name;
                if (light.overlapsPrevious)
                    row += QStringLiteral("!overlaps");
                if (light.runsPastUniverse())
                    row += QStringLiteral("!past 512");
                rows << row;
            }
        }
    }
    return rows;
}

// One record of RFC 4180 CSV from the start of text; advances pos past its line end.
QStringList parseCsvRecord(const QString &text, int &pos)
{
    QStringList fields;
    QString field;
    bool quoted = false;
    for (; pos < text.size(); ++pos) {
        const QChar c = text.at(pos);
        if (quoted) {
            if (c == QLatin1Char('"') && pos + 1 < text.size() &&
                text.at(pos + 1) == QLatin1Char('"')) {
                field += c;
                ++pos;
            } else if (c == QLatin1Char('"')) {
                quoted = false;
            } else {
                field += c;
            }
        } else if (c == QLatin1Char('"')) {
            quoted = true;
        } else if (c == QLatin1Char(',')) {
            fields << field;
            field.clear();
        } else if (c == QLatin1Char('\n')) {
            ++pos;
            break;
        } else {
            field += c;
        }
    }
    fields << field;
    return fields;
}

} // namespace

void tst_PatchList::orderAndNumbering_data()
{
    QTest::addColumn<QStringList>("lights");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("by DMX address, not by map order")
        << QStringList{"A|0|9|c", "A|0|0|a", "A|0|3|b"}
        << QStringList{"A:1:1-3:a", "A:1:4-6:b", "A:1:10-12:c", "A:2:-"};
    QTest::newRow("ports counted from 1, empty ones listed")
        << QStringList{"A|1|0|second port", "A|3|0|fourth port"}
        << QStringList{"A:1:-", "A:2:1-3:second port", "A:3:-", "A:4:1-3:fourth port"};
    QTest::newRow("16-bit channels take two slots each")
        << QStringList{"A|0|0|wide|1", "A|0|6|next"}
        << QStringList{"A:1:1-6:wide", "A:1:7-9:next", "A:2:-"};
    QTest::newRow("hexadecimal DMX_OFFSET")
        << QStringList{"A|0|0x10|hex"} << QStringList{"A:1:17-19:hex", "A:2:-"};
    QTest::newRow("shared slots are flagged")
        << QStringList{"A|0|0|first", "A|0|2|clash", "A|0|2|same start"}
        << QStringList{"A:1:1-3:first", "A:1:3-5:clash!overlaps", "A:1:3-5:same start!overlaps",
                       "A:2:-"};
    QTest::newRow("a range past 512 is flagged")
        << QStringList{"A|0|510|edge", "A|0|509|last fit"}
        << QStringList{"A:1:510-512:last fit", "A:1:511-513:edge!overlaps!past 512", "A:2:-"};
    QTest::newRow("lights without an address last, by name")
        << QStringList{"A|0||unset 10", "A|0|20|set", "A|0||unset 9", "A|0|999|out of range"}
        << QStringList{"A:1:21-23:set", "A:1::out of range", "A:1::unset 9", "A:1::unset 10",
                       "A:2:-"};
    QTest::newRow("lights without a supply come last")
        << QStringList{"|0|0|loose", "Zed|0|0|z"}
        << QStringList{"Zed:1:1-3:z", "Zed:2:-", "(none):1:1-3:loose"};
    QTest::newRow("supplies by name, numbers by value, then serial")
        << QStringList{"PDS 10|0|0|ten", "PDS 2#5|0|0|two b", "PDS 2#1|0|0|two a",
                       "pds 3|0|0|three"}
        << QStringList{"PDS 2:1:1-3:two a", "PDS 2:2:-", "PDS 2:1:1-3:two b", "PDS 2:2:-",
                       "pds 3:1:1-3:three", "pds 3:2:-", "PDS 10:1:1-3:ten",  "PDS 10:2:-"};
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

void tst_PatchList::jsonShape()
{
    MapModel model;
    build(model, {"Roof#1A2B|1|3|r1", "Roof#1A2B|1||r2", "|0|0|loose"});
    model.dataSupplies().constFirst()->setIpAddress(QHostAddress(QStringLiteral("10.0.0.7")));
    const QJsonObject json = PatchListFormats::toJson(PatchList::fromModel(model));

    QCOMPARE(json.keys(), QStringList{"supplies"});
    const QJsonArray supplies = json.value("supplies").toArray();
    QCOMPARE(supplies.size(), 2);
    const QJsonObject roof = supplies.at(0).toObject();
    QCOMPARE(roof.keys(), QStringList({"ip", "name", "ports", "serial"}));
    QCOMPARE(roof.value("name").toString(), QStringLiteral("Roof"));
    QCOMPARE(roof.value("serial").toString(), QStringLiteral("00001A2B"));
    QCOMPARE(roof.value("ip").toString(), QStringLiteral("10.0.0.7"));
    const QJsonArray ports = roof.value("ports").toArray();
    QCOMPARE(ports.size(), 2);
    QCOMPARE(ports.at(0).toObject().value("port").toInt(), 1);
    QVERIFY(ports.at(0).toObject().value("lights").toArray().isEmpty());
    const QJsonObject second = ports.at(1).toObject();
    QCOMPARE(second.value("port").toInt(), 2);
    const QJsonArray lights = second.value("lights").toArray();
    QCOMPARE(lights.size(), 2);
    const QJsonObject r1 = lights.at(0).toObject();
    QCOMPARE(r1.keys(), QStringList({"channels", "dmxAddress", "name", "serial", "uid"}));
    QCOMPARE(r1.value("name").toString(), QStringLiteral("r1"));
    QCOMPARE(r1.value("dmxAddress").toInt(), 4); // DMX_OFFSET 3
    QCOMPARE(r1.value("channels").toInt(), 3);
    QCOMPARE(r1.value("serial").toString(), QStringLiteral("10100000"));
    QVERIFY(r1.value("uid").isDouble());
    QVERIFY(lights.at(1).toObject().value("dmxAddress").isNull());

    const QJsonObject loose = supplies.at(1).toObject();
    QCOMPARE(loose.value("name").toString(), QString());
    QCOMPARE(loose.value("serial").toString(), QString());
    QCOMPARE(loose.value("ip").toString(), QString());
    QCOMPARE(loose.value("ports").toArray().at(0).toObject().value("lights").toArray().size(), 1);
}

void tst_PatchList::csvKeepsHostileNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("read"); // what a CSV reader gets back
    QTest::newRow("comma") << "Cove, north" << "Cove, north";
    QTest::newRow("quotes") << "The \"big\" one" << "The \"big\" one";
    QTest::newRow("only a quote") << "\"" << "\"";
    QTest::newRow("line feed") << "two\nlines" << "two\nlines";
    QTest::newRow("carriage return and line feed") << "two\r\nlines" << "two\r\nlines";
    QTest::newRow("XML-special characters") << "<light id='1'> & </light>"
                                            << "<light id='1'> & </light>";
    // A spreadsheet must show these as text, never run them.
    QTest::newRow("formula") << "=SUM(A1:A9)" << "'=SUM(A1:A9)";
    QTest::newRow("formula with @") << "@SUM(1+1)" << "'@SUM(1+1)";
    QTest::newRow("formula with a link") << "=HYPERLINK(\"http://x\",\"y\")"
                                         << "'=HYPERLINK(\"http://x\",\"y\")";
    QTest::newRow("leading minus") << "-2+3" << "'-2+3";
    QTest::newRow("non-Latin") << QString::fromUtf8("Façade – 東 1")
                               << QString::fromUtf8("Façade – 東 1");
    QTest::newRow("empty") << "" << "";
    QTest::newRow("blanks at the ends") << "  padded  " << "  padded  ";
}

void tst_PatchList::csvKeepsHostileNames()
{
    QFETCH(QString, name);
    MapModel model;
    build(model, {"S|0|0|x"});
    model.lights().constFirst()->setName(name);
    model.dataSupplies().constFirst()->setName(name);

    const QString csv = QString::fromUtf8(PatchListFormats::toCsv(PatchList::fromModel(model)));
    int pos = 0;
    const QStringList header = parseCsvRecord(csv, pos);
    QCOMPARE(header.size(), 10);
    const QStringList row = parseCsvRecord(csv, pos);
    QCOMPARE(row.size(), header.size());
    QFETCH(QString, read);
    QCOMPARE(row.at(header.indexOf("Supply")), read);
    QCOMPARE(row.at(header.indexOf("Name")), read);
    QCOMPARE(row.at(header.indexOf("DMX Address")), QStringLiteral("1"));
    QCOMPARE(pos, csv.size()); // nothing after the one light's row
}

QTEST_GUILESS_MAIN(tst_PatchList)
#include "tst_patchlist.moc"
