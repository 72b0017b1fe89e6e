#pragma once

#include <QSplashScreen>

// The picture shown while the program starts, kept on top of the main window until
// killSplash() closes it.
class SplashScreen final : public QSplashScreen
{
    Q_OBJECT
public:
    static constexpr int kShowTimeMs = 1500;

    SplashScreen();

public slots:
    void killSplash();
};
