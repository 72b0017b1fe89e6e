#include "app/demoguide.h"

#include "app/kestrel.h"
#include "app/layoutpane.h"
#include "ui/layoutview.h"
#include "sim/simulator.h"
#include "simview.h"

#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QScrollArea>
#include <QStatusBar>

DemoGuide::DemoGuide(Kestrel &window, const Simulator &simulator)
    : QObject(&window), m_kestrel(window), m_simulator(simulator)
{
    m_showAction = new QAction(QStringLiteral("Simulated &Installation..."), this);
    m_showAction->setObjectName(QStringLiteral("showSimulatedInstallationAction"));
    m_showAction->setToolTip(QStringLiteral("Show the simulated lights in their live colours"));
    connect(m_showAction, &QAction::triggered, this, &DemoGuide::showInstallation);
    QMenu *menu = window.ui().m_lightMenu;
    menu->addSeparator();
    menu->addAction(m_showAction);

    const SimInstallation &installation = simulator.installation();
    // Over the empty canvas, until the first lights arrive.
    window.layoutPane().view()->setEmptyHint(
        kWelcome.arg(installation.supplies.size()).arg(installation.lightCount()));
    window.statusBar()->showMessage(QStringLiteral(
        "Demonstration running: start with Light View \u25B8 Discover Interfaces..."));
}

void DemoGuide::showInstallation()
{
    if (!m_window) {
        m_window = SimView::createWindow(m_simulator.installation(), m_simulator.output(),
                                         &m_kestrel);
        m_window->setAttribute(Qt::WA_DeleteOnClose);
    }
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}
