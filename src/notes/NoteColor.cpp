#include "notes/NoteColor.h"

#include "l10n/L10n.h"

using namespace Qt::Literals::StringLiterals;

const std::array<NoteColor, 8>& NoteColor::all()
{
    static const std::array<NoteColor, 8> colors{{
        {u"Lemon"_s, QColor(252, 231, 149), QColor(224, 173, 8), QColor(58, 48, 8)},
        {u"Peach"_s, QColor(251, 207, 166), QColor(226, 118, 42), QColor(66, 36, 19)},
        {u"Rose"_s, QColor(250, 196, 209), QColor(220, 69, 112), QColor(64, 22, 31)},
        {u"Lilac"_s, QColor(217, 199, 250), QColor(124, 77, 238), QColor(42, 27, 68)},
        {u"Sky"_s, QColor(190, 221, 250), QColor(34, 128, 214), QColor(19, 41, 58)},
        {u"Mint"_s, QColor(180, 232, 208), QColor(14, 155, 110), QColor(15, 46, 35)},
        {u"Sand"_s, QColor(227, 211, 180), QColor(163, 123, 60), QColor(55, 44, 24)},
        {u"Slate"_s, QColor(203, 214, 226), QColor(78, 101, 121), QColor(26, 36, 46)},
    }};
    return colors;
}

const NoteColor& NoteColor::at(qint64 index)
{
    const auto count = static_cast<qint64>(all().size());
    return all()[static_cast<std::size_t>(((index % count) + count) % count)];
}

QString NoteColor::localizedKey() const { return u"color."_s + name.toLower(); }

QString NoteColor::localizedName() const { return L10n::text(localizedKey()); }
