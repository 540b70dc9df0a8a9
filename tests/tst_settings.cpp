#include "platform/Log.h"
#include "platform/qt/QSettingsDefaults.h"
#include "settings/Settings.h"
#include "support/MemoryDefaults.h"
#include "support/MemoryLoginItem.h"

#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace Qt::Literals::StringLiterals;

class TestSettings : public QObject {
    Q_OBJECT

    std::unique_ptr<MemoryDefaults> store;
    MemoryLoginItem loginItem;

private Q_SLOTS:
    // A fresh store for each row also drops the memory caches.
    void init()
    {
        store = std::make_unique<MemoryDefaults>();
        Settings::install(*store, loginItem);
    }

    void freshProfileReadsTheDefaultsAndWritesNothing()
    {
        QCOMPARE(Settings::deckYRatio(), 0.5);
        QCOMPARE(Settings::displayTarget(), u"all"_s);
        QCOMPARE(Settings::deckStyle(), DeckStyle::Tabs);
        QCOMPARE(Settings::appLanguage(), AppLanguage::System);
        QCOMPARE(Settings::cloudSyncRoot(), QString());
        QVERIFY(Settings::tabPreview() && Settings::markdownStyling());
        QVERIFY(!Settings::cloudSyncEnabled());
        QVERIFY(store->values.isEmpty());
    }

