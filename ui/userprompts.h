#pragma once

#include <QMessageBox>
#include <QString>
#include <QStringList>

#include <optional>

class QDialog;
class QWidget;

// Everything the main window asks the user in a modal dialog. The program uses
// WidgetUserPrompts; tests script the answers, so no test ever waits on a real modal box.
class UserPrompts
{
public:
    virtual ~UserPrompts() = default;

    // An empty string means the user cancelled.
    virtual QString openFileName(QWidget *parent, const QString &caption, const QString &dir,
                                 const QString &filter) = 0;
    virtual QString saveFileName(QWidget *parent, const QString &caption, const QString &dir,
                                 const QString &filter) = 0;
    // A message box with the given icon and buttons; returns the button pressed
    // (QMessageBox::NoButton or Cancel when the box was closed otherwise).
    virtual QMessageBox::StandardButton message(QWidget *parent, QMessageBox::Icon icon,
                                                const QString &title, const QString &text,
                                                QMessageBox::StandardButtons buttons) = 0;
    // A choice among fixed items; nullopt when cancelled.
    virtual std::optional<QString> chooseItem(QWidget *parent, const QString &title,
                                              const QString &label, const QStringList &items) = 0;
    virtual std::optional<int> chooseInt(QWidget *parent, const QString &title,
                                         const QString &label, int value, int minimum,
                                         int maximum) = 0;
    virtual void showAbout(QWidget *parent, const QString &versionText) = 0;
    // Runs one of our own modal dialogs and returns its result (QDialog::Accepted or
    // Rejected). Tests fill in or press its buttons instead of waiting on exec().
    virtual int runDialog(QDialog &dialog) = 0;
};
