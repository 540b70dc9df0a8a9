#include "notes/Ink.h"

#include "l10n/L10n.h"
#include "platform/Fonts.h"
#include "settings/Settings.h"

#include <QFontDatabase>
#include <QHash>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const Fonts* installedFonts = nullptr;

// What this installation has taught: the lookups by name (asked on every styling pass), the
// faces on offer, and the face of the setting last read.
QHash<QString, std::optional<FontFace>> knownFonts;
std::optional<std::vector<NoteFace>> facesOnOffer;
QString cachedFontName;
std::optional<NoteFace> cachedFace;

const Fonts& fonts()
{
    if (!installedFonts)
        qFatal("Pondrift: Ink used before Ink::install");
    return *installedFonts;
}

// A PostScript name first, as the table names faces. A family name second: some entries are
// family names as well ("Georgia"), which a machine's copy may carry under another PostScript
// name.
std::optional<FontFace> lookUp(const Fonts& lookup, const QString& name)
{
    if (auto face = lookup.byPostScriptName(name))
        return face;
    return lookup.byFamily(name);
}

std::optional<FontFace> installedFace(const QString& name)
{
    if (name.isEmpty())
        return std::nullopt;
    if (auto it = knownFonts.constFind(name); it != knownFonts.cend())
        return *it;
    return *knownFonts.insert(name, lookUp(fonts(), name));
}

QFont sized(QFont font, double size)
{
    font.setPointSizeF(size * 0.75);
    return font;
}

QFont systemFont(double size)
{
    return sized(QFontDatabase::systemFont(QFontDatabase::GeneralFont), size);
}

// Weight, slant and width pick the face within its family. The width is set even when
// normal: left open, a family's condensed face may win over its regular one.
QFont fontOf(const FontFace& face, double size)
{
    QFont font(face.family);
    font.setWeight(face.weight);
    font.setStyle(face.style);
    font.setStretch(face.stretch);
    return sized(font, size);
}

} // namespace

QString NoteFace::localizedName() const
{
    return body.isEmpty() ? L10n::text(u"font.system"_s) : name;
}

namespace Ink {

const std::vector<NoteFace>& allFaces()
{
    static const std::vector<NoteFace> table{
        {u"System"_s, QString(), QString(), 0},
        {u"Noteworthy"_s, u"Noteworthy-Light"_s, u"Noteworthy-Bold"_s, 1.5},
        {u"Bradley Hand"_s, u"BradleyHandITCTT-Bold"_s, u"BradleyHandITCTT-Bold"_s, 1.5},
        {u"Marker Felt"_s, u"MarkerFelt-Thin"_s, u"MarkerFelt-Wide"_s, 1},
        {u"Chalkboard"_s, u"ChalkboardSE-Light"_s, u"ChalkboardSE-Bold"_s, 0},
        {u"Avenir Next"_s, u"AvenirNext-Regular"_s, u"AvenirNext-DemiBold"_s, 0},
        {u"New York"_s, u"NewYork-Regular"_s, u"NewYork-Semibold"_s, 0},
        {u"Georgia"_s, u"Georgia"_s, u"Georgia-Bold"_s, 0},
        {u"Menlo"_s, u"Menlo-Regular"_s, u"Menlo-Bold"_s, -1},
    };
    return table;
}

void install(const Fonts& given)
{
    installedFonts = &given;
    knownFonts.clear();
    facesOnOffer.reset();
    cachedFace.reset();
}

bool fontExists(const QString& name) { return installedFace(name).has_value(); }

std::vector<NoteFace> available(const Fonts& lookup)
{
    std::vector<NoteFace> result;
    for (const NoteFace& f : allFaces()) {
        if (f.body.isEmpty() || lookUp(lookup, f.body))
            result.push_back(f);
    }
    return result;
}

const std::vector<NoteFace>& faces()
{
    if (!facesOnOffer)
        facesOnOffer = available(fonts());
    return *facesOnOffer;
}

NoteFace face(const QString& fontName, const std::vector<NoteFace>& among)
{
    for (const NoteFace& f : among) {
        if (f.body == fontName)
            return f;
    }
    return among.empty() ? allFaces().front() : among.front();
}

NoteFace face()
{
    const QString name = Settings::noteFontName();
    if (!cachedFace || name != cachedFontName) {
        cachedFontName = name;
        cachedFace = face(name, faces());
    }
    return *cachedFace;
}

QFont body(double size) { return body(face(), size); }

QFont body(const NoteFace& f, double size)
{
    if (const auto found = installedFace(f.body))
        return fontOf(*found, size + f.bump);
    return systemFont(size);
}

double tabSize(double scale) { return scale * 9.5; }
double tabSize() { return tabSize(Settings::deckScale()); }

double tabTracking(double scale) { return scale * 0.1; }
double tabTracking() { return tabTracking(Settings::deckScale()); }

QFont tabFont(double scale) { return tabFont(face(), scale); }
QFont tabFont() { return tabFont(Settings::deckScale()); }

QFont tabFont(const NoteFace& f, double scale)
{
    QFont font;
    if (const auto found = installedFace(f.tab)) {
        font = fontOf(*found, tabSize(scale) + f.bump);
    } else {
        font = systemFont(tabSize(scale) - 0.5);
        font.setWeight(QFont::DemiBold);
    }
    font.setLetterSpacing(QFont::AbsoluteSpacing, tabTracking(scale));
    return font;
}

} // namespace Ink
