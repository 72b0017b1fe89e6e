#include "colour/channelencoding.h"
#include "colour/ledprofileregistry.h"
#include "colour/velacolor.h"

#include <QColor>
#include <QTemporaryDir>
#include <QtTest>

// Colours, their text form, and their encoding into a fixture's channels.

class tst_VelaColor : public QObject
{
    Q_OBJECT

private slots:
    void textForm_data();
    void textForm();
    void malformedText_data();
    void malformedText();
    void outOfRangeIsReported();
    void namedColor_data();
    void namedColor();
    void namesAndGlobalsAgreeWithQColor();
    void conversions_data();
    void conversions();
    void mixed_data();
    void mixed();
    void encoding_data();
    void encoding();
    void layouts();
    void unreadableDatabaseLoadsNothing();
    void badEntriesAreSkipped_data();
    void badEntriesAreSkipped();

private:
    QString write(const QByteArray &xml);
    QTemporaryDir m_dir;
    int m_files = 0;
};

void tst_VelaColor::textForm_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<VelaColor>("colour");
    QTest::addColumn<QString>("written");
    const auto ours = [](const char *name, const QString &text, const VelaColor &colour) {
        QTest::newRow(name) << text << colour << text;
    };
    ours("red", "aRgb;1;0;#ffffffff00000000", Qt::red);
    ours("rgb and alpha", "aRgb;1;0;#12343456789abcde",
         VelaColor::fromRgb16(0x3456, 0x789a, 0xbcde, 0x1234));
    ours("yxy", "aYxy;1;0;32768;0.500000;0.312700;0.329000",
         VelaColor::fromYxy(0.5, 0.3127, 0.329, 32768));
    ours("one channel", "aNchannel;1;0;65535;0", VelaColor::fromChannels({0}));
    ours("sixteen channels", "aNchannel;1;0;7;0;1;2;3;4;5;6;7;8;9;10;11;12;13;14;65535",
         VelaColor::fromChannels({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 65535}, 7));
    QTest::newRow("other version fields, upper-case hex, blanks")
        << " aRgb;-7;2147483647;#FFFFFFFF00000000\n"
        << VelaColor(Qt::red) << "aRgb;1;0;#ffffffff00000000";
    QTest::newRow("yxy in other notations")
        << "aYxy;2;-1;0;1;0.1234567;1e-1" << VelaColor::fromYxy(1, 0.1234567, 0.1, 0)
        << "aYxy;1;0;0;1.000000;0.123457;0.100000";
}

void tst_VelaColor::textForm()
{
    QFETCH(QString, text);
    QFETCH(VelaColor, colour);
    QFETCH(QString, written);
    const std::optional<VelaColor> parsed = VelaColor::fromString(text);
    QVERIFY(parsed);
    QCOMPARE(*parsed, colour);
    QCOMPARE(qHash(*parsed, 7), qHash(colour, 7));
    QCOMPARE(parsed->toString(), written);
    QCOMPARE(colour.toString(), written);
}

