// Reply parsing from hand-built datagrams (replyrows.h, shared with the protocol object test):
// every type into the right values, and every truncation, malformed or foreign datagram into
// nothing.
#include "replydescription.h"
#include "replyrows.h"

#include "net/vistrareplies.h"

#include <QtTest>

using namespace VistraReplies;

namespace {

constexpr quint32 kSender = 0x7F000001;

QString describe(const QByteArray &datagram)
{
    const std::optional<Reply> reply = parseReply(datagram, kSender);
    return reply ? std::visit(Describe(), *reply) : QString();
}

} // namespace

class tst_VistraReplies : public QObject
{
    Q_OBJECT

private slots:
    void parse_data();
    void parse();
    void ignored_data();
    void ignored();
    void longDiscoverTexts();
    void largestDatagrams();
};

void tst_VistraReplies::parse_data()
{
    QTest::addColumn<QByteArray>("datagram");
    QTest::addColumn<QString>("expected");
    for (const ReplyRow &row : replyRows())
        QTest::newRow(row.name) << row.datagram << row.expected;
}

// Padding after the last field read changes nothing (the blink scan 2 summary, too, carries
// only the entry bytes that were read). Every shorter prefix lacks bytes a field needs: none
// may parse, none may read beyond its end (the copy makes the prefix its own allocation for
// the sanitizers).
void tst_VistraReplies::parse()
{
    QFETCH(QByteArray, datagram);
    QFETCH(QString, expected);
    QCOMPARE(describe(datagram), expected);
    QCOMPARE(describe(datagram + QByteArray(7, '\x5A')), expected);
    for (int length = 0; length < datagram.size(); ++length) {
        const QByteArray prefix(datagram.constData(), length);
        if (!describe(prefix).isEmpty())
            QFAIL(qPrintable(QStringLiteral("a prefix of %1 bytes parsed").arg(length)));
    }
}

void tst_VistraReplies::ignored_data()
{
    QTest::addColumn<QByteArray>("datagram");
    for (const ReplyRow &row : ignoredRows())
        QTest::newRow(row.name) << row.datagram;
}

void tst_VistraReplies::ignored()
{
    QFETCH(QByteArray, datagram);
    QCOMPARE(describe(datagram), QString());
}

// Texts longer than the 512-byte buffers keep their first 511 bytes; the id text still starts
// after the version text's own end.
void tst_VistraReplies::longDiscoverTexts()
{
    const QByteArray version(600, 'v');
    const QByteArray id(700, 'i');
    const QByteArray datagram = hex("0401dc4a 0100 0200 00000000 0a200111 001c420b0102 0300 "
                                    "1100a201 07000000") +
                                version + '\0' + id + '\0';
    const std::optional<Reply> reply = parseReply(datagram, kSender);
    QVERIFY(reply);
    const auto &discover = std::get<DiscoverReply>(*reply);
    QCOMPARE(discover.versionText, QByteArray(511, 'v'));
    QCOMPARE(discover.idText, QByteArray(511, 'i'));
}

// The largest counts the fields allow, read to the last value.
void tst_VistraReplies::largestDatagrams()
{
    QByteArray ports = hex("0401dc4a 0100 0b00 c0a80114 ff 000000");
    for (int i = 0; i < 255; ++i)
        ports += char(i) + QByteArray(1, char(255 - i)) + QByteArray(6, '\0');
    const auto parsedPorts = std::get<PortsReply>(*parseReply(ports, kSender));
    QCOMPARE(parsedPorts.portNumbers.size(), 255);
    QCOMPARE(parsedPorts.portNumbers.last(), uchar(254));
    QCOMPARE(parsedPorts.portTypes.last(), uchar(1));

    QByteArray bytes = hex("0401dc4a 0100 0e01 00000000 0600 00000000 ffff");
    bytes += QByteArray(0xFFFF, '\x42');
    const auto parsedBytes = std::get<GetByteArrayReply>(*parseReply(bytes, kSender));
    QCOMPARE(parsedBytes.values.size(), 0xFFFF);
    QCOMPARE(parsedBytes.values.last(), quint8(0x42));
}

QTEST_GUILESS_MAIN(tst_VistraReplies)
#include "tst_vistrareplies.moc"
