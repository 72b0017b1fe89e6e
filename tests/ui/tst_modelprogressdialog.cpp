#include "ui/modelprogressdialog.h"

#include "model/light.h"
#include "model/mapmodel.h"

#include <QBuffer>
#include <QTimer>
#include <QtTest>

#include <algorithm>

// The model's long operations shown as a dialog. Whatever an operation reported, once it is
// over nothing may be left that would show the dialog: shown modal and never closed, it
// would hold the window and any message box after it.
class tst_ModelProgressDialog : public QObject
{
    Q_OBJECT

private slots:
    void finishedOperationsLeaveNothingOpen_data();
    void finishedOperationsLeaveNothingOpen();
};

void tst_ModelProgressDialog::finishedOperationsLeaveNothingOpen_data()
{
    QTest::addColumn<int>("lights");
    QTest::addColumn<QString>("operation");
    QTest::newRow("clearing an empty map") << 0 << "clear";
    QTest::newRow("clearing a map") << 300 << "clear";
    QTest::newRow("loading a map of nothing") << 0 << "load";
    QTest::newRow("saving an empty map") << 0 << "save";
    QTest::newRow("a save that fails") << 300 << "failed save";
}

void tst_ModelProgressDialog::finishedOperationsLeaveNothingOpen()
{
    QFETCH(int, lights);
    QFETCH(QString, operation);
    MapModel model;
    for (int i = 0; i < lights; ++i) {
        auto light = std::make_unique<Light>();
        light->setUid(quint64(i + 1));
        model.addLight(std::move(light));
    }
    QWidget window;
    window.show();
    ModelProgressDialog dialog(model, &window);
    QSignalSpy started(&model, &MapModel::progressStarted);

    if (operation == QLatin1String("clear")) {
        model.clear();
    } else if (operation == QLatin1String("load")) {
        QByteArray bytes("<map/>");
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        QVERIFY(model.loadFromDevice(buffer));
    } else {
        QBuffer buffer;
        // A device that takes no bytes: the first write fails.
        if (operation != QLatin1String("save"))
            QTest::ignoreMessage(QtWarningMsg, "QIODevice::write (QBuffer): ReadOnly device");
        buffer.open(operation == QLatin1String("save") ? QIODevice::WriteOnly
                                                       : QIODevice::ReadOnly);
        QCOMPARE(model.saveToDevice(buffer), operation == QLatin1String("save"));
    }

    QCOMPARE(started.count(), 1);
    QVERIFY(!dialog.isVisible());
    const QList<QTimer *> timers = dialog.findChildren<QTimer *>();
    QVERIFY(std::none_of(timers.cbegin(), timers.cend(), [](QTimer *t) { return t->isActive(); }));
}

QTEST_MAIN(tst_ModelProgressDialog)
#include "tst_modelprogressdialog.moc"
