#include "notes/Ink.h"
#include "platform/xdg/FontconfigFonts.h"

#include <QFontInfo>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

enum class By { PostScriptName, Family };

NoteFace faceOf(const QString& fontName) { return {u"Test"_s, fontName, fontName, 0}; }

} // namespace

Q_DECLARE_METATYPE(By)

// The installed fonts as fontconfig knows them, and the fonts Qt makes of what is found. The
// test command installs DejaVu (fonts-dejavu-core), whose faces stand for the note faces.
class TestFonts : public QObject {
    Q_OBJECT

    FontconfigFonts fonts;

private Q_SLOTS:
    void initTestCase() { Ink::install(fonts); }

    // Faces that are found are also checked below, as Qt draws them.
    void onlyAnExactNameFindsAFace_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<By>("by");
        // Empty: nothing is found.
        QTest::addColumn<QString>("family");
        QTest::addColumn<QString>("styleName");
        QTest::addColumn<int>("weight");
        QTest::addColumn<QFont::Style>("style");
        QTest::addColumn<int>("stretch");

        const auto found = [](const char* row, const QString& name, By by, const QString& family,
                              const QString& styleName, int weight, QFont::Style style,
                              int stretch) {
            QTest::newRow(row) << name << by << family << styleName << weight << style << stretch;
        };
        const auto absent = [](const char* row, const QString& name, By by) {
            QTest::newRow(row) << name << by << QString() << QString() << 0 << QFont::StyleNormal
                               << 0;
        };
        found("an oblique face is found oblique", u"DejaVuSansMono-BoldOblique"_s,
              By::PostScriptName, u"DejaVu Sans Mono"_s, u"Bold Oblique"_s, 700,
              QFont::StyleOblique, 100);
        found("a condensed face keeps its width under its first family",
              u"DejaVuSansCondensed-Bold"_s, By::PostScriptName, u"DejaVu Sans"_s,
              u"Condensed Bold"_s, 700, QFont::StyleNormal, 87);
        found("a family name in another case finds the same face", u"dejavu serif"_s, By::Family,
              u"DejaVu Serif"_s, u"Book"_s, 400, QFont::StyleNormal, 100);
        absent("a PostScript name not installed is absent, though fontconfig would substitute",
               u"Noteworthy-Light"_s, By::PostScriptName);
        absent("a family not installed is absent", u"Noteworthy"_s, By::Family);
        absent("a family name is not a PostScript name", u"DejaVu Sans"_s, By::PostScriptName);
        absent("a PostScript name is not a family name", u"DejaVuSans-Bold"_s, By::Family);
        absent("a family name without its blanks is not the family", u"DejaVuSans"_s, By::Family);
        absent("a generic family that fontconfig resolves is not a family", u"sans-serif"_s,
               By::Family);
        absent("no name finds nothing", QString(), By::Family);
    }

    void onlyAnExactNameFindsAFace()
    {
        QFETCH(QString, name);
        QFETCH(By, by);
        QFETCH(QString, family);
        const std::optional<FontFace> face =
            by == By::PostScriptName ? fonts.byPostScriptName(name) : fonts.byFamily(name);
        if (family.isEmpty()) {
            QVERIFY2(!face, qPrintable(face ? face->family + u' ' + face->styleName : QString()));
            return;
        }
        QVERIFY(face);
        QCOMPARE(face->family, family);
        QTEST(face->styleName, "styleName");
        QTEST(static_cast<int>(face->weight), "weight");
        QTEST(face->style, "style");
        QTEST(face->stretch, "stretch");
    }

    void aFoundFaceIsTheFaceQtDraws_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("family");
        QTest::addColumn<QString>("styleName");
        // The face a bold run of text in that font is drawn with.
        QTest::addColumn<QString>("boldStyleName");

        QTest::newRow("a bold face by PostScript name")
            << u"DejaVuSans-Bold"_s << u"DejaVu Sans"_s << u"Bold"_s << u"Bold"_s;
        QTest::newRow("a light face, whose bold runs take the family's bold")
            << u"DejaVuSans-ExtraLight"_s << u"DejaVu Sans"_s << u"ExtraLight"_s << u"Bold"_s;
        QTest::newRow("an italic face, whose bold runs stay italic")
            << u"DejaVuSerif-Italic"_s << u"DejaVu Serif"_s << u"Italic"_s << u"Bold Italic"_s;
        QTest::newRow("an oblique face")
            << u"DejaVuSans-Oblique"_s << u"DejaVu Sans"_s << u"Oblique"_s << u"Bold Oblique"_s;
        QTest::newRow("a condensed face, whose bold runs stay condensed")
            << u"DejaVuSerifCondensed"_s << u"DejaVu Serif"_s << u"Condensed"_s
            << u"Condensed Bold"_s;
        QTest::newRow("a family's regular face, not its condensed one")
            << u"DejaVu Sans"_s << u"DejaVu Sans"_s << u"Book"_s << u"Bold"_s;
        QTest::newRow("a subfamily's face") << u"DejaVu Sans Condensed"_s << u"DejaVu Sans"_s
                                            << u"Condensed"_s << u"Condensed Bold"_s;
    }

    void aFoundFaceIsTheFaceQtDraws()
    {
        QFETCH(QString, name);
        QFETCH(QString, family);
        QFETCH(QString, styleName);
        QFETCH(QString, boldStyleName);
        QVERIFY(Ink::fontExists(name));

        const QFont body = Ink::body(faceOf(name), 14);
        QCOMPARE(QFontInfo(body).family(), family);
        QCOMPARE(QFontInfo(body).styleName(), styleName);
        const QFont tab = Ink::tabFont(faceOf(name), 1);
        QCOMPARE(QFontInfo(tab).family(), family);
        QCOMPARE(QFontInfo(tab).styleName(), styleName);

        QFont bold = body;
        bold.setBold(true);
        QCOMPARE(QFontInfo(bold).family(), family);
        QCOMPARE(QFontInfo(bold).styleName(), boldStyleName);
    }
};

QTEST_MAIN(TestFonts)
#include "tst_fonts.moc"
