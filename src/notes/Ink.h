#pragma once

#include <QFont>
#include <QString>

#include <vector>

class Fonts;

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
//
// A face's fonts are named as the faces table names them, by PostScript name; a name is
// looked for among the installed fonts as a PostScript name first and as a family name
// second. Main thread only.
namespace Ink {

// Where fonts are looked up. The program installs its backend once at start; tests install
// their own. Installing drops what was learnt from the one before. REQUIRES: fonts outlives
// its installation, and install runs before faces, face(), fontExists, body and tabFont
// (one without it ends the process).
void install(const Fonts& fonts);

// Every face the program knows, whether or not this machine has its fonts.
const std::vector<NoteFace>& allFaces();
// The faces of allFaces, in order, whose body is empty or a font the installed lookup finds;
// the system face always comes first. Computed once for each installation.
const std::vector<NoteFace>& faces();
// The same filter over any lookup, computed afresh.
std::vector<NoteFace> available(const Fonts& fonts);
// The face whose body is the name, else the first of faces (the system face).
NoteFace face(const QString& fontName, const std::vector<NoteFace>& faces);
// The face of Settings::noteFontName, with a one-entry cache on the name.
NoteFace face();

// Whether the installed lookup finds the name; remembered, so a font installed while the
// program runs counts from the next start.
bool fontExists(const QString& name);

// The face's body font at size plus its bump, or the system font at size without the bump.
// A body font is chosen by family, weight, slant and width, never by style name, so that a
// bold or italic run of text still finds the family's bold or italic.
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
