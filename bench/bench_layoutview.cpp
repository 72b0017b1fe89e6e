// The layout canvas at installation scale: 15,000 lights (100 supplies, rows of 75 on a 24-unit
// pitch). Building the scene, selecting everything, a rubber band over everything, dragging the
// whole selection one grid step with the commit check, turning it, zooming to fit and undoing
// the drag; and the commit check alone at 1,000, 5,000 and 15,000 selected lights.
//
//   bench_layoutview        run on the offscreen platform unless QT_QPA_PLATFORM is set
#include "benchinstallation.h"
#include "effects/selectioneffect.h"
#include "model/mapmodel.h"
#include "model/undomanager.h"
#include "ui/layoutview.h"

#include <QApplication>
#include <QGraphicsScene>
#include <QMouseEvent>

#include <benchmark/benchmark.h>

namespace {

struct Canvas
{
    Canvas()
    {
        BenchInstallation::fill(model);
        view = std::make_unique<LayoutView>(&model, &selection, &scene);
        view->setCanvasSize(10000, 10000);
        view->resize(1200, 800);
        view->show();
        undo.setLayoutView(view.get());
        QObject::connect(view.get(), &LayoutView::addUndoActionList, &undo,
                         &UndoManager::addUndoActionList);
        QCoreApplication::processEvents();
    }
    MapModel model;
    SelectionEffect selection{&model};
    QGraphicsScene scene;
    std::unique_ptr<LayoutView> view;
    UndoManager undo{&model};
};

void BM_BuildScene(benchmark::State &state)
{
    MapModel model;
    BenchInstallation::fill(model);
    SelectionEffect selection(&model);
    for (auto _ : state) {
        QGraphicsScene scene;
        LayoutView view(&model, &selection, &scene);
        benchmark::DoNotOptimize(view.itemCount());
    }
}
BENCHMARK(BM_BuildScene)->Unit(benchmark::kMillisecond);

void BM_SelectAll(benchmark::State &state)
{
    Canvas canvas;
    for (auto _ : state) {
        canvas.view->selectAll();
        state.PauseTiming();
        canvas.view->clearSelection();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_SelectAll)->Unit(benchmark::kMillisecond);

void BM_RubberBandOverEverything(benchmark::State &state)
{
    Canvas canvas;
    QWidget *viewport = canvas.view->viewport();
    for (auto _ : state) {
        canvas.view->zoomToFit();
        const QPoint from = canvas.view->mapFromScene(-20, -20);
        const QPoint to = canvas.view->mapFromScene(1900, 4900);
        QMouseEvent press(QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        QMouseEvent move(QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QMouseEvent release(QEvent::MouseButtonRelease, to, Qt::LeftButton, Qt::NoButton,
                            Qt::NoModifier);
        QCoreApplication::sendEvent(viewport, &press);
        QCoreApplication::sendEvent(viewport, &move);
        QCoreApplication::sendEvent(viewport, &release);
        state.PauseTiming();
        if (canvas.view->selection().size() != 15000)
            state.SkipWithError("band missed lights");
        canvas.view->clearSelection();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_RubberBandOverEverything)->Unit(benchmark::kMillisecond);

// One grid step of the whole selection, committed (collision and canvas check, undo record,
// the model updated), then undone.
void BM_DragAllOneStepAndUndo(benchmark::State &state)
{
    Canvas canvas;
    canvas.view->selectAll();
    double undoMs = 0;
    for (auto _ : state) {
        canvas.view->moveSelection(QPoint(12, 0));
        if (!canvas.view->commitSelection())
            state.SkipWithError("drag refused");
        state.PauseTiming();
        const auto start = std::chrono::steady_clock::now();
        canvas.undo.undo();
        undoMs += std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() -
                                                            start)
                      .count();
        state.ResumeTiming();
    }
    state.counters["undo_ms"] = undoMs / double(state.iterations());
}
BENCHMARK(BM_DragAllOneStepAndUndo)->Unit(benchmark::kMillisecond);

void BM_RotateAll(benchmark::State &state)
{
    Canvas canvas;
    canvas.view->selectAll();
    for (auto _ : state)
        canvas.view->handleRotateSelectionCW(); // a 15,000-light block turned
}
BENCHMARK(BM_RotateAll)->Unit(benchmark::kMillisecond);

void BM_ZoomToFit(benchmark::State &state)
{
    Canvas canvas;
    for (auto _ : state)
        canvas.view->zoomToFit();
}
BENCHMARK(BM_ZoomToFit)->Unit(benchmark::kMillisecond);

// The commit check alone, by the number of lights moved.
void BM_CommitCheck(benchmark::State &state)
{
    Canvas canvas;
    const QList<quint64> uids = canvas.model.lightHash().keys();
    for (int i = 0; i < state.range(0); ++i)
        canvas.view->selectLight(uids.at(i), true);
    for (auto _ : state)
        canvas.view->commitSelection();
}
BENCHMARK(BM_CommitCheck)->Arg(1000)->Arg(5000)->Arg(15000)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
