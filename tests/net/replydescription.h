#pragma once

// One line of text per reply (per signal, for blink scan 2 entries), used by the parser tests
// on parsed replies and by the protocol object tests on signal arguments, so both compare
// against the same expectations in replyrows.h.
#include "replyrows.h"

#include "net/vistrareplies.h"

#include <QStringList>

using namespace VistraReplies;

inline QString quoted(const QByteArray &bytes)
{
    return QLatin1Char('\'') + QString::fromLatin1(bytes) + QLatin1Char('\'');
}

inline QString num(qulonglong value, int base = 10)
{
    return QString::number(value, base);
}

struct Describe
{
    QString operator()(const DiscoverReply &r) const
    {
        const char *name = r.type == 0x000F   ? "discoverV3"
                           : r.type == 0x000D ? "discoverEO"
                                              : "discover";
        return QStringLiteral("%1 mac=%2 ip=%3 sn=0x%4 ver=%5 uni=%6 version=%7 id=%8")
            .arg(QLatin1String(name), QByteArray(r.mac.data(), 6).toHex(), ipText(r.ip),
                 num(r.serial, 16), num(r.version), num(r.universe), quoted(r.versionText),
                 quoted(r.idText));
    }
    QString operator()(const PortsReply &r) const
    {
        return QStringLiteral("ports ip=%1 count=%2 numbers=%3 types=%4")
            .arg(ipText(r.ip), num(r.portNumbers.size()), joined(r.portNumbers),
                 joined(r.portTypes));
    }
    QString operator()(const DeviceVariableReply &r) const
    {
        return QStringLiteral("variable ip=%1 id=0x%2 value=0x%3")
            .arg(ipText(r.ip), num(r.variableId, 16), num(r.value, 16));
    }
    QString operator()(const GetArrayReply &r) const
    {
        return QStringLiteral("array ip=%1 id=%2 values=%3")
            .arg(ipText(r.ip), num(r.id), joined(r.values));
    }
    QString operator()(const GetByteArrayReply &r) const
    {
        return QStringLiteral("bytes ip=%1 id=%2 values=%3")
            .arg(ipText(r.ip), num(r.id), joined(r.values));
    }
    QString operator()(const BlinkScanReply &r) const
    {
        return QStringLiteral("blinkScan ip=%1 sn=0x%2").arg(ipText(r.ip), num(r.serial, 16));
    }
    QString operator()(const ReadByteReply &r) const
    {
        const QString ip = ipText(r.ip), sn = num(r.serial, 16);
        switch (r.kind) {
        case ReadByteReply::EERead:
            return QStringLiteral("eeRead ip=%1 sn=0x%2 addr=%3 b=%4")
                .arg(ip, sn, num(r.address), num(r.value));
        case ReadByteReply::PixelToken:
            return QStringLiteral("pixelToken ip=%1 addr=0x%2 pixel=%3 token=%4 byte=%5")
                .arg(ip, sn, num(r.selector), num(r.address), num(r.value));
        case ReadByteReply::Telemetry:
            return QStringLiteral("telemetry ip=%1 addr=0x%2 id=%3 byte=%4")
                .arg(ip, sn, num(r.address), num(r.value));
        }
        return QString();
    }
    QString operator()(const BEBlinkScanReply &r) const
    {
        return QStringLiteral("beBlinkScan ip=%1 port=%2 sn=0x%3")
            .arg(ipText(r.ip), num(r.port), num(r.serial, 16));
    }
    QString operator()(const CAScanReply &r) const
    {
        return QStringLiteral("caScan ip=%1 port1=%2 port2=%3")
            .arg(ipText(r.ip), num(r.port1), num(r.port2));
    }
    QString operator()(const BlinkScan2Reply &r) const
    {
        QStringList lines{QStringLiteral("scan2 ip=%1 entries=%2 more=%3 bytes=%4")
                              .arg(ipText(r.ip), num(r.entryCount), num(r.more),
                                   QString::fromLatin1(r.entryBytes.toHex()))};
        for (const BlinkScan2Entry &e : r.entries)
            lines.append(entry(r.ip, e));
        return lines.join(QLatin1Char('\n'));
    }
    QString entry(quint32 ip, const BlinkScan2Entry &e) const
    {
        if (e.kind == BlinkScan2Entry::RdmUids)
            return QStringLiteral("scan2XRDM ip=%1 port=%2 list=%3")
                .arg(ipText(ip), num(e.port), joined(e.values, 16));
        return QStringLiteral("%1 ip=%2 port=%3 count=%4 list=%5")
            .arg(e.kind == BlinkScan2Entry::Serials ? "scan2SN" : "scan2CA", ipText(ip),
                 num(e.port), num(e.values.size()), joined(e.values, 16));
    }
    QString operator()(const ExtPromTokenReply &r) const
    {
        return QStringLiteral("extProm ip=%1 sn=0x%2 token=0x%3 byte=%4")
            .arg(ipText(r.ip), num(r.serial, 16), num(r.token, 16), num(r.value));
    }
    QString operator()(const RdmGetReply &r) const
    {
        const QString head = QStringLiteral("ip=%1 uid=0x%2 pid=0x%3")
                                 .arg(ipText(r.ip), num(r.sourceUid, 16), num(r.pid, 16));
        return r.refused
                   ? QStringLiteral("rdm refused %1 reason=0x%2").arg(head, num(r.nackReason, 16))
                   : QStringLiteral("rdm %1 text='%2'").arg(head, r.text);
    }
};
