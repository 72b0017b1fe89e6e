#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

// The bytes of controller messaging, apart from any socket.
//
// Show controllers on the network learn of us from a UDP announcement, answer with the host and
// TCP port they listen on, and are then kept paused by messages over that TCP connection. A
// message is an ASCII header "Content-Length: N\r\n\r\n" followed by N bytes of XML text in
// UTF-16LE, without byte-order mark and without terminator; every line of the text, the last
// one too, ends with a single line feed.
namespace CommMessages {

// The id every controller knows us by; also the sender of every pause message.
constexpr quint32 kSenderId = 3166485691u; // 0xBCBCBCBB
// The id the program registers under when it runs under its own name.
constexpr quint32 kOwnSenderId = 3166485692u; // 0xBCBCBCBC
constexpr quint16 kAnnouncePort = 6775;
constexpr quint16 kAnswerPort = 8081;
constexpr int kRegisterCommand = 3;
constexpr int kPauseCommand = 113;

inline const QString kOwnName = QStringLiteral("Orrery");
// The name controllers expect from any other application using this messaging.
inline const QString kOtherName = QStringLiteral("Pellucid");

// "3166485691:1:IP:PORT\n" in Latin-1; ip is host order.
QByteArray announcement(quint32 ip, quint16 answerPort = kAnswerPort);

struct Answer
{
    QString host;   // canonical dotted quad
    quint32 ip = 0; // host order
    quint16 port = 0;
};

// An answer to the announcement: line feeds removed, exactly four ":"-separated fields, the
// third a dotted-quad IPv4 address and the fourth a decimal TCP port 1-65535. Anything else,
// including a host name (which would need a name lookup), gives nothing.
std::optional<Answer> parseAnswer(const QByteArray &datagram);

// Header plus body: each line followed by "\n", the whole text in UTF-16LE.
QByteArray frame(const QStringList &lines);
QByteArray registration(quint32 id, const QString &name);
// The registration for an application: "Orrery" registers under its own id and name, any
// other application as kOtherName under kSenderId.
QByteArray registrationFor(const QString &applicationName);
QByteArray pause();

} // namespace CommMessages
