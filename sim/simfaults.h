#pragma once

#include <QRandomGenerator>

// Shares (0..1) of replies that the simulator drops, sends twice or holds back, so tests can
// check that the program copes with a lossy network. The same seed gives the same decisions.
struct SimFaults
{
    double dropShare = 0.0;
    double duplicateShare = 0.0;
    double delayShare = 0.0;
    int delayMs = 50;
    quint32 seed = 1;

    bool isActive() const { return dropShare > 0 || duplicateShare > 0 || delayShare > 0; }
    bool operator==(const SimFaults &other) const;
};

// Draws the fate of each reply from a seeded generator: first whether it is dropped, then
// (if not) whether it is duplicated and whether it is delayed.
class SimFaultPlan final
{
public:
    struct Fate
    {
        bool drop = false;
        bool duplicate = false;
        int delayMs = 0;
    };

    explicit SimFaultPlan(const SimFaults &faults = {});

    const SimFaults &faults() const { return m_faults; }
    Fate next();

private:
    bool draw(double share);

    SimFaults m_faults;
    QRandomGenerator m_random;
};
