#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// The show controller's side of controller messaging, written from the wire tables on its own
// (like SimWire) so that the simulated controller never shares a misreading with the program.
//
// The program announces itself by UDP broadcast to port 6775 with the Latin-1 line
// "3166485691:1:IP:PORT\n"; a controller answers to IP:PORT with "ID:1:HOST:TCPPORT\n" and
// accepts a TCP connection there. Each message on the connection is "Content-Length: N\r\n\r\n"
// followed by N bytes of UTF-16LE XML text without byte-order mark, every line ended by one
// line feed.
namespace SimControllerWire {

constexpr quint16 kAnnouncePort = 6775;
constexpr quint32 kGenericId = 3166485691u; // 0xBCBCBCBB
constexpr quint32 kOrreryId = 3166485692u;  // 0xBCBCBCBC
constexpr int kRegisterCommand = 3;
constexpr int kPauseCommand = 113;
// Bodies are a few hundred bytes; anything far larger is a framing fault.
constexpr int kMaxBodyBytes = 64 * 1024;

struct Announcement
{
    quint32 ip = 0; // host order
    quint16 port = 0;
};

// Exactly "3166485691:1:a.b.c.d:port\n"; anything else gives nothing.
std::optional<Announcement> parseAnnouncement(const QByteArray &datagram);
QByteArray answer(quint32 controllerId, quint32 hostIp, quint16 tcpPort);

struct Message
{
    int command = 0;
    quint32 senderId = 0;
    // Registration only.
    quint32 id = 0;
    QString name;
};

enum class Take { Incomplete, Taken, Malformed };

// Takes the first message off a connection's received bytes. Incomplete leaves the buffer as
// it is; Malformed says why in `error` (the stream cannot be trusted after that). Checks the
// header, the body's encoding and line ends, and every line against the two message layouts.
Take takeMessage(QByteArray *buffer, Message *message, QString *error);

// A registration whose ids and name agree ("Orrery" with its own id, "Pellucid" with the
// generic one), or a pause from the generic id; otherwise the reason.
QString checkRules(const Message &message);

} // namespace SimControllerWire
