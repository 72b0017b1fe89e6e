#include "net/dottedquad.h"

std::optional<quint32> parseDottedQuad(const QString &text)
{
    quint32 value = 0;
    int part = 0;
    int digits = 0;
    int parts = 0;
    for (int i = 0; i <= text.size(); ++i) {
        if (i == text.size() || text.at(i) == QLatin1Char('.')) {
            if (digits == 0 || part > 255)
                return std::nullopt;
            value = (value << 8) | quint32(part);
            ++parts;
            part = 0;
            digits = 0;
            continue;
        }
        const QChar c = text.at(i);
        if (c < QLatin1Char('0') || c > QLatin1Char('9') || ++digits > 3)
            return std::nullopt;
        part = part * 10 + (c.unicode() - '0');
    }
    if (parts != 4)
        return std::nullopt;
    return value;
}
