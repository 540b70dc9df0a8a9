#include "platform/KeyCodes.h"
#include "platform/x11/X11KeyCodes.h"
#include "platform/x11/XkbKeyboardLayout.h"
#include "settings/Shortcut.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

bool setLayout(const QString& layout) { return QProcess::execute(u"setxkbmap"_s, {layout}) == 0; }

} // namespace

// The key tables against a real X server running the US layout, and key names from it.
class TestKeyboardX11 : public QObject {
    Q_OBJECT

    std::unique_ptr<XkbKeyboardLayout> layout;

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY2(setLayout(u"us"_s), "setxkbmap is missing");
        layout = XkbKeyboardLayout::open();
        QVERIFY2(layout, "no X server with XKB");
    }
    void cleanupTestCase() { setLayout(u"us"_s); }

    void everyKeyOfTheTableIsWhereTheServerHasIt()
    {
        // A wrong X11 key code in the table would grab, and name, another key.
        int checked = 0;
        for (quint32 code = 0; code < 128; ++code) {
            const auto x11 = X11KeyCodes::x11Keycode(code);
            QCOMPARE(x11.has_value(), KeyCodes::qtKey(code).has_value());
            if (!x11)
                continue;
            QCOMPARE(layout->keyCodeForScanCode(*x11), code);
            const auto us = KeyCodes::usCharacter(code);
            QCOMPARE(layout->character(code), us ? QString(*us) : QString());
            ++checked;
        }
        QCOMPARE(checked, 82);
        for (quint32 mask : {0u, 0x100u, 0x200u, 0x800u, 0x1000u, 0x1B00u})
            QCOMPARE(X11KeyCodes::fromX11State(X11KeyCodes::x11State(mask)), mask);
    }

    void keyNamesFollowALayoutChangeAfterAReload()
    {
        QCOMPARE(Shortcut::keyName(0x10, *layout), u"Y"_s);
        QVERIFY(setLayout(u"de"_s));
        QVERIFY(layout->reload());
        // The German layout swaps Y and Z, and has "ö" where the US one has ";".
        QCOMPARE(Shortcut::keyName(0x10, *layout), u"Z"_s);
        QCOMPARE(Shortcut::keyName(0x29, *layout), u"Ö"_s);
        QVERIFY(setLayout(u"us"_s));
        QVERIFY(layout->reload());
        QCOMPARE(Shortcut::keyName(0x10, *layout), u"Y"_s);
    }
};

QTEST_MAIN(TestKeyboardX11)
#include "tst_keyboard_x11.moc"
