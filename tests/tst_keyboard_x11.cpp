#include "app/Shortcut.h"
#include "platform/x11/XkbKeyboardLayout.h"

#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestKeyboardX11 : public QObject {
    Q_OBJECT

    std::unique_ptr<XkbKeyboardLayout> layout;

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        layout = XkbKeyboardLayout::open();
        QVERIFY2(layout, "no X server with XKB");
    }
    void cleanup() { KeyboardLayout::install(nullptr); }

    void charactersOfTheServersLayout_data()
    {
        QTest::addColumn<quint32>("keyCode");
        QTest::addColumn<QString>("character");
        // The X server under test runs the default US layout.
        QTest::newRow("a letter, without shift") << 0x00u << u"a"_s;
        QTest::newRow("a digit") << 0x12u << u"1"_s;
        QTest::newRow("punctuation") << 0x2Fu << u"."_s;
        QTest::newRow("escape gives no character") << 0x35u << QString();
        QTest::newRow("an arrow gives none either") << 0x7Bu << QString();
        QTest::newRow("a code outside the key table") << 0x7Fu << QString();
    }
    void charactersOfTheServersLayout()
    {
        QFETCH(quint32, keyCode);
        QFETCH(QString, character);
        QCOMPARE(layout->character(keyCode), character);
    }

    void keyNamesComeFromIt()
    {
        KeyboardLayout::install(layout.get());
        QCOMPARE(Shortcut::keyName(0x2D), u"N"_s);
        QVERIFY(layout->reload());
        QCOMPARE(Shortcut::keyName(0x1B), u"-"_s);
    }
};

QTEST_MAIN(TestKeyboardX11)
#include "tst_keyboard_x11.moc"
