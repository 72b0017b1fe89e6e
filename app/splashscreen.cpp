#include "app/splashscreen.h"

SplashScreen::SplashScreen()
    : QSplashScreen(QPixmap(QStringLiteral(":/images/splash.png")), Qt::WindowStaysOnTopHint)
{
    setObjectName(QStringLiteral("SplashScreen"));
    showMessage(QStringLiteral("none"), Qt::AlignLeft, Qt::black);
}

void SplashScreen::killSplash()
{
    close();
}
