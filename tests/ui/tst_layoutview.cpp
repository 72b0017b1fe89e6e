#include "app/scriptedprompts.h"
#include "effects/selectioneffect.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "model/undomanager.h"
#include "ui/layoutgeometry.h"
#include "ui/layoutview.h"
#include "ui/layoutviewlight.h"
#include "ui/uiresources.h"

#include <QGraphicsScene>
#include <QMenu>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

// The canvas driven as a user drives it: mouse, keys and wheel on the real view, offscreen.
// Lights 1..6 stand in a row at (24, 24), (48, 24), ... (144, 24); light 7 at (24, 96).
class tst_LayoutView : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void snapRule_data();
    void snapRule();
    void clicks_data();
    void clicks();
    void ctrlBandToggles();
    void dragThenUndoThenRedo();
    void slowDragMovesAsFarAsAFastOne();
    void commitRefusals_data();
    void commitRefusals();
    void rotatingOneLightKeepsItInPlace();
    void flipAtNegativeCoordinatesMirrorsToZero();
    void wheel_data();
    void wheel();
    void deleteAnsweredNoOrCancelledHalfway_data();
    void deleteAnsweredNoOrCancelledHalfway();
    void strokeOrdersTheNewGroupAlongTheLine();
    void undoAndRedoGoNewestFirst();

private:
    QPoint at(quint64 uid) const
    {
        return m_view->mapFromScene(m_model->light(uid)->x(), m_model->light(uid)->y());
    }
    void click(quint64 uid, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::mouseClick(m_view->viewport(), Qt::LeftButton, modifiers, at(uid));
    }
    QList<quint64> sortedSelection() const
    {
        QList<quint64> s = m_view->selection();
        std::sort(s.begin(), s.end());
        return s;
    }

    std::unique_ptr<MapModel> m_model;
    std::unique_ptr<SelectionEffect> m_effect;
    std::unique_ptr<QGraphicsScene> m_scene;
    std::unique_ptr<ScriptedPrompts> m_prompts;
    std::unique_ptr<LayoutView> m_view;
    std::unique_ptr<UndoManager> m_undo;
};

void tst_LayoutView::init()
{
    initUiResources();
    m_model = std::make_unique<MapModel>();
    for (quint64 uid = 1; uid <= 7; ++uid) {
        auto light = std::make_unique<Light>();
        light->setUid(uid);
        light->setPosition(uid == 7 ? 24 : 24.0 * uid, uid == 7 ? 96 : 24, 0);
        m_model->addLight(std::move(light));
    }
    m_effect = std::make_unique<SelectionEffect>(m_model.get());
    m_scene = std::make_unique<QGraphicsScene>();
    m_prompts = std::make_unique<ScriptedPrompts>();
    m_view = std::make_unique<LayoutView>(m_model.get(), m_effect.get(), m_scene.get());
    m_view->setPrompts(m_prompts.get());
    m_view->setCanvasSize(1000, 1000);
    m_view->resize(600, 400);
    m_view->show();
    m_view->horizontalScrollBar()->setValue(0);
    m_view->verticalScrollBar()->setValue(0);
    m_undo = std::make_unique<UndoManager>(m_model.get());
    m_undo->setLayoutView(m_view.get());
    connect(m_view.get(), &LayoutView::addUndoActionList, m_undo.get(),
            &UndoManager::addUndoActionList);
    QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
}

void tst_LayoutView::cleanup()
{
    m_undo.reset();
    m_view.reset();
    m_scene.reset();
    m_effect.reset();
    m_model.reset();
}

void tst_LayoutView::snapRule_data()
{
    QTest::addColumn<double>("coordinate");
    QTest::addColumn<int>("snapped");
    QTest::newRow("-5") << -5.0 << 0;
    QTest::newRow("-7: a negative remainder goes toward zero") << -7.0 << 0;
    QTest::newRow("17") << 17.0 << 12;
    QTest::newRow("18") << 18.0 << 24;
    QTest::newRow("35.9 truncates first") << 35.9 << 36;
}

void tst_LayoutView::snapRule()
{
    QFETCH(double, coordinate);
    QFETCH(int, snapped);
    QCOMPARE(LayoutGeometry::snap(coordinate, 12), snapped);
}

