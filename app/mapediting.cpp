#include "app/mapediting.h"

#include "devices/devicedictionary.h"
#include "devices/propertymapper.h"
#include "editing/editlightscommand.h"
#include "editing/groupedit.h"
#include "editing/lightedit.h"
#include "model/group.h"
#include "model/mapmodel.h"
#include "model/undomanager.h"
#include "ui/groupeditordialog.h"
#include "ui/lightpropertyeditor.h"
#include "ui/userprompts.h"

#include <QDialog>

MapEditing::MapEditing(MapModel &model, UndoManager &undo, UserPrompts &prompts,
                       SelectionSource selection, QWidget *window)
    : QObject(window), m_model(model), m_undo(undo), m_prompts(prompts),
      m_selection(std::move(selection)), m_window(window),
      m_dictionary(*DeviceDictionary::instance()), m_mapper(*PropertyMapper::instance())
{
}

void MapEditing::editLights(const QList<quint64> &lightUids)
{
    if (lightUids.isEmpty()) {
        emit statusMsg(QStringLiteral("Select the lights to edit first."), 5000);
        return;
    }
    const auto applier = [this,
                          lightUids](const LightEdit::Request &request) -> std::optional<QString> {
        auto planned = LightEdit::plan(m_model, lightUids, request, m_dictionary, m_mapper);
        if (auto *problem = std::get_if<LightEdit::Problem>(&planned))
            return problem->text;
        auto command = std::move(std::get<std::unique_ptr<EditLightsCommand>>(planned));
        command->apply(m_model, nullptr);
        m_undo.addUndoActionList(new UndoActionList{command.release()});
        emit setDirty(true);
        return std::nullopt;
    };
    LightPropertyEditor editor(m_model, lightUids, m_dictionary, m_mapper, applier, m_window);
    m_prompts.runDialog(editor);
}

void MapEditing::addGroup()
{
    GroupState fresh;
    fresh.uid = m_model.newUid();
    fresh.name = QStringLiteral("New Group");
    GroupEditorDialog editor(m_model, fresh, m_selection, m_window);
    if (m_prompts.runDialog(editor) != QDialog::Accepted)
        return;
    applyGroupState(m_model, editor.state());
    if (!m_model.group(fresh.uid))
        return;
    m_undo.addUndoActionList(new UndoActionList{GroupEditCommand::created(fresh.uid)});
    emit setDirty(true);
}

void MapEditing::editGroup(quint64 groupUid)
{
    const Group *group = m_model.group(groupUid);
    if (!group)
        return;
    const GroupState before = GroupState::of(*group);
    GroupEditorDialog editor(m_model, before, m_selection, m_window);
    if (m_prompts.runDialog(editor) != QDialog::Accepted)
        return;
    const GroupState after = editor.state();
    if (after == before)
        return;
    applyGroupState(m_model, after);
    m_undo.addUndoActionList(new UndoActionList{GroupEditCommand::changed(before)});
    emit setDirty(true);
}
