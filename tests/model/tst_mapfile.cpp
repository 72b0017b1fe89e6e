#include "support/mapbuild.h"
#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapfileformat.h"
#include "model/mapjson.h"
#include "model/mapmodel.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using MapBuild::load;

QByteArray save(MapModel &model)
{
    return MapBuild::saved(model);
}

QStringList messagesOf(const QSignalSpy &spy)
{
    QStringList list;
    for (const auto &args : spy)
        list << args.at(0).toString();
    return list;
}

// The loader's notes about values it did not take ("loadLight: light 1: ..."), as opposed to
// its progress messages ("Loading a ...", "Doc has ...").
QStringList notesOf(const QSignalSpy &spy)
{
    QStringList notes = messagesOf(spy);
    notes.erase(
        std::remove_if(notes.begin(), notes.end(),
                       [](const QString &m) { return !m.startsWith(QLatin1String("load")); }),
        notes.end());
    return notes;
}

QByteArray repeated(const QByteArray &element, int times)
{
    QByteArray bytes;
    bytes.reserve(element.size() * times);
    for (int i = 0; i < times; ++i)
        bytes += element;
    return bytes;
}

} // namespace

class tst_MapFile : public QObject
{
    Q_OBJECT

private slots:
    void everyFieldRoundTrips();
    void longAndShortTagsMayBeMixed();
    void badDocumentsLoadNothing_data();
    void badDocumentsLoadNothing();
    void missingAndHugeFilesAreRefused();
    void duplicatesAreRefusedAndLoadGoesOn();
    void loadMessagesAndSignalsInOrder();
    void saveProgressCountsInSteps_data();
    void saveProgressCountsInSteps();
    void textsThatXmlCannotCarryStillSave();
    void hostileMapsRoundTrip_data();
    void hostileMapsRoundTrip();
    void limitsRefuseTheFile_data();
    void limitsRefuseTheFile();
    void saveReplacesOnlyRegularFiles_data();
    void saveReplacesOnlyRegularFiles();
};

// A map with every field of every object as the writer puts it (tags in its order, texts
// escaped, a light's serial in decimal and a supply's in hexadecimal, coordinates to six places,
// the chase step size only when it is not 1) loads and saves to the very same bytes. The
// layout's working selection is never written.
void tst_MapFile::everyFieldRoundTrips()
{
    const QByteArray file = R"(<map>
 <imagefile>/plans/arcade floor.png</imagefile>
 <postsync>0</postsync>
 <version>2.3.1</version>
 <c>
  <t>3</t>
  <s>1234567890</s>
  <n>North &lt;PDS&gt; &amp; &quot;co&quot;</n>
  <sn>1A2B3C4D5</sn>
  <ip>10.32.1.11</ip>
  <mac>00:1C:42:0A:11:01</mac>
  <u>7</u>
  <d>512</d>
  <v>3</v>
  <vs>2.4.0</vs>
  <family>PDS-480</family>
  <pl>
   <p>
    <pn>1</pn>
    <pt>6</pt>
    <pf>13</pf>
   </p>
   <p>
    <pn>2</pn>
    <pt>7</pt>
    <pf>FFFB</pf>
   </p>
  </pl>
  <l>51</l>
  <properties>
   <DEVICE_NAME>north</DEVICE_NAME>
  </properties>
 </c>
 <l>
  <s>51</s>
  <n>Façade 1</n>
  <pn>1</pn>
  <ln>17</ln>
  <f>ABCDEF0123</f>
  <c>1234567890</c>
  <fc>8000BEEF</fc>
  <x>12.500000</x>
  <y>-24.250000</y>
  <z>3.125000</z>
  <q0>0.500000</q0>
  <q1>-0.500000</q1>
  <q2>0.250000</q2>
  <q3>0.125000</q3>
  <ch>51</ch>
  <sn>134621454925890</sn>
  <tintlockprofileid>26</tintlockprofileid>
  <tintlockiomode>17</tintlockiomode>
  <properties>
   <DMX_OFFSET>50</DMX_OFFSET>
   <LED_CHEMISTRY>RGBW</LED_CHEMISTRY>
  </properties>
 </l>
 <g>
  <t>2</t>
  <s>99</s>
  <n>Canopy</n>
  <o>12</o>
  <lightsperstep>3</lightsperstep>
  <c>51</c>
 </g>
</map>
)";
    MapModel model;
    QVERIFY(load(model, file));
    MapBuild::group(model, Group::selectionGroupName(), {0x51});
    QCOMPARE(save(model), file);
}

