#pragma once

#include "platform/SpellChecker.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

// Spelling through libhunspell, with the dictionaries installed on the system: a dictionary
// "en_US" is the pair en_US.aff and en_US.dic in the folder. A word is right when any of the
// opened dictionaries knows it.
//
// Dictionaries are opened at the first question (available() or a check), not at
// construction: a large dictionary takes a noticeable moment to read, which launching should
// not wait for, and the names may depend on the interface language, chosen after the
// backends are made. A dictionary that is not installed is skipped; one that cannot be read
// (a broken file, an encoding Qt cannot convert) is skipped with a log line. With none open
// the checker is not available and marks nothing.
class HunspellSpellChecker final : public SpellChecker {
public:
    // Where Debian's hunspell-* packages install their dictionaries.
    static QString systemFolder();
    // Whether the folder holds any dictionary at all; cheap, nothing is read.
    static bool anyInstalled(const QString& folder = systemFolder());

    // languages: the dictionary names to open, in order; asked once, at the first question.
    HunspellSpellChecker(std::function<QStringList()> languages, QString folder = systemFolder());
    ~HunspellSpellChecker() override;

    bool available() override;
    // The dictionaries that opened, in the order asked.
    QStringList openedLanguages();

protected:
    bool knows(QStringView word) override;

private:
    struct Dictionary;
    void open();

    std::function<QStringList()> languages;
    QString folder;
    bool opened = false;
    std::vector<std::unique_ptr<Dictionary>> dictionaries;
};
