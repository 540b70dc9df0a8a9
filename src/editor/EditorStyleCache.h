#pragma once

#include "editor/MarkdownRuns.h"

#include <QColor>
#include <QFont>
#include <QHash>
#include <QString>
#include <QTextCharFormat>

#include <array>
#include <list>
#include <optional>
#include <utility>

// A hash that never holds more than its limit: when full, the next insertion starts it over.
// Emptying whole is as good as any finer rule for memories this small and this cheap to fill.
template <typename Key, typename Value>
class BoundedHash {
public:
    explicit BoundedHash(qsizetype limit)
        : limit(limit)
    {
    }

    // Valid until the next insert.
    const Value* find(const Key& key) const
    {
        const auto it = map.constFind(key);
        return it == map.cend() ? nullptr : &*it;
    }
    const Value& insert(const Key& key, Value value)
    {
        if (map.size() >= limit)
            map.clear();
        return *map.insert(key, std::move(value));
    }
    qsizetype size() const { return map.size(); }

private:
    QHash<Key, Value> map;
    qsizetype limit;
};

// What styling passes keep between keystrokes: the formats, faces and line-height sizes of a
// few configurations (ink, size and body face), and the addresses links follow. Owned by
// whoever styles (each note text view holds one) and handed to every pass; main thread only.
// Two notes of different colours thus never empty each other's memory.
//
// Bounded: configurationsKept configurations, the least recently used dropped, and at most
// entriesKept entries in each of their maps and in the addresses.
class EditorStyleCache {
public:
    static constexpr int configurationsKept = 4;
    static constexpr qsizetype entriesKept = 512;

    using LinkKey = std::pair<quint64, QString>;

    // The memory of one configuration. Formats are keyed by the styling engine's own packing
    // of attributes; a link's format by that and its address.
    struct Configuration {
        QColor ink;
        double size = 0;
        QFont base;
        BoundedHash<quint64, QTextCharFormat> formats{entriesKept};
        BoundedHash<LinkKey, QTextCharFormat> linkFormats{entriesKept};
        // The point size of a hidden face whose line box holds a height, by height.
        BoundedHash<double, double> lineHeightPoints{entriesKept};
        // One face per MarkdownRuns::FontSlot, heading levels included.
        std::array<std::optional<QFont>, MarkdownRuns::HeadingFont + 6> fonts;
    };

    // The memory of the configuration, made or brought forward. The reference holds until
    // configurationsKept other configurations have been asked for.
    Configuration& configuration(const QColor& ink, double size, const QFont& base);
    qsizetype configurationCount() const { return static_cast<qsizetype>(kept.size()); }

    // MarkdownRuns::followableHref, remembered: every keystroke on a line with a link asks
    // again for the same address, and parsing and writing a URL back out is the dear part.
    std::optional<QString> followableHref(const QString& address);

private:
    std::list<Configuration> kept; // most recently used first
    BoundedHash<QString, std::optional<QString>> hrefs{entriesKept};
};
