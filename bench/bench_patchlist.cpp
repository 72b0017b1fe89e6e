// Exporting the patch list of an installation at scale: 15,000 lights on 100 supplies of four
// ports. Goals: CSV under 0.5 s, PDF (layout page and patch list) under 5 s, each from the
// loaded map to the finished file.
//
//   bench_patchlist                 run the benchmarks (offscreen platform unless one is set)
//   bench_patchlist --write DIR     write DIR/installation.map, .csv and .pdf to look at
#include "benchinstallation.h"
#include "model/mapmodel.h"
#include "print/pdfexport.h"
#include "report/patchlist.h"
#include "report/patchlistformats.h"

#include <QDateTime>
#include <QDir>
#include <QGuiApplication>
#include <QSaveFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

namespace {

// 100 supplies of four ports, 37 or 38 lights a port.
const BenchInstallation::Layout kFourPorts{4, 2, QString()};

MapModel &installation()
{
    static MapModel model;
    if (model.lightCount() == 0)
        BenchInstallation::fill(model, {}, kFourPorts);
    return model;
}

bool writeCsv(const MapModel &model, const QString &path)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) &&
           file.write(PatchListFormats::toCsv(PatchList::fromModel(model))) >= 0 && file.commit();
}

void BM_BuildPatchList(benchmark::State &state)
{
    const MapModel &model = installation();
    for (auto _ : state)
        benchmark::DoNotOptimize(PatchList::fromModel(model).lightCount);
}

void BM_ExportCsv(benchmark::State &state)
{
    const MapModel &model = installation();
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("patch.csv"));
    for (auto _ : state)
        if (!writeCsv(model, path))
            state.SkipWithError("CSV not written");
    state.counters["bytes"] = double(QFile(path).size());
}

void BM_ExportPdf(benchmark::State &state)
{
    const MapModel &model = installation();
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("patch.pdf"));
    int pages = 0;
    for (auto _ : state) {
        QString error;
        pages = PdfExport::write(model, QStringLiteral("installation.map"),
                                 QDateTime::currentDateTime(), path, &error);
        if (pages == 0)
            state.SkipWithError(qPrintable(error));
    }
    state.counters["pages"] = pages;
    state.counters["bytes"] = double(QFile(path).size());
}

} // namespace

BENCHMARK(BM_BuildPatchList)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ExportCsv)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ExportPdf)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5);

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc == 3 && std::string(argv[1]) == "--write") {
        const QDir dir(QString::fromLocal8Bit(argv[2]));
        MapModel &model = installation();
        QString error;
        const bool ok = model.saveToFile(dir.filePath(QStringLiteral("installation.map"))) &&
                        writeCsv(model, dir.filePath(QStringLiteral("installation.csv"))) &&
                        PdfExport::write(model, QStringLiteral("installation.map"),
                                         QDateTime::currentDateTime(),
                                         dir.filePath(QStringLiteral("installation.pdf")), &error);
        std::printf("%s\n", ok ? "written" : qPrintable(QStringLiteral("failed: ") + error));
        return ok ? 0 : 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