void tst_MapFile::longAndShortTagsMayBeMixed()
{
    const QByteArray xml = R"(<map>
        <DataSupply><type>2</type><self>1F</self><name>Long</name><serialnumber>ABC</serialnumber>
          <ipaddress>10.1.1.5</ipaddress><macaddress>aa:bb:cc:dd:ee:ff</macaddress>
          <universenumber>3</universenumber><dmxbuffersize>24</dmxbuffersize><version>2</version>
          <versionstring>1.0</versionstring><missing>1</missing>
          <portlist><port><portnum>4</portnum><porttype>1</porttype><portflags>1A</portflags></port>
                    <p><pn>5</pn><pt>2</pt><pf>3</pf></p></portlist>
          <light>2A</light><l>2B</l><l>not-hex</l></DataSupply>
        <light><self>2A</self><name>a</name><lightnumber>4</lightnumber><fixture>F0</fixture>
          <DataSupply>1F</DataSupply><fixturecode>1A</fixturecode><channel>9</channel><sn>17</sn></light>
        <l><s>2B</s><ln>5</ln><c>1F</c></l>
        <group><type>1</type><self>3C</self><name>G</name><o>7</o><child>2A</child><c>2B</c></group>
      </map>)";
    // The same map in the tags the writer uses (and the MAC as it is kept, upper case).
    const QByteArray shortTags =
        "<map><c><t>2</t><s>1F</s><n>Long</n><sn>ABC</sn><ip>10.1.1.5</ip>"
        "<mac>AA:BB:CC:DD:EE:FF</mac><u>3</u><d>24</d><v>2</v><vs>1.0</vs><pl><p><pn>4</pn>"
        "<pt>1</pt><pf>1A</pf></p><p><pn>5</pn><pt>2</pt><pf>3</pf></p></pl><l>2A</l><l>2B</l></c>"
        "<l><s>2A</s><n>a</n><ln>4</ln><f>F0</f><c>1F</c><fc>1A</fc><ch>9</ch><sn>17</sn></l>"
        "<l><s>2B</s><ln>5</ln><c>1F</c></l><g><t>1</t><s>3C</s><n>G</n><o>7</o><c>2A</c>"
        "<c>2B</c></g></map>";
    MapModel model, expected;
    QVERIFY(load(model, xml) && load(expected, shortTags));
    QCOMPARE(MapJson::fileContent(model), MapJson::fileContent(expected));
    QCOMPARE(model.dataSupply(0x1F)->missing(), 1);
}

void tst_MapFile::badDocumentsLoadNothing_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("lastMessage");
    QTest::addColumn<QString>("reason"); // what the Load Error box says
    QTest::newRow("not XML") << QByteArray("PK\x03\x04 zip") << "Error in line: 1, column: 1"
                             << "Error in line: 1, column: 1: Start tag expected.";
    QTest::newRow("wrong root") << QByteArray("<plan><l><s>1</s></l></plan>")
                                << "Error: Not a map file (root element \"plan\")."
                                << "Not a map file (root element \"plan\").";
    QTest::newRow("comment beside root")
        << QByteArray("<!-- exported --><map><l><s>1</s></l></map>") << "Doc has 2 children."
        << "The file holds 2 top-level nodes; a map file holds its \"map\" element only.";
    QTest::newRow("mismatched tag on line 4")
        << QByteArray("<map>\n <l>\n  <s>1</s>\n </x>\n</map>\n") << "Error in line: 4, column: 5"
        << "Error in line: 4, column: 5: Opening and ending tag mismatch.";
}

