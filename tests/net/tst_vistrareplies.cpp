// Reply parsing from hand-built datagrams: every type into the right values, and every
// truncation, malformed or foreign datagram into nothing.
#include "replyrows.h"

#include "net/vistrareplies.h"

#include <QtTest>

using namespace VistraReplies;

namespace {

constexpr quint32 kSender = 0x7F000001;

QString text(const QByteArray &bytes)
{
    return QLatin1Char('\'') + QString::fromLatin1(bytes) + QLatin1Char('\'');
}

// Renders a parsed reply the way the protocol object's signals are rendered in tst_vistra, so
// both compare against the same expectations.
struct Describe
{
    QString operator()(const DiscoverReply &r) const
    {
        const char *name = r.type == 0x000F   ? "discoverV3"
                           : r.type == 0x000D ? "discoverEO"
                                              : "discover";
        return QStringLiteral("%1 mac=%2 ip=%3 sn=0x%4 ver=%5 uni=%6 version=%7 id=%8")
            .arg(QLatin1String(name), QByteArray(r.mac.data(), 6).toHex(), ipText(r.ip))
            .arg(r.serial, 0, 16)
            .arg(r.version)
            .arg(r.universe)
            .arg(text(r.versionText), text(r.idText));
    }
    QString operator()(const PortsReply &r) const
    {
        return QStringLiteral("ports ip=%1 count=%2 numbers=%3 types=%4")
            .arg(ipText(r.ip))
            .arg(r.portNumbers.size())
            .arg(joined(r.portNumbers), joined(r.portTypes));
    }
    QString operator()(const DeviceVariableReply &r) const
    {
        return QStringLiteral("variable ip=%1 id=0x%2 value=0x%3")
            .arg(ipText(r.ip))
            .arg(r.variableId, 0, 16)
            .arg(r.value, 0, 16);
    }
    QString operator()(const GetArrayReply &r) const
    {
        return QStringLiteral("array ip=%1 id=%2 values=%3")
            .arg(ipText(r.ip))
            .arg(r.id)
            .arg(joined(r.values));
    }
    QString operator()(const GetByteArrayReply &r) const
    {
        return QStringLiteral("bytes ip=%1 id=%2 values=%3")
            .arg(ipText(r.ip))
            .arg(r.id)
            .arg(joined(r.values));
    }
    QString operator()(const BlinkScanReply &r) const
    {
        return QStringLiteral("blinkScan ip=%1 sn=0x%2").arg(ipText(r.ip)).arg(r.serial, 0, 16);
    }
    QString operator()(const ReadByteReply &r) const
    {
        switch (r.kind) {
        case ReadByteReply::EERead:
            return QStringLiteral("eeRead ip=%1 sn=0x%2 addr=%3 b=%4")
                .arg(ipText(r.ip))
                .arg(r.serial, 0, 16)
                .arg(r.address)
                .arg(r.value);
        case ReadByteReply::PixelToken:
            return QStringLiteral("pixelToken ip=%1 addr=0x%2 pixel=%3 token=%4 byte=%5")
                .arg(ipText(r.ip))
                .arg(r.serial, 0, 16)
                .arg(r.selector)
                .arg(r.address)
                .arg(r.value);
        case ReadByteReply::Telemetry:
            return QStringLiteral("telemetry ip=%1 addr=0x%2 id=%3 byte=%4")
                .arg(ipText(r.ip))
                .arg(r.serial, 0, 16)
                .arg(r.address)
                .arg(r.value);
        }
        return QString();
    }
    QString operator()(const BEBlinkScanReply &r) const
    {
        return QStringLiteral("beBlinkScan ip=%1 port=%2 sn=0x%3")
            .arg(ipText(r.ip))
            .arg(r.port)
            .arg(r.serial, 0, 16);
    }
    QString operator()(const CAScanReply &r) const
    {
        return QStringLiteral("caScan ip=%1 port1=%2 port2=%3")
            .arg(ipText(r.ip))
            .arg(r.port1)
            .arg(r.port2);
    }
    QString operator()(const BlinkScan2Reply &r) const
    {
        QStringList lines{QStringLiteral("scan2 ip=%1 entries=%2 more=%3 bytes=%4")
                              .arg(ipText(r.ip))
                              .arg(r.entryCount)
                              .arg(r.more)
                              .arg(QString::fromLatin1(r.entryBytes.toHex()))};
        for (const BlinkScan2Entry &e : r.entries) {
            if (e.kind == BlinkScan2Entry::RdmUids) {
                lines.append(QStringLiteral("scan2XRDM ip=%1 port=%2 list=%3")
                                 .arg(ipText(r.ip))
                                 .arg(e.port)
                                 .arg(joined(e.values, 16)));
                continue;
            }
            lines.append(
                QStringLiteral("%1 ip=%2 port=%3 count=%4 list=%5")
                    .arg(e.kind == BlinkScan2Entry::Serials ? "scan2SN" : "scan2CA", ipText(r.ip))
                    .arg(e.port)
                    .arg(e.values.size())
                    .arg(joined(e.values, 16)));
        }
        return lines.join(QLatin1Char('\n'));
    }
    QString operator()(const ExtPromTokenReply &r) const
    {
        return QStringLiteral("extProm ip=%1 sn=0x%2 token=0x%3 byte=%4")
            .arg(ipText(r.ip))
            .arg(r.serial, 0, 16)
            .arg(r.token, 0, 16)
            .arg(r.value);
    }
    QString operator()(const RdmGetReply &r) const
    {
        return QStringLiteral("rdm ip=%1 uid=0x%2 pid=0x%3 text='%4'")
            .arg(ipText(r.ip))
            .arg(r.sourceUid, 0, 16)
            .arg(r.pid, 0, 16)
            .arg(r.text);
    }
};

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
    void trailingBytesAreIgnored_data();
    void trailingBytesAreIgnored();
    void truncated_data();
    void truncated();
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

void tst_VistraReplies::parse()
{
    QFETCH(QByteArray, datagram);
    QFETCH(QString, expected);
    QCOMPARE(describe(datagram), expected);
}

// Padding after the last field read changes nothing: the blink scan 2 summary, too, carries
// only the entry bytes that were read.
void tst_VistraReplies::trailingBytesAreIgnored_data()
{
    parse_data();
}

void tst_VistraReplies::trailingBytesAreIgnored()
{
    QFETCH(QByteArray, datagram);
    QFETCH(QString, expected);
    QCOMPARE(describe(datagram + QByteArray(7, '\x5A')), expected);
}

void tst_VistraReplies::truncated_data()
{
    QTest::addColumn<QByteArray>("datagram");
    for (const ReplyRow &row : replyRows())
        QTest::newRow(row.name) << row.datagram;
}

// Every prefix of a minimal reply lacks bytes a field needs: none may parse, none may read
// beyond its end (the copy makes the prefix its own allocation for the sanitizers).
void tst_VistraReplies::truncated()
{
    QFETCH(QByteArray, datagram);
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
