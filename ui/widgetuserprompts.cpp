#include "ui/widgetuserprompts.h"

#include "ui/aboutdialog.h"

#include <QDialog>
#include <QFileDialog>
#include <QInputDialog>

QString WidgetUserPrompts::openFileName(QWidget *parent, const QString &caption, const QString &dir,
                                        const QString &filter)
{
    return QFileDialog::getOpenFileName(parent, caption, dir, filter);
}

QString WidgetUserPrompts::saveFileName(QWidget *parent, const QString &caption, const QString &dir,
                                        const QString &filter)
{
    return QFileDialog::getSaveFileName(parent, caption, dir, filter);
}

std::unique_ptr<QMessageBox>
WidgetUserPrompts::buildMessageBox(QWidget *parent, QMessageBox::Icon icon, const QString &title,
                                   const QString &text, QMessageBox::StandardButtons buttons)
{
    auto box = std::make_unique<QMessageBox>(icon, title, text, buttons, parent);
    // Escape must mean "leave everything as it was" whenever the box offers that.
    if (buttons.testFlag(QMessageBox::Cancel))
        box->setEscapeButton(QMessageBox::Cancel);
    return box;
}

QMessageBox::StandardButton WidgetUserPrompts::message(QWidget *parent, QMessageBox::Icon icon,
                                                       const QString &title, const QString &text,
                                                       QMessageBox::StandardButtons buttons)
{
    const std::unique_ptr<QMessageBox> box = buildMessageBox(parent, icon, title, text, buttons);
    return static_cast<QMessageBox::StandardButton>(box->exec());
}

std::optional<QString> WidgetUserPrompts::chooseItem(QWidget *parent, const QString &title,
                                                     const QString &label, const QStringList &items)
{
    bool ok = false;
    const QString item = QInputDialog::getItem(parent, title, label, items, 0, false, &ok);
    if (!ok)
        return std::nullopt;
    return item;
}

std::optional<int> WidgetUserPrompts::chooseInt(QWidget *parent, const QString &title,
                                                const QString &label, int value, int minimum,
                                                int maximum)
{
    bool ok = false;
    const int chosen = QInputDialog::getInt(parent, title, label, value, minimum, maximum, 1, &ok);
    if (!ok)
        return std::nullopt;
    return chosen;
}

void WidgetUserPrompts::showAbout(QWidget *parent, const QString &versionText)
{
    AboutDialog dialog(versionText, parent);
    dialog.exec();
}

int WidgetUserPrompts::runDialog(QDialog &dialog)
{
    return dialog.exec();
}
