#include "notes/Ink.h"

#include "l10n/L10n.h"
#include "settings/Settings.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QHash>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

QFont sized(QFont font, double size)
{
    font.setPointSizeF(size * 0.75);
    return font;
}

QFont systemFont(double size)
{
    return sized(QFontDatabase::systemFont(QFontDatabase::GeneralFont), size);
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

bool fontExists(const QString& name)
{
    if (name.isEmpty())
        return false;
    // Asked on every styling pass; a font installed while the program runs counts from the
    // next start.
    static QHash<QString, bool> known;
    if (auto it = known.constFind(name); it != known.cend())
        return *it;
    bool exists = QFontDatabase::families().contains(name, Qt::CaseInsensitive);
    if (!exists) {
        // Font matching always finds some font; only an exact family match means this one.
        QFont font(name);
        font.setPointSizeF(12);
        exists = QFontInfo(font).family().compare(name, Qt::CaseInsensitive) == 0;
    }
    known.insert(name, exists);
    return exists;
}

std::vector<NoteFace> available(const std::function<bool(const QString&)>& exists)
{
    std::vector<NoteFace> result;
    for (const NoteFace& f : allFaces()) {
        if (f.body.isEmpty() || exists(f.body))
            result.push_back(f);
    }
    return result;
}

const std::vector<NoteFace>& faces()
{
    static const std::vector<NoteFace> onThisMachine = available(fontExists);
    return onThisMachine;
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
    static QString cachedName;
    static std::optional<NoteFace> cachedFace;
    const QString name = Settings::noteFontName();
    if (!cachedFace || name != cachedName) {
        cachedName = name;
        cachedFace = face(name, faces());
    }
    return *cachedFace;
}

QFont body(double size) { return body(face(), size); }

QFont body(const NoteFace& f, double size)
{
    if (!f.body.isEmpty() && fontExists(f.body))
        return sized(QFont(f.body), size + f.bump);
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
    if (!f.tab.isEmpty() && fontExists(f.tab)) {
        font = sized(QFont(f.tab), tabSize(scale) + f.bump);
    } else {
        font = systemFont(tabSize(scale) - 0.5);
        font.setWeight(QFont::DemiBold);
    }
    font.setLetterSpacing(QFont::AbsoluteSpacing, tabTracking(scale));
    return font;
}

} // namespace Ink
