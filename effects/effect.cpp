#include "effects/effect.h"

#include "effects/effectfields.h"
#include "effects/effectslogging.h"
#include "effects/selectioneffect.h"

using EffectFields::Field;

namespace {

// Decimal integers; the offsets and the transparency in general format, 6 digits.
QString number(qint64 value)
{
    return QString::number(value);
}

QString general(double value)
{
    return QString::number(value, 'g', 6);
}

} // namespace

Effect::Effect(MapModel *model, quint64 groupId, QObject *parent)
    : QObject(parent), gid(groupId), m_model(model)
{
}

Effect::~Effect() = default;

std::unique_ptr<Effect> Effect::fromRecord(const EffectRecord &record, MapModel *model)
{
    std::unique_ptr<Effect> effect;
    if (record.value(QStringLiteral("type")) == SelectionEffect::kTypeName)
        effect = std::make_unique<SelectionEffect>(model);
    else
        effect = std::make_unique<Effect>(model, 0);
    effect->readRecord(record);
    return effect;
}

EffectRecord Effect::toRecord() const
{
    EffectRecord record;
    auto add = [&record](const char *name, const QString &value) {
        record.elements.append({QString::fromLatin1(name), value});
    };
    add("type", typeName);
    add("name", name);
    add("eid", number(eid));
    add("gid", number(qint64(gid)));
    add("transparency", general(transparency));
    add("priority", number(priority));
    add("begin", number(begin));
    add("end", number(end));
    add("fadein", number(fadein));
    add("fadeout", number(fadeout));
    add("starttype", number(starttype));
    add("startfixedtime", number(startfixedtime));
    add("startlinkeid", number(startlinkeid));
    add("startlinkstart", number(startlinkstart));
    add("startlinkoffset", general(startlinkoffset));
    add("endtype", number(endtype));
    add("endfixedtime", number(endfixedtime));
    add("endlinkeid", number(endlinkeid));
    add("endlinkstart", number(endlinkstart));
    add("endlinkoffset", general(endlinkoffset));
    add("endcyclecount", number(endcyclecount));
    writeParameters(record);
    return record;
}

void Effect::readRecord(const EffectRecord &record)
{
    for (const auto &[elementName, text] : record.elements) {
        const QString value = text.trimmed();
        switch (EffectFields::fieldOf(elementName)) {
        case Field::Type: typeName = text; break;
        case Field::Name: name = text; break;
        case Field::Eid: eid = value.toInt(); break;
        case Field::Gid: gid = value.toULongLong(); break;
        case Field::Transparency: transparency = value.toDouble(); break;
        case Field::Priority: priority = value.toInt(); break;
        case Field::Begin: begin = value.toInt(); break;
        case Field::End: end = value.toInt(); break;
        case Field::FadeIn: fadein = value.toInt(); break;
        case Field::FadeOut: fadeout = value.toInt(); break;
        case Field::StartType: starttype = value.toUInt(); break;
        case Field::StartFixedTime: startfixedtime = value.toInt(); break;
        case Field::StartLinkEid: startlinkeid = value.toInt(); break;
        case Field::StartLinkStart: startlinkstart = value.toUInt(); break;
        case Field::StartLinkOffset: startlinkoffset = value.toDouble(); break;
        case Field::EndType: endtype = value.toUInt(); break;
        case Field::EndFixedTime: endfixedtime = value.toInt(); break;
        case Field::EndLinkEid: endlinkeid = value.toInt(); break;
        case Field::EndLinkStart: endlinkstart = value.toUInt(); break;
        case Field::EndLinkOffset: endlinkoffset = value.toDouble(); break;
        case Field::EndCycleCount: endcyclecount = value.toInt(); break;
        case Field::Parameter: readParameter(elementName, text); break;
        case Field::Effect: break;
        case Field::Unknown:
            qCDebug(lcEffects) << "ignoring unknown effect element" << elementName;
            break;
        }
    }
}

void Effect::render(const QDateTime &now, quint32 number)
{
    frameTime = now;
    frameNumber = number;
    if (enabled)
        computeFrame();
    lastFrameTime = now;
}

void Effect::writeParameters(EffectRecord &record) const
{
    record.elements += m_parameters;
}

void Effect::readParameter(const QString &elementName, const QString &value)
{
    m_parameters.append({elementName, value});
}
