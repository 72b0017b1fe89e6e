#include "sim/simfaults.h"

bool SimFaults::operator==(const SimFaults &other) const
{
    return dropShare == other.dropShare && duplicateShare == other.duplicateShare &&
           delayShare == other.delayShare && delayMs == other.delayMs && seed == other.seed;
}

SimFaultPlan::SimFaultPlan(const SimFaults &faults) : m_faults(faults), m_random(faults.seed)
{
}

SimFaultPlan::Fate SimFaultPlan::next()
{
    Fate fate;
    if (!m_faults.isActive())
        return fate;
    // Always draw all three so that changing one share does not shift the other decisions.
    const bool drop = draw(m_faults.dropShare);
    const bool duplicate = draw(m_faults.duplicateShare);
    const bool delay = draw(m_faults.delayShare);
    fate.drop = drop;
    fate.duplicate = !drop && duplicate;
    fate.delayMs = (!drop && delay) ? qMax(0, m_faults.delayMs) : 0;
    return fate;
}

bool SimFaultPlan::draw(double share)
{
    const double value = m_random.generateDouble();
    return share > 0 && value < share;
}
