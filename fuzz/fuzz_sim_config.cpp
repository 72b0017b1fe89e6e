// Feeds arbitrary bytes to the simulator's configuration reader: nothing may crash, hang or
// take more than the reader's bounds, and an installation it accepts, written back as a
// configuration, must read back equal.
#include "sim/simconfigreader.h"

#include <QJsonDocument>
#include <QLoggingCategory>

#include <cstddef>
#include <cstdint>

// Qt 5.15's JSON parser leaks the earlier value of a key repeated with an array or object
// value; the leak is inside QtCore. Leaks of our own objects are still reported.
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libQt5Core.so\n";
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    QLoggingCategory::setFilterRules(QStringLiteral("orrery.*=false"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray json(reinterpret_cast<const char *>(data), static_cast<int>(size));
    SimConfigReader reader;
    const std::optional<SimInstallation> installation = reader.read(json);
    if (!installation)
        return 0;
    const QByteArray written = QJsonDocument(installation->toJson()).toJson();
    const std::optional<SimInstallation> again = SimConfigReader().read(written);
    if (!again || !(*again == *installation))
        __builtin_trap();
    return 0;
}
