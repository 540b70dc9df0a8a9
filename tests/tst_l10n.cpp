#include "l10n/L10n.h"
#include "notes/NoteColor.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QFile>
#include <QLocale>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QTest>
#include <QXmlStreamReader>

#include <map>

using namespace Qt::Literals::StringLiterals;

namespace {

struct Message {
    QString source;
    QStringList forms; // one entry for a plain message
    bool plural = false;
    bool unfinished = false;
};

using Table = std::map<QString, Message>;

Table readTable(const QString& path)
{
    Table table;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    QXmlStreamReader xml(&file);
    QString id;
    Message message;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement()) {
            if (xml.name() == u"message"_s) {
                id = xml.attributes().value(u"id"_s).toString();
                message = Message{};
                message.plural = xml.attributes().value(u"numerus"_s) == u"yes"_s;
            } else if (xml.name() == u"source"_s) {
                message.source = xml.readElementText();
            } else if (xml.name() == u"translation"_s) {
                const auto type = xml.attributes().value(u"type"_s);
                message.unfinished = !type.isEmpty();
                if (!message.plural)
                    message.forms.append(xml.readElementText());
            } else if (xml.name() == u"numerusform"_s) {
                message.forms.append(xml.readElementText());
            }
        } else if (xml.isEndElement() && xml.name() == u"message"_s) {
            table.emplace(id, message);
        }
    }
    if (xml.hasError())
        qFatal("%s: %s", qPrintable(path), qPrintable(xml.errorString()));
    return table;
}

QString sourceDir() { return QStringLiteral(PONDRIFT_SOURCE_DIR); }

Table english() { return readTable(sourceDir() + u"/resources/translations/pondrift_en.ts"_s); }
Table chinese() { return readTable(sourceDir() + u"/resources/translations/pondrift_zh_CN.ts"_s); }

// %1, %2, ... and %n, as a sorted set.
QStringList placeholders(const QString& text)
{
    static const QRegularExpression pattern(u"%(L?n|\\d+)"_s);
    QSet<QString> found;
    for (const auto& match : pattern.globalMatch(text))
        found.insert(match.captured(0).replace(u"%L"_s, u"%"_s));
    QStringList list(found.begin(), found.end());
    list.sort();
    return list;
}

// Keys the code builds at run time, which no literal in the sources shows whole.
QStringList keysBuiltAtRunTime()
{
    QStringList keys;
    for (const NoteColor& color : NoteColor::all())
        keys.append(color.localizedKey());
    return keys;
}

// Literals shaped like keys, and in a key's group, that are something else.
const QSet<QString> literalsThatAreNotKeys{u"notes.db"_s, u"note.key"_s};

// Keys of the tables that belong to surfaces not built yet; each line one key, "#" starts
// a comment. Shrink it as the surfaces land.
QSet<QString> keysForSurfacesNotYetBuilt()
{
    QFile file(sourceDir() + u"/tests/keys_for_surfaces_not_yet_built.txt"_s);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        qFatal("cannot read the list of keys for surfaces not yet built");
    QSet<QString> keys;
    for (const QByteArray& raw : file.readAll().split('\n')) {
        const QString line = QString::fromUtf8(raw).section(u'#', 0, 0).trimmed();
        if (!line.isEmpty())
            keys.insert(line);
    }
    return keys;
}

struct Use {
    QString key;
    QString where;
};

// Every literal key the sources under src/ hold: any literal handed straight to L10n, and
// any key-shaped literal of a known group wherever it stands (tables of choices, functions
// that return a key for someone else to look up).
QList<Use> keysUsedInSources(const QSet<QString>& groups)
{
    static const QRegularExpression literal(u"u\"((?:[^\"\\\\]|\\\\.)*)\""_s);
    static const QRegularExpression direct(
        u"L10n::(?:text|format|plural)\\(\\s*u\"((?:[^\"\\\\]|\\\\.)*)\""_s);
    static const QRegularExpression keyShape(u"^[a-z][a-z0-9_]*(\\.[a-z0-9_]+)+$"_s);
    QList<Use> uses;
    QDirIterator it(sourceDir() + u"/src"_s, {u"*.cpp"_s, u"*.h"_s}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            qFatal("cannot read %s", qPrintable(path));
        const QString text = QString::fromUtf8(file.readAll());
        const QString relative = path.mid(sourceDir().size() + 1);
        auto where = [&](qsizetype offset) {
            return relative + u":"_s + QString::number(text.left(offset).count(u'\n') + 1);
        };
        for (const auto& m : direct.globalMatch(text))
            uses.append({m.captured(1), where(m.capturedStart(1))});
        for (const auto& m : literal.globalMatch(text)) {
            const QString candidate = m.captured(1);
            if (keyShape.match(candidate).hasMatch()
                && groups.contains(candidate.section(u'.', 0, 0))
                && !literalsThatAreNotKeys.contains(candidate))
                uses.append({candidate, where(m.capturedStart(1))});
        }
    }
    return uses;
}

} // namespace

