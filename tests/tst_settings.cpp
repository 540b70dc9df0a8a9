#include "settings/Settings.h"
#include "platform/Log.h"
#include "platform/qt/QSettingsDefaults.h"
#include "platform/xdg/XdgLoginItem.h"
#include "support/MemoryDefaults.h"
#include "support/MemoryLoginItem.h"

#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestSettings : public QObject {
    Q_OBJECT

    MemoryDefaults* store = nullptr;
    std::unique_ptr<MemoryDefaults> owned;
    MemoryLoginItem loginItem;

    // A fresh store for each test, which also drops the memory caches.
    void freshStore()
    {
        owned = std::make_unique<MemoryDefaults>();
        store = owned.get();
        Settings::install(*store, loginItem);
    }

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init() { freshStore(); }

    // The font, sizes, scale and edge defaults show up in the rows below; these are the rest.
    void freshProfileReadsTheDefaults()
    {
        QCOMPARE(Settings::deckYRatio(), 0.5);
        QCOMPARE(Settings::displayTarget(), u"all"_s);
        QCOMPARE(Settings::deckStyle(), DeckStyle::Tabs);
        QCOMPARE(Settings::appLanguage(), AppLanguage::System);
        QCOMPARE(Settings::cloudSyncRoot(), QString());
        QVERIFY(Settings::tabPreview());
        QVERIFY(Settings::markdownStyling());
        QVERIFY(!Settings::cloudSyncEnabled());
        QCOMPARE(Settings::scCapture(), (Shortcut{0x31, Shortcut::command | Shortcut::shift}));
        QCOMPARE(Settings::scClose(), (Shortcut{0x35, 0}));
        QVERIFY(store->values.isEmpty());
    }

    void oldProfiles_data()
    {
        QTest::addColumn<QVariantHash>("stored");
        QTest::addColumn<QString>("fontName");
        QTest::addColumn<int>("sizeIndex");
        QTest::newRow("handwriting switched off reads as the system font")
            << QVariantHash{{u"handwrittenBody"_s, false}} << QString() << 1;
        QTest::newRow("handwriting switched on keeps the handwriting")
            << QVariantHash{{u"handwrittenBody"_s, true}} << u"Noteworthy-Light"_s << 1;
        QTest::newRow("the switch as the settings file writes it")
            << QVariantHash{{u"handwrittenBody"_s, u"false"_s}} << QString() << 1;
        QTest::newRow("a stored font name wins over the old switch")
            << QVariantHash{{u"handwrittenBody"_s, false}, {u"noteFontName"_s, u"Georgia"_s}}
            << u"Georgia"_s << 1;
        QTest::newRow("a width halfway between two sizes takes the smaller")
            << QVariantHash{{u"noteWidth"_s, 430}} << u"Noteworthy-Light"_s << 0;
        QTest::newRow("a width just past halfway takes the larger")
            << QVariantHash{{u"noteWidth"_s, 431}} << u"Noteworthy-Light"_s << 1;
        QTest::newRow("a very wide note is huge")
            << QVariantHash{{u"noteWidth"_s, 2000.0}} << u"Noteworthy-Light"_s << 3;
        QTest::newRow("a width of zero means nothing")
            << QVariantHash{{u"noteWidth"_s, 0}} << u"Noteworthy-Light"_s << 1;
        QTest::newRow("a stored index wins over the old width")
            << QVariantHash{{u"noteWidth"_s, 680}, {u"noteSizeIndex"_s, 2}}
            << u"Noteworthy-Light"_s << 2;
        QTest::newRow("an index out of range falls to the old width")
            << QVariantHash{{u"noteWidth"_s, 680}, {u"noteSizeIndex"_s, 7}}
            << u"Noteworthy-Light"_s << 3;
        QTest::newRow("an index that is no whole number counts as none")
            << QVariantHash{{u"noteSizeIndex"_s, 2.5}} << u"Noteworthy-Light"_s << 1;
    }
    void oldProfiles()
    {
        QFETCH(QVariantHash, stored);
        QFETCH(QString, fontName);
        QFETCH(int, sizeIndex);
        for (auto it = stored.cbegin(); it != stored.cend(); ++it)
            store->values.insert(it.key(), it.value());
        QCOMPARE(Settings::noteFontName(), fontName);
        QCOMPARE(Settings::noteSizeIndex(), sizeIndex);
        // The old keys are read, never written or removed, and the migration is not stored.
        QCOMPARE(store->values, stored);
    }

    void storedValuesOutOfRange_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<double>("reads");
        QTest::newRow("a font size under the range reads as the default")
            << u"noteFontSize"_s << QVariant(9.5) << 13.5;
        QTest::newRow("a font size over the range too")
            << u"noteFontSize"_s << QVariant(31) << 13.5;
        QTest::newRow("a font size at the bound stays")
            << u"noteFontSize"_s << QVariant(30) << 30.0;
        QTest::newRow("a deck scale written by something else")
            << u"deckScale"_s << QVariant(0.5) << 1.0;
        QTest::newRow("a deck scale as text from the settings file")
            << u"deckScale"_s << QVariant(u"1.25"_s) << 1.25;
        QTest::newRow("a deck scale that is no number")
            << u"deckScale"_s << QVariant(u"big"_s) << 1.0;
        QTest::newRow("an edge under 4 points") << u"edgeWidth"_s << QVariant(3.9) << 14.0;
        QTest::newRow("a wide edge is kept") << u"edgeWidth"_s << QVariant(60) << 60.0;
        QTest::newRow("a deck position above the top") << u"deckYRatio"_s << QVariant(1.7) << 1.0;
        QTest::newRow("a deck position below the bottom") << u"deckYRatio"_s << QVariant(-2) << 0.0;
    }
    void storedValuesOutOfRange()
    {
        QFETCH(QString, key);
        QFETCH(QVariant, stored);
        QFETCH(double, reads);
        store->values.insert(key, stored);
        const double value = key == u"noteFontSize"_s ? Settings::noteFontSize()
                             : key == u"deckScale"_s  ? Settings::deckScale()
                             : key == u"edgeWidth"_s  ? Settings::edgeWidth()
                                                      : Settings::deckYRatio();
        QCOMPARE(value, reads);
    }

    void settersClamp()
    {
        Settings::setNoteFontSize(40);
        QCOMPARE(store->values.value(u"noteFontSize"_s).toDouble(), 30.0);
        Settings::setDeckScale(0.5);
        QCOMPARE(store->values.value(u"deckScale"_s).toDouble(), 0.7);
        QCOMPARE(Settings::deckScale(), 0.7);
        Settings::setNoteSizeIndex(9);
        QCOMPARE(store->values.value(u"noteSizeIndex"_s).toInt(), 3);
        QCOMPARE(Settings::noteSize(), QSizeF(680, 560));
        Settings::setDeckYRatio(-0.2);
        QCOMPARE(store->values.value(u"deckYRatio"_s).toDouble(), 0.0);
        // The edge width is the one the setter leaves alone; its getter guards it.
        Settings::setEdgeWidth(2);
        QCOMPARE(store->values.value(u"edgeWidth"_s).toDouble(), 2.0);
        QCOMPARE(Settings::edgeWidth(), 14.0);
    }

    void cachesBelongToTheStore()
    {
        QCOMPARE(Settings::deckScale(), 1.0);
        store->values.insert(u"deckScale"_s, 1.5);
        QCOMPARE(Settings::deckScale(), 1.0);
        MemoryDefaults other;
        other.values.insert(u"deckScale"_s, 1.5);
        other.values.insert(u"noteSizeIndex"_s, 0);
        other.values.insert(u"deckYRatio"_s, 0.25);
        Settings::install(other, loginItem);
        QCOMPARE(Settings::deckScale(), 1.5);
        QCOMPARE(Settings::noteSizeIndex(), 0);
        QCOMPARE(Settings::deckYRatio(), 0.25);
        freshStore();
    }

    void booleansThatAreNotBooleans_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("reads");
        QTest::newRow("false") << QVariant(false) << false;
        QTest::newRow("false as the settings file writes it") << QVariant(u"false"_s) << false;
        QTest::newRow("a number is not a boolean") << QVariant(0) << true;
    }
    void booleansThatAreNotBooleans()
    {
        QFETCH(QVariant, stored);
        QFETCH(bool, reads);
        store->values.insert(u"tabPreview"_s, stored);
        store->values.insert(u"markdownStyling"_s, stored);
        QCOMPARE(Settings::tabPreview(), reads);
        QCOMPARE(Settings::markdownStyling(), reads);
    }

    void floatingNoteSize_data()
    {
        QTest::addColumn<double>("width");
        QTest::addColumn<double>("height");
        QTest::addColumn<QSizeF>("reads");
        QTest::newRow("a size at the minimum is used") << 280.0 << 220.0 << QSizeF(280, 220);
        QTest::newRow("a height under the minimum gives the note size")
            << 300.0 << 200.0 << QSizeF(460, 380);
        QTest::newRow("a width under the minimum too") << 279.0 << 500.0 << QSizeF(460, 380);
    }
    void floatingNoteSize()
    {
        QFETCH(double, width);
        QFETCH(double, height);
        QFETCH(QSizeF, reads);
        Settings::setFloatingNoteSize({width, height});
        QCOMPARE(store->values.value(u"floatingNoteW"_s).toDouble(), width);
        QCOMPARE(Settings::floatingNoteSize(), reads);
    }

    void shortcutsThatDoNotDecodeGiveTheDefault_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<Shortcut>("reads");
        const Shortcut fallback{0x2D, 0x900};
        QTest::newRow("a stored shortcut") << QVariant(u"{\"keyCode\":3,\"modifiers\":4096}"_s)
                                           << Shortcut{3, 0x1000};
        QTest::newRow("a cleared shortcut stays cleared")
            << QVariant(u"{\"keyCode\":0,\"modifiers\":0}"_s) << Shortcut::none();
        QTest::newRow("stored as bytes") << QVariant("{\"keyCode\":3,\"modifiers\":256}"_ba)
                                         << Shortcut{3, 0x100};
        QTest::newRow("a missing modifier key") << QVariant(u"{\"keyCode\":3}"_s) << fallback;
        QTest::newRow("a key code as text") << QVariant(u"{\"keyCode\":\"3\",\"modifiers\":256}"_s)
                                            << fallback;
        QTest::newRow("a negative key code") << QVariant(u"{\"keyCode\":-1,\"modifiers\":256}"_s)
                                             << fallback;
        QTest::newRow("a fractional key code")
            << QVariant(u"{\"keyCode\":1.5,\"modifiers\":256}"_s) << fallback;
        QTest::newRow("a bit beyond the four modifiers")
            << QVariant(u"{\"keyCode\":3,\"modifiers\":65792}"_s) << fallback;
        QTest::newRow("broken JSON") << QVariant(u"{\"keyCode\":3,"_s) << fallback;
        QTest::newRow("a number instead of JSON") << QVariant(12) << fallback;
    }
    void shortcutsThatDoNotDecodeGiveTheDefault()
    {
        QFETCH(QVariant, stored);
        QFETCH(Shortcut, reads);
        store->values.insert(u"scNewNote"_s, stored);
        QCOMPARE(Settings::scNewNote(), reads);
    }

    void shortcutsRoundTripThroughTheSettingsFile()
    {
        QTemporaryDir dir;
        QSettingsDefaults file(dir.filePath(u"pondrift.conf"_s));
        Settings::install(file, loginItem);
        Settings::setScPin({0x23, Shortcut::command | Shortcut::option});
        Settings::setNoteSizeIndex(2);
        Settings::setTabPreview(false);
        Settings::setNoteFontName(QString());
        {
            QSettingsDefaults reread(dir.filePath(u"pondrift.conf"_s));
            Settings::install(reread, loginItem);
            QCOMPARE(Settings::scPin(), (Shortcut{0x23, 0x900}));
            QCOMPARE(Settings::noteSizeIndex(), 2);
            QVERIFY(!Settings::tabPreview());
            QCOMPARE(Settings::noteFontName(), QString());
        }
        freshStore();
    }

    void languageChoice()
    {
        Settings::setAppLanguage(AppLanguage::SimplifiedChinese);
        QCOMPARE(store->values.value(u"appLanguage"_s), QVariant(u"zh-Hans"_s));
        QCOMPARE(Settings::appLanguage(), AppLanguage::SimplifiedChinese);
        Settings::setAppLanguage(AppLanguage::System);
        QVERIFY(!store->contains(u"appLanguage"_s));
        store->values.insert(u"appLanguage"_s, u"fr"_s);
        QCOMPARE(Settings::appLanguage(), AppLanguage::System);
    }

    void resolve_data()
    {
        QTest::addColumn<QStringList>("languages");
        QTest::addColumn<int>("resolved");
        QTest::newRow("traditional Chinese is not ours") << QStringList{u"zh-Hant"_s, u"en"_s}
                                                         << int(AppLanguage::System);
        QTest::newRow("simplified Chinese of China") << QStringList{u"zh-Hans-CN"_s}
                                                     << int(AppLanguage::SimplifiedChinese);
        QTest::newRow("Chinese of Singapore") << QStringList{u"zh-SG"_s}
                                              << int(AppLanguage::SimplifiedChinese);
        QTest::newRow("bare Chinese")
            << QStringList{u"zh"_s} << int(AppLanguage::SimplifiedChinese);
        QTest::newRow("British English") << QStringList{u"en-GB"_s} << int(AppLanguage::English);
        QTest::newRow("upper-case English") << QStringList{u"EN"_s} << int(AppLanguage::English);
        QTest::newRow("only the first entry counts") << QStringList{u"fr"_s, u"en"_s}
                                                     << int(AppLanguage::System);
        QTest::newRow("no languages at all") << QStringList{} << int(AppLanguage::System);
    }
    void resolve()
    {
        QFETCH(QStringList, languages);
        QFETCH(int, resolved);
        QCOMPARE(AppLanguage::resolve(languages), AppLanguage::Case(resolved));
    }

    void interfaceLanguageOfTheSystemChoice()
    {
        const AppLanguage system = AppLanguage::System;
        QCOMPARE(system.interfaceLanguage({u"zh_CN"_s}), AppLanguage::SimplifiedChinese);
        QCOMPARE(system.interfaceLanguage({u"de-DE"_s}), AppLanguage::English);
        QCOMPARE(AppLanguage(AppLanguage::English).interfaceLanguage({u"zh-Hans"_s}),
                 AppLanguage::English);
    }

    void launchAtLogin()
    {
        MemoryLoginItem& item = loginItem;
        QStringList lines;
        Log::Capture capture([&](const QString& line) { lines.append(line); });
        Settings::setLaunchAtLogin(true);
        QVERIFY(Settings::launchAtLogin());
        item.failure = u"permission denied"_s;
        Settings::setLaunchAtLogin(false);
        QVERIFY(Settings::launchAtLogin());
        QCOMPARE(lines,
                 QStringList{u"Pondrift: launch-at-login toggle failed — permission denied"_s});
    }

    void autostartEntry()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"config/autostart/app.pondrift.Pondrift.desktop"_s);
        XdgLoginItem item(path, u"/opt/Pondrift \"beta\"/pondrift"_s);
        QVERIFY(!item.isEnabled());
        QCOMPARE(item.enable(), std::nullopt);
        QVERIFY(item.isEnabled());
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        // A quote in the path: \" for the Exec quoting, its backslash doubled for the string.
        QVERIFY(file.readAll().contains("Exec=\"/opt/Pondrift \\\\\"beta\\\\\"/pondrift\""));
        file.close();
        QCOMPARE(item.disable(), std::nullopt);
        QVERIFY(!item.isEnabled());
        QCOMPARE(item.disable(), std::nullopt);

        // A session skips an entry that says it is hidden.
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[Desktop Entry]\nHidden=true\n");
        file.close();
        QVERIFY(!item.isEnabled());
    }

    void autostartEntryInAFolderThatCannotBeMade()
    {
        QTemporaryDir dir;
        QFile blocker(dir.filePath(u"config"_s));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        XdgLoginItem item(dir.filePath(u"config/autostart/x.desktop"_s), u"/usr/bin/pondrift"_s);
        const auto failure = item.enable();
        QVERIFY(failure.has_value());
        QVERIFY(!item.isEnabled());
    }
};

QTEST_MAIN(TestSettings)
#include "tst_settings.moc"
