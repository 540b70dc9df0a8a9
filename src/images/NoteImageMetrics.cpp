#include "images/NoteImageMetrics.h"

#include <algorithm>

namespace NoteImageMetrics {

DisplaySize displaySize(std::optional<QSize> pixelSize, std::optional<double> tokenWidth,
                        double containerWidth)
{
    const double container = std::max(containerWidth, minWidth);
    DisplaySize size;
    size.hasFile = pixelSize && pixelSize->width() > 0 && pixelSize->height() > 0;
    if (tokenWidth && *tokenWidth > 0)
        size.width = std::min(container, std::max(*tokenWidth, minWidth));
    else if (size.hasFile)
        size.width =
            std::min({defaultMaxWidth, container, static_cast<double>(pixelSize->width())});
    else
        size.width = std::min(container, placeholderMaxWidth);
    size.height = size.hasFile ? pixelSize->height() * size.width / pixelSize->width()
                               : placeholderAspect * size.width;
    return size;
}

} // namespace NoteImageMetrics
