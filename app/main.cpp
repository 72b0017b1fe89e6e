#include "model/mapmodel.h"
#include "ui/modelprogressdialog.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFileInfo>
#include <QLabel>
#include <QMainWindow>
#include <QStatusBar>

int main(int argc, char *argv[])
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Taviren"));
    QCoreApplication::setApplicationName(QStringLiteral("Orrery"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Commissioning tool for networked LED lighting."));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("map"), QStringLiteral("Map file to open."));
    parser.process(app);

    QMainWindow window;
    MapModel model;
    ModelProgressDialog progress(model, &window);
    QObject::connect(&model, &MapModel::msg, window.statusBar(),
                     [&window](const QString &text) { window.statusBar()->showMessage(text, 5000); });

    QString title = QStringLiteral("Orrery");
    if (!parser.positionalArguments().isEmpty()) {
        const QString path = parser.positionalArguments().constFirst();
        if (model.loadFromFile(path))
            title += QLatin1Char(' ') + QFileInfo(path).fileName();
    }
    window.setWindowTitle(title);
    auto *count = new QLabel(QStringLiteral(" Node Count : %1").arg(model.lightCount()));
    window.statusBar()->addPermanentWidget(count);
    window.resize(1024, 700);
    window.show();
    return app.exec();
}
