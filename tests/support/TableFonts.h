#pragma once

#include "platform/Fonts.h"

#include <QHash>

// Installed fonts from two tables, by PostScript name and by family name. Point the names at
// faces that are really installed (DejaVu's) and the fonts made of them can be measured.
class TableFonts final : public Fonts {
public:
    std::optional<FontFace> byPostScriptName(const QString& name) const override
    {
        if (auto it = postScriptNames.constFind(name); it != postScriptNames.cend())
            return *it;
        return std::nullopt;
    }
    std::optional<FontFace> byFamily(const QString& family) const override
    {
        for (auto it = families.cbegin(); it != families.cend(); ++it) {
            if (it.key().compare(family, Qt::CaseInsensitive) == 0)
                return it.value();
        }
        return std::nullopt;
    }

    QHash<QString, FontFace> postScriptNames;
    QHash<QString, FontFace> families;
};