void tst_MapFile::badDocumentsLoadNothing()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, lastMessage);
    QFETCH(QString, reason);
    MapModel model;
    QSignalSpy messages(&model, &MapModel::msg);
    QVERIFY(!load(model, bytes));
    QVERIFY(model.isEmpty());
    QCOMPARE(messagesOf(messages).last(), lastMessage);
    QCOMPARE(model.loadError(), reason);
}

void tst_MapFile::missingAndHugeFilesAreRefused()
{
    MapModel model;
    QSignalSpy messages(&model, &MapModel::msg);
    QVERIFY(!model.loadFromFile(QStringLiteral("/nonexistent/plan.map")));
    QCOMPARE(messagesOf(messages), QStringList({"Opening map file: /nonexistent/plan.map",
                                                "Error: Unable to open file."}));
    QCOMPARE(model.loadError(), QStringLiteral("Unable to open file: No such file or directory"));

    QTemporaryDir dir;
    QFile f(dir.filePath(QStringLiteral("huge.map")));
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write("<map>");
    QVERIFY(f.resize(MapModel::kMaxMapFileBytes + 1)); // sparse: costs no disk
    f.close();
    QVERIFY(!model.loadFromFile(f.fileName()));
    QCOMPARE(
        messagesOf(messages).last(),
        QStringLiteral("Error: Map file is too large (268435457 bytes; the limit is 256 MB)."));
}

void tst_MapFile::duplicatesAreRefusedAndLoadGoesOn()
{
    const QByteArray xml =
        "<map><c><t>2</t><s>1</s><n>first</n></c><c><t>2</t><s>1</s><n>second</n></c>"
        "<l><s>5</s><n>first</n></l><l><s>5</s><n>second</n></l>"
        "<g><s>9</s><n>first</n></g><g><s>9</s><n>second</n></g>"
        "<l><s>6</s></l></map>";
    MapModel model;
    QSignalSpy messages(&model, &MapModel::msg);
    QSignalSpy newLights(&model, &MapModel::newLight);
    QVERIFY(load(model, xml));
    const QStringList texts = messagesOf(messages);
    QVERIFY(texts.contains("loadDataSupply: uid already exists"));
    QVERIFY(texts.contains("loadLight: uid already exists"));
    QVERIFY(texts.contains("loadGroup: uid already exists"));
    QCOMPARE(model.dataSupply(1)->name(), QStringLiteral("first"));
    QCOMPARE(model.light(5)->name(), QStringLiteral("first"));
    QCOMPARE(model.group(9)->name(), QStringLiteral("first"));
    QVERIFY(model.light(6));
    QCOMPARE(newLights.count(), 2); // refused objects are not announced
}

// Messages while the file is read, then one signal per object kind by kind; supplies of
// the kinds this program does not create (4, 5, none) are skipped without a word.
void tst_MapFile::loadMessagesAndSignalsInOrder()
{
    const QByteArray xml =
        "<map><imagefile>floor.png</imagefile><postsync>5</postsync>"
        "<version>2.3.1</version><g><s>30</s></g><l><s>20</s></l>"
        "<c><t>2</t><s>10</s></c><l><s>21</s></l><c><t>7</t><s>11</s></c>"
        "<c><t>3</t><s>12</s></c><c><t>6</t><s>13</s></c><c><t>4</t><s>14</s></c>"
        "<c><t>5</t><s>15</s></c><c><t>0</t><s>16</s></c></map>";
    MapModel model;
    QStringList events;
    connect(&model, &MapModel::msg, this, [&](const QString &m) { events << m; });
    connect(&model, &MapModel::newImageFile, this,
            [&](const QString &p) { events << "image " + p; });
    connect(&model, &MapModel::newDataSupply, this, [&](quint64 u) {
        events << QString("supply %1 type %2").arg(u, 0, 16).arg(model.dataSupply(u)->type());
    });
    connect(&model, &MapModel::newLight, this,
            [&](quint64 u) { events << QString("light %1").arg(u, 0, 16); });
    connect(&model, &MapModel::newGroup, this,
            [&](quint64 u) { events << QString("group %1").arg(u, 0, 16); });
    QSignalSpy started(&model, &MapModel::progressStarted);
    QVERIFY(load(model, xml));
    QCOMPARE(events, QStringList({"Doc has 1 children.", "Map has 13 children.",
                                  "Loading a Vistra IP DataSupply.", "Loading a SACN DataSupply.",
                                  "Loading a Vistra Broadcast DataSupply.",
                                  "Loading a SACN DataSupply.", "image floor.png",
                                  "supply 10 type 2", "supply 11 type 7", "supply 12 type 3",
                                  "supply 13 type 6", "light 20", "light 21", "group 30"}));
    QCOMPARE(started.at(0), (QVariantList{0, 13, QStringLiteral("Loading Map")}));

    // Whatever was read, "postsync" is written as 0.
    QVERIFY(save(model).contains("<postsync>0</postsync>"));
}

