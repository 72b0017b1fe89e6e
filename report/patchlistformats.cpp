#include "report/patchlistformats.h"

#include "report/patchlist.h"

#include <QJsonArray>
#include <QStringList>
#include <QTextStream>

#include <algorithm>

namespace {

QString uidText(quint64 uid)
{
    return QString::number(uid, 16).toUpper();
}

// Whole numbers up to 2^53 travel through JSON readers unchanged; uids are far below it.
QJsonValue jsonNumber(quint64 value)
{
    return value <= (quint64(1) << 53) ? QJsonValue(qint64(value)) : QJsonValue(double(value));
}

QString supplyHeading(const PatchSupply &supply)
{
    if (!supply.isSupply)
        return QStringLiteral("Lights without an interface");
    QString heading = PatchText::singleLine(supply.name);
    heading += supply.ip.isEmpty() ? QStringLiteral("  (no IP address)")
                                   : QStringLiteral("  IP ") + supply.ip;
    const QString serial = PatchText::serial(supply.serial);
    if (!serial.isEmpty())
        heading += QStringLiteral("  serial ") + serial;
    return heading;
}

// Cut to width with an ellipsis so the columns after it stay in line (CSV and JSON keep
// the whole name).
QString fitted(const QString &text, int width)
{
    if (text.size() <= width)
        return text.leftJustified(width);
    return text.left(width - 1) + QChar(0x2026);
}

} // namespace

namespace PatchListFormats {

QString csvField(const QString &field)
{
    // The list is opened in spreadsheets on site: a text that starts like a formula is kept
    // as text by a leading apostrophe, so a light's name can never run as a formula there.
    static const QString kFormulaStarts = QStringLiteral("=+-@\t\r");
    const bool formula = !field.isEmpty() && kFormulaStarts.contains(field.at(0));
    const QString text = formula ? QLatin1Char('\'') + field : field;
    const bool quote = formula || text.contains(QLatin1Char(',')) ||
                       text.contains(QLatin1Char('"')) || text.contains(QLatin1Char('\n')) ||
                       text.contains(QLatin1Char('\r'));
    if (!quote)
        return text;
    QString quoted = text;
    quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

QByteArray toCsv(const PatchList &list)
{
    QString text;
    text.reserve(list.lightCount * 96 + 128);
    text += QStringLiteral("Supply,Supply Serial,IP Address,Port,Name,Serial,DMX Address,DMX End,"
                           "Channels,Uid\n");
    for (const PatchSupply &supply : list.supplies) {
        // The supply's three fields are the same on each of its rows.
        const QString supplyFields = csvField(supply.name) + QLatin1Char(',') +
                                     PatchText::serial(supply.serial) + QLatin1Char(',') +
                                     supply.ip + QLatin1Char(',');
        for (const PatchPort &port : supply.ports) {
            const QString portField = QString::number(port.port) + QLatin1Char(',');
            for (const PatchLight &light : port.lights) {
                text += supplyFields;
                text += portField;
                text += csvField(light.name);
                text += QLatin1Char(',');
                text += PatchText::serial(light.serial);
                text += QLatin1Char(',');
                if (light.hasAddress()) {
                    text += QString::number(light.dmxAddress);
                    text += QLatin1Char(',');
                    text += QString::number(light.dmxEnd());
                } else {
                    text += QLatin1Char(',');
                }
                text += QLatin1Char(',');
                text += QString::number(light.channels);
                text += QLatin1Char(',');
                text += uidText(light.uid);
                text += QLatin1Char('\n');
            }
        }
    }
    return text.toUtf8();
}

QJsonObject toJson(const PatchList &list)
{
    QJsonArray supplies;
    for (const PatchSupply &supply : list.supplies) {
        QJsonArray ports;
        for (const PatchPort &port : supply.ports) {
            QJsonArray lights;
            for (const PatchLight &light : port.lights) {
                lights.append(QJsonObject{
                    {QStringLiteral("uid"), jsonNumber(light.uid)},
                    {QStringLiteral("name"), light.name},
                    {QStringLiteral("serial"), PatchText::serial(light.serial)},
                    {QStringLiteral("dmxAddress"),
                     light.hasAddress() ? QJsonValue(light.dmxAddress) : QJsonValue()},
                    {QStringLiteral("channels"), light.channels},
                });
            }
            ports.append(QJsonObject{{QStringLiteral("port"), port.port},
                                     {QStringLiteral("lights"), lights}});
        }
        supplies.append(QJsonObject{
            {QStringLiteral("name"), supply.name},
            {QStringLiteral("serial"), PatchText::serial(supply.serial)},
            {QStringLiteral("ip"), supply.ip},
            {QStringLiteral("ports"), ports},
        });
    }
    return QJsonObject{{QStringLiteral("supplies"), supplies}};
}

QString toText(const PatchList &list)
{
    // One width for the name column over the whole list, so every table lines up.
    constexpr int kMaxNameWidth = 40;
    int nameWidth = 4;
    for (const PatchSupply &supply : list.supplies)
        for (const PatchPort &port : supply.ports)
            for (const PatchLight &light : port.lights)
                nameWidth = std::max(nameWidth, int(light.name.size()));
    nameWidth = std::min(nameWidth, kMaxNameWidth);

    QString text;
    QTextStream stream(&text);
    const auto interfaces = std::count_if(list.supplies.cbegin(), list.supplies.cend(),
                                          [](const PatchSupply &s) { return s.isSupply; });
    stream << "Patch list: " << interfaces << " interfaces, " << list.lightCount << " lights\n";
    for (const PatchSupply &supply : list.supplies) {
        stream << "\n" << supplyHeading(supply) << "\n";
        for (const PatchPort &port : supply.ports) {
            stream << "  Port " << port.port << ": ";
            if (port.lights.isEmpty()) {
                stream << "no lights\n";
                continue;
            }
            stream << port.lights.size() << (port.lights.size() == 1 ? " light\n" : " lights\n");
            stream << "    " << QStringLiteral("DMX").leftJustified(9) << " "
                   << QStringLiteral("Ch").rightJustified(3) << "  "
                   << QStringLiteral("Name").leftJustified(nameWidth) << "  Serial\n";
            for (const PatchLight &light : port.lights) {
                QString line =
                    QStringLiteral("    ") + PatchText::dmxRange(light).leftJustified(9) +
                    QLatin1Char(' ') + QString::number(light.channels).rightJustified(3) +
                    QStringLiteral("  ") + fitted(PatchText::singleLine(light.name), nameWidth) +
                    QStringLiteral("  ") + PatchText::serial(light.serial).leftJustified(12);
                const QString note = PatchText::checkNotes(light, PatchText::NoteLength::Full);
                if (!note.isEmpty())
                    line += QStringLiteral("  ! ") + note;
                while (line.endsWith(QLatin1Char(' ')))
                    line.chop(1);
                stream << line << "\n";
            }
        }
    }
    stream.flush();
    return text;
}

} // namespace PatchListFormats
