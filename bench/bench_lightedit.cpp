// The light-property editor on 15,000 selected lights, in the window with its panes and
// canvas following: how long the editor takes to open, to apply one change to every light
// (the dimming curve) and to undo it.
// Prints each run's figures and the median of five.
//
//   bench_lightedit   (moves into a network namespace of its own: the window announces itself)
#include "app/kestrel.h"
#include "app/layoutpane.h"
#include "app/mapediting.h"
#include "app/scriptedprompts.h"
#include "layout/creationrules.h"
#include "layout/lightcreator.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "model/undomanager.h"
#include "support/netnamespace.h"
#include "ui/lightpropertyeditor.h"

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLoggingCategory>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int kLights = 15000;

struct EditTimes
{
    qint64 openMs = 0;
    qint64 applyMs = 0;
};

// The editor as the user drives it: shown, the dimming curve chosen, Apply pressed.
int runEditor(QDialog &dialog, const QElapsedTimer &sinceOpen, EditTimes &times)
{
    dialog.show();
    QCoreApplication::processEvents();
    times.openMs = sinceOpen.elapsed();
    auto *combo = dialog.findChild<QComboBox *>(QStringLiteral("m_property_DIMMING_CURVE"));
    if (!combo) {
        std::fprintf(stderr, "no Dimming Curve row\n");
        return QDialog::Rejected;
    }
    combo->setCurrentIndex(combo->findText(QStringLiteral("Square Law")));
    QElapsedTimer apply;
    apply.start();
    static_cast<LightPropertyEditor &>(dialog).apply();
    QCoreApplication::processEvents();
    times.applyMs = apply.elapsed();
    return QDialog::Accepted;
}

qint64 median(QVector<qint64> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("orrery.*.debug=false"));
    const QString why = NetNamespace::enterOwn();
    if (!why.isEmpty()) {
        std::fprintf(stderr, "bench_lightedit: %s\n", qPrintable(why));
        return 1;
    }
    QVector<qint64> opens, applies, undos;
    for (int run = 0; run < 5; ++run) {
        auto owned = std::make_unique<ScriptedPrompts>();
        ScriptedPrompts *prompts = owned.get();
        Kestrel window(std::move(owned));
        window.resize(1280, 800);
        window.show();
        CreationRequest request;
        request.properties.insert(QStringLiteral("LED_CHEMISTRY"), QStringLiteral("1"));
        request.properties.insert(QStringLiteral("FIXTURE_TYPE"), QStringLiteral("Generic 3-Ch"));
        request.ports = 100;
        request.positions = CreationRules::runPositions(
            kLights, CreationRules::RunDirection::Horizontal, 12, QRectF());
        LightCreator creator(window.model(), request);
        if (creator.prepare()) {
            std::fprintf(stderr, "could not make the lights\n");
            return 1;
        }
        creator.run(kLights, {});
        QCoreApplication::processEvents();

        QElapsedTimer sinceOpen;
        EditTimes times;
        prompts->dialogScripts.enqueue(
            [&](QDialog &dialog) { return runEditor(dialog, sinceOpen, times); });
        sinceOpen.start();
        window.mapEditing().editLights(creator.createdLights());
        UndoManager *undo = window.layoutPane().undoManager();
        if (undo->undoCount() != 1) {
            std::fprintf(stderr, "the edit was not made\n");
            return 1;
        }
        QElapsedTimer undoTime;
        undoTime.start();
        undo->undo();
        QCoreApplication::processEvents();
        const qint64 undoMs = undoTime.elapsed();
        if (window.model()
                .light(creator.createdLights().first())
                ->deviceProperty(QStringLiteral("DIMMING_CURVE")) == QLatin1String("1")) {
            std::fprintf(stderr, "undo did not restore the lights\n");
            return 1;
        }
        std::printf("run %d: open %lld ms, apply %lld ms, undo %lld ms\n", run + 1, times.openMs,
                    times.applyMs, undoMs);
        opens << times.openMs;
        applies << times.applyMs;
        undos << undoMs;
    }
    std::printf("median of 5 (%d lights): open %lld ms, apply %lld ms, undo %lld ms\n", kLights,
                median(opens), median(applies), median(undos));
    return 0;
}
