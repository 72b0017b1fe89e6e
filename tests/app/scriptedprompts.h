#pragma once

#include "ui/userprompts.h"

#include <QDialog>
#include <QList>
#include <QQueue>

#include <functional>

// Answers the window's questions from queues filled by the test and records what was asked.
// An empty queue answers "cancel".
class ScriptedPrompts final : public UserPrompts
{
public:
    struct Asked
    {
        QString kind;  // "open", "save", "message", "item", "int", "about", "dialog"
        QString title; // caption or title
        QString text;  // message text, label, filter or version text
        QString dir;   // starting directory of file dialogs
        QMessageBox::Icon icon = QMessageBox::NoIcon;
    };

    QQueue<QString> fileAnswers;
    QQueue<QMessageBox::StandardButton> messageAnswers;
    QQueue<std::optional<QString>> itemAnswers;
    // Each runs in place of one dialog's exec(): it may fill in the widgets and must return
    // the dialog's result (typically by pressing its buttons and returning result()).
    QQueue<std::function<int(QDialog &)>> dialogScripts;
    QList<Asked> asked;

    // The messages shown, one "icon|title|text" line each.
    QStringList shownMessages() const
    {
        static const char *const icons[] = {"none", "information", "warning", "critical",
                                            "question"};
        QStringList lines;
        for (const Asked &a : asked) {
            if (a.kind == QLatin1String("message"))
                lines << QLatin1String(icons[a.icon]) + QLatin1Char('|') + a.title +
                             QLatin1Char('|') + a.text;
        }
        return lines;
    }

    QString openFileName(QWidget *, const QString &caption, const QString &dir,
                         const QString &filter) override
    {
        asked.append({QStringLiteral("open"), caption, filter, dir});
        return fileAnswers.isEmpty() ? QString() : fileAnswers.dequeue();
    }
    QString saveFileName(QWidget *, const QString &caption, const QString &dir,
                         const QString &filter) override
    {
        asked.append({QStringLiteral("save"), caption, filter, dir});
        return fileAnswers.isEmpty() ? QString() : fileAnswers.dequeue();
    }
    QMessageBox::StandardButton message(QWidget *, QMessageBox::Icon icon, const QString &title,
                                        const QString &text,
                                        QMessageBox::StandardButtons buttons) override
    {
        asked.append({QStringLiteral("message"), title, text, QString(), icon});
        if (!messageAnswers.isEmpty())
            return messageAnswers.dequeue();
        return buttons.testFlag(QMessageBox::Cancel) ? QMessageBox::Cancel : QMessageBox::Ok;
    }
    std::optional<QString> chooseItem(QWidget *, const QString &title, const QString &label,
                                      const QStringList &) override
    {
        asked.append({QStringLiteral("item"), title, label, QString()});
        return itemAnswers.isEmpty() ? std::nullopt : itemAnswers.dequeue();
    }
    std::optional<int> chooseInt(QWidget *, const QString &title, const QString &label, int, int,
                                 int) override
    {
        asked.append({QStringLiteral("int"), title, label, QString()});
        return std::nullopt;
    }
    void showAbout(QWidget *, const QString &versionText) override
    {
        asked.append({QStringLiteral("about"), QString(), versionText, QString()});
    }
    int runDialog(QDialog &dialog) override
    {
        asked.append({QStringLiteral("dialog"), dialog.windowTitle(), QString(), QString()});
        return dialogScripts.isEmpty() ? int(QDialog::Rejected) : dialogScripts.dequeue()(dialog);
    }
};
