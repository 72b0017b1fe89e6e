#pragma once

#include "sim/simframe.h"

#include <QHash>
#include <QObject>

// Records the live output that reaches the simulated supplies: per supply and port the last
// frame and how many arrived. Tests and the live view read it; frameRecorded() tells them
// when something new came in.
class SimOutput final : public QObject
{
    Q_OBJECT

public:
    struct Record
    {
        SimFrame last;
        quint64 count = 0;
        quint64 sequence = 0; // order of arrival across all records, 0 = never
    };

    explicit SimOutput(QObject *parent = nullptr);

    void record(int supplyIndex, const SimFrame &frame);
    // Port 0 is the supply-wide DMX out record.
    Record lastFrame(int supplyIndex, quint8 port) const;
    // The channel bytes that currently drive a port: the newer of the port's own port-out
    // frame and the supply's DMX out frame; empty when neither has arrived.
    QByteArray channels(int supplyIndex, quint8 port) const;
    quint64 totalFrames() const { return m_sequence; }
    void clear();

signals:
    void frameRecorded(int supplyIndex, quint8 port);

private:
    static quint32 key(int supplyIndex, quint8 port) { return (quint32(supplyIndex) << 8) | port; }

    QHash<quint32, Record> m_records;
    quint64 m_sequence = 0;
};
