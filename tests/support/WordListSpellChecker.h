#pragma once

#include "platform/SpellChecker.h"

#include <QSet>
#include <QString>
#include <QStringList>

// A checker that knows a fixed list of words, case-blind, and records every word it is
// asked about, so that a test sees what was checked and how often.
class WordListSpellChecker final : public SpellChecker {
public:
    explicit WordListSpellChecker(const QStringList& known, bool isAvailable = true)
        : on(isAvailable)
    {
        for (const QString& word : known)
            words.insert(word.toLower());
    }

    bool available() override { return on; }

    // Every word looked up, in order, repeats kept.
    QStringList asked;

protected:
    bool knows(QStringView word) override
    {
        asked.append(word.toString());
        return words.contains(word.toString().toLower());
    }

private:
    bool on;
    QSet<QString> words;
};