void tst_MapFile::saveProgressCountsInSteps_data()
{
    QTest::addColumn<int>("supplies");
    QTest::addColumn<int>("lights");
    QTest::addColumn<int>("groups");
    QTest::addColumn<int>("step");
    QTest::newRow("250 items, step 2") << 10 << 200 << 40 << 2;
    QTest::newRow("99 items, step 1") << 1 << 90 << 8 << 1;
    QTest::newRow("nothing") << 0 << 0 << 0 << 1;
}

void tst_MapFile::saveProgressCountsInSteps()
{
    QFETCH(int, supplies);
    QFETCH(int, lights);
    QFETCH(int, groups);
    QFETCH(int, step);
    MapModel model;
    for (int i = 0; i < supplies; ++i)
        MapBuild::supply(model);
    for (int i = 0; i < lights; ++i)
        MapBuild::light(model);
    for (int i = 0; i < groups; ++i)
        MapBuild::group(model, QStringLiteral("G"));
    QStringList texts;
    connect(&model, &MapModel::progressTextChanged, this, [&](const QString &t) { texts << t; });
    QSignalSpy started(&model, &MapModel::progressStarted);
    QSignalSpy updated(&model, &MapModel::progressUpdated);
    QVERIFY(!save(model).isEmpty());

    const int total = supplies + lights + groups;
    QCOMPARE(started.at(0), (QVariantList{0, total, QStringLiteral("Saving Interfaces...")}));
    QCOMPARE(texts, QStringList({"Saving Lights...", "Saving Groups..."}));
    QList<int> expected;
    for (int count = 1; count <= total; ++count) {
        if (count % step == 0)
            expected << count;
    }
    expected << total;
    QList<int> values;
    for (const auto &args : updated)
        values << args.at(0).toInt();
    QCOMPARE(values, expected);
}

void tst_MapFile::textsThatXmlCannotCarryStillSave()
{
    // Names can come from devices on the network; a stray control byte must not make the
    // saved file unreadable.
    MapModel model;
    MapBuild::supply(model, QStringLiteral("PDS\x01\x1B-7"), 1);
    model.dataSupply(1)->setDeviceProperty(QStringLiteral("not a tag"), QStringLiteral("x"));
    MapModel loaded;
    QVERIFY(load(loaded, save(model)));
    QCOMPARE(loaded.dataSupply(1)->name(), QStringLiteral("PDS-7"));
}

