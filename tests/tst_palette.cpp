#include "l10n/L10n.h"
#include "notes/Ink.h"
#include "notes/NoteColor.h"
#include "settings/Settings.h"
#include "support/MemoryDefaults.h"
#include "support/MemoryLoginItem.h"
#include "support/TableFonts.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QTest>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

// Installed faces that stand for the note faces' fonts. None is the system font (DejaVu Sans
// here), so a font drawn in one of them was not the fallback.
const QHash<QString, FontFace> standIns{
    {u"Noteworthy-Light"_s, {u"DejaVu Serif"_s, u"Book"_s, QFont::Normal}},
    {u"Noteworthy-Bold"_s, {u"DejaVu Serif"_s, u"Bold"_s, QFont::Bold}},
    {u"Menlo-Regular"_s, {u"DejaVu Sans Mono"_s, u"Book"_s, QFont::Normal}},
    {u"Menlo-Bold"_s, {u"DejaVu Sans Mono"_s, u"Bold"_s, QFont::Bold}},
    {u"Georgia"_s, {u"DejaVu Serif"_s, u"Book"_s, QFont::Normal}},
};

NoteFace faceNamed(const QString& name)
{
    for (const NoteFace& f : Ink::allFaces()) {
        if (f.name == name)
            return f;
    }
    qFatal("no face of that name");
}

QString systemFamily() { return QFontDatabase::systemFont(QFontDatabase::GeneralFont).family(); }

} // namespace

class TestPalette : public QObject {
    Q_OBJECT

    TableFonts fonts;
    MemoryDefaults defaults;
    MemoryLoginItem loginItem;

    // Each row's fonts: names installed as PostScript names, and as family names.
    void installFonts(const QStringList& postScriptNames, const QStringList& families = {})
    {
        fonts.postScriptNames.clear();
        fonts.families.clear();
        for (const QString& name : postScriptNames)
            fonts.postScriptNames.insert(name, standIns.value(name));
        for (const QString& name : families)
            fonts.families.insert(name, standIns.value(name));
        Ink::install(fonts);
    }

private Q_SLOTS:
    void cleanup() { L10n::install(AppLanguage::English); }

    void anyStoredColourIndexGivesAColour()
    {
        QCOMPARE(&NoteColor::at(-1), &NoteColor::all().back());
        QCOMPARE(&NoteColor::at(8), &NoteColor::all().front());
    }

    void theFacesOfferedAreTheInstalledOnes_data()
    {
        QTest::addColumn<QStringList>("postScriptNames");
        QTest::addColumn<QStringList>("families");
        QTest::addColumn<QStringList>("offered");

        QTest::newRow("with none of the fonts installed, only System is offered")
            << QStringList() << QStringList() << QStringList{u"System"_s};
        QTest::newRow("installed faces follow System in the table's order")
            << QStringList{u"Menlo-Regular"_s, u"Noteworthy-Light"_s} << QStringList()
            << QStringList{u"System"_s, u"Noteworthy"_s, u"Menlo"_s};
        QTest::newRow("a body font installed by family name offers its face")
            << QStringList() << QStringList{u"Georgia"_s} << QStringList{u"System"_s, u"Georgia"_s};
        QTest::newRow("a face whose tab font alone is installed is not offered")
            << QStringList{u"Noteworthy-Bold"_s, u"Menlo-Bold"_s} << QStringList()
            << QStringList{u"System"_s};
    }

    void theFacesOfferedAreTheInstalledOnes()
    {
        QFETCH(QStringList, postScriptNames);
        QFETCH(QStringList, families);
        QFETCH(QStringList, offered);
        installFonts(postScriptNames, families);
        const auto names = [](const std::vector<NoteFace>& faces) {
            QStringList result;
            for (const NoteFace& f : faces)
                result << f.name;
            return result;
        };
        QCOMPARE(names(Ink::faces()), offered);
        QCOMPARE(names(Ink::available(fonts)), offered);
    }

    void theChosenFaceFollowsTheSetting_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("setting");
        QTest::addColumn<QString>("face");

