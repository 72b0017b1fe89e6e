#include "net/rdm.h"

#include "net/vistrawire.h"

namespace Rdm {

namespace {

constexpr int kDeviceInfoSize = 19;

QString hex4(quint32 value)
{
    return QStringLiteral("%1").arg(value, 4, 16, QLatin1Char('0')).toUpper();
}

} // namespace

quint64 sourceUid()
{
    return QByteArray(kSourceUidText).toULongLong(nullptr, 16);
}

quint16 checksum(const uchar *bytes, int length)
{
    quint16 sum = 0;
    for (int i = 0; i < length; ++i)
        sum = quint16(sum + bytes[i]);
    return sum;
}

QString productCode(quint16 deviceModelId, quint16 productCategory, quint32 softwareVersionId)
{
    return QStringLiteral("D.%1-P.%2-F.%3")
        .arg(deviceModelId, 4, 10, QLatin1Char('0'))
        .arg(hex4(productCategory), hex4(softwareVersionId & 0xFFFF));
}

std::optional<QString> valueText(quint16 pid, const uchar *data, int length)
{
    using namespace VistraWire;
    switch (pid) {
    case DeviceInfo:
        if (length < kDeviceInfoSize)
            return std::nullopt;
        return productCode(readU16Be(data + 2), readU16Be(data + 4), readU32Be(data + 6));
    case DeviceModelDescription:
        return QString::fromLatin1(reinterpret_cast<const char *>(data),
                                   int(qstrnlen(reinterpret_cast<const char *>(data), length)));
    case MakerByte0:
    case MakerByte2:
    case MakerByte6:
    case Curve:
        if (length < 1)
            return std::nullopt;
        return QString::number(data[0]);
    case DmxStartAddress: // 1..512, what discovery needs of an RDM light
    case MakerWord:
        if (length < 2)
            return std::nullopt;
        return QString::number(readU16Be(data));
    case MakerBuildId:
        if (length < 4)
            return std::nullopt;
        return QStringLiteral("%1").arg(readU32Be(data), 8, 16, QLatin1Char('0')).toUpper();
    default:
        return QString();
    }
}

} // namespace Rdm