// Hand-written and damaged maps: what loads is said where it differs from the file, and a
// save of what loaded loads to the very same map, without a word.
void tst_MapFile::hostileMapsRoundTrip_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QStringList>("notes");

    const QByteArray supply = "<c><t>2</t><s>A</s></c>";
    // One field of each reading rule: whole numbers, unsigned decimal, hexadecimal, and the
    // port flags' run-time bit.
    QTest::newRow("numbers past their fields")
        << QByteArray("<c><t>2</t><s>A</s><u>-1</u><d>70000</d><pl><p><pf>1FFFF</pf></p>"
                      "<p><pf>7</pf></p></pl></c><l><s>1</s><sn>-1</sn></l>")
        << QStringList{"loadDataSupply: supply A: universe \"-1\" is not a whole number from 0 to "
                       "4294967295; kept 0",
                       "loadDataSupply: supply A: DMX buffer size \"70000\" is not a whole number "
                       "from 0 to 65536; kept 12",
                       "loadDataSupply: supply A: port 1 flags \"1FFFF\" is not a hexadecimal "
                       "number from 0 to FFFF; kept 0",
                       "loadDataSupply: supply A: port 2 flags 7: bit 2 is a run-time state and is "
                       "not kept",
                       "loadLight: light 1: serial number \"-1\" is not a whole number; kept "
                       "4294967295"};
    QTest::newRow("not numbers")
        << QByteArray("<l><s>zz</s><x>nan</x><z>1e300</z><q0>abc</q0></l>")
        << QStringList{"loadLight: light 0: uid \"zz\" is not a hexadecimal number; kept 0",
                       "loadLight: light 0: x \"nan\" is not a number from -1000000000 to "
                       "1000000000; kept 0",
                       "loadLight: light 0: z \"1e300\" is not a number from -1000000000 to "
                       "1000000000; kept 0",
                       "loadLight: light 0: q0 \"abc\" is not a number from -1000000000 to "
                       "1000000000; kept 1"};
    QTest::newRow("more decimals than the file keeps")
        << QByteArray("<l><s>1</s><x>0.1234567</x><y>-2.0000004</y><q1>1e-9</q1></l>")
        << QStringList{};
    QTest::newRow("texts past their limits")
        << "<imagefile>" + QByteArray(MapFileFormat::kMaxPathLength + 1, 'p') + "</imagefile>" +
               "<c><t>2</t><s>A</s><vs>" + QByteArray(16 << 20, 'v') + "</vs></c>"
        << QStringList{"loadMap: background image is 4097 characters long (at most 4096); not kept",
                       "loadDataSupply: supply A: version text is 16777216 characters long (at "
                       "most 1024); kept \"\""};
    QTest::newRow("references to nothing")
        << QByteArray(
               "<c><t>2</t><s>A</s><l>1</l><l>77</l><l>1</l><l>x</l></c><l><s>1</s><c>A</c></l>"
               "<l><s>2</s><c>99</c></l><g><s>9</s><c>2</c><c>1</c><c>5</c></g>")
        << QStringList{"loadDataSupply: supply A: light 1 is listed more than once; kept once",
                       "loadDataSupply: supply A: light \"x\" is not a hexadecimal uid; not kept",
                       "loadDataSupply: supply A: light 77 is not a light of this map; not kept",
                       "loadLight: light 2: data supply 99 is not a supply of this map; not kept "
                       "(the light has no supply)",
                       "loadGroup: group 9: member 5 is not a light of this map; not kept"};
    QTest::newRow("uids shared across kinds")
        << supply + "<l><s>A</s></l><l><s>B</s></l><g><s>B</s></g><g><s>C</s><c>B</c></g>"
        << QStringList{"loadLight: uid already exists", "loadGroup: uid already exists"};
    QTest::newRow("a group before its lights")
        << QByteArray("<g><s>9</s><c>1</c></g><l><s>1</s></l>") << QStringList{};
    QTest::newRow("the layout's selection")
        << QByteArray("<l><s>1</s></l><g><s>9</s><n>Tamsin Selection Group</n><c>1</c></g>")
        << QStringList{"loadGroup: group 9: \"Tamsin Selection Group\" is the layout's working "
                       "selection, not part of the installation; not kept"};
    QTest::newRow("carriage returns and markup in names")
        << QByteArray("<l><s>1</s><n>a&#13;b<i>c</i>&#13;</n></l>") << QStringList{};
    QTest::newRow("unknown and repeated elements")
        << QByteArray("<extra>x</extra><l><s>1</s><n>a</n><n>b</n><colour>red</colour></l>"
                      "<l><s>2</s><colour>blue</colour></l>")
        << QStringList{"loadMap: unknown element \"extra\" in the map; not kept (noted once)",
                       "loadLight: light 1: name is given more than once; the last one is taken",
                       "loadLight: light 1: unknown element \"colour\" in a light; not kept "
                       "(noted once)"};
    QByteArray manyProperties;
    for (int i = 0; i <= MapFileFormat::kMaxProperties; ++i)
        manyProperties += "<P" + QByteArray::number(i) + "/>";
    QTest::newRow("properties a file cannot carry back")
        << "<l><s>1</s><properties><A>1</A><A>2</A><\xc3\xa0>3</\xc3\xa0><P>4</P></properties></l>"
           "<c><t>2</t><s>B</s><properties>" +
               manyProperties + "</properties></c>"
        << QStringList{
               "loadLight: light 1: property A is given more than once; the last one is taken",
               QString::fromUtf8("loadLight: light 1: property \"\xc3\xa0\" has a name a map file "
                                 "cannot hold; not kept"),
               "loadDataSupply: supply B: more than 256 properties; the rest are not kept"};
    QTest::newRow("effects and port lists past their limits")
        << "<effect>" + repeated("<e>1</e>", EffectRecord::kMaxElements + 1) + "</effect>" +
               "<c><t>2</t><s>A</s><pl>" + repeated("<p/>", 256) + "</pl></c>"
        << QStringList{"loadEffect: effect 1: more than 256 elements; the rest are not kept",
                       "loadDataSupply: supply A: port list holds more than 255 ports; the rest "
                       "are not kept"};
    QTest::newRow("supply addresses")
        << QByteArray(
               "<c><t>2</t><s>A</s><ip>ten.0.0.1</ip><mac>01:02</mac></c>"
               "<c><t>2</t><s>B</s><ip>fe80::1</ip></c><c><t>2</t><s>C</s><ip>0.0.0.0</ip></c>")
        << QStringList{"loadDataSupply: supply A: IP address \"ten.0.0.1\" is not an IPv4 address; "
                       "10.0.0.0 is used",
                       "loadDataSupply: supply A: MAC address \"01:02\" is not six parts separated "
                       "by ':'; 00:00:00:00:00:00 is used",
                       "loadDataSupply: supply B: IP address \"fe80::1\" is not an IPv4 address; "
                       "10.0.0.0 is used"};
}