// Selection before, the click (light 0 = empty canvas, modifier), the selection after.
void tst_LayoutView::clicks_data()
{
    QTest::addColumn<QList<quint64>>("before");
    QTest::addColumn<quint64>("light");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<QList<quint64>>("after");

    using L = QList<quint64>;
    QTest::newRow("click selects only it") << L{1, 2} << quint64(3) << 0 << L{3};
    QTest::newRow("click on a selected light keeps all") << L{1, 2} << quint64(2) << 0 << L{1, 2};
    QTest::newRow("ctrl-click adds") << L{1} << quint64(3) << int(Qt::ControlModifier) << L{1, 3};
    QTest::newRow("ctrl-click on a selected light drops it")
        << L{1, 2} << quint64(2) << int(Qt::ControlModifier) << L{1};
    QTest::newRow("shift-click on a selected light keeps it")
        << L{1, 2} << quint64(2) << int(Qt::ShiftModifier) << L{1, 2};
    QTest::newRow("click on the canvas clears") << L{1, 2} << quint64(0) << 0 << L{};
    QTest::newRow("ctrl-click on the canvas keeps")
        << L{1, 2} << quint64(0) << int(Qt::ControlModifier) << L{1, 2};
}

void tst_LayoutView::clicks()
{
    QFETCH(QList<quint64>, before);
    QFETCH(quint64, light);
    QFETCH(int, modifiers);
    QFETCH(QList<quint64>, after);
    for (const quint64 uid : before)
        m_view->selectLight(uid, true);
    if (light)
        click(light, Qt::KeyboardModifiers(modifiers));
    else
        QTest::mouseClick(m_view->viewport(), Qt::LeftButton, Qt::KeyboardModifiers(modifiers),
                          m_view->mapFromScene(300, 300));
    QCOMPARE(sortedSelection(), after);
    // The selection effect (what lights up in the room) follows, and the items show it.
    QList<quint64> lit = m_effect->selectedLights();
    std::sort(lit.begin(), lit.end());
    QCOMPARE(lit, after);
    for (quint64 uid = 1; uid <= 7; ++uid)
        QCOMPARE(m_view->itemFor(uid)->isLightSelected(), after.contains(uid));
}

void tst_LayoutView::ctrlBandToggles()
{
    m_view->selectLight(1, true);
    m_view->selectLight(2, true);
    // A band around lights 2 and 3, from empty canvas, with Ctrl: 2 goes, 3 comes.
    const QPoint from = m_view->mapFromScene(40, 10);
    const QPoint to = m_view->mapFromScene(80, 40);
    QTest::mousePress(m_view->viewport(), Qt::LeftButton, Qt::ControlModifier, from);
    QMouseEvent move(QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton, Qt::ControlModifier);
    QCoreApplication::sendEvent(m_view->viewport(), &move);
    QTest::mouseRelease(m_view->viewport(), Qt::LeftButton, Qt::ControlModifier, to);
    QCOMPARE(sortedSelection(), (QList<quint64>{1, 3}));
}

