#pragma once
// TEMPORARY STUB
#include <QObject>
#include <QSettings>
class StreamOutput final : public QObject {
public:
    explicit StreamOutput(QObject *parent = nullptr) : QObject(parent) {}
    bool sendSacn(const QString &, quint16, const QByteArray &) { return false; }
    bool sendArtNet(const QString &, quint16, const QByteArray &) { return false; }
    void setCid(const QByteArray &) {}
    static QByteArray persistentCid(QSettings &) { return QByteArray(16, 1); }
};
