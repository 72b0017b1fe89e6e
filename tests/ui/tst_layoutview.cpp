#include "app/scriptedprompts.h"
#include "effects/selectioneffect.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "model/undomanager.h"
#include "support/mapbuild.h"
#include "ui/animationtemplate.h"
#include "ui/layoutgeometry.h"
#include "ui/layoutview.h"
#include "ui/layoutviewlight.h"
#include "ui/uiresources.h"

#include <QGraphicsScene>
#include <QMenu>
#include <QScrollBar>
#include <QSignalSpy>
#include <QtTest>

// The canvas driven as a user drives it: mouse, keys and wheel on the real view, offscreen;
// and the animation template made from its layout.
// Lights 1..6 stand in a row at (24, 24), (48, 24), ... (144, 24); light 7 at (24, 96).
class tst_LayoutView : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void clicks_data();
    void clicks();
    void dragThenUndoThenRedo();
    void commitRefusals_data();
    void commitRefusals();
    void wheel_data();
    void wheel();
    void deleteAnsweredNoOrCancelledHalfway_data();
    void deleteAnsweredNoOrCancelledHalfway();
    void strokeOrdersTheNewGroupAlongTheLine();
    void undoSkipsADeletedLightAndANewGestureDropsRedo();
    void animationTemplate_data();
    void animationTemplate();

