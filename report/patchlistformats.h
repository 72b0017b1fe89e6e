#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

struct PatchList;

// The patch list as files and text for scripts, spreadsheets and terminals. Every form
// lists the lights in the same order: supply by supply, port by port, by DMX address.
namespace PatchListFormats {

// UTF-8 CSV: one header row, then one row per light:
//   Supply,Supply Serial,IP Address,Port,Name,Serial,DMX Address,DMX End,Channels,Uid
// Fields holding a comma, a quote or a line break are quoted, quotes doubled (RFC 4180);
// rows end with a line feed. Lights without an address have empty DMX fields; lights
// without a supply have empty supply fields. The uid is hexadecimal, as map files write it.
QByteArray toCsv(const PatchList &list);
// One CSV field, quoted when it needs to be.
QString csvField(const QString &text);

// {"supplies": [{"name", "serial", "ip", "ports": [{"port", "lights": [{"uid", "name",
// "serial", "dmxAddress", "channels"}]}]}]}: port from 1, dmxAddress from 1 (null for a
// light without one), serials as hexadecimal text. Lights without a supply come last under
// an entry whose name, serial and ip are empty.
QJsonObject toJson(const PatchList &list);

// A table for a terminal: a heading per supply, then per port a row per light
// (DMX range, channels, name, serial) with a note where ranges overlap or pass 512.
QString toText(const PatchList &list);

} // namespace PatchListFormats
