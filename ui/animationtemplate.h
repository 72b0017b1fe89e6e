#pragma once

#include <QImage>
#include <QString>

#include <functional>

class MapModel;

// An animation template is a picture of the installation's layout at a coarse grid: one
// pixel per grid cell of the lights' bounding box, white where a light stands and black
// elsewhere. Content made on this picture maps pixel for pixel onto the lights.
class AnimationTemplate final
{
public:
    // Larger templates are refused: they mean the grid is far too fine for the map.
    static constexpr int kMaxSide = 8192;

    struct Result
    {
        QImage image; // null when the template could not be made
        QString error;
    };
    // Told the name of each phase as it begins.
    using PhaseCallback = std::function<void(const QString &phase)>;

    static Result build(const MapModel &model, int gridSize, const PhaseCallback &phase = {});
};
