#pragma once

#include <QWizardPage>

#include <functional>

// A wizard page whose Next/Finish button waits for a condition the owner supplies (a search
// or a read still running, nothing chosen yet). Call recheck() when the condition may have
// changed.
class GatedWizardPage final : public QWizardPage
{
    Q_OBJECT
public:
    explicit GatedWizardPage(QWidget *parent = nullptr) : QWizardPage(parent) {}

    void setGate(std::function<bool()> gate) { m_gate = std::move(gate); }
    void setOnInitialize(std::function<void()> onInitialize)
    {
        m_onInitialize = std::move(onInitialize);
    }
    void recheck() { emit completeChanged(); }

    bool isComplete() const override { return !m_gate || m_gate(); }
    void initializePage() override
    {
        if (m_onInitialize)
            m_onInitialize();
    }

private:
    std::function<bool()> m_gate;
    std::function<void()> m_onInitialize;
};