// One row per kind of damage each part of the text can take.
void tst_VelaColor::malformedText_data()
{
    QTest::addColumn<QString>("text");
    const QString red = QStringLiteral("aRgb;1;0;#ffffffff00000000");
    QTest::newRow("empty") << QString();
    QTest::newRow("wrong prefix") << "argb;1;0;#ffffffff00000000";
    for (int cut = 5; cut < red.size(); cut += 3)
        QTest::addRow("rgb cut to %d", cut) << red.left(cut);
    QTest::newRow("rgb trailing field") << red + ";";
    QTest::newRow("rgb 17 digits") << "aRgb;1;0;#ffffffff000000000";
    QTest::newRow("rgb no #") << "aRgb;1;0;ffffffff000000000";
    QTest::newRow("rgb not hex") << "aRgb;1;0;#ffffffff0000000g";
    QTest::newRow("version not a number") << "aRgb;x;0;#ffffffff00000000";
    QTest::newRow("reserved empty") << "aRgb;1;;#ffffffff00000000";
    QTest::newRow("version beyond int") << "aRgb;2147483648;0;#ffffffff00000000";
    QTest::newRow("yxy too few") << "aYxy;1;0;65535;0.5;0.3";
    QTest::newRow("yxy too many") << "aYxy;1;0;65535;0.5;0.3;0.3;0.3";
    QTest::newRow("yxy alpha 65536") << "aYxy;1;0;65536;0.5;0.3;0.3";
    QTest::newRow("yxy nan") << "aYxy;1;0;65535;nan;0.3;0.3";
    QTest::newRow("yxy Y above 1") << "aYxy;1;0;65535;1.000001;0.3;0.3";
    QTest::newRow("yxy not a number") << "aYxy;1;0;65535;0.5;0.3;abc";
    QTest::newRow("channels none") << "aNchannel;1;0;65535";
    QTest::newRow("channel 65536") << "aNchannel;1;0;65535;65536";
    QTest::newRow("channel negative") << "aNchannel;1;0;65535;-1";
    QTest::newRow("channel of 30 digits") << "aNchannel;1;0;65535;123456789012345678901234567890";
    QTest::newRow("17 channels") << "aNchannel;1;0;65535" + QString(";1").repeated(17);
    QTest::newRow("10000 channels") << "aNchannel;1;0;65535" + QString(";1").repeated(10000);
}

void tst_VelaColor::malformedText()
{
    QFETCH(QString, text);
    QVERIFY(!VelaColor::fromString(text));
}

void tst_VelaColor::outOfRangeIsReported()
{
    QTest::ignoreMessage(QtWarningMsg, "VelaColor::fromRgbF: RGB parameters out of range");
    QVERIFY(!VelaColor::fromRgbF(1.5, 0, 0).isValid());
    QTest::ignoreMessage(QtWarningMsg, "VelaColor::fromRgbF: RGB parameters out of range");
    QVERIFY(!VelaColor::fromRgbF(0, 0, 0, qQNaN()).isValid());
    QTest::ignoreMessage(QtWarningMsg, "VelaColor::fromRgb: RGB parameters out of range");
    QVERIFY(!VelaColor::fromRgb(256, 0, 0).isValid());
    QTest::ignoreMessage(QtWarningMsg, "VelaColor::fromYxy: Yxy parameters out of range");
    QVERIFY(!VelaColor::fromYxy(0.5, -0.01, 0.3).isValid());
    QTest::ignoreMessage(QtWarningMsg, "VelaColor::fromChannels: channel count out of range");
    QVERIFY(!VelaColor::fromChannels(QVector<quint16>(17)).isValid());

    VelaColor colour = VelaColor::fromRgb(10, 20, 30, 40);
    QTest::ignoreMessage(QtWarningMsg, "VelaColor::setAlpha16: value out of range");
    QVERIFY(!colour.setAlpha16(65536));
    QTest::ignoreMessage(QtWarningMsg, "VelaColor::setAlpha16: value out of range");
    QVERIFY(!colour.setAlpha16(-1));
    QCOMPARE(colour, VelaColor::fromRgb(10, 20, 30, 40));
    QVERIFY(colour.setAlpha16(65535));
    QCOMPARE(colour, VelaColor::fromRgb(10, 20, 30));
}

