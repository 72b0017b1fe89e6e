#include "net/commmessages.h"

#include "net/dottedquad.h"

#include <QHostAddress>

namespace CommMessages {

namespace {

constexpr int kAnswerFields = 4;
constexpr int kHostField = 2;
constexpr int kPortField = 3;

// Explicitly little-endian, whatever the host's byte order; surrogate pairs stay two units.
QByteArray utf16Le(const QString &text)
{
    QByteArray bytes;
    bytes.reserve(text.size() * 2);
    for (const QChar c : text) {
        const ushort unit = c.unicode();
        bytes.append(char(unit & 0xFF));
        bytes.append(char(unit >> 8));
    }
    return bytes;
}

// Decimal digits only, no sign or blanks, 1 to 65535.
std::optional<quint16> parsePort(const QByteArray &text)
{
    if (text.isEmpty() || text.size() > 5)
        return std::nullopt;
    int value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return std::nullopt;
        value = value * 10 + (c - '0');
    }
    if (value < 1 || value > 65535)
        return std::nullopt;
    return quint16(value);
}

// A connection to 0.0.0.0 would reach this machine, and broadcast or multicast addresses
// name no single host.
bool isHostAddress(quint32 ip)
{
    const QHostAddress address(ip);
    return ip != 0 && !address.isBroadcast() && !address.isMulticast();
}

QStringList header(quint32 senderId, int command)
{
    return {
        QStringLiteral("<!DOCTYPE document>"),
        QStringLiteral("<Envelope>"),
        QStringLiteral(" <Header>"),
        QStringLiteral("  <SenderID>%1</SenderID>").arg(senderId),
        QStringLiteral("  <TargetID>0</TargetID>"),
        QStringLiteral("  <RequestID>0</RequestID>"),
        QStringLiteral("  <Command>%1</Command>").arg(command),
        QStringLiteral(" </Header>"),
    };
}

} // namespace

QByteArray announcement(quint32 ip, quint16 answerPort)
{
    return QByteArray::number(kSenderId) + ":1:" + QHostAddress(ip).toString().toLatin1() + ':' +
           QByteArray::number(answerPort) + '\n';
}

std::optional<Answer> parseAnswer(const QByteArray &datagram)
{
    // Counting first keeps a datagram of thousands of colons from being split at all.
    if (datagram.count(':') != kAnswerFields - 1)
        return std::nullopt;
    QByteArray text = datagram;
    text.replace('\n', QByteArray());
    const QList<QByteArray> fields = text.split(':');
    const std::optional<quint32> ip = parseDottedQuad(QString::fromLatin1(fields.at(kHostField)));
    const std::optional<quint16> port = parsePort(fields.at(kPortField));
    if (!ip || !port || !isHostAddress(*ip))
        return std::nullopt;
    return Answer{QHostAddress(*ip).toString(), *ip, *port};
}

QByteArray frame(const QStringList &lines)
{
    QString text;
    for (const QString &line : lines)
        text += line + QLatin1Char('\n');
    const QByteArray body = utf16Le(text);
    return "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

QByteArray registration(quint32 id, const QString &name)
{
    return frame(header(id, kRegisterCommand) +
                 QStringList{
                     QStringLiteral(" <Body>"),
                     QStringLiteral("  <ID>%1</ID>").arg(id),
                     QStringLiteral("  <Name>%1</Name>").arg(name.toHtmlEscaped()),
                     QStringLiteral("  <Type>3</Type>"),
                     QStringLiteral(" </Body>"),
                     QStringLiteral("</Envelope>"),
                 });
}

QByteArray registrationFor(const QString &applicationName)
{
    if (applicationName == kOwnName)
        return registration(kOwnSenderId, kOwnName);
    return registration(kSenderId, kOtherName);
}

QByteArray pause()
{
    return frame(header(kSenderId, kPauseCommand) +
                 QStringList{QStringLiteral(" <Body/>"), QStringLiteral("</Envelope>")});
}

} // namespace CommMessages
