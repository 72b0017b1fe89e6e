#include "app/mapprinting.h"

#include "app/kestrelsettings.h"
#include "app/kestrelui.h"
#include "print/mapprintout.h"
#include "print/pdfexport.h"
#include "report/patchlist.h"
#include "report/patchlistformats.h"
#include "ui/userprompts.h"

#include <QAction>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPageLayout>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QSaveFile>
#include <QScopeGuard>

namespace {

constexpr int kStatusTimeoutMs = 5000;
const QString kPdfFilter = QStringLiteral("PDF Files (*.pdf)");
const QString kCsvFilter = QStringLiteral("CSV Files (*.csv)");

} // namespace

MapPrinting::MapPrinting(const MapModel &model, const KestrelUi &ui, UserPrompts &prompts,
                         const KestrelSettings &settings, std::function<QString()> mapPath,
                         QWidget *window)
    : QObject(window), m_model(model), m_prompts(prompts), m_settings(settings),
      m_mapPath(std::move(mapPath)), m_window(window)
{
    connect(ui.printAction, &QAction::triggered, this, &MapPrinting::handlePrintAction);
    connect(ui.exportPatchListAction, &QAction::triggered, this,
            &MapPrinting::handleExportPatchListAction);
}

QString MapPrinting::title() const
{
    const QString name = QFileInfo(m_mapPath()).fileName();
    return name.isEmpty() ? QStringLiteral("Untitled map") : name;
}

void MapPrinting::handlePrintAction()
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(title());
    printer.setCreator(QStringLiteral("Orrery"));
    printer.setPageSize(PdfExport::defaultPageSize());
    printer.setPageMargins(QMarginsF(12, 12, 12, 12), QPageLayout::Millimeter);

    QPrintPreviewDialog preview(&printer, m_window);
    preview.setObjectName(QStringLiteral("m_printPreviewDialog"));
    preview.setWindowTitle(QStringLiteral("Print Map"));
    if (m_window)
        preview.resize(m_window->size() * 0.9);
    const MapPrintout printout(m_model, title(), m_clock());
    // The preview asks again whenever the page setup changes; printing asks once more with
    // the page range chosen in the print dialog (0 for none).
    connect(&preview, &QPrintPreviewDialog::paintRequested, this, [&printout](QPrinter *target) {
        printout.paint(*target, target->fromPage(), target->toPage());
    });
    m_prompts.runDialog(preview);
}

void MapPrinting::handleExportPatchListAction()
{
    const QString mapPath = m_mapPath();
    const QString folder =
        mapPath.isEmpty() ? m_settings.mapPath : QFileInfo(mapPath).absolutePath();
    const QString base = mapPath.isEmpty()
                             ? QStringLiteral("patch-list")
                             : QFileInfo(mapPath).completeBaseName() + QStringLiteral("-patch");
    QFileDialog dialog(m_window, QStringLiteral("Export Patch List"), folder,
                       kPdfFilter + QStringLiteral(";;") + kCsvFilter);
    dialog.setObjectName(QStringLiteral("m_exportPatchListDialog"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    // A name typed without a suffix gets the one of the chosen file type.
    dialog.setDefaultSuffix(QStringLiteral("pdf"));
    connect(&dialog, &QFileDialog::filterSelected, &dialog, [&dialog](const QString &filter) {
        dialog.setDefaultSuffix(filter == kCsvFilter ? QStringLiteral("csv")
                                                     : QStringLiteral("pdf"));
    });
    dialog.selectFile(QDir(folder).filePath(base + QStringLiteral(".pdf")));
    if (m_prompts.runDialog(dialog) != QDialog::Accepted)
        return;
    const QString path = dialog.selectedFiles().value(0);
    if (path.isEmpty())
        return;
    // The suffix decides; a name with another suffix is written as the chosen type.
    const QString suffix = QFileInfo(path).suffix().toLower();
    const bool asCsv =
        suffix == QLatin1String("csv") ||
        (suffix != QLatin1String("pdf") && dialog.selectedNameFilter() == kCsvFilter);

    QString error;
    if (!writePatchList(path, asCsv, &error)) {
        m_prompts.message(m_window, QMessageBox::Critical, QStringLiteral("Save Failed"),
                          QStringLiteral("Unable to save file %1: %2").arg(path, error),
                          QMessageBox::Ok);
        return;
    }
    emit statusMsg(QStringLiteral("Patch list written to %1").arg(path), kStatusTimeoutMs);
}

bool MapPrinting::writePatchList(const QString &path, bool asCsv, QString *error) const
{
    if (!asCsv) {
        // A PDF of thousands of lights takes a moment.
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
        const auto restore = qScopeGuard([] { QGuiApplication::restoreOverrideCursor(); });
        return PdfExport::write(m_model, title(), m_clock(), path, error) > 0;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(PatchListFormats::toCsv(PatchList::fromModel(m_model))) < 0 || !file.commit()) {
        *error = file.errorString();
        return false;
    }
    return true;
}
