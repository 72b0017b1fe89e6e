#include "sim/simoutput.h"

SimOutput::SimOutput(QObject *parent) : QObject(parent)
{
}

void SimOutput::record(int supplyIndex, const SimFrame &frame)
{
    const quint8 port = frame.kind == SimFrame::Kind::DmxOut ? 0 : frame.port;
    Record &entry = m_records[key(supplyIndex, port)];
    entry.last = frame;
    entry.count += 1;
    entry.sequence = ++m_sequence;
    emit frameRecorded(supplyIndex, port);
}

SimOutput::Record SimOutput::lastFrame(int supplyIndex, quint8 port) const
{
    return m_records.value(key(supplyIndex, port));
}

QByteArray SimOutput::channels(int supplyIndex, quint8 port) const
{
    const Record own = lastFrame(supplyIndex, port);
    const Record whole = lastFrame(supplyIndex, 0);
    if (own.sequence == 0 && whole.sequence == 0)
        return {};
    return own.sequence > whole.sequence ? own.last.data : whole.last.data;
}

void SimOutput::clear()
{
    m_records.clear();
    m_sequence = 0;
}
