#pragma once

#include <QDateTime>
#include <QObject>

#include <functional>

class MapModel;
class QWidget;
class UserPrompts;
struct KestrelSettings;
struct KestrelUi;

// The window's "Print Map..." and "Export Patch List...": a print preview of the printed map
// (layout, then patch list), and the patch list written as PDF or CSV. The pages come from
// the print library's MapPrintout, the CSV from the core, as for orrery-cli map patch.
class MapPrinting final : public QObject
{
    Q_OBJECT
public:
    // Connects the two actions of ui. mapPath: the current map's file, for the pages' title
    // and the export's file name.
    MapPrinting(const MapModel &model, const KestrelUi &ui, UserPrompts &prompts,
                const KestrelSettings &settings, std::function<QString()> mapPath, QWidget *window);

    // The title the pages carry: the map's file name, or "Untitled map".
    QString title() const;
    // Tests fix the printing date.
    void setClock(std::function<QDateTime()> clock) { m_clock = std::move(clock); }

public slots:
    void handlePrintAction();
    void handleExportPatchListAction();

signals:
    void statusMsg(const QString &text, int timeoutMs);

private:
    // Writes the patch list to path as PDF or CSV; false with the reason.
    bool writePatchList(const QString &path, bool asCsv, QString *error) const;

    const MapModel &m_model;
    UserPrompts &m_prompts;
    const KestrelSettings &m_settings;
    std::function<QString()> m_mapPath;
    std::function<QDateTime()> m_clock = [] { return QDateTime::currentDateTime(); };
    QWidget *m_window;
};