        QTest::newRow("a change of the setting changes the face")
            << u"Menlo-Regular"_s << u"Noteworthy-Light"_s << u"Noteworthy"_s;
        QTest::newRow("a face whose font is not installed falls back to System")
            << u"Menlo-Regular"_s << u"BradleyHandITCTT-Bold"_s << u"System"_s;
        QTest::newRow("a face's shown name is not its font's name")
            << u"Menlo-Regular"_s << u"Menlo"_s << u"System"_s;
    }

    void theChosenFaceFollowsTheSetting()
    {
        QFETCH(QString, before);
        QFETCH(QString, setting);
        Settings::install(defaults, loginItem);
        installFonts({u"Noteworthy-Light"_s, u"Menlo-Regular"_s});
        Settings::setNoteFontName(before);
        QCOMPARE(Ink::face().body, before);
        Settings::setNoteFontName(setting);
        QTEST(Ink::face().name, "face");
    }

    // A face's body and tab fonts, each in its own font when installed, else the system's.
    void aFacesFonts_data()
    {
        QTest::addColumn<QString>("face");
        QTest::addColumn<QStringList>("installed");
        QTest::addColumn<double>("scale");
        // Empty: the system font, semibold for tabs.
        QTest::addColumn<QString>("bodyFamily");
        QTest::addColumn<double>("bodySize");
        QTest::addColumn<QString>("tabFamily");
        QTest::addColumn<double>("tabSize");

        QTest::newRow("a face with both fonts installed takes its bump in each")
            << u"Noteworthy"_s << QStringList{u"Noteworthy-Light"_s, u"Noteworthy-Bold"_s} << 1.0
            << u"DejaVu Serif"_s << 15.5 << u"DejaVu Serif"_s << 9.5 + 1.5;
        QTest::newRow("Menlo's bump of -1 at a larger deck makes both a point smaller")
            << u"Menlo"_s << QStringList{u"Menlo-Regular"_s, u"Menlo-Bold"_s} << 1.4
            << u"DejaVu Sans Mono"_s << 13.0 << u"DejaVu Sans Mono"_s << 9.5 * 1.4 - 1;
        QTest::newRow("a face whose tab font is missing labels tabs half a point under")
            << u"Noteworthy"_s << QStringList{u"Noteworthy-Light"_s} << 1.0 << u"DejaVu Serif"_s
            << 15.5 << QString() << 9.5 - 0.5;
        QTest::newRow("a missing face falls back to the system font without the bump")
            << u"Menlo"_s << QStringList{u"Noteworthy-Light"_s} << 1.2 << QString() << 14.0
            << QString() << 9.5 * 1.2 - 0.5;
    }

    void aFacesFonts()
    {
        QFETCH(QString, face);
        QFETCH(QStringList, installed);
        QFETCH(double, scale);
        QFETCH(QString, bodyFamily);
        QFETCH(double, bodySize);
        QFETCH(QString, tabFamily);
        QFETCH(double, tabSize);
        installFonts(installed);
        const QFont body = Ink::body(faceNamed(face), 14);
        const QFont tab = Ink::tabFont(faceNamed(face), scale);
        QCOMPARE(body.pointSizeF(), bodySize * 0.75);
        QCOMPARE(tab.pointSizeF(), tabSize * 0.75);
        // Letter spacing is kept in 64ths of a pixel.
        QVERIFY(std::abs(tab.letterSpacing() - 0.1 * scale) <= 1.0 / 64);
        QCOMPARE(tab.letterSpacingType(), QFont::AbsoluteSpacing);
        if (tabFamily.isEmpty())
            QCOMPARE(tab.weight(), QFont::DemiBold);
        for (const auto& [font, family, style] :
             {std::tuple{body, bodyFamily, u"Book"_s}, std::tuple{tab, tabFamily, u"Bold"_s}}) {
            if (family.isEmpty()) {
                QCOMPARE(font.family(), systemFamily());
            } else {
                QCOMPARE(QFontInfo(font).family(), family);
                QCOMPARE(QFontInfo(font).styleName(), style);
            }
        }
    }

    void colourAndFaceNamesFollowTheLanguage()
    {
        L10n::install(AppLanguage::SimplifiedChinese);
        QCOMPARE(NoteColor::at(5).localizedName(), u"薄荷绿"_s);
        QCOMPARE(Ink::allFaces().front().localizedName(), u"系统字体"_s);
        // A face named after its font keeps the font's name in every language.
        QCOMPARE(Ink::allFaces().back().localizedName(), u"Menlo"_s);
    }
};

QTEST_MAIN(TestPalette)
#include "tst_palette.moc"
