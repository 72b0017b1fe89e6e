#include "app/lightcreation.h"

#include "app/kestrelsettings.h"
#include "app/kestrelui.h"
#include "devices/devicedictionary.h"
#include "layout/creationundoaction.h"
#include "layout/fixturetypes.h"
#include "model/mapmodel.h"
#include "model/progress.h"
#include "model/undomanager.h"
#include "ui/createlights.h"
#include "ui/createstringdialog.h"
#include "ui/creationchoices.h"
#include "ui/userprompts.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QProgressDialog>

using namespace CreationRules;

namespace {

constexpr qint64 kEventsEveryMs = 40;

} // namespace

LightCreation::LightCreation(MapModel &model, const KestrelUi &ui,
                             const KestrelSettings &settings, UserPrompts &prompts,
                             UndoManager &undo, QWidget *window)
    : QObject(window),
      m_model(model),
      m_settings(settings),
      m_prompts(prompts),
      m_undo(undo),
      m_window(window),
      m_dictionary(*DeviceDictionary::instance())
{
    // Add Lights and Add String are the window's own slots, which come here.
    connect(ui.addWhiteLightsAction, &QAction::triggered, this,
            &LightCreation::handleAddWhiteLightsAction);
    connect(ui.addModuleAction, &QAction::triggered, this, &LightCreation::handleAddModuleAction);
    connect(ui.addTileAction, &QAction::triggered, this, &LightCreation::handleAddTileAction);
}

void LightCreation::handleAddLightsAction()
{
    addLights(LightsKind::Any);
}

void LightCreation::handleAddWhiteLightsAction()
{
    addLights(LightsKind::WhiteOnly);
}

void LightCreation::handleAddModuleAction()
{
    const auto type = m_prompts.chooseItem(m_window, QStringLiteral("Add Module"),
                                           QStringLiteral("Fixture Type :"),
                                           FixtureTypes::names(m_dictionary));
    if (type)
        addLights(LightsKind::Module, *type);
}

void LightCreation::handleAddStringAction()
{
    addString(false);
}

void LightCreation::handleAddTileAction()
{
    addString(true);
}

void LightCreation::addLights(LightsKind kind, const QString &fixtureType)
{
    CreateLights dialog(m_model, m_dictionary, m_window);
    if (kind == LightsKind::WhiteOnly)
        dialog.choices().setWhiteOnly(true);
    if (kind == LightsKind::Module)
        dialog.setModule(fixtureType);
    if (m_prompts.runDialog(dialog) != QDialog::Accepted)
        return;
    CreationRequest request = dialog.request();
    request.positions = runPositions(dialog.count(), dialog.direction(), m_settings.grid,
                                     LightCreator::lightBounds(m_model));
    create(request, progressStep(dialog.count()));
}

void LightCreation::addString(bool tile)
{
    CreateStringDialog dialog(m_model, m_dictionary, m_window);
    if (tile)
        dialog.setShape(StringShape::Tile);
    if (m_prompts.runDialog(dialog) != QDialog::Accepted)
        return;
    const ShapeRaster raster = dialog.raster();
    if (qint64(raster.rows) * raster.columns > kMaxLights) {
        m_prompts.message(m_window, QMessageBox::Critical, QStringLiteral("Error"),
                          QStringLiteral("At most %1 lights can be made at once.").arg(kMaxLights),
                          QMessageBox::Ok);
        return;
    }
    CreationRequest request = dialog.request();
    const QPoint origin = stringOrigin(raster, dialog.placement(), m_settings.grid,
                                       LightCreator::lightBounds(m_model));
    request.positions = stringPositions(raster, m_settings.grid, origin);
    request.numbering = numberingSequence(raster, dialog.numberingOrder());
    create(request, progressInterval(raster.count()));
}

bool LightCreation::create(const CreationRequest &request, int interval)
{
    LightCreator creator(m_model, request);
    if (const auto problem = creator.prepare()) {
        m_prompts.message(m_window, QMessageBox::Critical, problem->title, problem->text,
                          QMessageBox::Ok);
        return false;
    }
    QProgressDialog progress(QStringLiteral("Creating Lights"), QStringLiteral("Cancel"), 0,
                             creator.total(), m_window);
    progress.setWindowTitle(QStringLiteral("Creating Lights"));
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(0);
    m_cancelled = false;
    connect(&progress, &QProgressDialog::canceled, this, &LightCreation::cancelCreation);
    progress.setValue(0);
    QElapsedTimer sinceEvents;
    sinceEvents.start();
    creator.run(interval, [&](int made) {
        emit creationProgress(made, creator.total());
        // The bar moves and the Cancel button is heard only when the event loop turns, and
        // each turn lets the panes catch up with every light made so far, which on a large
        // map costs more than the lights themselves. So the dialog (which turns the loop
        // itself, being modal) is updated every kEventsEveryMs rather than every step: the
        // window stays responsive without paying that for each step.
        if (sinceEvents.elapsed() >= kEventsEveryMs || made == creator.total()) {
            progress.setValue(made);
            QApplication::processEvents();
            sinceEvents.restart();
        }
        return !m_cancelled;
    });
    progress.setValue(creator.total());
    if (creator.createdLights().isEmpty())
        return false;
    m_undo.addUndoActionList(new UndoActionList{new CreationUndoAction(
        creator.createdLights(), creator.createdSupply() ? creator.supplyUid() : 0)});
    emit setDirty(true);
    return true;
}