// Every Qt colour name is checked against QColor below; these rows are the other forms.
void tst_VelaColor::namedColor_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<VelaColor>("colour");
    QTest::newRow("spaces") << "Light Blue" << VelaColor::fromRgb(173, 216, 230);
    QTest::newRow("#RGB") << "#abc" << VelaColor::fromRgb16(0xaaaa, 0xbbbb, 0xcccc);
    QTest::newRow("#RRGGBB") << "#A1b2C3" << VelaColor::fromRgb16(0xa1a1, 0xb2b2, 0xc3c3);
    QTest::newRow("#AARRGGBB") << "#80a1b2c3"
                               << VelaColor::fromRgb16(0xa1a1, 0xb2b2, 0xc3c3, 0x8080);
    QTest::newRow("#RRRGGGBBB") << "#123456fff" << VelaColor::fromRgb16(0x1231, 0x4564, 0xffff);
    QTest::newRow("#RRRRGGGGBBBB")
        << "#123456789abc" << VelaColor::fromRgb16(0x1234, 0x5678, 0x9abc);
    QTest::newRow("empty") << "" << VelaColor();
    QTest::newRow("unknown") << "reddish" << VelaColor();
    QTest::newRow("too long") << QString(40, QLatin1Char('a')) << VelaColor();
    QTest::newRow("# too short") << "#12" << VelaColor();
    QTest::newRow("# not hex") << "#ggg" << VelaColor();
}

void tst_VelaColor::namedColor()
{
    QFETCH(QString, name);
    QFETCH(VelaColor, colour);
    if (!colour.isValid() && !name.isEmpty())
        QTest::ignoreMessage(
            QtWarningMsg,
            qPrintable(
                QStringLiteral("VelaColor::setNamedColor: Unknown color name '%1'").arg(name)));
    VelaColor named = Qt::green;
    QCOMPARE(named.setNamedColor(name), colour.isValid());
    QCOMPARE(named, colour);
}

void tst_VelaColor::namesAndGlobalsAgreeWithQColor()
{
    const auto same = [](const VelaColor &ours, const QColor &qt) {
        const QRgba64 rgba = qt.rgba64();
        return ours.spec() == VelaColor::Spec::Rgb && ours.red16() == rgba.red() &&
               ours.green16() == rgba.green() && ours.blue16() == rgba.blue() &&
               ours.alpha16() == rgba.alpha();
    };
    QCOMPARE(VelaColor::colorNames(), QColor::colorNames());
    for (const QString &name : QColor::colorNames()) {
        VelaColor ours;
        QVERIFY2(ours.setNamedColor(name.toUpper()) && same(ours, QColor(name)), qPrintable(name));
    }
    for (int g = Qt::color0; g <= Qt::transparent; ++g)
        QVERIFY2(same(Qt::GlobalColor(g), Qt::GlobalColor(g)), qPrintable(QString::number(g)));
}

void tst_VelaColor::conversions_data()
{
    QTest::addColumn<VelaColor>("colour");
    QTest::addColumn<double>("Y");
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("y");
    QTest::newRow("white") << VelaColor(Qt::white) << 1.0 << 0.3127 << 0.3290;
    QTest::newRow("red") << VelaColor(Qt::red) << 0.2126 << 0.64 << 0.33;
    QTest::newRow("black") << VelaColor(Qt::black) << 0.0 << 0.3127 << 0.3290;
    QTest::newRow("mid grey") << VelaColor::fromRgb(128, 128, 128) << 0.2159 << 0.3127 << 0.3290;
    QTest::newRow("n-channel as rgb")
        << VelaColor::fromChannels({0xffff, 0, 0, 0x1234}) << 0.2126 << 0.64 << 0.33;
}

void tst_VelaColor::conversions()
{
    QFETCH(VelaColor, colour);
    QFETCH(double, Y);
    QFETCH(double, x);
    QFETCH(double, y);
    QVERIFY(qAbs(colour.luminanceY() - Y) < 1e-3);
    QVERIFY(qAbs(colour.chromaX() - x) < 1e-3);
    QVERIFY(qAbs(colour.chromaY() - y) < 1e-3);

    // Through Yxy and back lands on the same 16-bit values, alpha included.
    const VelaColor yxy = colour.toYxy();
    QCOMPARE(yxy.spec(), VelaColor::Spec::Yxy);
    QCOMPARE(yxy.toRgb(), colour.toRgb());
}

