#include "devices/devicepresentation.h"

#include "devices/devicedictionary.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QHash>

#include <algorithm>

namespace DevicePresentation {

const QString kGenericFixtureName = QStringLiteral("Vela Fixture");

QString interfaceTypeText(unsigned int supplyType)
{
    switch (supplyType) {
    case DataSupply::VistraIp:
        return QStringLiteral("Vistra Interface");
    case DataSupply::VistraBroadcast:
        return QStringLiteral("Vistra Broadcast Interface");
    default:
        return QStringLiteral("Unknown Interface Type");
    }
}

QList<QString> protocolVersionTexts()
{
    return {QStringLiteral("Vistra v1"), QStringLiteral("Vistra v2"), QStringLiteral("Vistra v3")};
}

int protocolVersionIndex(int version)
{
    return version >= 1 && version <= 3 ? version - 1 : 0;
}

int protocolVersionFromText(const QString &text)
{
    const QList<QString> texts = protocolVersionTexts();
    for (int i = 0; i < texts.size(); ++i) {
        if (text.compare(texts.at(i), Qt::CaseInsensitive) == 0)
            return i + 1;
    }
    return 0;
}

QString serialText(quint64 serial)
{
    return QString::number(serial, 16).toUpper();
}

quint64 serialFromText(const QString &text)
{
    bool ok = false;
    const quint64 serial = text.trimmed().toULongLong(&ok, 16);
    return ok ? serial : 0;
}

unsigned int decimalFromText(const QString &text)
{
    bool ok = false;
    const unsigned int number = text.trimmed().toUInt(&ok, 10);
    return ok ? number : 0;
}

QString deviceViewKind(const DeviceDictionary &dictionary, quint64 serial)
{
    const QString name = dictionary.deviceNameForSerial(serial);
    if (name.compare(DeviceDictionary::kUnknownDevice, Qt::CaseInsensitive) == 0)
        return kGenericFixtureName;
    return name;
}

QVector<DeviceViewKind> groupLightsByKind(const MapModel &model, const DeviceDictionary &dictionary)
{
    QList<Light *> lights = model.lights();
    std::sort(lights.begin(), lights.end(),
              [](const Light *a, const Light *b) { return a->uid() < b->uid(); });
    QVector<DeviceViewKind> kinds;
    QHash<QString, int> indexByName;
    for (const Light *light : qAsConst(lights)) {
        const QString kind = deviceViewKind(dictionary, light->serialNumber());
        auto it = indexByName.constFind(kind);
        if (it == indexByName.constEnd()) {
            it = indexByName.insert(kind, kinds.size());
            kinds.append({kind, {}});
        }
        const DataSupply *supply = model.dataSupply(light->dataSupply());
        kinds[*it].rows.append({light->uid(), light->name(), light->channel() + 1,
                                supply ? supply->name() : QString()});
    }
    return kinds;
}

} // namespace DevicePresentation
