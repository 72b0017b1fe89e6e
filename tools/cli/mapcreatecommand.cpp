#include "mapcreatecommand.h"

#include "clicommand.h"
#include "devices/definitionpropertyformat.h"
#include "devices/devicedictionary.h"
#include "devices/deviceresources.h"
#include "layout/creationrules.h"
#include "layout/fixturetypes.h"
#include "layout/lightcreator.h"
#include "model/datasupply.h"
#include "model/mapmodel.h"

#include <QCommandLineParser>

#include <memory>
#include <optional>

using namespace CreationRules;

QString mapCreateSynopsis()
{
    return QStringLiteral(
    "       orrery-cli map new OUT\n"
    "       orrery-cli map add-lights IN OUT --count N [--vertical|--horizontal]\n"
    "                  [--new-interface|--interface SERIAL] [--port P] [--base-dmx A]\n"
    "                  [--base-name NAME] [--fixture TYPE] [--ports N] [--grid G]\n"
    "       orrery-cli map add-string IN OUT --shape horizontal|vertical|backslash|slash|tile\n"
    "                  [--rows R] [--columns C] [--order ORDER] [the options of add-lights]");
}

QString mapCreateHelp()
{
    return QStringLiteral(
    "  new         write an empty map\n"
    "  add-lights  add a row (below the map's lights) or column (right of them) of lights\n"
    "  add-string  add a string of lights below the map's lights; ORDER is where numbering\n"
    "              starts and how it runs: [snake-|raster-]top-left|top-right|bottom-left|\n"
    "              bottom-right (default snake-top-left)");
}

namespace {

QString usage()
{
    return QStringLiteral("Usage:\n") + mapCreateSynopsis() + QStringLiteral("\n\n")
        + mapCreateHelp();
}

// The options add-lights and add-string share, with the dialogs' defaults.
struct CommonOptions
{
    QCommandLineOption newInterface{QStringLiteral("new-interface"),
                                    QStringLiteral("Put the lights on a new interface.")};
    QCommandLineOption interface{QStringLiteral("interface"),
                                 QStringLiteral("Existing interface by hexadecimal serial."),
                                 QStringLiteral("SERIAL")};
    QCommandLineOption port{QStringLiteral("port"), QStringLiteral("First port (1)."),
                            QStringLiteral("P"), QStringLiteral("1")};
    QCommandLineOption baseDmx{QStringLiteral("base-dmx"), QStringLiteral("Base DMX address (1)."),
                               QStringLiteral("A"), QStringLiteral("1")};
    QCommandLineOption baseName{QStringLiteral("base-name"),
                                QStringLiteral("Base light name (\"Light\")."),
                                QStringLiteral("NAME"), QStringLiteral("Light")};
    QCommandLineOption fixture{QStringLiteral("fixture"),
                               QStringLiteral("Fixture type (\"Generic 3-Ch\")."),
                               QStringLiteral("TYPE"), FixtureTypes::kGeneric3Ch};
    QCommandLineOption ports{QStringLiteral("ports"),
                             QStringLiteral("Ports the lights may fill (1)."),
                             QStringLiteral("N"), QStringLiteral("1")};
    QCommandLineOption grid{QStringLiteral("grid"), QStringLiteral("Grid step (12)."),
                            QStringLiteral("G"), QStringLiteral("12")};