void tst_VelaColor::mixed_data()
{
    QTest::addColumn<VelaColor>("from");
    QTest::addColumn<VelaColor>("to");
    QTest::addColumn<double>("weight");
    QTest::addColumn<VelaColor>("expected");
    const VelaColor red = Qt::red;
    const VelaColor whiteYxy = VelaColor::fromYxy(1, 0.3127, 0.329);
    QTest::newRow("alpha too") << VelaColor(Qt::transparent) << red << 0.5
                               << VelaColor::fromRgb16(0x8000, 0, 0, 0x8000);
    QTest::newRow("weight 1 takes other as it is") << red << whiteYxy << 1.0 << whiteYxy;
    QTest::newRow("NaN weight keeps") << red << whiteYxy << qQNaN() << red;
    QTest::newRow("other converted to rgb")
        << VelaColor(Qt::black) << whiteYxy << 0.5 << VelaColor::fromRgb16(0x8000, 0x8000, 0x8000);
    QTest::newRow("yxy component-wise")
        << VelaColor::fromYxy(0.25, 0.25, 0.25, 0) << VelaColor::fromYxy(0.75, 0.5, 0.5) << 0.5
        << VelaColor::fromYxy(0.5, 0.375, 0.375, 0x8000);
    QTest::newRow("channels padded")
        << VelaColor::fromChannels({100, 200}) << VelaColor::fromChannels({300, 400, 500}) << 0.5
        << VelaColor::fromChannels({200, 300, 250});
    QTest::newRow("channels with rgb")
        << VelaColor::fromChannels({0}) << VelaColor::fromRgb16(1000, 2000, 3000) << 0.5
        << VelaColor::fromChannels({500, 1000, 1500});
    QTest::newRow("invalid from") << VelaColor() << red << 0.5 << red;
    QTest::newRow("invalid to") << red << VelaColor() << 0.5 << red;
}

void tst_VelaColor::mixed()
{
    QFETCH(VelaColor, from);
    QFETCH(VelaColor, to);
    QFETCH(double, weight);
    QFETCH(VelaColor, expected);
    QCOMPARE(from.mixed(to, weight), expected);
}

