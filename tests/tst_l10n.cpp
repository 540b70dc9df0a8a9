#include "l10n/L10n.h"
#include "notes/NoteColor.h"
#include "support/TestFiles.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QLocale>
#include <QRegularExpression>
#include <QSet>
#include <QTest>
#include <QXmlStreamReader>

#include <map>
#include <tuple>

using namespace Qt::Literals::StringLiterals;

namespace {

struct Message {
    QString source;
    QStringList forms; // one entry for a plain message
    bool plural = false;
    bool unfinished = false;
};

using Table = std::map<QString, Message>;

const QString sourceDir = QStringLiteral(PONDRIFT_SOURCE_DIR);

// A file of the source tree that must be there; without it the run ends.
QByteArray sourceFile(const QString& relative)
{
    const QByteArray bytes = TestFiles::read(sourceDir + u'/' + relative);
    if (bytes.isEmpty())
        qFatal("cannot read %s", qPrintable(relative));
    return bytes;
}

Table readTable(const QString& language)
{
    Table table;
    QXmlStreamReader xml(sourceFile(u"resources/translations/pondrift_"_s + language + u".ts"_s));
    QString id;
    Message message;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isEndElement() && xml.name() == u"message"_s)
            table.emplace(id, message);
        if (!xml.isStartElement())
            continue;
        if (xml.name() == u"message"_s) {
            id = xml.attributes().value(u"id"_s).toString();
            message = Message{{}, {}, xml.attributes().value(u"numerus"_s) == u"yes"_s};
        } else if (xml.name() == u"source"_s) {
            message.source = xml.readElementText();
        } else if (xml.name() == u"translation"_s) {
            message.unfinished = !xml.attributes().value(u"type"_s).isEmpty();
            if (!message.plural)
                message.forms.append(xml.readElementText());
        } else if (xml.name() == u"numerusform"_s) {
            message.forms.append(xml.readElementText());
        }
    }
    if (xml.hasError())
        qFatal("%s: %s", qPrintable(language), qPrintable(xml.errorString()));
    return table;
}

// %1, %2, ... and %n, sorted, each once.
QStringList placeholders(const QString& text)
{
    static const QRegularExpression pattern(u"%(L?n|\\d+)"_s);
    QStringList found;
    for (const auto& match : pattern.globalMatch(text))
        found.append(match.captured(0).replace(u"%L"_s, u"%"_s));
    found.sort();
    found.removeDuplicates();
    return found;
}

// Literals shaped like keys, and in a key's group, that are something else.
const QSet<QString> literalsThatAreNotKeys{u"notes.db"_s, u"note.key"_s};

// Every literal key the sources under src/ hold, with the first place that uses it: any
// literal handed straight to L10n, and any key-shaped literal of a known group wherever it
// stands (tables of choices, functions that return a key for someone else to look up).
QHash<QString, QString> keysUsedInSources(const QSet<QString>& groups)
{
    static const QRegularExpression literal(u"u\"((?:[^\"\\\\]|\\\\.)*)\""_s);
    static const QRegularExpression direct(
        u"L10n::(?:text|format|plural)\\(\\s*u\"((?:[^\"\\\\]|\\\\.)*)\""_s);
    static const QRegularExpression keyShape(u"^[a-z][a-z0-9_]*(\\.[a-z0-9_]+)+$"_s);
    QHash<QString, QString> uses;
    QDirIterator it(sourceDir + u"/src"_s, {u"*.cpp"_s, u"*.h"_s}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString text = QString::fromUtf8(TestFiles::read(path));
        const auto use = [&](const QRegularExpressionMatch& m) {
            const QString line = QString::number(text.left(m.capturedStart(1)).count(u'\n') + 1);
            if (!uses.contains(m.captured(1)))
                uses.insert(m.captured(1), path.mid(sourceDir.size() + 1) + u':' + line);
        };
        for (const auto& m : direct.globalMatch(text))
            use(m);
        for (const auto& m : literal.globalMatch(text)) {
            if (keyShape.match(m.captured(1)).hasMatch()
                && groups.contains(m.captured(1).section(u'.', 0, 0))
                && !literalsThatAreNotKeys.contains(m.captured(1)))
                use(m);
        }
    }
    return uses;
}

} // namespace

