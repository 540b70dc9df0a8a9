#include "editor/EditorStyleCache.h"

EditorStyleCache::Configuration& EditorStyleCache::configuration(const QColor& ink, double size,
                                                                 const QFont& base)
{
    const auto found = std::find_if(kept.begin(), kept.end(), [&](const Configuration& c) {
        return c.ink == ink && c.size == size && c.base == base;
    });
    if (found != kept.end()) {
        kept.splice(kept.begin(), kept, found);
        return kept.front();
    }
    if (kept.size() >= configurationsKept)
        kept.pop_back();
    Configuration& made = kept.emplace_front();
    made.ink = ink;
    made.size = size;
    made.base = base;
    return made;
}

std::optional<QString> EditorStyleCache::followableHref(const QString& address)
{
    if (const std::optional<QString>* known = hrefs.find(address))
        return *known;
    return hrefs.insert(address, MarkdownRuns::followableHref(address));
}
