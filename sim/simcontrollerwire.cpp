#include "sim/simcontrollerwire.h"

#include <QHostAddress>
#include <QRegularExpression>
#include <QStringList>
#include <QVector>

namespace SimControllerWire {

namespace {

const QByteArray kHeaderStart = "Content-Length: ";
const QByteArray kHeaderEnd = "\r\n\r\n";
// "Content-Length: " + at most 10 digits + "\r\n\r\n".
constexpr int kMaxHeaderBytes = 30;

std::optional<quint32> parseDecimal(const QByteArray &text, quint64 max)
{
    if (text.isEmpty() || text.size() > 10)
        return std::nullopt;
    quint64 value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return std::nullopt;
        value = value * 10 + quint64(c - '0');
    }
    if (value > max)
        return std::nullopt;
    return quint32(value);
}

QString fromUtf16Le(const QByteArray &bytes)
{
    QString text;
    text.reserve(bytes.size() / 2);
    for (int i = 0; i + 1 < bytes.size(); i += 2)
        text.append(QChar(ushort(uchar(bytes.at(i)) | (uchar(bytes.at(i + 1)) << 8))));
    return text;
}

QVector<QRegularExpression> anchored(const QStringList &patterns)
{
    QVector<QRegularExpression> expressions;
    for (const QString &pattern : patterns)
        expressions.append(QRegularExpression(QRegularExpression::anchoredPattern(pattern)));
    return expressions;
}

// Every line of the two messages, in order; the parenthesised parts are read as the sender,
// the command, the registration's id and its name.
const QVector<QRegularExpression> &headerLines()
{
    static const QVector<QRegularExpression> lines = anchored({
        QStringLiteral("<!DOCTYPE document>"),
        QStringLiteral("<Envelope>"),
        QStringLiteral(" <Header>"),
        QStringLiteral("  <SenderID>(\\d{1,10})</SenderID>"),
        QStringLiteral("  <TargetID>0</TargetID>"),
        QStringLiteral("  <RequestID>0</RequestID>"),
        QStringLiteral("  <Command>(\\d{1,4})</Command>"),
        QStringLiteral(" </Header>"),
    });
    return lines;
}

const QVector<QRegularExpression> &registrationBody()
{
    static const QVector<QRegularExpression> lines = anchored({
        QStringLiteral(" <Body>"),
        QStringLiteral("  <ID>(\\d{1,10})</ID>"),
        QStringLiteral("  <Name>([^<>]*)</Name>"),
        QStringLiteral("  <Type>3</Type>"),
        QStringLiteral(" </Body>"),
        QStringLiteral("</Envelope>"),
    });
    return lines;
}

const QVector<QRegularExpression> &pauseBody()
{
    static const QVector<QRegularExpression> lines =
        anchored({QStringLiteral(" <Body/>"), QStringLiteral("</Envelope>")});
    return lines;
}

// Matches lines from `first` on against patterns, one each, and nothing after them; the
// captures, in order, go to `captures`.
bool matchLines(const QStringList &lines, int first, const QVector<QRegularExpression> &patterns,
                QStringList *captures, QString *error)
{
    if (lines.size() != first + patterns.size()) {
        *error =
            QStringLiteral("%1 lines instead of %2").arg(lines.size()).arg(first + patterns.size());
        return false;
    }
    for (int i = 0; i < patterns.size(); ++i) {
        const QRegularExpressionMatch match = patterns.at(i).match(lines.at(first + i));
        if (!match.hasMatch()) {
            *error =
                QStringLiteral("line %1 is \"%2\"").arg(first + i + 1).arg(lines.at(first + i));
            return false;
        }
        for (int c = 1; c <= match.lastCapturedIndex(); ++c)
            captures->append(match.captured(c));
    }
    return true;
}

bool parseBody(const QString &text, Message *message, QString *error)
{
    if (!text.endsWith(QLatin1Char('\n')) || text.contains(QLatin1Char('\r'))) {
        *error = QStringLiteral("lines must end with a single line feed");
        return false;
    }
    QStringList lines = text.split(QLatin1Char('\n'));
    lines.removeLast(); // after the final line feed
    QStringList captures;
    const int headerSize = headerLines().size();
    if (!matchLines(lines.mid(0, headerSize), 0, headerLines(), &captures, error))
        return false;
    message->senderId = captures.at(0).toUInt();
    message->command = captures.at(1).toInt();
    if (message->command == kRegisterCommand) {
        if (!matchLines(lines, headerSize, registrationBody(), &captures, error))
            return false;
        message->id = captures.at(2).toUInt();
        message->name = captures.at(3);
        return true;
    }
    if (message->command == kPauseCommand)
        return matchLines(lines, headerSize, pauseBody(), &captures, error);
    *error = QStringLiteral("unknown command %1").arg(message->command);
    return false;
}

} // namespace

