#include "platform/xdg/HunspellSpellChecker.h"

#include "platform/Log.h"

#include <QDir>
#include <QFile>
#include <QStringEncoder>

#include <exception>
#include <hunspell.hxx>
#include <string>

using namespace Qt::Literals::StringLiterals;

struct HunspellSpellChecker::Dictionary {
    QString name;
    std::unique_ptr<Hunspell> hunspell;
    // Words go to Hunspell in the dictionary's own encoding; UTF-8 for nearly all.
    QStringEncoder encoder;
};

namespace {

// A dictionary file starts with its approximate word count. Hunspell accepts a file without
// one and then knows nothing, which would mark every word of every note: a file that does
// not start so is taken for broken, not for empty.
bool startsWithWordCount(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QByteArray first = file.readLine(64).trimmed();
    if (first.startsWith("\xEF\xBB\xBF"))
        first = first.sliced(3);
    bool number = false;
    const long long count = first.toLongLong(&number);
    return number && count > 0;
}

} // namespace

QString HunspellSpellChecker::systemFolder() { return u"/usr/share/hunspell"_s; }

bool HunspellSpellChecker::anyInstalled(const QString& folder)
{
    return !QDir(folder).entryList({u"*.dic"_s}, QDir::Files).isEmpty();
}

HunspellSpellChecker::HunspellSpellChecker(std::function<QStringList()> languages, QString folder)
    : languages(std::move(languages))
    , folder(std::move(folder))
{
}

HunspellSpellChecker::~HunspellSpellChecker() = default;

void HunspellSpellChecker::open()
{
    if (opened)
        return;
    opened = true;
    const QStringList names = languages ? languages() : QStringList();
    for (const QString& name : names) {
        const QString aff = folder + u'/' + name + u".aff"_s;
        const QString dic = folder + u'/' + name + u".dic"_s;
        if (!QFile::exists(aff) && !QFile::exists(dic))
            continue; // not installed: the usual case for most languages
        if (!startsWithWordCount(dic) || !QFile(aff).open(QIODevice::ReadOnly)) {
            Log::line(u"spelling dictionary cannot be read, left out"_s, dic);
            continue;
        }
        auto dictionary = std::make_unique<Dictionary>();
        dictionary->name = name;
        try {
            dictionary->hunspell = std::make_unique<Hunspell>(QFile::encodeName(aff).constData(),
                                                              QFile::encodeName(dic).constData());
        } catch (const std::exception& e) {
            Log::line(u"spelling dictionary cannot be read, left out"_s,
                      dic + u": "_s + QString::fromLocal8Bit(e.what()));
            continue;
        }
        const std::string& encoding = dictionary->hunspell->get_dict_encoding();
        dictionary->encoder = QStringEncoder(encoding.c_str());
        if (!dictionary->encoder.isValid()) {
            Log::line(u"spelling dictionary has an encoding Qt cannot write, left out"_s,
                      dic + u": "_s + QString::fromLatin1(encoding));
            continue;
        }
        dictionaries.push_back(std::move(dictionary));
    }
}

bool HunspellSpellChecker::available()
{
    open();
    return !dictionaries.empty();
}

QStringList HunspellSpellChecker::openedLanguages()
{
    open();
    QStringList names;
    for (const auto& dictionary : dictionaries)
        names.append(dictionary->name);
    return names;
}

bool HunspellSpellChecker::knows(QStringView word)
{
    for (const auto& dictionary : dictionaries) {
        dictionary->encoder.resetState();
        const QByteArray bytes = dictionary->encoder.encode(word);
        // A word the encoding cannot hold is not one of this dictionary's words.
        if (dictionary->encoder.hasError())
            continue;
        if (dictionary->hunspell->spell(bytes.toStdString()))
            return true;
    }
    return false;
}
