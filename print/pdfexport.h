#pragma once

#include <QDateTime>
#include <QString>

class MapModel;
class QPageSize;

// Writes the printed map (layout and patch list) as a PDF file, for the window's
// "Export Patch List..." and `orrery-cli map patch --pdf`. Needs a QGuiApplication (text
// is laid out with the system's fonts).
namespace PdfExport {

// Letter where people measure in inches, A4 elsewhere.
QPageSize defaultPageSize();

// The file appears only once it is complete. Returns the pages written, or 0 with the
// reason in *error.
int write(const MapModel &model, const QString &title, const QDateTime &printedAt,
          const QString &path, QString *error);

} // namespace PdfExport