void tst_VelaColor::encoding_data()
{
    QTest::addColumn<QString>("chemistry");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("bytes");
    QTest::addColumn<double>("gamma");
    QTest::addColumn<VelaColor>("colour");
    QTest::addColumn<QByteArray>("expected");

    const auto row = [](const char *name, const char *chemistry, int channels, int bytes,
                        double gamma, const VelaColor &colour, const char *hex) {
        QTest::newRow(name) << chemistry << channels << bytes << gamma << colour
                            << QByteArray::fromHex(hex);
    };
    // Full and zero stay exact through the curve, in every chemistry.
    row("rgb red", "RGB", 3, 1, 2.2, Qt::red, "ff0000");
    row("rgb black", "RGB", 3, 1, 2.2, Qt::black, "000000");
    row("rgbw white", "RGBW", 4, 1, 2.2, Qt::white, "000000ff");
    row("rgbw cyan", "RGBW", 4, 1, 2.2, Qt::cyan, "00ffff00");
    row("rgbaw white", "RGBAW", 5, 1, 2.2, Qt::white, "00000000ff");
    row("rgbaw yellow", "RGBAW", 5, 1, 2.2, Qt::yellow, "000000ff00");
    row("rgba yellow", "RGBA", 4, 1, 2.2, Qt::yellow, "000000ff");
    row("rgba white", "RGBA", 4, 1, 2.2, Qt::white, "ffffff00");
    row("cool white", "CW", 1, 1, 2.2, Qt::white, "ff");
    row("neutral white black", "NW", 1, 1, 2.2, Qt::black, "00");
    row("amber", "A", 1, 1, 2.2, Qt::white, "ff");
    row("channels as they are", "RGBW", 4, 1, 2.2, VelaColor::fromChannels({0xffff, 0, 0xffff}),
        "ff00ff00");
    row("invalid is dark", "RGB", 3, 1, 2.2, VelaColor(), "000000");
    const VelaColor grey = VelaColor::fromRgb(128, 128, 128);
    row("grey linear", "RGB", 3, 1, 1.0, grey, "808080");
    row("grey gamma 2.2", "RGB", 3, 1, 2.2, grey, "383838");
    row("gamma not positive is linear", "RGB", 3, 1, -1.0, grey, "808080");
    row("half alpha 16-bit", "RGB", 3, 2, 2.2, VelaColor::fromRgb16(0xffff, 0, 0, 0x8000),
        "800000000000");
    row("yxy white", "RGB", 3, 1, 2.2, VelaColor::fromYxy(1, 0.3127, 0.329), "ffffff");
    row("rgbw pink", "RGBW", 4, 1, 1.0, VelaColor::fromRgb(255, 128, 128), "7f000080");
    row("rgbaw warm", "RGBAW", 5, 1, 1.0, VelaColor::fromRgb(255, 204, 153), "3300003399");
    row("rgba warm", "RGBA", 4, 1, 1.0, VelaColor::fromRgb(255, 204, 153), "cc999933");
    row("white-only red", "WW", 1, 1, 1.0, Qt::red, "36");
    row("tunable red is warm", "WWCW", 2, 1, 1.0, Qt::red, "3600");
    row("tunable half alpha", "WWCW", 2, 1, 2.0, VelaColor::fromRgb(255, 255, 255, 128), "0080");
    row("channels cut", "RGB", 3, 2, 1.0, VelaColor::fromChannels({0xffff, 0x8000, 0, 0x1234}),
        "ffff80000000");
    row("channels padded", "RGBW", 4, 2, 1.0, VelaColor::fromChannels({0x1234}),
        "1234000000000000");
    row("extra layout channels", "RGB", 5, 1, 1.0, Qt::red, "ff00000000");
    row("16-bit clamped to 8 channels", "RGB", 16, 2, 1.0, Qt::white,
        "ffffffffffff00000000000000000000");
    row("8-bit clamped to 16 channels", "RGB", 40, 1, 1.0, Qt::white,
        "ffffff00000000000000000000000000");
    row("no channels gives one", "RGB", 0, 1, 1.0, Qt::red, "ff");
    row("3 bytes per channel is 1", "RGB", 3, 3, 1.0, Qt::red, "ff0000");
    row("unknown chemistry is rgb", "XYZ", 3, 1, 1.0, Qt::blue, "0000ff");
}

void tst_VelaColor::encoding()
{
    QFETCH(QString, chemistry);
    QFETCH(int, channels);
    QFETCH(int, bytes);
    QFETCH(double, gamma);
    QFETCH(VelaColor, colour);
    QFETCH(QByteArray, expected);
    const ChannelLayout layout{chemistry, channels, bytes, gamma};
    uchar out[48];
    std::fill(std::begin(out), std::end(out), 0xAA);
    const int written = encodeChannels(colour, layout, out);
    QCOMPARE(written, expected.size());
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(out), written).toHex(), expected.toHex());
    QVERIFY(std::all_of(out + written, std::end(out), [](uchar b) { return b == 0xAA; }));
}

