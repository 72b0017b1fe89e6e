#include "benchinstallation.h"

#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <algorithm>

namespace BenchInstallation {

Layout portAddressedOnLoopback()
{
    return Layout{4, 2, QStringLiteral("127.1.0.1")};
}

void fill(MapModel &model, const SerialOf &serialOf, const Layout &layout)
{
    const int ports = std::max(1, layout.portsPerSupply);
    const int perPort = (kLightsPerSupply + ports - 1) / ports;
    const quint32 firstAddress = QHostAddress(layout.firstAddress).toIPv4Address();
    QList<quint64> lightUids;
    for (int s = 0; s < kSupplies; ++s) {
        auto supply = std::make_unique<DataSupply>(DataSupply::VistraIp);
        supply->setUid(model.newUid());
        supply->setName(QStringLiteral("Supply %1").arg(s));
        supply->setSerialNumber(0x01A20000 + s);
        supply->setVersion(layout.version);
        supply->setIpAddress(
            firstAddress ? QHostAddress(firstAddress + quint32(s))
                         : QHostAddress(QStringLiteral("10.40.%1.%2").arg(s / 200).arg(s % 200 + 1)));
        supply->setMacAddress(QStringLiteral("00:1C:42:0B:%1:%2")
                                  .arg(s / 256, 2, 16, QLatin1Char('0'))
                                  .arg(s % 256, 2, 16, QLatin1Char('0'))
                                  .toUpper());
        supply->setPortCount(quint8(ports));
        for (int p = 0; p < ports; ++p)
            supply->setPort(p, {p + 1, 1, 0});
        supply->setDMXBufSize(512);
        const quint64 supplyUid = supply->uid();
        DataSupply *raw = supply.get();
        model.addDataSupply(std::move(supply));
        for (int i = 0; i < kLightsPerSupply; ++i) {
            auto light = std::make_unique<Light>();
            light->setUid(model.newUid());
            light->setName(QStringLiteral("S%1 L%2").arg(s).arg(i));
            light->setDataSupply(supplyUid);
            light->setPortNumber(unsigned(i / perPort));
            light->setLightNumber(i % perPort);
            light->setPosition(24.0 * (i % perPort), 24.0 * (s * ports + i / perPort), 0);
            light->setChannel(3 * (i % perPort));
            light->setSerialNumber(serialOf ? serialOf(s, i) : 0x10100000 + s * 1000 + i);
            light->setDeviceProperty(QStringLiteral("DMX_OFFSET"), QString::number(3 * (i % perPort)));
            light->setDeviceProperty(QStringLiteral("LED_CHEMISTRY"), QStringLiteral("RGB"));
            raw->addLight(light->uid());
            lightUids << light->uid();
            model.addLight(std::move(light));
        }
    }
    for (int g = 0; g < kGroups; ++g) {
        auto group = std::make_unique<Group>();
        group->setUid(model.newUid());
        group->setName(QStringLiteral("Group %1").arg(g));
        for (int m = 0; m < kGroupSize; ++m)
            group->appendChild(lightUids.at((g * kGroupSize + m) % lightUids.size()));
        model.addGroup(std::move(group));
    }
}

bool save(const QString &path, const SerialOf &serialOf, const Layout &layout)
{
    MapModel model;
    fill(model, serialOf, layout);
    return model.saveToFile(path);
}

} // namespace BenchInstallation