    // What a profile reads as. A value out of range, of the wrong type, or that will not
    // decode reads as the default; one left by an older build is migrated on every read.
    void reads_data()
    {
        QTest::addColumn<QVariantHash>("stored");
        QTest::addColumn<QString>("setting");
        QTest::addColumn<QVariant>("reads");
        const auto row = [](const char* name, const QVariantHash& stored, const QString& setting,
                            const QVariant& reads) {
            QTest::newRow(name) << stored << setting << reads;
        };
        // A value stored under the setting's own key.
        const auto own = [&](const char* name, const QString& key, const QVariant& stored,
                             const QVariant& reads) {
            row(name, {{key, stored}}, key, reads);
        };

        const QString font = u"noteFontName"_s;
        const QString handwriting = u"Noteworthy-Light"_s;
        const QString old = u"handwrittenBody"_s;
        row("handwriting switched off reads as the system font", {{old, false}}, font, QString());
        row("the switch as the settings file writes it", {{old, u"false"_s}}, font, QString());
        row("a number is no switch", {{old, 0}}, font, handwriting);
        row("a stored font name wins over the old switch", {{old, false}, {font, u"Georgia"_s}},
            font, u"Georgia"_s);
        const QString size = u"noteSizeIndex"_s;
        const QString width = u"noteWidth"_s;
        row("a very wide note is huge", {{width, 2000.0}}, size, 3);
        row("a width halfway between two sizes takes the smaller", {{width, 430}}, size, 0);
        row("a width just past halfway takes the larger", {{width, 431}}, size, 1);
        row("a width of zero means nothing", {{width, 0}}, size, 1);
        row("a stored index wins over the old width", {{width, 680}, {size, 2}}, size, 2);
        row("an index out of range falls to the old width", {{width, 680}, {size, 7}}, size, 3);
        own("an index that is no whole number counts as none", size, 2.5, 1);

        own("a font size under the range reads as the default", u"noteFontSize"_s, 9.5, 13.5);
        own("a font size over the range too", u"noteFontSize"_s, 31, 13.5);
        own("a font size at the bound stays", u"noteFontSize"_s, 30, 30.0);
        own("a deck scale written by something else", u"deckScale"_s, 0.5, 1.0);
        own("a deck scale as text from the settings file", u"deckScale"_s, u"1.25"_s, 1.25);
        own("an edge under 4 points", u"edgeWidth"_s, 3.9, 14.0);
        own("an edge of exactly 4 points is kept", u"edgeWidth"_s, 4, 4.0);
        own("a deck position above the top", u"deckYRatio"_s, 1.7, 1.0);
        own("a deck position below the bottom", u"deckYRatio"_s, -2, 0.0);
        const auto language = [&](const char* name, const QString& stored, AppLanguage reads) {
            own(name, u"appLanguage"_s, stored, QVariant::fromValue(reads));
        };
        // A stored language is read the way the desktop's are: resolve's rows below.
        language("a POSIX locale with its encoding", u"zh_CN.UTF-8"_s,
                 AppLanguage::SimplifiedChinese);
        language("nothing stored but an empty text", QString(), AppLanguage::System);

        const auto floating = [&](const char* name, double w, double h, QSizeF reads) {
            row(name, {{u"floatingNoteW"_s, w}, {u"floatingNoteH"_s, h}}, u"floatingNoteSize"_s,
                reads);
        };
        floating("a floating size at the minimum is used", 280, 220, {280, 220});
        floating("a floating height under the minimum gives the note size", 300, 200, {460, 380});
        floating("a floating width under the minimum too", 279, 500, {460, 380});

        const QString shortcut = u"scNewNote"_s;
        const QVariant fallback = QVariant::fromValue(Shortcut{0x2D, 0x900});
        own("a cleared shortcut stays cleared", shortcut, u"{\"keyCode\":0,\"modifiers\":0}"_s,
            QVariant::fromValue(Shortcut::none()));
        own("a shortcut stored as bytes", shortcut, "{\"keyCode\":3,\"modifiers\":4096}"_ba,
            QVariant::fromValue(Shortcut{3, 0x1000}));
        own("a shortcut without its modifiers", shortcut, u"{\"keyCode\":3}"_s, fallback);
        own("a negative key code", shortcut, u"{\"keyCode\":-1,\"modifiers\":256}"_s, fallback);
        own("a fractional key code", shortcut, u"{\"keyCode\":1.5,\"modifiers\":256}"_s, fallback);
        own("a bit beyond the four modifiers", shortcut, u"{\"keyCode\":3,\"modifiers\":65792}"_s,
            fallback);
        own("a shortcut in broken JSON", shortcut, u"{\"keyCode\":3,"_s, fallback);
        own("a number instead of JSON", shortcut, 12, fallback);
    }
    void reads()
    {
        QFETCH(QVariantHash, stored);
        QFETCH(QString, setting);
        QFETCH(QVariant, reads);
        static const QHash<QString, std::function<QVariant()>> read{
            {u"noteFontName"_s, [] { return QVariant(Settings::noteFontName()); }},
            {u"noteSizeIndex"_s, [] { return QVariant(Settings::noteSizeIndex()); }},
            {u"noteFontSize"_s, [] { return QVariant(Settings::noteFontSize()); }},
            {u"deckScale"_s, [] { return QVariant(Settings::deckScale()); }},
            {u"edgeWidth"_s, [] { return QVariant(Settings::edgeWidth()); }},
            {u"deckYRatio"_s, [] { return QVariant(Settings::deckYRatio()); }},
            {u"floatingNoteSize"_s, [] { return QVariant(Settings::floatingNoteSize()); }},
            {u"scNewNote"_s, [] { return QVariant::fromValue(Settings::scNewNote()); }},
            {u"appLanguage"_s, [] { return QVariant::fromValue(Settings::appLanguage()); }},
        };
        store->values = stored;
        QCOMPARE(read.value(setting)(), reads);
        // Old keys are read, never written or removed, and no migration is stored.
        QCOMPARE(store->values, stored);
    }

