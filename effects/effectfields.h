#pragma once

#include <QString>

// The element names an effect element may hold: the fields every effect has, written in
// this order, then the parameters of the various effect kinds.
namespace EffectFields {

enum class Field {
    Unknown,
    Type,
    Name,
    Eid,
    Gid,
    Transparency,
    Priority,
    Begin,
    End,
    FadeIn,
    FadeOut,
    StartType,
    StartFixedTime,
    StartLinkEid,
    StartLinkStart,
    StartLinkOffset,
    EndType,
    EndFixedTime,
    EndLinkEid,
    EndLinkStart,
    EndLinkOffset,
    EndCycleCount,
    Effect,    // a nested "effect" element
    Parameter, // a parameter of some effect kind
};

// Which field an element name is; Unknown for names no effect uses.
Field fieldOf(const QString &elementName);

} // namespace EffectFields
