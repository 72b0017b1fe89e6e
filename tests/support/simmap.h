#pragma once

// The map an installer would have after discovering and reading a simulated installation:
// one supply per simulated supply, its ports, and every light with its DMX start.
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "sim/siminstallation.h"

inline void fillFromSimulation(MapModel &model, const SimInstallation &installation)
{
    quint64 uid = 0x1000;
    for (const SimSupply &simSupply : installation.supplies) {
        auto supply = std::make_unique<DataSupply>(DataSupply::VistraIp);
        supply->setUid(++uid);
        supply->setVersion(simSupply.version);
        supply->setSerialNumber(simSupply.serial);
        supply->setIpAddress(simSupply.address);
        supply->setPortCount(quint8(simSupply.ports.size()));
        for (int p = 0; p < simSupply.ports.size(); ++p)
            supply->setPort(p, SupplyPort{simSupply.ports.at(p).number,
                                          simSupply.ports.at(p).type, 0});
        DataSupply *raw = supply.get();
        model.addDataSupply(std::move(supply));
        for (int p = 0; p < simSupply.ports.size(); ++p) {
            const QVector<SimLight> &lights = simSupply.ports.at(p).lights;
            for (int i = 0; i < lights.size(); ++i) {
                auto light = std::make_unique<Light>();
                light->setUid(++uid);
                light->setSerialNumber(lights.at(i).serial);
                light->setDataSupply(raw->uid());
                light->setPortNumber(unsigned(p));
                light->setLightNumber(i);
                light->setDeviceProperty(QStringLiteral("DMX_OFFSET"),
                                         QString::number(lights.at(i).dmxOffset()));
                raw->addLight(light->uid());
                model.addLight(std::move(light));
            }
        }
    }
}
