#include "images/NoteImageMetrics.h"

#include "images/ImageStore.h"

#include <algorithm>

namespace NoteImageMetrics {

DisplaySize displaySize(const QString& id, std::optional<double> tokenWidth, double containerWidth)
{
    const double container = std::max(containerWidth, minWidth);
    const std::optional<QImage> image = ImageStore::image(id);
    DisplaySize size;
    size.hasFile = image && image->width() > 0 && image->height() > 0;
    if (tokenWidth && *tokenWidth > 0)
        size.width = std::min(container, std::max(*tokenWidth, minWidth));
    else if (size.hasFile)
        size.width = std::min({defaultMaxWidth, container, double(image->width())});
    else
        size.width = std::min(container, placeholderMaxWidth);
    size.height = size.hasFile ? image->height() * size.width / image->width()
                               : placeholderAspect * size.width;
    return size;
}

} // namespace NoteImageMetrics
