#pragma once

#include <QPair>
#include <QString>
#include <QVector>

// One effect as a map file holds it: the "effect" element's children in file order, each a
// name and its text. The model keeps effects in this form so that a map keeps every effect
// it holds, also kinds this program does not play; the effect engine turns them into
// effects and back.
struct EffectRecord
{
    // A hand-written or damaged file must not make us keep unbounded lists.
    static constexpr int kMaxElements = 256;

    QVector<QPair<QString, QString>> elements;

    QString value(const QString &name) const
    {
        for (const auto &element : elements)
            if (element.first == name)
                return element.second;
        return {};
    }
    bool operator==(const EffectRecord &other) const { return elements == other.elements; }
};
