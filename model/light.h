#pragma once

#include "model/lightoutput.h"

#include <QMap>
#include <QObject>
#include <QString>

// One light fixture node of the installation: where it sits on the canvas, which supply
// and port drive it, and what the device stores (its properties, keyed by token).
class Light final : public QObject
{
    Q_OBJECT
public:
    explicit Light(QObject *parent = nullptr);
    ~Light() override;

    quint64 uid() const { return m_uid; }
    void setUid(quint64 uid) { m_uid = uid; }

    QString name() const { return m_name; }
    void setName(const QString &name);

    quint64 dataSupply() const { return m_dataSupply; }
    void setDataSupply(quint64 supplyUid);

    unsigned int portNumber() const { return m_portNumber; }
    void setPortNumber(unsigned int port);

    int lightNumber() const { return m_lightNumber; }
    void setLightNumber(int number);

    quint64 fixture() const { return m_fixture; }
    void setFixture(quint64 fixture);

    unsigned int fixtureCode() const { return m_fixtureCode; }
    void setFixtureCode(unsigned int code);

    double x() const { return m_x; }
    double y() const { return m_y; }
    double z() const { return m_z; }
    void setPosition(double x, double y, double z);

    // Orientation quaternion; q0 is the scalar part, so a new light is unrotated.
    double q0() const { return m_q0; }
    double q1() const { return m_q1; }
    double q2() const { return m_q2; }
    double q3() const { return m_q3; }
    void setOrientation(double q0, double q1, double q2, double q3);

    int channel() const { return m_channel; }
    void setChannel(int channel);
    // The channel its supply's frame table gives it: no signal, since it follows from what
    // the light already says (its DMX start) and happens while frames are written.
    void assignChannel(int channel) { m_channel = channel; }

    quint64 serialNumber() const { return m_serialNumber; }
    void setSerialNumber(quint64 serial);

    int tintlockProfileId() const { return m_tintlockProfileId; }
    void setTintlockProfileId(int id);

    int tintlockIoMode() const { return m_tintlockIoMode; }
    void setTintlockIoMode(int mode);

    // Device properties by token (DMX_OFFSET, LED_CHEMISTRY, ...), values in text form.
    const QMap<QString, QString> &deviceProperties() const { return m_properties; }
    QString deviceProperty(const QString &name) const { return m_properties.value(name); }
    bool hasDeviceProperty(const QString &name) const { return m_properties.contains(name); }
    void setDeviceProperty(const QString &name, const QString &value);
    // Takes the property away (undoing an edit that gave the light a property it lacked).
    void removeDeviceProperty(const QString &name);

    // What the light shows live and how it writes its channels into its port's frame.
    LightOutput &output() { return m_output; }
    const LightOutput &output() const { return m_output; }

signals:
    void updatedLight(quint64 uid);
    void updatedLightPosition(quint64 uid);
    void updatedLightProperty(quint64 uid, const QString &name, const QString &value);

private:
    void changed() { emit updatedLight(m_uid); }
    // A change that frame tables depend on (supply, port, number, profile).
    void layoutChanged()
    {
        LightOutput::touchLayout();
        changed();
    }

    quint64 m_uid = 0;
    QString m_name = QStringLiteral("Default Light");
    quint64 m_dataSupply = 0;
    unsigned int m_portNumber = 0;
    int m_lightNumber = 0;
    quint64 m_fixture = 0;
    unsigned int m_fixtureCode = 0;
    double m_x = 0;
    double m_y = 0;
    double m_z = 0;
    double m_q0 = 1;
    double m_q1 = 0;
    double m_q2 = 0;
    double m_q3 = 0;
    int m_channel = 0;
    quint64 m_serialNumber = 0xFFFFFFFF;
    int m_tintlockProfileId = 0;
    int m_tintlockIoMode = 0;
    QMap<QString, QString> m_properties;
    LightOutput m_output;
};
