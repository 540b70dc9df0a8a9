#pragma once

#include <QFont>
#include <QString>

#include <optional>

// One installed font face, told the way the toolkit's font matching tells faces apart: a
// family and, within it, a weight, a slant and a width.
struct FontFace {
    // The family the toolkit lists the face under.
    QString family;
    // The face's own name within its family ("Bold", "Condensed Italic"), as the toolkit lists
    // it. Not needed to pick the face: a font that named its style would no longer turn bold
    // or italic when a run of text asks it to.
    QString styleName;
    QFont::Weight weight = QFont::Normal;
    QFont::Style style = QFont::StyleNormal;
    // Width in percent of the family's normal width, as QFont::Stretch counts it.
    int stretch = QFont::Unstretched;

    friend bool operator==(const FontFace&, const FontFace&) = default;
};

// The fonts installed on this machine, looked up by name. Font matching on the desktop always
// answers with some font, a substitute when the name is unknown; these lookups answer only
// with a face whose name is exactly the one asked for, and nothing otherwise.
class Fonts {
public:
    virtual ~Fonts() = default;
    Fonts() = default;
    Fonts(const Fonts&) = delete;
    Fonts& operator=(const Fonts&) = delete;

    // The face whose PostScript name is the name ("DejaVuSans-Bold"), matched with its case.
    virtual std::optional<FontFace> byPostScriptName(const QString& name) const = 0;
    // The plainest face of the family of that name ("DejaVu Sans"), whatever its case:
    // upright, of normal width and nearest a regular weight.
    virtual std::optional<FontFace> byFamily(const QString& family) const = 0;
};
