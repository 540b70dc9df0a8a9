#pragma once

#include <QFont>
#include <QString>

#include <functional>
#include <vector>

// A note font: the body font for note text and a font for the deck's tab labels, by their
// PostScript names (empty: the system font), and points added to the nominal size.
struct NoteFace {
    QString name;
    QString body;
    QString tab;
    double bump = 0;

    // "font.system" for the system face; other faces by their own, untranslated, names.
    QString localizedName() const;
    friend bool operator==(const NoteFace&, const NoteFace&) = default;
};

// The note fonts and the font decisions of notes and tabs. Sizes are in the points of the
// notes' own design, which are logical pixels; QFont points are 1/72 inch, so the fonts made
// here carry size × 0.75 as their point size (96 logical dpi being the reference).
namespace Ink {

// Every face the program knows, whether or not this machine has its fonts.
const std::vector<NoteFace>& allFaces();
// The faces of allFaces, in order, whose body is empty or a font this machine has; the
// system face always comes first. Computed once.
const std::vector<NoteFace>& faces();
// The same filter with the test for a font given, for callers that know better.
std::vector<NoteFace> available(const std::function<bool(const QString&)>& fontExists);
// The face whose body is the name, else the first of faces (the system face).
NoteFace face(const QString& fontName, const std::vector<NoteFace>& faces);
// The face of Settings::noteFontName, with a one-entry cache on the name.
NoteFace face();

bool fontExists(const QString& name);

// The face's body font at size plus its bump, or the system font at size without the bump.
QFont body(double size);
QFont body(const NoteFace& face, double size);

// Tab metrics for a deck scale; without one, for Settings::deckScale.
double tabSize(double scale);
double tabSize();
double tabTracking(double scale);
double tabTracking();
// The face's tab font at tabSize plus bump, or the semibold system font half a point under
// tabSize; it carries tabTracking as letter spacing.
QFont tabFont(double scale);
QFont tabFont();
QFont tabFont(const NoteFace& face, double scale);

} // namespace Ink
