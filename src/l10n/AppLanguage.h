#pragma once

#include <QString>
#include <QStringList>

#include <array>
#include <optional>

// The user's choice of interface language. `System` follows the desktop's languages; the
// other two name a table of their own.
class AppLanguage {
public:
    enum Case { System, English, SimplifiedChinese };

    constexpr AppLanguage(Case value = System)
        : value(value)
    {
    }
    constexpr operator Case() const { return value; }

    static const std::array<AppLanguage, 3> all;

    // "system", "en", "zh-Hans": the stored form, also the choice's id.
    QString rawValue() const;
    static std::optional<AppLanguage> fromRawValue(QStringView raw);
    QString nameKey() const;
    // "en" or "zh-Hans"; absent for System.
    std::optional<QString> languageIdentifier() const;

    // The choice a list of language codes stands for: by its first entry only, so that a
    // first entry of a language we lack means the desktop's default, not our second best.
    // Case-blind, and "_" counts as "-", so that POSIX names ("zh_CN.UTF-8") count too.
    static AppLanguage resolve(const std::optional<QStringList>& list);
    // The table the interface shows for this choice: the choice itself, or for System the
    // desktop's languages resolved, English when they name neither of ours.
    AppLanguage interfaceLanguage(const QStringList& systemLanguages) const;

private:
    Case value;
};
