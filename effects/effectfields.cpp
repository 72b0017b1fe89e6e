#include "effects/effectfields.h"

#include <QHash>

namespace EffectFields {

namespace {

const QHash<QString, Field> &table()
{
    static const QHash<QString, Field> names = [] {
        QHash<QString, Field> t;
        const std::pair<const char *, Field> common[] = {
            {"type", Field::Type},
            {"name", Field::Name},
            {"eid", Field::Eid},
            {"gid", Field::Gid},
            {"transparency", Field::Transparency},
            {"priority", Field::Priority},
            {"begin", Field::Begin},
            {"end", Field::End},
            {"fadein", Field::FadeIn},
            {"fadeout", Field::FadeOut},
            {"starttype", Field::StartType},
            {"startfixedtime", Field::StartFixedTime},
            {"startlinkeid", Field::StartLinkEid},
            {"startlinkstart", Field::StartLinkStart},
            {"startlinkoffset", Field::StartLinkOffset},
            {"endtype", Field::EndType},
            {"endfixedtime", Field::EndFixedTime},
            {"endlinkeid", Field::EndLinkEid},
            {"endlinkstart", Field::EndLinkStart},
            {"endlinkoffset", Field::EndLinkOffset},
            {"endcyclecount", Field::EndCycleCount},
            {"effect", Field::Effect},
        };
        for (const auto &entry : common)
            t.insert(QString::fromLatin1(entry.first), entry.second);
        // Parameters of the effect kinds: colours, fades, images, chases, text...
        const char *const parameters[] = {
            "brightness", "loop", "color", "groupoffset", "reversedir", "reversecolor",
            "startcolor", "endcolor", "starttrans", "endtrans", "time", "temperature",
            "intensity", "inputType", "warm", "cool", "animationdir", "preload", "fps",
            "xoffset", "yoffset", "scale", "transcolor", "transenabled", "smooth",
            "imagefile", "cycletime", "startx", "starty", "endx", "endy", "startscale",
            "endscale", "fadetime", "cyclecount", "offset", "fgcolor", "bgcolor", "decay",
            "density", "sparklecolor", "sparkletrans", "fgtrans", "bgtrans", "width",
            "fwdtail", "revtail", "reverse", "wrap", "temperatureStart", "intensityStart",
            "inputTypeStart", "warmStart", "coolStart", "temperatureEnd", "intensityEnd",
            "inputTypeEnd", "warmEnd", "coolEnd", "centerx", "centery", "cycledir",
            "rainbowdir", "twist", "number", "clockwise", "text", "font", "fontsize", "bold",
            "italic",
        };
        for (const char *name : parameters)
            t.insert(QString::fromLatin1(name), Field::Parameter);
        return t;
    }();
    return names;
}

} // namespace

Field fieldOf(const QString &elementName)
{
    return table().value(elementName, Field::Unknown);
}

} // namespace EffectFields
