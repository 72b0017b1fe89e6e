// Feeds arbitrary bytes to the map loader as the program reads maps (device properties
// through the shipped definitions): it must never crash, hang or leak, whatever the file
// holds, and whatever it loads must save and load back to the very same map.
#include "devices/definitionpropertyformat.h"
#include "devices/deviceresources.h"
#include "model/mapjson.h"
#include "model/mapmodel.h"

#include <QBuffer>
#include <QLoggingCategory>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

// Built once: a model reserves room for an installation (three hashes of 15,000 entries)
// and the definitions are read from the resources, which per input cost more than the load.
struct Models
{
    Models()
    {
        auto format = std::make_shared<DefinitionPropertyFormat>();
        first.setPropertyFormat(format);
        again.setPropertyFormat(format);
    }
    MapModel first;
    MapModel again;
};

Models *g_models = nullptr;

QByteArray saved(MapModel &model)
{
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    model.saveToDevice(out);
    return out.data();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // The loader logs every parse error; at fuzzing speed that is only noise.
    QLoggingCategory::setFilterRules(QStringLiteral("orrery.*=false"));
    DeviceResources::registerResources();
    g_models = new Models;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<int>(size));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    MapModel &first = g_models->first;
    MapModel &again = g_models->again;
    first.clear();
    const bool loaded = first.loadFromDevice(buffer);

    QByteArray file = saved(first);
    QBuffer in(&file);
    in.open(QIODevice::ReadOnly);
    again.clear();
    if (!again.loadFromDevice(in)) {
        std::fprintf(stderr, "a saved map does not load: %s\n", qPrintable(again.loadError()));
        std::abort();
    }
    if (loaded &&
        (MapJson::fileContent(again) != MapJson::fileContent(first) || saved(again) != file)) {
        std::fprintf(stderr, "a saved map loads to another map\n");
        std::abort();
    }
    return 0;
}
