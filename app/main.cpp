#include "app/kestrel.h"
#include "app/networkoptions.h"
#include "app/splashscreen.h"
#include "colour/ledprofileregistry.h"
#include "devices/deviceresources.h"
#include "ui/uiresources.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QMessageBox>
#include <QTimer>

namespace {

// The compiled resource bundles of the core: property maps, then device definitions, then
// colour and profile data.
void registerResourceBundles()
{
    DeviceResources::registerResources();
    LedProfileRegistry::registerResources();
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Taviren"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("taviren.example"));
    QCoreApplication::setApplicationName(QStringLiteral("Orrery"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ORRERY_VERSION));
    // The installed desktop entry's name, so desktops tie the window to its menu entry and icon.
    QGuiApplication::setDesktopFileName(QStringLiteral("example.taviren.orrery"));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Commissioning tool for networked LED lighting."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("map"), QStringLiteral("Map file to open."),
                                 QStringLiteral("[map]"));
    NetworkOptions::addTo(parser);
    parser.process(app);
    // Before anything can send: the protocol object broadcasts as soon as it exists.
    QString networkError;
    Simulator *demo = nullptr;
    if (!NetworkOptions::apply(parser, &app, &networkError, &demo)) {
        QMessageBox::critical(nullptr, QStringLiteral("Error"), networkError);
        return 1;
    }

    LedProfileRegistry::instance();

    initUiResources();
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/images/icons/orrery.png")));
    SplashScreen splash;
    splash.show();
    QTimer::singleShot(SplashScreen::kShowTimeMs, &splash, &SplashScreen::killSplash);
    QCoreApplication::processEvents();

    registerResourceBundles();

    Kestrel window;
    window.show();
    if (demo)
        window.startDemonstration(*demo);
    if (!parser.positionalArguments().isEmpty())
        window.openMap(parser.positionalArguments().constFirst());

    QObject::connect(&app, &QApplication::lastWindowClosed, &app, &QApplication::quit);
    return app.exec();
}
