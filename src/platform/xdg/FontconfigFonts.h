#pragma once

#include "platform/Fonts.h"

// The installed fonts as fontconfig lists them, the list Qt draws from on Linux, so a face
// found here is one a QFont can be made to pick. Each lookup asks fontconfig afresh; callers
// keep what they need. Faces are told the way Qt registers them: by the first of their family
// and style names, with fontconfig's weight, slant and width in Qt's scales.
class FontconfigFonts final : public Fonts {
public:
    std::optional<FontFace> byPostScriptName(const QString& name) const override;
    std::optional<FontFace> byFamily(const QString& family) const override;
};
