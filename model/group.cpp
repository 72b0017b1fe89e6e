#include "model/group.h"

#include <algorithm>

Group::Group(QObject *parent) : QObject(parent) {}

void Group::setType(int type)
{
    if (type == m_type)
        return;
    m_type = type;
    emit updatedGroup(m_uid);
}

void Group::setName(const QString &name)
{
    if (name == m_name)
        return;
    m_name = name;
    emit updatedGroup(m_uid);
}

void Group::setOValue(int o)
{
    if (o == m_o)
        return;
    m_o = o;
    emit updatedGroup(m_uid);
}

void Group::setLightsPerStep(int lights)
{
    lights = std::max(1, lights);
    if (lights == m_lightsPerStep)
        return;
    m_lightsPerStep = lights;
    emit updatedGroup(m_uid);
}

void Group::setChildren(const QList<quint64> &lightUids)
{
    if (lightUids == m_children)
        return;
    m_children = lightUids;
    emit updatedGroup(m_uid);
}

void Group::appendChild(quint64 lightUid)
{
    m_children.append(lightUid);
    emit updatedGroup(m_uid);
}

bool Group::removeChild(quint64 lightUid)
{
    if (m_children.removeAll(lightUid) == 0)
        return false;
    emit updatedGroup(m_uid);
    return true;
}

QRectF Group::bounds() const
{
    if (!hasBounds())
        return {};
    return QRectF(QPointF(m_minX, m_minY), QPointF(m_maxX, m_maxY));
}

void Group::resetBounds()
{
    m_minX = m_minY = kBoundsStart;
    m_maxX = m_maxY = -kBoundsStart;
}

void Group::includeInBounds(double x, double y)
{
    m_minX = std::min(m_minX, x);
    m_minY = std::min(m_minY, y);
    m_maxX = std::max(m_maxX, x);
    m_maxY = std::max(m_maxY, y);
}

void Group::handleUpdatedLight(quint64 lightUid)
{
    Q_UNUSED(lightUid)
    emit updatedGroup(m_uid);
}
