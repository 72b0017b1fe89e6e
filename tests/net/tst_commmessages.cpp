// The bytes of controller messaging against golden bytes written out by hand: the registration
// variants, the pause message and the answer rule.
#include "net/commmessages.h"

#include <QtTest>

namespace {

// The expected body, encoded here on its own: every line ends in a line feed.
QByteArray utf16Le(const QByteArray &latin1Lines)
{
    QByteArray bytes;
    for (const char c : latin1Lines)
        bytes.append(c).append('\0');
    return bytes;
}

QByteArray registrationText(const QByteArray &id, const QByteArray &name)
{
    return QByteArray("<!DOCTYPE document>\n"
                      "<Envelope>\n"
                      " <Header>\n"
                      "  <SenderID>@ID</SenderID>\n"
                      "  <TargetID>0</TargetID>\n"
                      "  <RequestID>0</RequestID>\n"
                      "  <Command>3</Command>\n"
                      " </Header>\n"
                      " <Body>\n"
                      "  <ID>@ID</ID>\n"
                      "  <Name>@NAME</Name>\n"
                      "  <Type>3</Type>\n"
                      " </Body>\n"
                      "</Envelope>\n")
        .replace("@ID", id)
        .replace("@NAME", name);
}

const QByteArray kPauseText = "<!DOCTYPE document>\n"
                              "<Envelope>\n"
                              " <Header>\n"
                              "  <SenderID>3166485691</SenderID>\n"
                              "  <TargetID>0</TargetID>\n"
                              "  <RequestID>0</RequestID>\n"
                              "  <Command>113</Command>\n"
                              " </Header>\n"
                              " <Body/>\n"
                              "</Envelope>\n";

} // namespace

class tst_CommMessages : public QObject
{
    Q_OBJECT

private slots:
    void messages_data();
    void messages();
    void parseAnswer_data();
    void parseAnswer();
};

// The body is UTF-16LE without a byte-order mark; the header counts its bytes.
void tst_CommMessages::messages_data()
{
    QTest::addColumn<QByteArray>("built");
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("Orrery: own id and name")
        << CommMessages::registrationFor("Orrery") << QByteArray("Content-Length: 502\r\n\r\n")
        << registrationText("3166485692", "Orrery");
    QTest::newRow("another name: generic id and name")
        << CommMessages::registrationFor("Kestrel") << QByteArray("Content-Length: 506\r\n\r\n")
        << registrationText("3166485691", "Pellucid");
    QTest::newRow("compared exactly: orrery")
        << CommMessages::registrationFor("orrery") << QByteArray("Content-Length: 506\r\n\r\n")
        << registrationText("3166485691", "Pellucid");
    QTest::newRow("thirteen-character name")
        << CommMessages::registration(3166485692u, QStringLiteral("Thirteen Char"))
        << QByteArray("Content-Length: 516\r\n\r\n")
        << registrationText("3166485692", "Thirteen Char");
    QTest::newRow("pause") << CommMessages::pause() << QByteArray("Content-Length: 368\r\n\r\n")
                           << kPauseText;
}

void tst_CommMessages::messages()
{
    QFETCH(QByteArray, built);
    QFETCH(QByteArray, header);
    QFETCH(QByteArray, text);
    QCOMPARE(built, header + utf16Le(text));
}

void tst_CommMessages::parseAnswer_data()
{
    QTest::addColumn<QByteArray>("datagram");
    QTest::addColumn<QString>("host"); // empty: no answer
    QTest::addColumn<int>("port");

    QTest::newRow("four fields") << QByteArray("4242:1:10.1.0.2:5000\n") << "10.1.0.2" << 5000;
    QTest::newRow("line feeds anywhere are removed")
        << QByteArray("\n4242:1:10.1.\n0.2:50\n00\n\n") << "10.1.0.2" << 5000;
    QTest::newRow("first two fields are not read") << QByteArray("::10.1.0.2:1") << "10.1.0.2" << 1;
    QTest::newRow("leading zeros, canonical host text")
        << QByteArray("1:1:010.001.000.002:08081") << "10.1.0.2" << 8081;

    const QString none;
    QTest::newRow("empty") << QByteArray() << none << 0;
    QTest::newRow("three fields") << QByteArray("1:10.1.0.2:5000\n") << none << 0;
    QTest::newRow("five fields") << QByteArray("4242:1:10.1.0.2:5000:7\n") << none << 0;
    QTest::newRow("10,000 colons") << QByteArray(10000, ':') << none << 0;
    QTest::newRow("port not a number") << QByteArray("1:1:10.1.0.2:http") << none << 0;
    QTest::newRow("port signed") << QByteArray("1:1:10.1.0.2:+80") << none << 0;
    QTest::newRow("port with carriage return") << QByteArray("1:1:10.1.0.2:80\r\n") << none << 0;
    QTest::newRow("port 0") << QByteArray("1:1:10.1.0.2:0") << none << 0;
    QTest::newRow("port 65536") << QByteArray("1:1:10.1.0.2:65536") << none << 0;
    QTest::newRow("host name") << QByteArray("1:1:controller.local:5000") << none << 0;
    QTest::newRow("host 0.0.0.0") << QByteArray("1:1:0.0.0.0:5000") << none << 0;
    QTest::newRow("host broadcast") << QByteArray("1:1:255.255.255.255:5000") << none << 0;
}

void tst_CommMessages::parseAnswer()
{
    QFETCH(QByteArray, datagram);
    QFETCH(QString, host);
    QFETCH(int, port);
    const std::optional<CommMessages::Answer> answer = CommMessages::parseAnswer(datagram);
    QCOMPARE(answer.has_value(), !host.isEmpty());
    if (!answer)
        return;
    QCOMPARE(answer->host, host);
    QCOMPARE(int(answer->port), port);
}

QTEST_GUILESS_MAIN(tst_CommMessages)
#include "tst_commmessages.moc"
