#pragma once

#include "ui/userprompts.h"

#include <memory>

// The real dialogs: Qt's file dialogs, message boxes and input dialogs, and our about box.
class WidgetUserPrompts final : public UserPrompts
{
public:
    QString openFileName(QWidget *parent, const QString &caption, const QString &dir,
                         const QString &filter) override;
    QString saveFileName(QWidget *parent, const QString &caption, const QString &dir,
                         const QString &filter) override;
    QMessageBox::StandardButton message(QWidget *parent, QMessageBox::Icon icon,
                                        const QString &title, const QString &text,
                                        QMessageBox::StandardButtons buttons) override;
    std::optional<QString> chooseItem(QWidget *parent, const QString &title, const QString &label,
                                      const QStringList &items) override;
    std::optional<int> chooseInt(QWidget *parent, const QString &title, const QString &label,
                                 int value, int minimum, int maximum) override;
    void showAbout(QWidget *parent, const QString &versionText) override;
    int runDialog(QDialog &dialog) override;

    // The box message() runs, for callers that show it themselves (screenshots).
    static std::unique_ptr<QMessageBox> buildMessageBox(QWidget *parent, QMessageBox::Icon icon,
                                                        const QString &title, const QString &text,
                                                        QMessageBox::StandardButtons buttons);
};
