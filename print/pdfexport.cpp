#include "print/pdfexport.h"

#include "print/mapprintout.h"

#include <QFileInfo>
#include <QLocale>
#include <QPageSize>
#include <QPdfWriter>
#include <QSaveFile>

namespace PdfExport {

QPageSize defaultPageSize()
{
    return QPageSize(QLocale().measurementSystem() == QLocale::ImperialUSSystem ? QPageSize::Letter
                                                                                : QPageSize::A4);
}

int write(const MapModel &model, const QString &title, const QDateTime &printedAt,
          const QString &path, QString *error)
{
    // Only a regular file is replaced whole or not at all; a device or pipe would take
    // the pages directly and hide a failed write.
    if (const QFileInfo target(path); target.exists() && !target.isFile()) {
        *error = QStringLiteral("not a regular file");
        return 0;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        *error = file.errorString();
        return 0;
    }
    int pages = 0;
    {
        QPdfWriter writer(&file);
        writer.setTitle(title);
        writer.setCreator(QStringLiteral("Orrery"));
        writer.setPageSize(defaultPageSize());
        writer.setPageMargins(QMarginsF(12, 12, 12, 12), QPageLayout::Millimeter);
        // Coordinates in 1/600 inch: fine enough for hairlines, small enough numbers.
        writer.setResolution(600);
        MapPrintout printout(model, title, printedAt);
        printout.setLayoutPageFollowsMap(true);
        pages = printout.paint(writer);
    }
    if (pages == 0) {
        file.cancelWriting();
        *error = QStringLiteral("the PDF could not be drawn");
        return 0;
    }
    if (file.error() != QFileDevice::NoError || !file.commit()) {
        *error = file.errorString();
        return 0;
    }
    return pages;
}

} // namespace PdfExport