void tst_LayoutView::dragThenUndoThenRedo()
{
    QSignalSpy undoEnabled(m_undo.get(), &UndoManager::undoEnabled);
    QSignalSpy dirty(m_view.get(), &LayoutView::setDirty);
    m_view->selectLight(1, true);
    m_view->selectLight(7, true);
    const QPoint from = at(1);
    QTest::mousePress(m_view->viewport(), Qt::LeftButton, Qt::NoModifier, from);
    const QPoint to = m_view->mapFromScene(24 + 30, 24 + 5);
    QMouseEvent move(QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(m_view->viewport(), &move);
    QTest::mouseRelease(m_view->viewport(), Qt::LeftButton, Qt::NoModifier, to);

    // Both move by (30, 5), each coordinate snapped to the 12 grid (54 -> 60, 29 -> 24).
    QCOMPARE(QPointF(m_model->light(1)->x(), m_model->light(1)->y()), QPointF(60, 24));
    QCOMPARE(QPointF(m_model->light(7)->x(), m_model->light(7)->y()), QPointF(60, 96));
    QVERIFY(!dirty.isEmpty());
    QCOMPARE(m_undo->undoCount(), 1); // one gesture, one list
    QCOMPARE(undoEnabled.last().at(0).toBool(), true);

    m_undo->undo();
    QCOMPARE(QPointF(m_model->light(1)->x(), m_model->light(1)->y()), QPointF(24, 24));
    QCOMPARE(m_view->itemFor(7)->pos(), QPointF(24, 96));
    QVERIFY(!m_undo->canUndo());
    QVERIFY(m_undo->canRedo());
    m_undo->redo();
    QCOMPARE(QPointF(m_model->light(7)->x(), m_model->light(7)->y()), QPointF(60, 96));
    QCOMPARE(m_view->itemFor(1)->pos(), QPointF(60, 24));
}

void tst_LayoutView::slowDragMovesAsFarAsAFastOne()
{
    m_view->selectLight(7, true);
    QTest::mousePress(m_view->viewport(), Qt::LeftButton, Qt::NoModifier, at(7));
    // 24 units right in steps of 2: no single step reaches half a grid step.
    QPoint to;
    for (int dx = 2; dx <= 24; dx += 2) {
        to = m_view->mapFromScene(24 + dx, 96);
        QMouseEvent move(QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(m_view->viewport(), &move);
    }
    QTest::mouseRelease(m_view->viewport(), Qt::LeftButton, Qt::NoModifier, to);
    QCOMPARE(m_model->light(7)->x(), 48.0);
}

// A turn or flip that would put a light on another or off the canvas moves nothing.
void tst_LayoutView::commitRefusals_data()
{
    QTest::addColumn<QList<quint64>>("chosen");
    QTest::addColumn<QString>("gesture");
    QTest::addColumn<bool>("committed");

    using L = QList<quint64>;
    // 2, 4 and 7 turn about (60, 60): 7 lands on light 1 at (24, 24).
    QTest::newRow("turn onto another light") << L{2, 4, 7} << "cw" << false;
    // 1 and 5 turn about (72, 24): 1 lands at (72, -24).
    QTest::newRow("turn off the canvas top") << L{1, 5} << "cw" << false;
    QTest::newRow("turn into free space") << L{5, 6} << "ccw" << true;
    QTest::newRow("flip a row in place") << L{1, 2, 3} << "flipx" << true;
}

void tst_LayoutView::commitRefusals()
{
    QFETCH(QList<quint64>, chosen);
    QFETCH(QString, gesture);
    QFETCH(bool, committed);
    QHash<quint64, QPointF> before;
    for (quint64 uid = 1; uid <= 7; ++uid)
        before.insert(uid, QPointF(m_model->light(uid)->x(), m_model->light(uid)->y()));
    for (const quint64 uid : chosen)
        m_view->selectLight(uid, true);
    if (gesture == QLatin1String("cw"))
        m_view->handleRotateSelectionCW();
    else if (gesture == QLatin1String("ccw"))
        m_view->handleRotateSelectionCCW();
    else
        m_view->handleFlipSelectionHorizontally();
    for (quint64 uid = 1; uid <= 7; ++uid) {
        const QPointF now(m_model->light(uid)->x(), m_model->light(uid)->y());
        QCOMPARE(m_view->itemFor(uid)->pos(), now); // items always show the model
        if (!committed)
            QCOMPARE(now, before.value(uid));
    }
    QCOMPARE(m_undo->undoCount(), committed ? 1 : 0);
}

void tst_LayoutView::rotatingOneLightKeepsItInPlace()
{
    m_view->selectLight(4, true);
    m_view->handleRotateSelectionCW();
    m_view->handleRotateSelectionCCW();
    QCOMPARE(QPointF(m_model->light(4)->x(), m_model->light(4)->y()), QPointF(96, 24));
}

void tst_LayoutView::flipAtNegativeCoordinatesMirrorsToZero()
{
    m_view->setCanvasSize(1000, 1000);
    m_scene->setSceneRect(-500, -500, 1500, 1500);
    m_model->light(1)->setPosition(-48, 24, 0);
    m_view->selectLight(1, true);
    m_view->handleFlipSelectionHorizontally();
    // The span starts at (canvas width, 0) and widens over the selection: from -48 to 0, so
    // the light mirrors onto 0 - (-48 - -48) = 0, not onto itself.
    QCOMPARE(m_model->light(1)->x(), 0.0);
}

// Ctrl with the wheel zooms, one step per event; without Ctrl the view scrolls.
void tst_LayoutView::wheel_data()
{
    QTest::addColumn<int>("delta");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<double>("zoom");
    QTest::newRow("ctrl, one notch up") << 120 << int(Qt::ControlModifier) << 1.25;
    QTest::newRow("ctrl, three notches up: one step") << 360 << int(Qt::ControlModifier) << 1.25;
    QTest::newRow("ctrl, half a notch rounds to a step") << 60 << int(Qt::ControlModifier) << 1.25;
    QTest::newRow("ctrl, a small delta zooms out") << 50 << int(Qt::ControlModifier) << 0.8;
    QTest::newRow("ctrl, down") << -120 << int(Qt::ControlModifier) << 0.8;
    QTest::newRow("no ctrl scrolls") << 120 << 0 << 1.0;
    QTest::newRow("ctrl+shift scrolls")
        << 120 << int(Qt::ControlModifier | Qt::ShiftModifier) << 1.0;
}

void tst_LayoutView::wheel()
{
    QFETCH(int, delta);
    QFETCH(int, modifiers);
    QFETCH(double, zoom);
    const QPoint centre = m_view->viewport()->rect().center();
    QWheelEvent event(centre, m_view->viewport()->mapToGlobal(centre), QPoint(), QPoint(0, delta),
                      Qt::NoButton, Qt::KeyboardModifiers(modifiers), Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(m_view->viewport(), &event);
    QCOMPARE(m_view->zoomFactor(), zoom);
}

void tst_LayoutView::deleteAnsweredNoOrCancelledHalfway_data()
{
    QTest::addColumn<int>("answer");
    QTest::addColumn<int>("cancelAfter");
    QTest::addColumn<int>("remaining");
    QTest::newRow("no") << int(QMessageBox::No) << -1 << 7;
    QTest::newRow("yes") << int(QMessageBox::Yes) << -1 << 1;
    QTest::newRow("cancelled after three") << int(QMessageBox::Yes) << 3 << 4;
}

void tst_LayoutView::deleteAnsweredNoOrCancelledHalfway()
{
    QFETCH(int, answer);
    QFETCH(int, cancelAfter);
    QFETCH(int, remaining);
    for (quint64 uid = 1; uid <= 6; ++uid)
        m_view->selectLight(uid, true);
    m_prompts->messageAnswers.enqueue(QMessageBox::StandardButton(answer));
    int deleted = 0;
    connect(m_model.get(), &MapModel::deletedLight, this, [&] {
        if (++deleted == cancelAfter && m_view->deleteProgress())
            m_view->deleteProgress()->cancel();
    });
    m_view->handleDeleteSelection();
    QCOMPARE(m_prompts->messages().at(0).title, QStringLiteral("Confirm Light Deletion"));
    QCOMPARE(m_model->lightCount(), remaining);
    QCOMPARE(m_view->itemCount(), remaining);
    if (answer == QMessageBox::Yes)
        QVERIFY(m_view->selection().isEmpty());
}

void tst_LayoutView::strokeOrdersTheNewGroupAlongTheLine()
{
    // Drawn from right to left across the row: the group lists 6, 5, 4, 3, 2, 1.
    m_prompts->dialogScripts.enqueue([](QDialog &dialog) {
        dialog.accept();
        return int(QDialog::Accepted);
    });
    QTest::mouseClick(m_view->viewport(), Qt::RightButton, Qt::NoModifier,
                      m_view->mapFromScene(160, 24));
    m_view->popupMenu()->hide();
    m_view->handleCreateGroupInteractively();
    QVERIFY(m_view->isInteractiveGroupMode());
    QTest::mouseMove(m_view->viewport(), m_view->mapFromScene(10, 24));
    QTest::mouseClick(m_view->viewport(), Qt::LeftButton, Qt::NoModifier,
                      m_view->mapFromScene(10, 24));
    QCOMPARE(m_model->groupCount(), 1);
    const Group *group = m_model->groups().constFirst();
    QCOMPARE(group->children(), (QList<quint64>{6, 5, 4, 3, 2, 1}));
}

// Undo takes back the newest gesture first and skips a light deleted since; redo brings back
// the newest undone first; a new gesture forgets what could be redone.
void tst_LayoutView::undoAndRedoGoNewestFirst()
{
    const auto y = [this](quint64 uid) { return m_model->light(uid)->y(); };
    const auto move = [this](const QList<quint64> &uids, int dy) {
        m_view->clearSelection();
        for (const quint64 uid : uids)
            m_view->selectLight(uid, true);
        m_view->moveSelection(QPoint(0, dy));
        QVERIFY(m_view->commitSelection());
    };
    move({1, 2}, 24);
    move({3}, 48);
    QCOMPARE(y(1), 48.0);
    QCOMPARE(y(3), 72.0);
    m_undo->undo();
    QCOMPARE(y(3), 24.0);
    QCOMPARE(y(1), 48.0);
    m_model->removeLight(2);
    m_undo->undo();
    QCOMPARE(y(1), 24.0);
    m_undo->redo();
    QCOMPARE(y(1), 48.0);
    QCOMPARE(y(3), 24.0);
    QVERIFY(m_undo->canRedo());
    move({4}, 24);
    QVERIFY(!m_undo->canRedo());
}

QTEST_MAIN(tst_LayoutView)
#include "tst_layoutview.moc"