class TestL10n : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { L10n::install(AppLanguage::English); }

    // A missing text shows as its key, so it is visible and never a crash.
    void texts_data()
    {
        QTest::addColumn<AppLanguage::Case>("language");
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("count"); // -1: the plain text, else the plural form for it
        QTest::addColumn<QString>("expected");
        const AppLanguage::Case en = AppLanguage::English;
        const AppLanguage::Case zh = AppLanguage::SimplifiedChinese;
        QTest::newRow("an English text of several lines comes whole")
            << en << u"about.body"_s << -1
            << u"Sticky notes that wait at the edge of your screen.\n\n"
               u"Your notes stay on this computer, encrypted."_s;
        QTest::newRow("a Chinese text") << zh << u"menu.new_note"_s << -1 << u"新建便签"_s;
        QTest::newRow("a key without text, in Chinese after English had none either")
            << zh << u"menu.no_such_item"_s << -1 << u"menu.no_such_item"_s;
        QTest::newRow("one note") << en << u"notes.count"_s << 1 << u"1 note"_s;
        QTest::newRow("no notes is plural") << en << u"notes.count"_s << 0 << u"0 notes"_s;
        QTest::newRow("a count and a string in Chinese")
            << zh << u"export.choose_folder"_s << 3
            << u"选择一个文件夹，以 TXT 格式保存 3 条便签。"_s;
        QTest::newRow("a missing plural key")
            << en << u"notes.nothing"_s << 2 << u"notes.nothing"_s;
    }
    void texts()
    {
        QFETCH(AppLanguage::Case, language);
        QFETCH(QString, key);
        QFETCH(int, count);
        QFETCH(QString, expected);
        L10n::install(language);
        QCOMPARE(L10n::language(), language);
        QCOMPARE(count < 0 ? L10n::text(key) : L10n::plural(key, count, u"TXT"_s), expected);
    }

    // Standard dialogs and buttons take their texts from Qt's own table.
    void qtsOwnTextsFollowTheLanguage()
    {
        L10n::install(AppLanguage::SimplifiedChinese);
        if (QCoreApplication::translate("QPlatformTheme", "Cancel") == u"Cancel"_s)
            QSKIP("Qt's Chinese table is not installed here");
        QCOMPARE(qtTrId("menu.quit"), u"退出 Pondrift"_s);
        L10n::install(AppLanguage::English);
        QCOMPARE(QCoreApplication::translate("QPlatformTheme", "Cancel"), u"Cancel"_s);
        QCOMPARE(qtTrId("menu.quit"), u"Quit Pondrift"_s);
    }

    void formatFillsInOnePassWithTheLocalesNumbers()
    {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        QCOMPARE(L10n::format(u"key.unknown"_s, {1200}), u"Key 1.200"_s);
        // A count is written the table's way, whatever the locale.
        QCOMPARE(L10n::plural(u"notes.count"_s, 1200), u"1,200 notes"_s);
        // Text that an argument brings in is not filled again.
        QCOMPARE(L10n::format(u"export.incomplete_body"_s, {3, u"%1 notes"_s}),
                 u"Only 3 of %1 notes were exported. "
                 u"The rest couldn’t be written to the folder."_s);
        QLocale::setDefault(QLocale::c());
    }

    // Chinese sets numbers and Latin words apart by a space ("%n 天前", "Pondrift 便签"), so
    // that texts read alike from one entry to the next. Placeholders that stand for Chinese
    // text are the exception: "%1编辑" becomes "3 分钟前编辑".
    void chineseSetsNumbersAndLatinWordsApart()
    {
        static const QSet<QString> textPlaceholders{
            u"export.incomplete_body %2"_s,
            u"import.problems_body %1"_s,
            u"note.edited %1"_s,
            u"note.saved %1"_s,
        };
        static const QString han = u"[\\x{3400}-\\x{9FFF}]"_s;
        static const QString latin = u"(%L?n|%L?\\d+|[0-9A-Za-z])"_s;
        static const QRegularExpression glued(han + latin + u'|' + latin + han);
        QStringList problems;
        for (const auto& [id, message] : readTable(u"zh_CN"_s)) {
            for (const QString& form : message.forms) {
                for (const auto& match : glued.globalMatch(form)) {
                    QString placeholder = match.captured(1) + match.captured(2);
                    placeholder.replace(u"%L"_s, u"%"_s);
                    if (!textPlaceholders.contains(id + u' ' + placeholder))
                        problems.append(id + u": "_s + match.captured(0));
                }
            }
        }
        if (!problems.isEmpty())
            QFAIL(qPrintable(problems.join(u'\n')));
    }

    // Both tables hold every key with a finished text, and every key the sources use; the
    // list of keys for surfaces not built yet stays true in both directions, so that it only
    // ever shrinks.
    void tablesAndSourcesAgree()
    {
        const Table en = readTable(u"en"_s);
        const Table zh = readTable(u"zh_CN"_s);
        QStringList problems;
        for (const auto& [table, other, name, pluralForms] :
             {std::tuple{&en, &zh, u"en"_s, 2}, std::tuple{&zh, &en, u"zh_CN"_s, 1}}) {
            for (const auto& [id, message] : *table) {
                const QString where = id + u" ("_s + name + u"): "_s;
                if (!other->count(id))
                    problems.append(where + u"no entry in the other table"_s);
                else if (placeholders(message.source) != placeholders(other->at(id).source))
                    problems.append(where + u"the two files disagree on the source"_s);
                if (message.unfinished)
                    problems.append(where + u"unfinished"_s);
                if (message.plural && message.forms.size() != pluralForms)
                    problems.append(where + u"wrong number of plural forms"_s);
                for (const QString& form : message.forms) {
                    if (form.trimmed().isEmpty())
                        problems.append(where + u"empty"_s);
                    if (message.plural && !form.contains(u"%n"_s))
                        problems.append(where + u"a plural form without %n"_s);
                    if (placeholders(form) != placeholders(message.source))
                        problems.append(where + u"placeholders differ from the source"_s);
                }
            }
        }

        QSet<QString> groups;
        for (const auto& [id, message] : en)
            groups.insert(id.section(u'.', 0, 0));
        QHash<QString, QString> uses = keysUsedInSources(groups);
        // Keys the code builds at run time, which no literal in the sources shows whole.
        for (const NoteColor& color : NoteColor::all())
            uses.insert(color.localizedKey(), u"built at run time"_s);
        for (auto it = uses.cbegin(); it != uses.cend(); ++it) {
            if (!en.count(it.key()) || !zh.count(it.key()))
                problems.append(it.value() + u": "_s + it.key() + u" has no text"_s);
        }
        // Keys of the tables that belong to surfaces not built yet: one a line, "#" starts a
        // comment. Shrink the list as the surfaces land.
        QString listed =
            QString::fromUtf8(sourceFile(u"tests/keys_for_surfaces_not_yet_built.txt"_s));
        listed.remove(QRegularExpression(u"#[^\n]*"_s));
        const QStringList notYetBuilt =
            listed.split(QRegularExpression(u"\\s+"_s), Qt::SkipEmptyParts);
        for (const auto& [id, message] : en) {
            if (!uses.contains(id) && !notYetBuilt.contains(id))
                problems.append(id + u": no code uses it"_s);
        }
        for (const QString& key : notYetBuilt) {
            if (!en.count(key))
                problems.append(key + u": listed as not yet used, but no table has it"_s);
            if (uses.contains(key))
                problems.append(key + u": used now; take it out of the not-yet-built list"_s);
        }
        problems.sort();
        if (!problems.isEmpty())
            QFAIL(qPrintable(problems.join(u'\n')));
    }
};

QTEST_MAIN(TestL10n)
#include "tst_l10n.moc"
