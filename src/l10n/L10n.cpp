#include "l10n/L10n.h"

#include "platform/Log.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace L10n {
namespace {

// One compiled table, embedded in the program, and the locale of its language.
struct Table {
    QTranslator translator;
    QLocale locale;
};

std::unique_ptr<Table> loadTable(AppLanguage language)
{
    auto table = std::make_unique<Table>();
    const bool chinese = language == AppLanguage::SimplifiedChinese;
    const QString file = chinese ? u":/i18n/pondrift_zh_CN.qm"_s : u":/i18n/pondrift_en.qm"_s;
    table->locale = chinese
                        ? QLocale(QLocale::Chinese, QLocale::SimplifiedHanScript, QLocale::China)
                        : QLocale(QLocale::English, QLocale::UnitedStates);
    if (!table->translator.load(file))
        Log::line(u"translation table missing"_s, file);
    return table;
}

struct State {
    std::unique_ptr<Table> english = loadTable(AppLanguage::English);
    std::unique_ptr<Table> chinese; // loaded on first use
    std::unique_ptr<QTranslator> qtbase;
    AppLanguage current = AppLanguage::English;

    const Table& chosen() const
    {
        return current == AppLanguage::SimplifiedChinese ? *chinese : *english;
    }
};

State& state()
{
    static State s;
    return s;
}

// The text of a key in one table, or null when the table lacks it.
QString lookup(const Table& table, const QByteArray& id, int n = -1)
{
    return table.translator.translate(nullptr, id.constData(), nullptr, n);
}

// Fills %1 ... %99 from args in one pass, so that text brought in by an argument is left as
// it stands even when it holds a percent sign and a digit.
QString fill(const QString& pattern, const QList<QString>& args)
{
    QString result;
    result.reserve(pattern.size());
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        const QChar c = pattern.at(i);
        if (c == u'%' && i + 1 < pattern.size() && pattern.at(i + 1).isDigit()) {
            qsizetype end = i + 1;
            int number = 0;
            while (end < pattern.size() && pattern.at(end).isDigit() && end - i <= 2)
                number = number * 10 + pattern.at(end++).digitValue();
            if (number >= 1 && number <= args.size()) {
                result += args.at(number - 1);
                i = end - 1;
                continue;
            }
        }
        result += c;
    }
    return result;
}

// Qt's own %n and %Ln, both written in the table's language.
QString fillCount(QString text, int count, const QLocale& locale)
{
    const QString number = locale.toString(count);
    text.replace(u"%Ln"_s, number);
    text.replace(u"%n"_s, number);
    return text;
}

} // namespace

void install(AppLanguage choice)
{
    State& s = state();
    const AppLanguage language = choice.interfaceLanguage(QLocale::system().uiLanguages());
    if (language == AppLanguage::SimplifiedChinese && !s.chinese)
        s.chinese = loadTable(AppLanguage::SimplifiedChinese);
    s.current = language;

    // Qt asks the translators installed last first: Qt's own, then ours, then English.
    if (QCoreApplication::instance()) {
        QCoreApplication::removeTranslator(&s.english->translator);
        if (s.chinese)
            QCoreApplication::removeTranslator(&s.chinese->translator);
        if (s.qtbase)
            QCoreApplication::removeTranslator(s.qtbase.get());
        QCoreApplication::installTranslator(&s.english->translator);
        if (language == AppLanguage::SimplifiedChinese) {
            QCoreApplication::installTranslator(&s.chinese->translator);
            if (!s.qtbase) {
                s.qtbase = std::make_unique<QTranslator>();
                if (!s.qtbase->load(u"qtbase_zh_CN"_s,
                                    QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
                    Log::line(u"Qt's own Chinese table is not installed"_s);
            }
            if (!s.qtbase->isEmpty())
                QCoreApplication::installTranslator(s.qtbase.get());
        }
    }
}

AppLanguage language() { return state().current; }

QString text(const QString& key)
{
    const State& s = state();
    const QByteArray id = key.toUtf8();
    QString result = lookup(s.chosen(), id);
    if (result.isNull() && s.current != AppLanguage::English)
        result = lookup(*s.english, id);
    return result.isNull() ? key : result;
}

QString format(const QString& key, std::initializer_list<QVariant> args)
{
    const QLocale locale;
    QList<QString> strings;
    strings.reserve(static_cast<qsizetype>(args.size()));
    for (const QVariant& arg : args) {
        switch (arg.typeId()) {
        case QMetaType::Int:
        case QMetaType::LongLong:
            strings.append(locale.toString(arg.toLongLong()));
            break;
        case QMetaType::UInt:
        case QMetaType::ULongLong:
            strings.append(locale.toString(arg.toULongLong()));
            break;
        case QMetaType::Double:
        case QMetaType::Float:
            strings.append(locale.toString(arg.toDouble(), 'g', QLocale::FloatingPointShortest));
            break;
        default:
            strings.append(arg.toString());
        }
    }
    return fill(text(key), strings);
}

QString plural(const QString& key, int count, const QString& extra)
{
    const State& s = state();
    const QByteArray id = key.toUtf8();
    const Table* table = &s.chosen();
    QString result = lookup(*table, id, count);
    if (result.isNull() && s.current != AppLanguage::English) {
        table = s.english.get();
        result = lookup(*table, id, count);
    }
    if (result.isNull())
        return key;
    return fill(fillCount(result, count, table->locale), {extra});
}

} // namespace L10n