std::optional<Announcement> parseAnnouncement(const QByteArray &datagram)
{
    const QByteArray prefix = QByteArray::number(kGenericId) + ":1:";
    if (!datagram.startsWith(prefix) || !datagram.endsWith('\n'))
        return std::nullopt;
    const QList<QByteArray> rest = datagram.mid(prefix.size()).chopped(1).split(':');
    if (rest.size() != 2)
        return std::nullopt;
    const QStringList parts = QString::fromLatin1(rest.at(0)).split(QLatin1Char('.'));
    if (parts.size() != 4)
        return std::nullopt;
    quint32 ip = 0;
    for (const QString &part : parts) {
        const std::optional<quint32> value = parseDecimal(part.toLatin1(), 255);
        if (!value)
            return std::nullopt;
        ip = (ip << 8) | *value;
    }
    const std::optional<quint32> port = parseDecimal(rest.at(1), 65535);
    if (!port || *port == 0)
        return std::nullopt;
    return Announcement{ip, quint16(*port)};
}

QByteArray answer(quint32 controllerId, quint32 hostIp, quint16 tcpPort)
{
    return QByteArray::number(controllerId) + ":1:" + QHostAddress(hostIp).toString().toLatin1() +
           ':' + QByteArray::number(tcpPort) + '\n';
}

Take takeMessage(QByteArray *buffer, Message *message, QString *error)
{
    const int headerEnd = buffer->indexOf(kHeaderEnd);
    if (headerEnd < 0) {
        const bool mayStillBeHeader = buffer->size() < kMaxHeaderBytes &&
                                      kHeaderStart.startsWith(buffer->left(kHeaderStart.size()));
        if (mayStillBeHeader)
            return Take::Incomplete;
        *error = QStringLiteral("no \"Content-Length: N\" header");
        return Take::Malformed;
    }
    const std::optional<quint32> length =
        buffer->startsWith(kHeaderStart)
            ? parseDecimal(buffer->mid(kHeaderStart.size(), headerEnd - kHeaderStart.size()),
                           kMaxBodyBytes)
            : std::nullopt;
    if (!length || *length % 2 != 0) {
        *error =
            QStringLiteral("bad header \"%1\"").arg(QString::fromLatin1(buffer->left(headerEnd)));
        return Take::Malformed;
    }
    const int bodyStart = headerEnd + kHeaderEnd.size();
    if (buffer->size() < bodyStart + int(*length))
        return Take::Incomplete;
    const QByteArray body = buffer->mid(bodyStart, int(*length));
    buffer->remove(0, bodyStart + int(*length));
    if (body.startsWith("\xFF\xFE") || body.startsWith("\xFE\xFF")) {
        *error = QStringLiteral("body starts with a byte-order mark");
        return Take::Malformed;
    }
    *message = Message();
    return parseBody(fromUtf16Le(body), message, error) ? Take::Taken : Take::Malformed;
}

QString checkRules(const Message &message)
{
    if (message.command == kPauseCommand)
        return message.senderId == kGenericId
                   ? QString()
                   : QStringLiteral("pause from sender %1").arg(message.senderId);
    if (message.senderId != message.id)
        return QStringLiteral("registration from %1 with id %2")
            .arg(message.senderId)
            .arg(message.id);
    const bool known = (message.name == QLatin1String("Orrery") && message.id == kOrreryId) ||
                       (message.name == QLatin1String("Pellucid") && message.id == kGenericId);
    return known ? QString()
                 : QStringLiteral("registration of \"%1\" with id %2")
                       .arg(message.name)
                       .arg(message.id);
}

} // namespace SimControllerWire
