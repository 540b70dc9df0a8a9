#pragma once

#include <QtGlobal>

// A range of UTF-16 code units, as QString and QTextDocument positions count them.
struct TextRange {
    static constexpr qsizetype NotFound = -1;

    qsizetype location = NotFound;
    qsizetype length = 0;

    constexpr qsizetype end() const { return location + length; }
    constexpr bool isValid() const { return location >= 0 && length >= 0; }
    constexpr bool contains(qsizetype position) const
    {
        return position >= location && position < end();
    }
    // Length of the overlap of two ranges; 0 when they only touch or are apart.
    constexpr qsizetype intersectionLength(TextRange other) const
    {
        const qsizetype start = std::max(location, other.location);
        const qsizetype stop = std::min(end(), other.end());
        return stop > start ? stop - start : 0;
    }
    friend constexpr bool operator==(TextRange, TextRange) = default;
};