    void addTo(QCommandLineParser &parser) const
    {
        parser.addOptions({newInterface, interface, port, baseDmx, baseName, fixture, ports, grid});
        parser.addPositionalArgument(QStringLiteral("IN"), QStringLiteral("Map file to read."));
        parser.addPositionalArgument(QStringLiteral("OUT"), QStringLiteral("Map file to write."));
    }
};

std::optional<int> intValue(const QCommandLineParser &parser, const QCommandLineOption &option,
                            int minimum, int maximum)
{
    bool ok = false;
    const int value = parser.value(option).toInt(&ok);
    if (!ok || value < minimum || value > maximum) {
        err() << "orrery-cli: --" << option.names().constFirst() << " takes a number from "
              << minimum << " to " << maximum << "\n"
              << Qt::flush;
        return std::nullopt;
    }
    return value;
}

// Fills the request's interface, port, DMX, name and fixture choices; false on bad arguments.
bool readCommon(const QCommandLineParser &parser, const CommonOptions &o, CreationRequest &r,
                int &grid)
{
    if (parser.positionalArguments().size() != 2) {
        err() << "orrery-cli: takes IN and OUT\n" << usage() << Qt::endl;
        return false;
    }
    if (parser.isSet(o.newInterface) && parser.isSet(o.interface)) {
        err() << "orrery-cli: --new-interface and --interface exclude each other" << Qt::endl;
        return false;
    }
    if (parser.isSet(o.interface)) {
        r.interfaceChoice = CreationRequest::InterfaceChoice::Existing;
        r.interfaceText = parser.value(o.interface);
    }
    const auto port = intValue(parser, o.port, 1, kMaxPortNumber);
    const auto baseDmx = intValue(parser, o.baseDmx, 1, kChannelsPerPort);
    const auto ports = intValue(parser, o.ports, 1, kMaxPortNumber);
    const auto gridValue = intValue(parser, o.grid, 1, 10000);
    if (!port || !baseDmx || !ports || !gridValue)
        return false;
    r.port = *port;
    r.baseDmxAddress = *baseDmx;
    r.ports = *ports;
    grid = *gridValue;
    r.baseName = parser.value(o.baseName);
    const QString fixture = parser.value(o.fixture);
    const DeviceDictionary &dictionary = *DeviceDictionary::instance();
    if (!FixtureTypes::exists(dictionary, fixture)) {
        err() << "orrery-cli: unknown fixture type: " << fixture << "\n  "
              << FixtureTypes::names(dictionary).join(QStringLiteral("\n  ")) << Qt::endl;
        return false;
    }
    r.properties = FixtureTypes::defaultProperties(dictionary, fixture);
    return true;
}

int createAndSave(MapModel &model, const CreationRequest &request, const QString &outPath)
{
    LightCreator creator(model, request);
    if (const auto problem = creator.prepare()) {
        err() << problem->title << ": " << problem->text << Qt::endl;
        return ExitFailure;
    }
    creator.run(progressInterval(creator.total()), {});
    if (!model.saveToFile(outPath)) {
        err() << "orrery-cli: unable to save file " << outPath << Qt::endl;
        return ExitFailure;
    }
    out() << "Added " << creator.createdLights().size() << " lights of "
          << creator.channelsPerLight() << " DMX channels to "
          << (creator.createdSupply() ? "new interface " : "interface ")
          << model.dataSupply(creator.supplyUid())->name() << "; wrote " << outPath << Qt::endl;
    return ExitOk;
}

std::optional<StringShape> shapeFromText(const QString &text)
{
    static const QStringList kShapes = {QStringLiteral("horizontal"), QStringLiteral("vertical"),
                                        QStringLiteral("backslash"), QStringLiteral("slash"),
                                        QStringLiteral("tile")};
    const int index = kShapes.indexOf(text);
    if (index < 0)
        return std::nullopt;
    return StringShape(index);
}

std::optional<NumberingOrder> orderFromText(QString text)
{
    NumberingOrder order;
    if (text.startsWith(QLatin1String("raster-"))) {
        order.raster = true;
        text.remove(0, 7);
    } else if (text.startsWith(QLatin1String("snake-"))) {
        text.remove(0, 6);
    }
    const QStringList corners = {QStringLiteral("top-left"), QStringLiteral("top-right"),
                                 QStringLiteral("bottom-left"), QStringLiteral("bottom-right")};
    const int corner = corners.indexOf(text);
    if (corner < 0)
        return std::nullopt;
    order.rightToLeft = corner % 2 == 1;
    order.bottomToTop = corner >= 2;
    return order;
}

bool loadForCreation(MapModel &model, const QString &path)
{
    QStringList messages;
    return loadMapFile(model, path, messages);
}

} // namespace

int runMapNew(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("OUT"), QStringLiteral("Map file to write."));
    if (int status = parseCommandLine(parser, arguments, usage()); status >= 0)
        return status;
    if (parser.positionalArguments().size() != 1) {
        err() << "orrery-cli: map new takes OUT\n" << usage() << Qt::endl;
        return ExitUsage;
    }
    DeviceResources::registerResources();
    MapModel model;
    model.setPropertyFormat(std::make_shared<DefinitionPropertyFormat>());
    const QString path = parser.positionalArguments().constFirst();
    if (!model.saveToFile(path)) {
        err() << "orrery-cli: unable to save file " << path << Qt::endl;
        return ExitFailure;
    }
    out() << "Wrote an empty map to " << path << Qt::endl;
    return ExitOk;
}