class TestL10n : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void cleanup()
    {
        QLocale::setDefault(QLocale::c());
        L10n::install(AppLanguage::English);
    }

    void text_data()
    {
        QTest::addColumn<int>("language");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected");
        QTest::newRow("an English text") << int(AppLanguage::English) << u"menu.new_note"_s
                                         << u"New Note"_s;
        QTest::newRow("a Chinese text") << int(AppLanguage::SimplifiedChinese)
                                        << u"menu.new_note"_s << u"新建便签"_s;
        QTest::newRow("a key without text shows as itself")
            << int(AppLanguage::English) << u"menu.no_such_item"_s << u"menu.no_such_item"_s;
        QTest::newRow("so it does in Chinese, after English had none either")
            << int(AppLanguage::SimplifiedChinese) << u"menu.no_such_item"_s
            << u"menu.no_such_item"_s;
        QTest::newRow("a text of several lines comes whole")
            << int(AppLanguage::English) << u"about.body"_s
            << u"Sticky notes that wait at the edge of your screen.\n\n"
               u"Your notes stay on this computer, encrypted."_s;
    }
    void text()
    {
        QFETCH(int, language);
        QFETCH(QString, key);
        QFETCH(QString, expected);
        L10n::install(AppLanguage::Case(language));
        QCOMPARE(L10n::language(), AppLanguage::Case(language));
        QCOMPARE(L10n::text(key), expected);
    }

    void plural_data()
    {
        QTest::addColumn<int>("language");
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("extra");
        QTest::addColumn<QString>("expected");
        const int en = AppLanguage::English;
        const int zh = AppLanguage::SimplifiedChinese;
        QTest::newRow("one note") << en << u"notes.count"_s << 1 << QString() << u"1 note"_s;
        QTest::newRow("two notes") << en << u"notes.count"_s << 2 << QString() << u"2 notes"_s;
        QTest::newRow("no notes is plural") << en << u"notes.count"_s << 0 << QString()
                                            << u"0 notes"_s;
        QTest::newRow("Chinese has one form for one") << zh << u"notes.count"_s << 1 << QString()
                                                      << u"1 条便签"_s;
        QTest::newRow("a short relative date") << en << u"date.minutes_ago"_s << 5 << QString()
                                               << u"5 min ago"_s;
        QTest::newRow("a count and a string") << en << u"export.choose_folder"_s << 1 << u"MD"_s
                                              << u"Choose a folder for 1 note in MD format."_s;
        QTest::newRow("a count and a string in Chinese")
            << zh << u"export.choose_folder"_s << 3 << u"TXT"_s
            << u"选择一个文件夹，以 TXT 格式保存 3 条便签。"_s;
        QTest::newRow("a missing plural key shows as itself")
            << en << u"notes.nothing"_s << 2 << QString() << u"notes.nothing"_s;
    }
    void plural()
    {
        QFETCH(int, language);
        QFETCH(QString, key);
        QFETCH(int, count);
        QFETCH(QString, extra);
        QFETCH(QString, expected);
        L10n::install(AppLanguage::Case(language));
        QCOMPARE(L10n::plural(key, count, extra), expected);
    }

    void qtsOwnTextsFollowTheLanguage()
    {
        // Standard dialogs and buttons take their texts from Qt's own table.
        const QString cancel = u"Cancel"_s;
        L10n::install(AppLanguage::SimplifiedChinese);
        if (QCoreApplication::translate("QPlatformTheme", "Cancel") == cancel)
            QSKIP("Qt's Chinese table is not installed here");
        QCOMPARE(QCoreApplication::translate("QPlatformTheme", "Cancel"), u"取消"_s);
        QCOMPARE(qtTrId("menu.quit"), u"退出 Pondrift"_s);
        L10n::install(AppLanguage::English);
        QCOMPARE(QCoreApplication::translate("QPlatformTheme", "Cancel"), cancel);
        QCOMPARE(qtTrId("menu.quit"), u"Quit Pondrift"_s);
    }

    void formatUsesTheCurrentLocaleAndPluralTheTables()
    {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        L10n::install(AppLanguage::English);
        QCOMPARE(L10n::format(u"key.unknown"_s, {1200}), u"Key 1.200"_s);
        QCOMPARE(L10n::plural(u"notes.count"_s, 1200), u"1,200 notes"_s);
    }

    void formatFillsInOnePass()
    {
        // A display named "50%1" must not have its own text filled again.
        QCOMPARE(L10n::format(u"display.named_main"_s, {u"50%1"_s}), u"50%1 (Main)"_s);
        QCOMPARE(L10n::format(u"export.incomplete_body"_s, {3, u"%1 notes"_s}),
                 u"Only 3 of %1 notes were exported. "
                 u"The rest couldn’t be written to the folder."_s);
    }

    void everyKeyHasTextInBothLanguages()
    {
        const Table en = english();
        const Table zh = chinese();
        QStringList problems;
        for (const auto& [id, message] : en) {
            if (!zh.count(id))
                problems.append(id + u": no Chinese entry"_s);
        }
        for (const auto& [id, message] : zh) {
            if (!en.count(id))
                problems.append(id + u": no English entry"_s);
        }
        for (const auto* table : {&en, &zh}) {
            const bool isEnglish = table == &en;
            const int wantedForms = isEnglish ? 2 : 1;
            for (const auto& [id, message] : *table) {
                const QString where = id + (isEnglish ? u" (en)"_s : u" (zh_CN)"_s);
                if (message.unfinished)
                    problems.append(where + u": unfinished"_s);
                if (message.plural && message.forms.size() != wantedForms)
                    problems.append(where + u": wrong number of plural forms"_s);
                for (const QString& form : message.forms) {
                    if (form.trimmed().isEmpty())
                        problems.append(where + u": empty"_s);
                    if (message.plural && !form.contains(u"%n"_s))
                        problems.append(where + u": a plural form without %n"_s);
                    if (placeholders(form) != placeholders(message.source))
                        problems.append(where + u": placeholders differ from the source"_s);
                }
            }
        }
        for (const auto& [id, message] : en) {
            if (zh.count(id) && placeholders(message.source) != placeholders(zh.at(id).source))
                problems.append(id + u": the two files disagree on the source"_s);
        }
        if (!problems.isEmpty())
            QFAIL(qPrintable(problems.join(u'\n')));
        qInfo("%d keys, each with English and Chinese text", int(en.size()));
    }

    void sourcesAndTablesAgree()
    {
        const Table en = english();
        const Table zh = chinese();
        const QSet<QString> notYetBuilt = keysForSurfacesNotYetBuilt();
        QSet<QString> groups;
        for (const auto& [id, message] : en)
            groups.insert(id.section(u'.', 0, 0));

        QStringList problems;
        QSet<QString> used;
        QList<Use> uses = keysUsedInSources(groups);
        for (const QString& key : keysBuiltAtRunTime())
            uses.append({key, u"built at run time"_s});
        for (const Use& use : uses) {
            used.insert(use.key);
            if (!en.count(use.key) || !zh.count(use.key))
                problems.append(use.where + u": "_s + use.key + u" has no text"_s);
        }
        for (const auto& [id, message] : en) {
            if (!used.contains(id) && !notYetBuilt.contains(id))
                problems.append(id + u": no code uses it"_s);
        }
        // The list must stay true in both directions, so that it only ever shrinks.
        for (const QString& key : notYetBuilt) {
            if (!en.count(key))
                problems.append(key + u": listed as not yet used, but no table has it"_s);
            if (used.contains(key))
                problems.append(key + u": used now; take it out of the not-yet-built list"_s);
        }
        problems.sort();
        if (!problems.isEmpty())
            QFAIL(qPrintable(problems.join(u'\n')));
    }
};

QTEST_MAIN(TestL10n)
#include "tst_l10n.moc"