void tst_MapFile::hostileMapsRoundTrip()
{
    QFETCH(QByteArray, body);
    QFETCH(QStringList, notes);

    MapModel loaded;
    QSignalSpy messages(&loaded, &MapModel::msg);
    QVERIFY(load(loaded, "<map>" + body + "</map>"));
    QCOMPARE(notesOf(messages), notes);

    const QByteArray saved = save(loaded);
    MapModel again;
    QSignalSpy againMessages(&again, &MapModel::msg);
    QVERIFY(load(again, saved));
    QCOMPARE(notesOf(againMessages), QStringList());
    QCOMPARE(MapJson::fileContent(again), MapJson::fileContent(loaded));
    QCOMPARE(save(again), saved);
}

// Files past the limits are refused whole, with the reader's line, column and reason, and
// never take the program down with them.
void tst_MapFile::limitsRefuseTheFile_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("reason");

    const int deepest = MapFileFormat::kMaxDepth - 3; // map, l and n hold the wrappers
    QTest::newRow("deepest nesting loads") << "<map><l><s>1</s><n>" + repeated("<b>", deepest) +
                                                  "x" + repeated("</b>", deepest) + "</n></l></map>"
                                           << QString();
    QTest::newRow("one level deeper") << "<map><l><s>1</s><n>" + repeated("<b>", deepest + 1) +
                                             "x" + repeated("</b>", deepest + 1) + "</n></l></map>"
                                      << "Elements are nested deeper than 32 levels.";
    QTest::newRow("objects past the limit")
        << "<map>" + repeated("<l/>", MapFileFormat::kMaxObjects + 1) + "</map>"
        << "The map holds more than 65536 supplies, lights, groups and effects.";
    QTest::newRow("references past the limit")
        << "<map><g><s>1</s>" + repeated("<c/>", MapFileFormat::kMaxReferences + 1) + "</g></map>"
        << "The map's supplies and groups list more than 1000000 lights.";
}