private:
    QPoint at(quint64 uid) const
    {
        return m_view->mapFromScene(m_model->light(uid)->x(), m_model->light(uid)->y());
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
    for (quint64 uid = 1; uid <= 7; ++uid)
        MapBuild::lightAt(*m_model, uid == 7 ? 24 : 24.0 * uid, uid == 7 ? 96 : 24, uid);
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

// Selection before, the click (on a light, on empty canvas, or a band dragged from empty
// canvas around lights 2 and 3) with its modifier, the selection after.
void tst_LayoutView::clicks_data()
{
    QTest::addColumn<QList<quint64>>("before");
    QTest::addColumn<QString>("on");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<QList<quint64>>("after");
    using L = QList<quint64>;
    const int ctrl = Qt::ControlModifier;
    QTest::newRow("click selects only it") << L{1, 2} << "3" << 0 << L{3};
    QTest::newRow("click on a selected light keeps all") << L{1, 2} << "2" << 0 << L{1, 2};
    QTest::newRow("ctrl-click adds") << L{1} << "3" << ctrl << L{1, 3};
    QTest::newRow("ctrl-click on a selected light drops it") << L{1, 2} << "2" << ctrl << L{1};
    QTest::newRow("shift-click on a selected light keeps it")
        << L{1, 2} << "2" << int(Qt::ShiftModifier) << L{1, 2};
    QTest::newRow("click on the canvas clears") << L{1, 2} << "canvas" << 0 << L{};
    QTest::newRow("ctrl-click on the canvas keeps") << L{1, 2} << "canvas" << ctrl << L{1, 2};
    QTest::newRow("a ctrl band toggles what it covers") << L{1, 2} << "band" << ctrl << L{1, 3};
}

void tst_LayoutView::clicks()
{
    QFETCH(QList<quint64>, before);
    QFETCH(QString, on);
    QFETCH(int, modifiers);
    QFETCH(QList<quint64>, after);
    const auto keys = Qt::KeyboardModifiers(modifiers);
    for (const quint64 uid : before)
        m_view->selectLight(uid, true);
    if (on == QLatin1String("band")) {
        const QPoint to = m_view->mapFromScene(80, 40);
        QTest::mousePress(m_view->viewport(), Qt::LeftButton, keys, m_view->mapFromScene(40, 10));
        QMouseEvent move(QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton, keys);
        QCoreApplication::sendEvent(m_view->viewport(), &move);
        QTest::mouseRelease(m_view->viewport(), Qt::LeftButton, keys, to);
    } else {
        QTest::mouseClick(m_view->viewport(), Qt::LeftButton, keys,
                          on == QLatin1String("canvas") ? m_view->mapFromScene(300, 300)
                                                        : at(on.toULongLong()));
    }
    // The selection, and the selection effect (what lights up in the room) with it.
    QList<quint64> chosen = m_view->selection();
    QList<quint64> lit = m_effect->selectedLights();
    std::sort(chosen.begin(), chosen.end());
    std::sort(lit.begin(), lit.end());
    QCOMPARE(chosen, after);
    QCOMPARE(lit, after);
}

// A slow drag of two lights by (30, 5) in steps of 2, none reaching half a grid step: the
// steps add up, and each coordinate snaps to the 12 grid (54 -> 60, 29 -> 24; a negative
// remainder goes toward zero, a fraction is cut first). One gesture, one undo step; undo and
// redo move the items with the model.
void tst_LayoutView::dragThenUndoThenRedo()
{
    QSignalSpy dirty(m_view.get(), &LayoutView::setDirty);
    m_view->selectLight(1, true);
    m_view->selectLight(7, true);
    QTest::mousePress(m_view->viewport(), Qt::LeftButton, Qt::NoModifier, at(1));
    QPoint to;
    for (int dx = 2; dx <= 30; dx += 2) {
        to = m_view->mapFromScene(24 + dx, dx < 30 ? 24 : 29);
        QMouseEvent move(QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(m_view->viewport(), &move);
    }
    QTest::mouseRelease(m_view->viewport(), Qt::LeftButton, Qt::NoModifier, to);
    const auto position = [this](quint64 uid) {
        return QPointF(m_model->light(uid)->x(), m_model->light(uid)->y());
    };
    QCOMPARE(position(1), QPointF(60, 24));
    QCOMPARE(position(7), QPointF(60, 96));
    QCOMPARE(QPoint(LayoutGeometry::snap(-7, 12), LayoutGeometry::snap(35.9, 12)), QPoint(0, 36));
    QVERIFY(!dirty.isEmpty());
    QCOMPARE(m_undo->undoCount(), 1);
    m_undo->undo();
    QCOMPARE(position(1), QPointF(24, 24));
    QCOMPARE(m_view->itemFor(7)->pos(), QPointF(24, 96));
    m_undo->redo();
    QCOMPARE(position(7), QPointF(60, 96));
    QCOMPARE(m_view->itemFor(1)->pos(), QPointF(60, 24));
}

// A turn or flip that would put a light on another or off the canvas moves nothing; one light
// turns about itself, in place, with nothing to undo. Light 1, where it starts and ends.
void tst_LayoutView::commitRefusals_data()
{
    QTest::addColumn<QList<quint64>>("chosen");
    QTest::addColumn<QString>("gesture");
    QTest::addColumn<bool>("committed");
    QTest::addColumn<QPointF>("from");
    QTest::addColumn<QPointF>("to");
    using L = QList<quint64>;
    const QPointF home(24, 24);
    // 2, 4 and 7 turn about (60, 60): 7 lands on light 1 at (24, 24).
    QTest::newRow("turn onto another light") << L{2, 4, 7} << "cw" << false << home << home;
    // 1 and 5 turn about (72, 24): 1 lands at (72, -24).
    QTest::newRow("turn off the canvas top") << L{1, 5} << "cw" << false << home << home;
    QTest::newRow("turn into free space") << L{5, 6} << "ccw" << true << home << home;
    QTest::newRow("flip a row in place")
        << L{1, 2, 3} << "flipx" << true << home << QPointF(72, 24);
    QTest::newRow("one light turns in place") << L{4} << "cw" << false << home << home;
    // The span starts at (canvas width, 0) and widens over the selection: from -48 to 0, so
    // the light mirrors onto 0 - (-48 - -48) = 0, not onto itself.
    QTest::newRow("a flip left of zero mirrors to zero")
        << L{1} << "flipx" << true << QPointF(-48, 24) << QPointF(0, 24);
}

void tst_LayoutView::commitRefusals()
{
    QFETCH(QList<quint64>, chosen);
    QFETCH(QString, gesture);
    QFETCH(bool, committed);
    QFETCH(QPointF, from);
    QFETCH(QPointF, to);
    m_scene->setSceneRect(-500, -500, 1500, 1500);
    m_model->light(1)->setPosition(from.x(), from.y(), 0);
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
    QCOMPARE(QPointF(m_model->light(1)->x(), m_model->light(1)->y()), to);
    QCOMPARE(m_undo->undoCount(), committed ? 1 : 0);
}

void tst_LayoutView::wheel_data()
{
    QTest::addColumn<int>("delta");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<double>("zoom");
    QTest::newRow("ctrl, three notches up: one step") << 360 << int(Qt::ControlModifier) << 1.25;
    QTest::newRow("no ctrl scrolls") << 120 << 0 << 1.0;
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
    QCOMPARE(m_prompts->shownMessages(),
             QStringList{"question|Confirm Light Deletion|Are you sure that you wish to "
                         "permanently delete the selected lights?"});
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
    QTest::mouseMove(m_view->viewport(), m_view->mapFromScene(10, 24));
    QTest::mouseClick(m_view->viewport(), Qt::LeftButton, Qt::NoModifier,
                      m_view->mapFromScene(10, 24));
    QCOMPARE(m_model->groupCount(), 1);
    const Group *group = m_model->groups().constFirst();
    QCOMPARE(group->children(), (QList<quint64>{6, 5, 4, 3, 2, 1}));
}

// Undo of a gesture whose light was deleted since restores the rest (the order of undo and
// redo: tst_editing); a new gesture forgets what could be redone.
void tst_LayoutView::undoSkipsADeletedLightAndANewGestureDropsRedo()
{
    m_view->selectLight(1, true);
    m_view->selectLight(2, true);
    m_view->moveSelection(QPoint(0, 24));
    QVERIFY(m_view->commitSelection());
    QCOMPARE(m_model->light(1)->y(), 48.0);
    m_model->removeLight(2);
    m_undo->undo();
    QCOMPARE(m_model->light(1)->y(), 24.0);
    QVERIFY(m_undo->canRedo());
    m_view->moveSelection(QPoint(0, 24));
    QVERIFY(m_view->commitSelection());
    QVERIFY(!m_undo->canRedo());
}

// The template is one pixel per grid cell over the lights' extent: white where a light
// stands, black elsewhere. An empty size: the template is refused with a reason.
void tst_LayoutView::animationTemplate_data()
{
    QTest::addColumn<QList<QPointF>>("lights");
    QTest::addColumn<int>("grid");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QList<QPoint>>("white");
    QTest::newRow("row of three") << QList<QPointF>{{48, 48}, {72, 48}, {96, 48}} << 24
                                  << QSize(3, 1) << QList<QPoint>{{0, 0}, {1, 0}, {2, 0}};
    QTest::newRow("coarser grid merges cells") << QList<QPointF>{{0, 0}, {12, 0}, {48, 24}} << 24
                                               << QSize(3, 2) << QList<QPoint>{{0, 0}, {2, 1}};
    QTest::newRow("negative positions") << QList<QPointF>{{-30, -30}, {30, 30}} << 10 << QSize(7, 7)
                                        << QList<QPoint>{{0, 0}, {6, 6}};
    QTest::newRow("refused: no lights") << QList<QPointF>{} << 12 << QSize() << QList<QPoint>{};
    QTest::newRow("refused: zero grid")
        << QList<QPointF>{{0, 0}} << 0 << QSize() << QList<QPoint>{};
    QTest::newRow("refused: grid too fine")
        << QList<QPointF>{{0, 0}, {1e7, 0}} << 1 << QSize() << QList<QPoint>{};
    QTest::newRow("refused: only broken positions")
        << QList<QPointF>{{qInf(), 0}} << 12 << QSize() << QList<QPoint>{};
}

void tst_LayoutView::animationTemplate()
{
    QFETCH(QList<QPointF>, lights);
    QFETCH(int, grid);
    QFETCH(QSize, size);
    QFETCH(QList<QPoint>, white);
    MapModel model;
    for (const QPointF &position : lights)
        MapBuild::lightAt(model, position.x(), position.y());
    QStringList phases;
    const AnimationTemplate::Result result =
        AnimationTemplate::build(model, grid, [&phases](const QString &phase) { phases << phase; });
    if (!size.isValid()) {
        QVERIFY(result.image.isNull());
        QVERIFY(!result.error.isEmpty());
        return;
    }
    QVERIFY2(result.error.isEmpty(), qPrintable(result.error));
    QCOMPARE(phases, (QStringList{"Analyzing Map Geometry...", "Initializing Image Buffer...",
                                  "Creating Template..."}));
    QImage expected(size, QImage::Format_RGB32);
    expected.fill(Qt::black);
    for (const QPoint &pixel : white)
        expected.setPixel(pixel, qRgb(255, 255, 255));
    QCOMPARE(result.image.convertToFormat(QImage::Format_RGB32), expected);
}

QTEST_MAIN(tst_LayoutView)
#include "tst_layoutview.moc"
