#include "layout/creationundoaction.h"

#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"

namespace {

std::unique_ptr<Light> copyOf(const Light &light)
{
    auto copy = std::make_unique<Light>();
    copy->setUid(light.uid());
    copy->setName(light.name());
    copy->setDataSupply(light.dataSupply());
    copy->setPortNumber(light.portNumber());
    copy->setLightNumber(light.lightNumber());
    copy->setFixture(light.fixture());
    copy->setFixtureCode(light.fixtureCode());
    copy->setPosition(light.x(), light.y(), light.z());
    copy->setOrientation(light.q0(), light.q1(), light.q2(), light.q3());
    copy->setChannel(light.channel());
    copy->setSerialNumber(light.serialNumber());
    copy->setTintlockProfileId(light.tintlockProfileId());
    copy->setTintlockIoMode(light.tintlockIoMode());
    const auto &properties = light.deviceProperties();
    for (auto it = properties.cbegin(); it != properties.cend(); ++it)
        copy->setDeviceProperty(it.key(), it.value());
    return copy;
}

} // namespace

CreationUndoAction::CreationUndoAction(const QList<quint64> &lightUids, quint64 createdSupplyUid)
    : UndoAction(CreationKind), m_uids(lightUids), m_createdSupplyUid(createdSupplyUid)
{
}

CreationUndoAction::~CreationUndoAction() = default;

quint64 CreationUndoAction::apply(MapModel &model, PlacementView *)
{
    if (m_removed.empty()) {
        m_removed.reserve(m_uids.size());
        for (const quint64 uid : qAsConst(m_uids)) {
            if (const Light *light = model.light(uid)) {
                m_removed.push_back(copyOf(*light));
                model.removeLight(uid);
            }
        }
        if (const DataSupply *supply = model.dataSupply(m_createdSupplyUid);
            supply && supply->lights().isEmpty())
            m_removedSupply = model.takeDataSupply(m_createdSupplyUid);
        return 0;
    }
    if (m_removedSupply)
        model.addDataSupply(std::move(m_removedSupply));
    for (auto &light : m_removed) {
        const quint64 uid = light->uid();
        const quint64 supplyUid = light->dataSupply();
        if (model.addLight(std::move(light)))
            if (DataSupply *supply = model.dataSupply(supplyUid))
                supply->addLight(uid);
    }
    m_removed.clear();
    return 0;
}
