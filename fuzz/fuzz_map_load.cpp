// Feeds arbitrary bytes to the map loader: it must never crash, hang or leak, whatever the
// file holds.
#include "model/mapmodel.h"

#include <QBuffer>
#include <QLoggingCategory>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // The loader logs every parse error; at fuzzing speed that is only noise.
    QLoggingCategory::setFilterRules(QStringLiteral("orrery.*=false"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(data),
                                               static_cast<int>(size));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    MapModel model;
    model.loadFromDevice(buffer);
    // Whatever was loaded must also survive being written and read back.
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    model.saveToDevice(out);
    out.close();
    out.open(QIODevice::ReadOnly);
    MapModel again;
    again.loadFromDevice(out);
    return 0;
}
