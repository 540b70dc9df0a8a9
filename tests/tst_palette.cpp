#include "l10n/L10n.h"
#include "settings/Settings.h"
#include "notes/Ink.h"
#include "notes/NoteColor.h"
#include "support/MemoryDefaults.h"
#include "support/MemoryLoginItem.h"

#include <QFontInfo>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestPalette : public QObject {
    Q_OBJECT

    MemoryDefaults store;
    MemoryLoginItem loginItem;

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        Settings::install(store, loginItem);
    }
    void cleanup() { L10n::install(AppLanguage::English); }

    void colorAt_data()
    {
        QTest::addColumn<qint64>("index");
        QTest::addColumn<QString>("name");
        QTest::newRow("one before the first is the last") << qint64(-1) << u"Slate"_s;
        QTest::newRow("one past the last is the first") << qint64(8) << u"Lemon"_s;
        QTest::newRow("far below zero") << qint64(-17) << u"Slate"_s;
        QTest::newRow("far beyond") << qint64(1'000'000'003) << u"Lilac"_s;
    }
    void colorAt()
    {
        QFETCH(qint64, index);
        QFETCH(QString, name);
        QCOMPARE(NoteColor::at(index).name, name);
    }

    void faceChoice_data()
    {
        QTest::addColumn<QStringList>("installed");
        QTest::addColumn<QString>("setting");
        QTest::addColumn<QString>("face");
        const QStringList some{u"Noteworthy-Light"_s, u"Menlo-Regular"_s};
        QTest::newRow("an installed face") << some << u"Menlo-Regular"_s << u"Menlo"_s;
        QTest::newRow("a face whose font is gone falls back to System")
            << QStringList{u"Menlo-Regular"_s} << u"Noteworthy-Light"_s << u"System"_s;
        QTest::newRow("the empty name is the System face") << some << QString() << u"System"_s;
        QTest::newRow("a face's shown name is no body name") << some << u"Menlo"_s << u"System"_s;
    }
    void faceChoice()
    {
        QFETCH(QStringList, installed);
        QFETCH(QString, setting);
        QFETCH(QString, face);
        const auto faces = Ink::available([&](const QString& n) { return installed.contains(n); });
        QCOMPARE(faces.front().name, u"System"_s);
        QCOMPARE(int(faces.size()), 1 + int(installed.size()));
        QCOMPARE(Ink::face(setting, faces).name, face);
    }

    void fontsAreFoundByFamily()
    {
        // The test command installs DejaVu; a lookup that always answered one way would fail.
        QVERIFY(Ink::fontExists(u"DejaVu Sans"_s));
        QVERIFY(!Ink::fontExists(u"NoSuchFont-Regular"_s));
        QCOMPARE(Ink::faces().front().name, u"System"_s);
    }

    void colourAndFaceNamesFollowTheLanguage()
    {
        const NoteFace system = Ink::allFaces().front();
        QCOMPARE(NoteColor::at(5).localizedName(), u"Mint"_s);
        QCOMPARE(system.localizedName(), u"System"_s);
        L10n::install(AppLanguage::SimplifiedChinese);
        QCOMPARE(NoteColor::at(5).localizedName(), u"薄荷绿"_s);
        QCOMPARE(system.localizedName(), u"系统字体"_s);
        // A face named after its font keeps the font's name in every language.
        QCOMPARE(Ink::allFaces().back().localizedName(), u"Menlo"_s);
    }

    void bodyFontOfAMissingFaceIgnoresTheBump()
    {
        const NoteFace menlo = Ink::allFaces().back();
        QCOMPARE(menlo.bump, -1.0);
        if (Ink::fontExists(menlo.body))
            QSKIP("Menlo is installed here");
        const QFont font = Ink::body(menlo, 14);
        QCOMPARE(font.pointSizeF(), 14 * 0.75);
    }
};

QTEST_MAIN(TestPalette)
#include "tst_palette.moc"
