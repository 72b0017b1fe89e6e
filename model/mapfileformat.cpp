#include "model/mapfileformat.h"

#include <algorithm>

namespace MapFileFormat {

bool isElementName(const QString &name)
{
    auto isStart = [](QChar c) {
        return (c >= QLatin1Char('A') && c <= QLatin1Char('Z')) ||
               (c >= QLatin1Char('a') && c <= QLatin1Char('z')) || c == QLatin1Char('_');
    };
    if (name.isEmpty() || !isStart(name.at(0)))
        return false;
    return std::all_of(name.cbegin() + 1, name.cend(), [&isStart](QChar c) {
        return isStart(c) || (c >= QLatin1Char('0') && c <= QLatin1Char('9')) ||
               c == QLatin1Char('-') || c == QLatin1Char('.');
    });
}

} // namespace MapFileFormat