int runMapAddLights(const QStringList &arguments)
{
    QCommandLineParser parser;
    const CommonOptions common;
    const QCommandLineOption count(QStringLiteral("count"), QStringLiteral("Number of lights."),
                                   QStringLiteral("N"));
    const QCommandLineOption vertical(QStringLiteral("vertical"),
                                      QStringLiteral("A column right of the map's lights."));
    const QCommandLineOption horizontal(QStringLiteral("horizontal"),
                                        QStringLiteral("A row below the map's lights (default)."));
    parser.addOptions({count, vertical, horizontal});
    common.addTo(parser);
    if (int status = parseCommandLine(parser, arguments, usage()); status >= 0)
        return status;
    DeviceResources::registerResources();
    CreationRequest request;
    int grid = 12;
    if (!readCommon(parser, common, request, grid))
        return ExitUsage;
    if (!parser.isSet(count) || (parser.isSet(vertical) && parser.isSet(horizontal))) {
        err() << "orrery-cli: map add-lights needs --count and at most one of --vertical and "
                 "--horizontal"
              << Qt::endl;
        return ExitUsage;
    }
    const auto n = intValue(parser, count, 0, kMaxLights);
    if (!n)
        return ExitUsage;

    MapModel model;
    if (!loadForCreation(model, parser.positionalArguments().at(0)))
        return ExitFailure;
    request.positions =
        runPositions(*n, parser.isSet(vertical) ? RunDirection::Vertical : RunDirection::Horizontal,
                     grid, LightCreator::lightBounds(model));
    return createAndSave(model, request, parser.positionalArguments().at(1));
}

int runMapAddString(const QStringList &arguments)
{
    QCommandLineParser parser;
    const CommonOptions common;
    const QCommandLineOption shape(QStringLiteral("shape"), QStringLiteral("Shape of the string."),
                                   QStringLiteral("SHAPE"));
    const QCommandLineOption rows(QStringLiteral("rows"), QStringLiteral("Rows (1)."),
                                  QStringLiteral("R"), QStringLiteral("1"));
    const QCommandLineOption columns(QStringLiteral("columns"), QStringLiteral("Columns (1)."),
                                     QStringLiteral("C"), QStringLiteral("1"));
    const QCommandLineOption order(QStringLiteral("order"), QStringLiteral("Numbering order."),
                                   QStringLiteral("ORDER"), QStringLiteral("snake-top-left"));
    parser.addOptions({shape, rows, columns, order});
    common.addTo(parser);
    if (int status = parseCommandLine(parser, arguments, usage()); status >= 0)
        return status;
    DeviceResources::registerResources();
    CreationRequest request;
    int grid = 12;
    if (!readCommon(parser, common, request, grid))
        return ExitUsage;
    const auto shapeValue = shapeFromText(parser.value(shape));
    const auto orderValue = orderFromText(parser.value(order));
    if (!shapeValue || !orderValue) {
        err() << "orrery-cli: map add-string needs a --shape and a known --order\n"
              << usage() << Qt::endl;
        return ExitUsage;
    }
    const auto rowCount = intValue(parser, rows, 1, kMaxLights);
    const auto columnCount = intValue(parser, columns, 1, kMaxLights);
    if (!rowCount || !columnCount)
        return ExitUsage;
    const ShapeRaster raster = rasterFor(*shapeValue, *rowCount, *columnCount);
    if (qint64(raster.rows) * raster.columns > kMaxLights) {
        err() << "orrery-cli: at most " << kMaxLights << " lights at once" << Qt::endl;
        return ExitUsage;
    }

    MapModel model;
    if (!loadForCreation(model, parser.positionalArguments().at(0)))
        return ExitFailure;
    const QPoint origin =
        stringOrigin(raster, StringPlacement::Below, grid, LightCreator::lightBounds(model));
    request.positions = stringPositions(raster, grid, origin);
    request.numbering = numberingSequence(raster, *orderValue);
    return createAndSave(model, request, parser.positionalArguments().at(1));
}
