#pragma once

#include "discovery/lightreadplan.h"

#include <QHash>

class DeviceDictionary;

// Reads what a light's device definition says its memory holds: every readable item of the
// kind's memory map after the DMX address, in the definition's token order, and turns the
// bytes of each item (big-endian over its read addresses) into the light's property value.
// Lights whose serial no definition covers are read for their DMX address only.
class DefinitionReadPlan final : public LightReadPlan
{
public:
    explicit DefinitionReadPlan(const DeviceDictionary &dictionary);

    QVector<quint16> furtherAddresses(const Light &light) const override;
    void applyMemoryByte(Light &light, quint16 address, quint8 value) const override;

private:
    const DeviceDictionary &m_dictionary;
    // Bytes read so far per light serial and address: a multi-byte item is set again as each
    // of its bytes arrives.
    mutable QHash<quint64, QHash<quint16, quint8>> m_bytes;
};