void tst_MapFile::limitsRefuseTheFile()
{
    QFETCH(QByteArray, xml);
    QFETCH(QString, reason);
    MapModel model;
    QSignalSpy messages(&model, &MapModel::msg);
    const bool loaded = load(model, xml);
    QCOMPARE(loaded, reason.isEmpty());
    if (loaded)
        return;
    QVERIFY(model.isEmpty());
    QVERIFY(messagesOf(messages).last().startsWith(QLatin1String("Error in line: 1, column: ")));
    QVERIFY2(model.loadError().endsWith(reason), qPrintable(model.loadError()));
}

// Saving replaces the file by renaming a new one over it: over anything but a regular file
// that would replace the node itself, so it is refused. A save that fails (here: the disk is
// full) leaves the old file as it was, and nothing beside it.
void tst_MapFile::saveReplacesOnlyRegularFiles_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<bool>("saves");
    QTest::newRow("link to a regular file") << "link to file" << true;
    QTest::newRow("new file") << "nothing" << true;
    QTest::newRow("full disk") << "full disk" << false;
    QTest::newRow("pipe") << "fifo" << false;
    QTest::newRow("link to a pipe") << "link to fifo" << false;
}

void tst_MapFile::saveReplacesOnlyRegularFiles()
{
    QFETCH(QString, kind);
    QFETCH(bool, saves);
    QTemporaryDir dir;
    const QString target = dir.filePath(QStringLiteral("plan.map"));
    const QString file = dir.filePath(QStringLiteral("real.map"));
    const QString fifo = dir.filePath(QStringLiteral("pipe"));
    const QByteArray original = "<map><l><s>1</s></l></map>\n";
    QFile real(file);
    QVERIFY(real.open(QIODevice::WriteOnly) && real.write(original) == original.size());
    real.close();
    QCOMPARE(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    if (kind == QLatin1String("full disk"))
        QVERIFY(QFile::copy(file, target));
    else if (kind.startsWith(QLatin1String("link to")))
        QVERIFY(QFile::link(kind.endsWith(QLatin1String("file")) ? file : fifo, target));
    else if (kind == QLatin1String("fifo"))
        QCOMPARE(mkfifo(QFile::encodeName(target).constData(), 0600), 0);

    MapModel model;
    for (int i = 0; i < 2000; ++i) // a file of more than 16 KiB
        MapBuild::light(model);
    const QFileInfo before(target);
    struct rlimit previous;
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &previous), 0);
    struct rlimit limit = previous;
    if (kind == QLatin1String("full disk"))
        limit.rlim_cur = 16 * 1024; // no file may grow past 16 KiB while we save
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &limit), 0);
    const bool saved = model.saveToFile(target);
    setrlimit(RLIMIT_FSIZE, &previous);
    std::signal(SIGXFSZ, oldHandler);
    QCOMPARE(saved, saves);
    QCOMPARE(QFileInfo(target).isSymLink(), before.isSymLink()); // a link stays a link
    if (saves) {
        QVERIFY(model.saveError().isEmpty());
        MapModel reloaded;
        QVERIFY(reloaded.loadFromFile(target));
        QCOMPARE(reloaded.lightCount(), 2000);
    } else if (kind == QLatin1String("full disk")) {
        QFile kept(target);
        QVERIFY(kept.open(QIODevice::ReadOnly));
        QCOMPARE(kept.readAll(), original);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
                 QStringList({"plan.map", "real.map"}));
    } else {
        QCOMPARE(model.saveError(),
                 target + QStringLiteral(" exists and is not a regular file; a map is only saved "
                                         "as a regular file."));
        QVERIFY(!QFileInfo(target).isFile());
    }
}

QTEST_GUILESS_MAIN(tst_MapFile)
#include "tst_mapfile.moc"
