// The light-property editor and the Group Editor as the window opens them, filled and
// pressed offscreen: one change to many lights and its undo, a refused change that keeps
// the editor open and the map as it was, and a chase built in the Group Editor. With
// ORRERY_SCREENSHOT_DIR set it also writes pictures of the two editors.
#include "app/mapediting.h"
#include "devices/definitionpropertyformat.h"
#include "devices/deviceresources.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "model/undomanager.h"
#include "scriptedprompts.h"
#include "ui/groupeditordialog.h"
#include "ui/lightpropertyeditor.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QtTest>

class tst_MapEditing final : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void editorMakesOneUndoableChange();
    void refusedChangeKeepsTheEditorOpen();
    void groupEditorBuildsAChase();

private:
    void shoot(QWidget &widget, const QString &name);
    QList<quint64> firstLights(int count) const;

    std::unique_ptr<MapModel> m_model;
    std::unique_ptr<UndoManager> m_undo;
    ScriptedPrompts m_prompts;
    QWidget m_window;
    std::unique_ptr<MapEditing> m_editing;
    QList<quint64> m_selection;
};

void tst_MapEditing::initTestCase()
{
    DeviceResources::registerResources();
}

void tst_MapEditing::init()
{
    m_editing.reset();
    m_model = std::make_unique<MapModel>();
    QVERIFY(
        m_model->loadFromFile(QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map")));
    m_undo = std::make_unique<UndoManager>(m_model.get());
    m_editing = std::make_unique<MapEditing>(
        *m_model, *m_undo, m_prompts, [this] { return m_selection; }, nullptr);
}

void tst_MapEditing::shoot(QWidget &widget, const QString &name)
{
    const QString dir = qEnvironmentVariable("ORRERY_SCREENSHOT_DIR");
    if (dir.isEmpty())
        return;
    widget.show();
    QCoreApplication::processEvents();
    QVERIFY(widget.grab().toImage().save(QDir(dir).filePath(name)));
}

QList<quint64> tst_MapEditing::firstLights(int count) const
{
    QList<Light *> lights = m_model->lights();
    std::sort(lights.begin(), lights.end(),
              [](const Light *a, const Light *b) { return a->name() < b->name(); });
    QList<quint64> uids;
    for (int i = 0; i < count && i < lights.size(); ++i)
        uids.append(lights.at(i)->uid());
    return uids;
}

void tst_MapEditing::editorMakesOneUndoableChange()
{
    const QList<quint64> uids = firstLights(12);
    const auto state = [this](const QList<quint64> &lights) {
        QStringList lines;
        for (const quint64 uid : lights)
            lines << QStringLiteral("%1@%2")
                         .arg(m_model->light(uid)->name())
                         .arg(m_model->light(uid)->channel());
        return lines.join(QLatin1Char(' '));
    };
    const QString before = state(uids);
    QSignalSpy dirty(m_editing.get(), &MapEditing::setDirty);
    m_prompts.dialogScripts.enqueue([this](QDialog &d) {
        auto &editor = static_cast<LightPropertyEditor &>(d);
        [&] {
            QCOMPARE(editor.windowTitle(), QStringLiteral("Edit Lights"));
            QCOMPARE(editor.currentText(QStringLiteral("Name")), QStringLiteral("Various"));
            QVERIFY(editor.findChild<QLabel *>(QStringLiteral("m_mapOnlyNote")));
        }();
        editor.findChild<QSpinBox *>(QStringLiteral("m_dmxAddressSpinBox"))->setValue(101);
        editor.findChild<QLineEdit *>(QStringLiteral("m_nameLineEdit"))
            ->setText(QStringLiteral("Arch"));
        shoot(editor, QStringLiteral("light-editor-many.png"));
        editor.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
        return editor.result();
    });
    m_editing->editLights(uids);
    QCOMPARE(m_prompts.dialogScripts.size(), 0);
    // What was typed reached the lights (the numbering itself is pinned in tst_editing).
    QCOMPARE(state({uids.first(), uids.at(1)}),
             QStringLiteral("Arch 001@100 Arch 002@%1")
                 .arg(100 + m_model->light(uids.first())->output().format().footprint()));
    QCOMPARE(m_model->light(uids.last())->name(), QStringLiteral("Arch 012"));
    QCOMPARE(dirty.count(), 1);
    QCOMPARE(m_undo->undoCount(), 1);
    m_undo->undo();
    QCOMPARE(state(uids), before);

    // One light: its own values, and a picture of the editor on it.
    m_prompts.dialogScripts.enqueue([this](QDialog &d) {
        auto &editor = static_cast<LightPropertyEditor &>(d);
        shoot(editor, QStringLiteral("light-editor-one.png"));
        return int(QDialog::Rejected);
    });
    m_editing->editLight(uids.first());
}

void tst_MapEditing::refusedChangeKeepsTheEditorOpen()
{
    const QList<quint64> uids = firstLights(2);
    const int channel = m_model->light(uids.last())->channel();
    bool stayedOpen = false;
    QString problem;
    m_prompts.dialogScripts.enqueue([&](QDialog &d) {
        auto &editor = static_cast<LightPropertyEditor &>(d);
        editor.findChild<QSpinBox *>(QStringLiteral("m_dmxAddressSpinBox"))->setValue(511);
        editor.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
        stayedOpen = editor.result() != QDialog::Accepted;
        problem = editor.findChild<QLabel *>(QStringLiteral("m_problemLabel"))->text();
        return int(QDialog::Rejected);
    });
    m_editing->editLights(uids);
    QVERIFY(stayedOpen);
    QVERIFY2(problem.contains(QLatin1String("past channel 512")), qPrintable(problem));
    QCOMPARE(m_model->light(uids.last())->channel(), channel);
    QCOMPARE(m_undo->undoCount(), 0);
}

void tst_MapEditing::groupEditorBuildsAChase()
{
    m_selection = firstLights(3);
    const int groupsBefore = m_model->groupCount();
    m_prompts.dialogScripts.enqueue([this](QDialog &d) {
        auto &editor = static_cast<GroupEditorDialog &>(d);
        editor.nameEdit()->setText(QStringLiteral("Arch <chase> & \"steps\""));
        editor.typeCombo()->setCurrentIndex(
            editor.typeCombo()->findText(QStringLiteral("Chasing")));
        editor.findChild<QPushButton *>(QStringLiteral("m_addSelectionButton"))->click();
        editor.memberList()->item(2)->setSelected(true);
        editor.moveSelectedMembers(-1);
        editor.lightsPerStepSpinBox()->setValue(2);
        shoot(editor, QStringLiteral("group-editor.png"));
        editor.accept();
        return editor.result();
    });
    m_editing->addGroup();
    QCOMPARE(m_model->groupCount(), groupsBefore + 1);
    const Group *made = nullptr;
    for (const Group *g : m_model->groups())
        if (g->name() == QLatin1String("Arch <chase> & \"steps\""))
            made = g;
    QVERIFY(made);
    QVERIFY(made->isChasing());
    QCOMPARE(made->lightsPerStep(), 2);
    QCOMPARE(made->children(),
             (QList<quint64>{m_selection.at(0), m_selection.at(2), m_selection.at(1)}));
    m_undo->undo();
    QCOMPARE(m_model->groupCount(), groupsBefore);
}

QTEST_MAIN(tst_MapEditing)
#include "tst_mapediting.moc"
