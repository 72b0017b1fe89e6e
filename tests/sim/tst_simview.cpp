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
};

void tst_SimView::coloursFollowFrames_data()
{
    QTest::addColumn<int>("supply");
    QTest::addColumn<int>("port");
    QTest::addColumn<int>("light");
    QTest::addColumn<bool>("dmxOut");
    // Supply one is version 1 and driven by DMX out; the others by port out.
    QTest::newRow("DMX out, last light") << 0 << 0 << 49 << true;
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
    QVERIFY(!view.lightColour(supply, port, light).isValid());
    const auto pixel = [&] { return view.grab().toImage().pixelColor(rect.center()); };
    const QColor before = pixel();

    const SimLight &target = installation.supplies.at(supply).ports.at(port).lights.at(light);
    QByteArray data(512, '\0');
    data.replace(target.dmxOffset(), 3, QByteArray::fromHex("e04010"));
    SimFrame frame;
    frame.kind = dmxOut ? SimFrame::Kind::DmxOut : SimFrame::Kind::PortOut;
    frame.port = dmxOut ? 0 : installation.supplies.at(supply).ports.at(port).number;
    frame.data = data;
    output.record(supply, frame);
    const QColor expected(0xE0, 0x40, 0x10);
    QCOMPARE(view.lightColour(supply, port, light), expected);
    QCOMPARE(pixel(), expected);
    QVERIFY(before != expected);
    // Its neighbours got zeros, i.e. black, not this light's colour.
    if (light > 0)
        QCOMPARE(view.lightColour(supply, port, light - 1), QColor(Qt::black));
}

QTEST_MAIN(tst_SimView)
#include "tst_simview.moc"
