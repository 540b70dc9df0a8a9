#include "l10n/L10n.h"
#include "notes/Ink.h"
#include "notes/NoteColor.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestPalette : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { L10n::install(AppLanguage::English); }

    void anyStoredColourIndexGivesAColour()
    {
        QCOMPARE(&NoteColor::at(-1), &NoteColor::all().back());
        QCOMPARE(&NoteColor::at(8), &NoteColor::all().front());
    }

    void faceChoice()
    {
        const QStringList installed{u"Noteworthy-Light"_s, u"Menlo-Regular"_s};
        const auto faces = Ink::available([&](const QString& n) { return installed.contains(n); });
        // The faces whose fonts this machine has, after System.
        QCOMPARE(faces.size(), 3u);
        QCOMPARE(faces.front().name, u"System"_s);
        QCOMPARE(Ink::face(u"Menlo-Regular"_s, faces).name, u"Menlo"_s);
        // A face whose font is gone, or a face's shown name, falls back to System.
        QCOMPARE(Ink::face(u"BradleyHandITCTT-Bold"_s, faces).name, u"System"_s);
        QCOMPARE(Ink::face(u"Menlo"_s, faces).name, u"System"_s);
    }

    void fontsAreFoundByFamily()
    {
        // The test command installs DejaVu; a lookup that always answered one way would fail.
        QVERIFY(Ink::fontExists(u"DejaVu Sans"_s));
        QVERIFY(!Ink::fontExists(u"NoSuchFont-Regular"_s));
    }

    void colourAndFaceNamesFollowTheLanguage()
    {
        L10n::install(AppLanguage::SimplifiedChinese);
        QCOMPARE(NoteColor::at(5).localizedName(), u"薄荷绿"_s);
        QCOMPARE(Ink::allFaces().front().localizedName(), u"系统字体"_s);
        // A face named after its font keeps the font's name in every language.
        QCOMPARE(Ink::allFaces().back().localizedName(), u"Menlo"_s);
    }

    void bodyFontOfAMissingFaceIgnoresTheBump()
    {
        const NoteFace menlo = Ink::allFaces().back();
        QVERIFY(menlo.bump != 0);
        if (Ink::fontExists(menlo.body))
            QSKIP("Menlo is installed here");
        QCOMPARE(Ink::body(menlo, 14).pointSizeF(), 14 * 0.75);
    }
};

QTEST_MAIN(TestPalette)
#include "tst_palette.moc"
