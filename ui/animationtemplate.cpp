#include "ui/animationtemplate.h"

#include "model/light.h"
#include "model/mapmodel.h"

#include <cmath>
#include <limits>

AnimationTemplate::Result AnimationTemplate::build(const MapModel &model, int gridSize,
                                                   const PhaseCallback &phase)
{
    auto report = [&phase](const QString &text) {
        if (phase)
            phase(text);
    };
    if (gridSize < 1)
        return {{}, QStringLiteral("The grid size must be at least 1.")};

    report(QStringLiteral("Analyzing Map Geometry..."));
    const QList<Light *> lights = model.lights();
    double minX = std::numeric_limits<double>::max(), minY = minX;
    double maxX = std::numeric_limits<double>::lowest(), maxY = maxX;
    for (const Light *light : lights) {
        if (!std::isfinite(light->x()) || !std::isfinite(light->y()))
            continue;
        minX = std::min(minX, light->x());
        minY = std::min(minY, light->y());
        maxX = std::max(maxX, light->x());
        maxY = std::max(maxY, light->y());
    }
    if (minX > maxX)
        return {{}, QStringLiteral("The map has no lights to build a template from.")};
    const double columns = std::floor((maxX - minX) / gridSize) + 1;
    const double rows = std::floor((maxY - minY) / gridSize) + 1;
    if (columns > kMaxSide || rows > kMaxSide)
        return {{},
                QStringLiteral("A grid size of %1 gives a template of %2 x %3 pixels; the largest "
                               "is %4 x %4. Choose a larger grid size.")
                    .arg(gridSize)
                    .arg(columns, 0, 'f', 0)
                    .arg(rows, 0, 'f', 0)
                    .arg(kMaxSide)};

    report(QStringLiteral("Initializing Image Buffer..."));
    QImage image(static_cast<int>(columns), static_cast<int>(rows), QImage::Format_RGB32);
    if (image.isNull())
        return {{}, QStringLiteral("Not enough memory for the template image.")};
    image.fill(Qt::black);

    report(QStringLiteral("Creating Template..."));
    for (const Light *light : lights) {
        if (!std::isfinite(light->x()) || !std::isfinite(light->y()))
            continue;
        const int x = static_cast<int>(std::floor((light->x() - minX) / gridSize));
        const int y = static_cast<int>(std::floor((light->y() - minY) / gridSize));
        image.setPixel(x, y, qRgb(255, 255, 255));
    }
    return {image, {}};
}