    // Setters clamp what they store, and every value survives the settings file, which gives
    // it back as text.
    void settersThroughTheSettingsFile()
    {
        QTemporaryDir dir;
        QSettingsDefaults file(dir.filePath(u"pondrift.conf"_s));
        Settings::install(file, loginItem);
        Settings::setNoteFontSize(40);
        Settings::setDeckScale(0.5);
        Settings::setNoteSizeIndex(9);
        Settings::setDeckYRatio(-0.2);
        Settings::setEdgeWidth(2);
        Settings::setFloatingNoteSize({300, 250});
        Settings::setScPin({0x23, Shortcut::command | Shortcut::option});
        Settings::setTabPreview(false);
        Settings::setMarkdownStyling(false);
        Settings::setNoteFontName(QString());
        Settings::setAppLanguage(AppLanguage::SimplifiedChinese);

        QSettingsDefaults reread(dir.filePath(u"pondrift.conf"_s));
        Settings::install(reread, loginItem);
        QCOMPARE(reread.doubleValue(u"noteFontSize"_s), 30.0);
        QCOMPARE(Settings::deckScale(), 0.7);
        QCOMPARE(Settings::noteSize(), QSizeF(680, 560));
        QCOMPARE(reread.doubleValue(u"deckYRatio"_s), 0.0);
        // The edge width is the one the setter leaves alone; its getter guards it.
        QCOMPARE(reread.doubleValue(u"edgeWidth"_s), 2.0);
        QCOMPARE(Settings::edgeWidth(), 14.0);
        QCOMPARE(Settings::floatingNoteSize(), QSizeF(300, 250));
        QCOMPARE(Settings::scPin(), (Shortcut{0x23, 0x900}));
        QVERIFY(!Settings::tabPreview() && !Settings::markdownStyling());
        QCOMPARE(Settings::noteFontName(), QString());
        QCOMPARE(reread.value(u"appLanguage"_s), QVariant(u"zh-Hans"_s));
        QCOMPARE(Settings::appLanguage(), AppLanguage::SimplifiedChinese);
        // Following the system again forgets the choice.
        Settings::setAppLanguage(AppLanguage::System);
        QVERIFY(!reread.contains(u"appLanguage"_s));
    }

    void resolve_data()
    {
        QTest::addColumn<QString>("languages");
        QTest::addColumn<AppLanguage::Case>("resolved");
        QTest::newRow("traditional Chinese is not ours") << u"zh_TW,en"_s << AppLanguage::System;
        QTest::newRow("simplified Chinese of China")
            << u"zh-Hans-CN"_s << AppLanguage::SimplifiedChinese;
        QTest::newRow("Chinese of Singapore") << u"zh-SG"_s << AppLanguage::SimplifiedChinese;
        QTest::newRow("bare Chinese") << u"zh"_s << AppLanguage::SimplifiedChinese;
        QTest::newRow("English of any region, in any case") << u"EN-GB"_s << AppLanguage::English;
        QTest::newRow("only the first entry counts") << u"fr,en"_s << AppLanguage::System;
        QTest::newRow("no languages at all") << QString() << AppLanguage::System;
    }
    void resolve()
    {
        QFETCH(QString, languages);
        QFETCH(AppLanguage::Case, resolved);
        QCOMPARE(AppLanguage::resolve(languages.split(u',', Qt::SkipEmptyParts)), resolved);
    }

    void interfaceLanguageOfTheSystemChoice()
    {
        const AppLanguage system = AppLanguage::System;
        QCOMPARE(system.interfaceLanguage({u"zh_CN"_s}), AppLanguage::SimplifiedChinese);
        QCOMPARE(system.interfaceLanguage({u"de-DE"_s}), AppLanguage::English);
        QCOMPARE(AppLanguage(AppLanguage::English).interfaceLanguage({u"zh-Hans"_s}),
                 AppLanguage::English);
    }

    void launchAtLoginFailureIsLoggedAndChangesNothing()
    {
        QStringList lines;
        Log::Capture capture([&](const QString& line) { lines.append(line); });
        Settings::setLaunchAtLogin(true);
        QVERIFY(Settings::launchAtLogin());
        loginItem.failure = u"permission denied"_s;
        Settings::setLaunchAtLogin(false);
        QVERIFY(Settings::launchAtLogin());
        QCOMPARE(lines,
                 QStringList{u"Pondrift: launch-at-login toggle failed — permission denied"_s});
    }
};

QTEST_MAIN(TestSettings)
#include "tst_settings.moc"
