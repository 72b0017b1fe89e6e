#include "simview.h"

#include "sim/simoutput.h"

#include <QImage>
#include <QtTest>

// The live view paints each light in the colour of the channels last sent to it.
class tst_SimView : public QObject
{
    Q_OBJECT

private slots:
    void coloursFollowFrames_data();
    void coloursFollowFrames();
    void everyLightHasItsOwnSquare();
};

namespace {

SimFrame portOut(quint8 port, const QByteArray &data)
{
    SimFrame frame;
    frame.kind = SimFrame::Kind::PortOut;
    frame.port = port;
    frame.data = data;
    return frame;
}

SimFrame dmxOut(const QByteArray &data)
{
    SimFrame frame;
    frame.kind = SimFrame::Kind::DmxOut;
    frame.data = data;
    return frame;
}

QColor pixelAt(SimView &view, const QRect &rect)
{
    return view.grab().toImage().pixelColor(rect.center());
}

} // namespace

void tst_SimView::coloursFollowFrames_data()
{
    QTest::addColumn<int>("supply");
    QTest::addColumn<int>("port");
    QTest::addColumn<int>("light");
    QTest::addColumn<bool>("dmxOut");
    // Supply one is version 1 and driven by DMX out; the others by port out.
    QTest::newRow("DMX out, first light") << 0 << 0 << 0 << true;
    QTest::newRow("DMX out, last light") << 0 << 0 << 49 << true;
    QTest::newRow("port out, classic light") << 1 << 1 << 10 << false;
    QTest::newRow("port out, RDM light") << 1 << 1 << 35 << false;
    QTest::newRow("port out, second port of supply four") << 3 << 1 << 49 << false;
}

void tst_SimView::coloursFollowFrames()
{
    QFETCH(int, supply);
    QFETCH(int, port);
    QFETCH(int, light);
    QFETCH(bool, dmxOut);
    const SimInstallation installation = SimInstallation::builtIn();
    SimOutput output;
    SimView view(installation, &output);
    view.resize(view.sizeHint());
    const QRect rect = view.lightRect(supply, port, light);
    QVERIFY(!rect.isEmpty());
    QVERIFY(!view.lightColour(supply, port, light).isValid());
    const QColor before = pixelAt(view, rect);

    const SimLight &target = installation.supplies.at(supply).ports.at(port).lights.at(light);
    QByteArray data(512, '\0');
    data[target.dmxOffset()] = char(0xE0);
    data[target.dmxOffset() + 1] = char(0x40);
    data[target.dmxOffset() + 2] = char(0x10);
    const quint8 number = installation.supplies.at(supply).ports.at(port).number;
    output.record(supply, dmxOut ? ::dmxOut(data) : portOut(number, data));
    const QColor expected(0xE0, 0x40, 0x10);
    QCOMPARE(view.lightColour(supply, port, light), expected);
    QCOMPARE(pixelAt(view, rect), expected);
    QVERIFY(before != expected);
    // Its neighbours got zeros, i.e. black, not this light's colour.
    if (light > 0)
        QCOMPARE(view.lightColour(supply, port, light - 1), QColor(Qt::black));
}

void tst_SimView::everyLightHasItsOwnSquare()
{
    const SimInstallation installation = SimInstallation::builtIn();
    SimOutput output;
    SimView view(installation, &output);
    const QRect all(QPoint(0, 0), view.sizeHint());
    QVector<QRect> seen;
    for (int s = 0; s < installation.supplies.size(); ++s) {
        for (int p = 0; p < installation.supplies.at(s).ports.size(); ++p) {
            for (int l = 0; l < installation.supplies.at(s).ports.at(p).lights.size(); ++l) {
                const QRect rect = view.lightRect(s, p, l);
                QVERIFY(all.contains(rect));
                seen << rect;
            }
        }
    }
    QCOMPARE(seen.size(), installation.lightCount());
    for (int i = 0; i < seen.size(); ++i) {
        for (int j = i + 1; j < seen.size(); ++j)
            QVERIFY(!seen.at(i).intersects(seen.at(j)));
    }
}

QTEST_MAIN(tst_SimView)
#include "tst_simview.moc"
