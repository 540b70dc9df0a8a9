#pragma once

#include <QSize>

#include <optional>

// How big a note's picture shows, in logical pixels.
namespace NoteImageMetrics {

// Room above the picture, and below it, within its line.
inline constexpr double verticalPadding = 3;
inline constexpr double minWidth = 40;
// The widest a picture without a width of its own shows.
inline constexpr double defaultMaxWidth = 320;
inline constexpr double placeholderMaxWidth = 160;
inline constexpr double placeholderAspect = 0.6;

struct DisplaySize {
    double width = 0;
    double height = 0;
    bool hasFile = false;
    friend bool operator==(const DisplaySize&, const DisplaySize&) = default;
};

// The token's width wins, held between minWidth and the container; without one a picture
// shows at its own width up to defaultMaxWidth and the container, never enlarged. A missing
// file (no pixel size, or an empty one) gets a placeholder of 0.6 × its width in height.
DisplaySize displaySize(std::optional<QSize> pixelSize, std::optional<double> tokenWidth,
                        double containerWidth);

} // namespace NoteImageMetrics
