#include "discovery/supplysync.h"

#include "model/datasupply.h"

namespace {

QString change(const QString &what, const QString &from, const QString &to)
{
    return QStringLiteral("%1 %2 -> %3").arg(what, from, to);
}

QString portsText(const QVector<SupplyPort> &ports)
{
    QStringList parts;
    for (const SupplyPort &p : ports)
        parts << QStringLiteral("%1/%2").arg(p.number).arg(p.type);
    return QStringLiteral("%1 [%2]").arg(ports.size()).arg(parts.join(QLatin1Char(' ')));
}

} // namespace

QStringList syncSupplyFrom(DataSupply &mapSupply, const DataSupply &found, bool portsKnown)
{
    QStringList changes;
    if (mapSupply.ipAddress() != found.ipAddress()) {
        changes << change(QStringLiteral("IP address"), mapSupply.ipAddress().toString(),
                          found.ipAddress().toString());
        mapSupply.setIpAddress(found.ipAddress());
    }
    if (mapSupply.version() != found.version() ||
        mapSupply.versionString() != found.versionString()) {
        changes << change(
            QStringLiteral("version"),
            QStringLiteral("%1 (%2)").arg(mapSupply.version()).arg(mapSupply.versionString()),
            QStringLiteral("%1 (%2)").arg(found.version()).arg(found.versionString()));
        mapSupply.setVersion(found.version());
        mapSupply.setVersionString(found.versionString());
    }
    if (mapSupply.universe() != found.universe()) {
        changes << change(QStringLiteral("universe"), QString::number(mapSupply.universe()),
                          QString::number(found.universe()));
        mapSupply.setUniverse(found.universe());
    }
    if (portsKnown) {
        // Port flags are the user's settings, not something the supply reports.
        QVector<SupplyPort> wanted = found.ports();
        for (int i = 0; i < wanted.size(); ++i)
            wanted[i].flags = mapSupply.port(i).flags;
        if (mapSupply.ports() != wanted) {
            changes << change(QStringLiteral("ports"), portsText(mapSupply.ports()),
                              portsText(wanted));
            mapSupply.setPortCount(quint8(wanted.size()));
            for (int i = 0; i < wanted.size(); ++i)
                mapSupply.setPort(i, wanted.at(i));
        }
    }
    return changes;
}
