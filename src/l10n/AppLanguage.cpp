#include "l10n/AppLanguage.h"

using namespace Qt::Literals::StringLiterals;

const std::array<AppLanguage, 3> AppLanguage::all{AppLanguage::System, AppLanguage::English,
                                                  AppLanguage::SimplifiedChinese};

QString AppLanguage::rawValue() const
{
    switch (value) {
    case English:
        return u"en"_s;
    case SimplifiedChinese:
        return u"zh-Hans"_s;
    case System:
        break;
    }
    return u"system"_s;
}

std::optional<AppLanguage> AppLanguage::fromRawValue(QStringView raw)
{
    for (AppLanguage language : all) {
        if (raw == language.rawValue())
            return language;
    }
    return std::nullopt;
}

QString AppLanguage::nameKey() const
{
    switch (value) {
    case English:
        return u"language.english"_s;
    case SimplifiedChinese:
        return u"language.simplified_chinese"_s;
    case System:
        break;
    }
    return u"language.system"_s;
}

std::optional<QString> AppLanguage::languageIdentifier() const
{
    if (value == System)
        return std::nullopt;
    return rawValue();
}

AppLanguage AppLanguage::resolve(const std::optional<QStringList>& list)
{
    if (!list || list->isEmpty())
        return System;
    // Desktops and hand-edited settings also write POSIX locale names ("zh_CN.UTF-8") where
    // the rule expects BCP 47 tags: the same language either way.
    const QString first = list->first().toLower().replace(u'_', u'-');
    if (first.startsWith(u"en"_s))
        return English;
    if (first == u"zh"_s || first.startsWith(u"zh-hans"_s) || first.startsWith(u"zh-cn"_s)
        || first.startsWith(u"zh-sg"_s))
        return SimplifiedChinese;
    return System;
}

AppLanguage AppLanguage::interfaceLanguage(const QStringList& systemLanguages) const
{
    if (value != System)
        return *this;
    const AppLanguage resolved = resolve(systemLanguages);
    return resolved == System ? AppLanguage(English) : resolved;
}
