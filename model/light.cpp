#include "model/light.h"

Light::Light(QObject *parent) : QObject(parent) {}

// A frame table may hold this light; it must be rebuilt before the next frame.
Light::~Light()
{
    LightOutput::touchLayout();
}

void Light::setName(const QString &name)
{
    if (name == m_name)
        return;
    m_name = name;
    changed();
}

void Light::setDataSupply(quint64 supplyUid)
{
    if (supplyUid == m_dataSupply)
        return;
    m_dataSupply = supplyUid;
    layoutChanged();
}

void Light::setPortNumber(unsigned int port)
{
    if (port == m_portNumber)
        return;
    m_portNumber = port;
    layoutChanged();
}

void Light::setLightNumber(int number)
{
    if (number == m_lightNumber)
        return;
    m_lightNumber = number;
    layoutChanged();
}

void Light::setFixture(quint64 fixture)
{
    if (fixture == m_fixture)
        return;
    m_fixture = fixture;
    changed();
}

void Light::setFixtureCode(unsigned int code)
{
    if (code == m_fixtureCode)
        return;
    m_fixtureCode = code;
    changed();
}

void Light::setPosition(double x, double y, double z)
{
    if (x == m_x && y == m_y && z == m_z)
        return;
    m_x = x;
    m_y = y;
    m_z = z;
    emit updatedLightPosition(m_uid);
}

void Light::setOrientation(double q0, double q1, double q2, double q3)
{
    if (q0 == m_q0 && q1 == m_q1 && q2 == m_q2 && q3 == m_q3)
        return;
    m_q0 = q0;
    m_q1 = q1;
    m_q2 = q2;
    m_q3 = q3;
    emit updatedLightPosition(m_uid);
}

void Light::setChannel(int channel)
{
    if (channel == m_channel)
        return;
    m_channel = channel;
    changed();
}

void Light::setSerialNumber(quint64 serial)
{
    if (serial == m_serialNumber)
        return;
    m_serialNumber = serial;
    changed();
}

void Light::setTintlockProfileId(int id)
{
    if (id == m_tintlockProfileId)
        return;
    m_tintlockProfileId = id;
    layoutChanged();
}

void Light::setTintlockIoMode(int mode)
{
    if (mode == m_tintlockIoMode)
        return;
    m_tintlockIoMode = mode;
    layoutChanged();
}

void Light::setDeviceProperty(const QString &name, const QString &value)
{
    auto it = m_properties.find(name);
    if (it != m_properties.end() && it.value() == value)
        return;
    m_properties.insert(name, value);
    // The properties a frame table reads: where the light starts and how its channels go.
    if (name == QLatin1String("DMX_OFFSET") || name == QLatin1String("LED_CHEMISTRY") ||
        name == QLatin1String("INPUT_RESOLUTION"))
        LightOutput::touchLayout();
    emit updatedLightProperty(m_uid, name, value);
}

void Light::removeDeviceProperty(const QString &name)
{
    if (m_properties.remove(name) == 0)
        return;
    if (name == QLatin1String("DMX_OFFSET") || name == QLatin1String("LED_CHEMISTRY") ||
        name == QLatin1String("INPUT_RESOLUTION"))
        LightOutput::touchLayout();
    emit updatedLightProperty(m_uid, name, QString());
}