// Each chemistry code of a fixture to its channels (codes outside the table are RGB), and
// the compiled profile database that gives each fixture profile its layouts.
void tst_VelaColor::layouts()
{
    QStringList layouts;
    for (int code = 0; code <= 10; ++code) {
        const ChannelLayout layout = layoutForChemistryCode(code, 2);
        QVERIFY(LedProfileRegistry::isKnownChemistry(layout.chemistry));
        QVERIFY(layout.bytesPerChannel == 2 && layout.gamma == 1.0);
        layouts << layout.chemistry + QString::number(layout.channels);
    }
    QCOMPARE(layouts.join(QLatin1Char(' ')),
             QStringLiteral("RGB3 RGB3 RGBW4 RGBAW5 RGBA4 WW1 NW1 CW1 WWCW2 A1 RGB3"));
    const LedProfileRegistry &registry = LedProfileRegistry::instance();
    QVERIFY(registry.isLoaded() && registry.chemistries().contains(QStringLiteral("RGBW")));
    QCOMPARE(registry.mode(0, 0)->chemistry + QString::number(registry.mode(0, 0)->channels),
             QStringLiteral("RGB3"));
    QVERIFY(!registry.mode(0, 99));
    const ChannelLayout layout = layoutForProfile(*registry.mode(1, 0), 1);
    QCOMPARE(layout.chemistry + QString::number(layout.channels), QStringLiteral("RGBW4"));
    QVERIFY(layout.bytesPerChannel == 1 && layout.gamma == 2.2);
}

// The LED profile database that gives each fixture profile its channel layouts.
QString tst_VelaColor::write(const QByteArray &xml)
{
    const QString path = m_dir.filePath(QStringLiteral("profiles%1.xml").arg(++m_files));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return {};
    file.write(xml);
    return path;
}

// A database that cannot be read leaves no profile, and says why.
void tst_VelaColor::unreadableDatabaseLoadsNothing()
{
    QTest::ignoreMessage(QtWarningMsg, "could not open tintlock profile database");
    const LedProfileRegistry missing(m_dir.filePath(QStringLiteral("absent.xml")));
    QVERIFY(!missing.isLoaded() && missing.profileCount() == 0 && !missing.mode(0, 0));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("LED profile database")));
    const LedProfileRegistry broken(write(R"(<profiles><profile id="1"><mode input="0")"));
    QVERIFY(!broken.isLoaded() && broken.profileCount() == 0);
}

// Each bad mode is skipped with a warning, as is a profile id seen before; the rest loads.
void tst_VelaColor::badEntriesAreSkipped_data()
{
    QTest::addColumn<QByteArray>("mode");
    const auto row = [](const char *name, const char *attributes) {
        QTest::newRow(name) << "<mode " + QByteArray(attributes) + "/>";
    };
    row("unknown chemistry", R"(input="1" chemistry="RGBX" channels="3" gamma="2")");
    row("no channels", R"(input="1" chemistry="RGB" channels="0" gamma="2")");
    row("too many channels", R"(input="1" chemistry="RGB" channels="17" gamma="2")");
    row("input not a number", R"(input="x" chemistry="RGB" channels="3" gamma="2")");
    row("gamma missing", R"(input="1" chemistry="RGB" channels="3")");
    row("duplicate input", R"(input="0" chemistry="RGBW" channels="4" gamma="2")");
}

void tst_VelaColor::badEntriesAreSkipped()
{
    QFETCH(QByteArray, mode);
    const QString path = write(R"(<profiles><profile id="7" name="Test">)"
                               R"(<mode input="0" chemistry="RGB" channels="3" gamma="2.2"/>)" +
                               mode +
                               R"(</profile><profile id="7" name="Again"/>)"
                               R"(<profile id="8" name="Other">)"
                               R"(<mode input="0" chemistry="WW" channels="1" gamma="2"/>)"
                               R"(</profile></profiles>)");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("skipped")));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("skipped")));
    const LedProfileRegistry registry(path);
    QVERIFY(registry.isLoaded());
    QCOMPARE(registry.profileIds(), (QList<int>{7, 8}));
    QCOMPARE(registry.profileName(7), QStringLiteral("Test"));
    QCOMPARE(registry.mode(7, 0)->chemistry, QStringLiteral("RGB"));
    QVERIFY(!registry.mode(7, 1));
    QCOMPARE(registry.mode(8, 0)->channels, 1);
}

QTEST_GUILESS_MAIN(tst_VelaColor)
#include "tst_velacolor.moc"
