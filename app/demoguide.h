#pragma once

#include <QObject>
#include <QPointer>
#include <QScrollArea>

class Kestrel;
class QAction;
class Simulator;

// The demonstration's first minute: tells a new user what to try (in the layout pane and
// the status bar) and offers "Simulated Installation..." in the Light View menu, a window
// showing every simulated light in the colour its supply last received, so the highlight
// can be seen following the selection.
class DemoGuide final : public QObject
{
    Q_OBJECT
public:
    static inline const QString kWelcome = QStringLiteral(
        "Demonstration: a simulated installation of %1 supplies and %2 lights runs inside "
        "Orrery.\n\n"
        "1. Light View \u25B8 Discover Interfaces... finds its supplies.\n"
        "2. Light View \u25B8 Discover Lights... finds their lights and reads them.\n"
        "3. Select lights, interfaces or groups in the panes: they light up red.\n"
        "4. Light View \u25B8 Simulated Installation... shows the lights as in the room.");

    DemoGuide(Kestrel &window, const Simulator &simulator);

    QAction *showAction() const { return m_showAction; }
    // The simulated installation's window, once opened.
    QScrollArea *installationWindow() const { return m_window; }

public slots:
    void showInstallation();

private:
    Kestrel &m_kestrel;
    const Simulator &m_simulator;
    QAction *m_showAction = nullptr;
    QPointer<QScrollArea> m_window;
};
