#include "model/datasupply.h"

#include "model/modellogging.h"

#include <QStringList>

#include <algorithm>

DataSupply::DataSupply(unsigned int type, QObject *parent) : QObject(parent), m_type(type) {}

void DataSupply::setType(unsigned int type)
{
    if (type == m_type)
        return;
    m_type = type;
    changed();
}

void DataSupply::setName(const QString &name)
{
    if (name == m_name)
        return;
    m_name = name;
    changed();
}

void DataSupply::setPortCount(quint8 count)
{
    if (count == m_portCount && m_ports.size() == count)
        return;
    m_portCount = count;
    m_ports.resize(count);
    changed();
}

void DataSupply::setPort(int index, const SupplyPort &port)
{
    if (index < 0 || index >= m_ports.size() || m_ports.at(index) == port)
        return;
    m_ports[index] = port;
    changed();
}

void DataSupply::setMacAddress(const QString &mac)
{
    if (mac == m_macAddress)
        return;
    m_macAddress = mac;
    changed();
}

void DataSupply::setIpAddress(const QHostAddress &address)
{
    m_ipAddress = address;
    // 0.0.0.0 is what an unconfigured supply reports: it counts as "no address".
    m_hasAddress = !address.isNull() && address != QHostAddress(QHostAddress::AnyIPv4);
    m_ipText = address.toString().toLatin1().left(kMaxIpTextLength);
    changed();
}

void DataSupply::setSerialNumber(quint64 serial)
{
    if (serial == m_serialNumber)
        return;
    m_serialNumber = serial;
    changed();
}

void DataSupply::setVersion(int version)
{
    if (version == m_version)
        return;
    m_version = version;
    changed();
}

void DataSupply::setUniverse(unsigned int universe)
{
    if (universe == m_universe)
        return;
    m_universe = universe;
    changed();
}

void DataSupply::setVersionString(const QString &text)
{
    if (text == m_versionString)
        return;
    m_versionString = text;
    changed();
}

void DataSupply::setFamily(const QString &family)
{
    if (family == m_family)
        return;
    m_family = family;
    changed();
}

void DataSupply::setDeviceProperty(const QString &name, const QString &value)
{
    auto it = m_properties.find(name);
    if (it != m_properties.end() && it.value() == value)
        return;
    m_properties.insert(name, value);
    emit updatedDataSupplyProperty(m_uid, name, value);
}

bool DataSupply::isAddressProperty(const QString &name)
{
    // DEVICE_VARIABLE_<id> is how discovery stores the variables a supply reports.
    return name == QLatin1String("IPV4_IP_ADDRESS") ||
           name.startsWith(QLatin1String("DEVICE_VARIABLE_"));
}

void DataSupply::forgetAddressData()
{
    m_ipText.clear();
    QStringList dropped;
    for (auto it = m_properties.begin(); it != m_properties.end();) {
        if (isAddressProperty(it.key())) {
            dropped.append(it.key());
            it = m_properties.erase(it);
        } else {
            ++it;
        }
    }
    for (const QString &name : qAsConst(dropped))
        emit updatedDataSupplyProperty(m_uid, name, QString());
    changed();
}

void DataSupply::addLight(quint64 lightUid)
{
    m_lights.append(lightUid);
    changed();
}

void DataSupply::removeLight(quint64 lightUid)
{
    if (m_lights.removeAll(lightUid) > 0)
        changed();
}

void DataSupply::setDMXBufSize(int size)
{
    const int clamped = std::clamp(size, 0, kMaxDmxBufferSize);
    if (clamped != size)
        qCWarning(lcModel) << "DMX buffer size" << size << "out of range, using" << clamped;
    m_dmxBufSize = clamped;
    m_dmxBuffer = QByteArray(clamped, '\0');
    changed();
}
