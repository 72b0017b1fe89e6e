#pragma once

#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>

// Points the user settings of this test process at a fresh temporary folder, so tests
// never read or touch the settings of the person running them.
class TestSettings final
{
public:
    TestSettings()
    {
        QCoreApplication::setOrganizationName(QStringLiteral("Taviren"));
        QCoreApplication::setApplicationName(QStringLiteral("Orrery"));
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir.path());
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.path());
    }
    static void clear()
    {
        QSettings settings;
        settings.clear();
    }

private:
    QTemporaryDir m_dir;
};
