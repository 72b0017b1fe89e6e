#include "devices/jsonvalues.h"

#include "devices/deviceslogging.h"

#include <QFile>
#include <QJsonArray>

#include <cmath>
#include <limits>

namespace JsonValues {

qint64 toInteger(const QJsonValue &value)
{
    if (!value.isDouble())
        return 0;
    const double number = std::trunc(value.toDouble());
    if (!std::isfinite(number))
        return 0;
    // 2^63 is exactly representable as a double; anything from there on does not fit.
    constexpr double kLimit = 9223372036854775808.0;
    if (number >= kLimit)
        return std::numeric_limits<qint64>::max();
    if (number < -kLimit)
        return std::numeric_limits<qint64>::min();
    return static_cast<qint64>(number);
}

QStringList toStringList(const QJsonValue &value)
{
    if (value.isString())
        return {value.toString()};
    QStringList list;
    const QJsonArray array = value.toArray();
    for (const QJsonValue &element : array) {
        if (element.isString())
            list.append(element.toString());
    }
    return list;
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray bytes = file.read(kMaxFileBytes + 1);
    if (bytes.size() > kMaxFileBytes) {
        qCDebug(lcDevices) << "File" << path << "is larger than" << kMaxFileBytes << "bytes";
        bytes.clear();
    }
    return bytes;
}

} // namespace JsonValues
