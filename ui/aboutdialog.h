#pragma once

#include <QDialog>

// The about box: our picture, the program's name and the version line in Verdana.
class AboutDialog final : public QDialog
{
    Q_OBJECT
public:
    explicit AboutDialog(const QString &versionText, QWidget *parent = nullptr);
};
