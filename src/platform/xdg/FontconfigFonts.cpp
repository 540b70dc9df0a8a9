#include "platform/xdg/FontconfigFonts.h"

#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <tuple>

namespace {

struct FontSetRelease {
    void operator()(FcFontSet* set) const { FcFontSetDestroy(set); }
};
using FontSet = std::unique_ptr<FcFontSet, FontSetRelease>;

QString stringAt(FcPattern* pattern, const char* object, int index)
{
    FcChar8* value = nullptr;
    if (FcPatternGetString(pattern, object, index, &value) != FcResultMatch)
        return {};
    return QString::fromUtf8(reinterpret_cast<const char*>(value));
}

// Every face one of whose values of the object fontconfig takes for the name. Its own
// comparison is looser than ours (a family matches without its blanks), and no substitution
// takes place in a listing, so a generic name such as "sans-serif" lists nothing.
FontSet listed(const char* object, const QString& name)
{
    FcPattern* pattern = FcPatternCreate();
    if (!pattern)
        return nullptr;
    const QByteArray utf8 = name.toUtf8();
    FcPatternAddString(pattern, object, reinterpret_cast<const FcChar8*>(utf8.constData()));
    FcObjectSet* objects = FcObjectSetBuild(FC_FAMILY, FC_STYLE, FC_POSTSCRIPT_NAME, FC_WEIGHT,
                                            FC_SLANT, FC_WIDTH, FC_VARIABLE, nullptr);
    FontSet set;
    if (objects) {
        // A null configuration is the current one, loaded on first use, which Qt shares.
        set.reset(FcFontList(nullptr, pattern, objects));
        FcObjectSetDestroy(objects);
    }
    FcPatternDestroy(pattern);
    return set;
}

bool hasValue(FcPattern* pattern, const char* object, const QString& name, Qt::CaseSensitivity cs)
{
    for (int i = 0;; ++i) {
        FcChar8* value = nullptr;
        if (FcPatternGetString(pattern, object, i, &value) != FcResultMatch)
            return false;
        if (QString::fromUtf8(reinterpret_cast<const char*>(value)).compare(name, cs) == 0)
            return true;
    }
}

// A variable font is listed once as a whole, with ranges for weight and width, besides once
// for each of its named instances; only the instances are faces Qt can be asked for.
bool isWholeVariableFont(FcPattern* pattern)
{
    FcBool variable = FcFalse;
    return FcPatternGetBool(pattern, FC_VARIABLE, 0, &variable) == FcResultMatch && variable;
}

std::optional<FontFace> faceOf(FcPattern* pattern)
{
    FontFace face;
    // Qt registers a face under its first family and style; later ones are other languages'
    // names or subfamilies, which Qt only knows as aliases of the first.
    face.family = stringAt(pattern, FC_FAMILY, 0);
    if (face.family.isEmpty())
        return std::nullopt;
    face.styleName = stringAt(pattern, FC_STYLE, 0);
    double weight = FC_WEIGHT_REGULAR;
    if (FcPatternGetDouble(pattern, FC_WEIGHT, 0, &weight) != FcResultMatch)
        weight = FC_WEIGHT_REGULAR;
    // Both fontconfig's own scale and OpenType's, which QFont::Weight follows, run by steps
    // that are not evenly spaced; fontconfig knows the mapping between them.
    const double openType = FcWeightToOpenTypeDouble(weight);
    if (openType > 0)
        face.weight = static_cast<QFont::Weight>(std::lround(std::clamp(openType, 1.0, 1000.0)));
    int slant = FC_SLANT_ROMAN;
    if (FcPatternGetInteger(pattern, FC_SLANT, 0, &slant) == FcResultMatch) {
        if (slant == FC_SLANT_ITALIC)
            face.style = QFont::StyleItalic;
        else if (slant == FC_SLANT_OBLIQUE)
            face.style = QFont::StyleOblique;
    }
    double width = FC_WIDTH_NORMAL;
    if (FcPatternGetDouble(pattern, FC_WIDTH, 0, &width) == FcResultMatch && width > 0)
        face.stretch = static_cast<int>(std::lround(std::clamp(width, 1.0, 4000.0)));
    return face;
}

} // namespace

std::optional<FontFace> FontconfigFonts::byPostScriptName(const QString& name) const
{
    if (name.isEmpty())
        return std::nullopt;
    const FontSet set = listed(FC_POSTSCRIPT_NAME, name);
    for (int i = 0; set && i < set->nfont; ++i) {
        FcPattern* font = set->fonts[i];
        if (!isWholeVariableFont(font)
            && hasValue(font, FC_POSTSCRIPT_NAME, name, Qt::CaseSensitive))
            return faceOf(font);
    }
    return std::nullopt;
}

std::optional<FontFace> FontconfigFonts::byFamily(const QString& family) const
{
    if (family.isEmpty())
        return std::nullopt;
    const FontSet set = listed(FC_FAMILY, family);
    std::optional<FontFace> plainest;
    // Upright before slanted, then nearest the normal width, then nearest a regular weight,
    // the lighter of two equally near.
    const auto plainness = [](const FontFace& f) {
        return std::tuple(f.style != QFont::StyleNormal, std::abs(f.stretch - 100),
                          std::abs(f.weight - 400), static_cast<int>(f.weight));
    };
    for (int i = 0; set && i < set->nfont; ++i) {
        FcPattern* font = set->fonts[i];
        if (isWholeVariableFont(font) || !hasValue(font, FC_FAMILY, family, Qt::CaseInsensitive))
            continue;
        const std::optional<FontFace> face = faceOf(font);
        if (face && (!plainest || plainness(*face) < plainness(*plainest)))
            plainest = face;
    }
    return plainest;
}
