#include "l10n/L10n.h"
#include "settings/Shortcut.h"
#include "platform/KeyCodes.h"
#include "platform/KeyboardLayout.h"
#include "platform/fallback/UsKeyboardLayout.h"

#include <QKeyEvent>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr quint32 keyA = 0x00;
constexpr quint32 keyN = 0x2D;
constexpr quint32 keyQ = 0x0C;
constexpr quint32 keySpace = 0x31;

// A layout whose Q key gives "й", as a Russian layout does.
class RussianishLayout final : public KeyboardLayout {
public:
    QString character(quint32 keyCode) const override
    {
        return keyCode == keyQ ? u"й"_s : QString();
    }
    std::optional<quint32> keyCodeForScanCode(quint32) const override { return std::nullopt; }
};

const UsKeyboardLayout us;

std::optional<Shortcut> fromEvent(const QKeyEvent& event, bool allowingBareKey)
{
    const auto press = Shortcut::pressOf(event, us);
    return press ? Shortcut::from(*press, allowingBareKey) : std::nullopt;
}

} // namespace

class TestShortcut : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void cleanup() { L10n::install(AppLanguage::English); }

    void from_data()
    {
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<bool>("allowingBareKey");
        QTest::addColumn<bool>("made");
        QTest::addColumn<quint32>("mask");
        QTest::newRow("shift alone is enough") << int(Qt::ShiftModifier) << false << true
                                               << Shortcut::shift;
        QTest::newRow("a plain key is refused for a global shortcut")
            << int(Qt::NoModifier) << false << false << 0u;
        QTest::newRow("a plain key is taken inside a note")
            << int(Qt::NoModifier) << true << true << 0u;
        QTest::newRow("Ctrl is the command key, Super the control key, Alt the option key")
            << int(Qt::ControlModifier | Qt::MetaModifier | Qt::AltModifier) << false << true
            << (Shortcut::command | Shortcut::control | Shortcut::option);
        QTest::newRow("the keypad flag is dropped")
            << int(Qt::KeypadModifier) << false << false << 0u;
    }
    void from()
    {
        QFETCH(int, modifiers);
        QFETCH(bool, allowingBareKey);
        QFETCH(bool, made);
        QFETCH(quint32, mask);
        const auto shortcut =
            Shortcut::from(KeyPress{keyA, Qt::KeyboardModifiers(modifiers)}, allowingBareKey);
        QCOMPARE(shortcut.has_value(), made);
        if (made)
            QCOMPARE(*shortcut, (Shortcut{keyA, mask}));
    }

    void matches_data()
    {
        QTest::addColumn<Shortcut>("shortcut");
        QTest::addColumn<KeyPress>("press");
        QTest::addColumn<bool>("matches");
        const Shortcut ctrlN{keyN, Shortcut::command};
        QTest::newRow("the same key and modifiers")
            << ctrlN << KeyPress{keyN, Qt::ControlModifier} << true;
        QTest::newRow("an extra modifier fails")
            << ctrlN << KeyPress{keyN, Qt::ControlModifier | Qt::ShiftModifier} << false;
        QTest::newRow("a missing modifier fails") << ctrlN << KeyPress{keyN, {}} << false;
        QTest::newRow("another key fails") << ctrlN << KeyPress{keyA, Qt::ControlModifier}
                                           << false;
        QTest::newRow("an unset shortcut never matches, not even key 0 bare")
            << Shortcut::none() << KeyPress{0, {}} << false;
        QTest::newRow("a bare key matches only bare") << Shortcut{0x35, 0} << KeyPress{0x35, {}}
                                                      << true;
    }
    void matches()
    {
        QFETCH(Shortcut, shortcut);
        QFETCH(KeyPress, press);
        QFETCH(bool, matches);
        QCOMPARE(shortcut.matches(press), matches);
    }

    void keyEventsMapByTheirQtKey()
    {
        // Without an X server the event carries no X11 key code; the Qt key stands in.
        QKeyEvent shiftA(QEvent::KeyPress, Qt::Key_A, Qt::ShiftModifier, u"A"_s);
        QCOMPARE(fromEvent(shiftA, false), (Shortcut{keyA, Shortcut::shift}));
        QKeyEvent ctrlShiftSpace(QEvent::KeyPress, Qt::Key_Space,
                                 Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY((Shortcut{keySpace, 0x300}).matches(*Shortcut::pressOf(ctrlShiftSpace, us)));
        QKeyEvent exclamation(QEvent::KeyPress, Qt::Key_Exclam, Qt::ShiftModifier, u"!"_s);
        QCOMPARE(fromEvent(exclamation, false), (Shortcut{0x12, Shortcut::shift}));
        QKeyEvent enter(QEvent::KeyPress, Qt::Key_Enter, Qt::KeypadModifier);
        QCOMPARE(fromEvent(enter, true), (Shortcut{0x24, 0}));
        QKeyEvent volume(QEvent::KeyPress, Qt::Key_VolumeUp, Qt::ControlModifier);
        QCOMPARE(Shortcut::pressOf(volume, us), std::nullopt);
    }

    void display_data()
    {
        QTest::addColumn<Shortcut>("shortcut");
        QTest::addColumn<QString>("symbols");
        QTest::addColumn<QString>("names");
        QTest::newRow("unset") << Shortcut::none() << u"—"_s << u"—"_s;
        QTest::newRow("all four in their fixed order")
            << Shortcut{keyA, 0x1B00} << u"⌃⌥⇧⌘A"_s << u"Ctrl+Alt+Shift+Super+A"_s;
        QTest::newRow("quick capture") << Shortcut{keySpace, 0x300} << u"⇧⌘Space"_s
                                       << u"Ctrl+Shift+Space"_s;
        QTest::newRow("a bare escape") << Shortcut{0x35, 0} << u"Esc"_s << u"Esc"_s;
        QTest::newRow("fixed symbols") << Shortcut{0x33, 0x100} << u"⌘⌫"_s << u"Ctrl+⌫"_s;
        QTest::newRow("a key the layout does not know")
            << Shortcut{0x7F, 0x1000} << u"⌃Key 127"_s << u"Super+Key 127"_s;
    }
    void display()
    {
        QFETCH(Shortcut, shortcut);
        QFETCH(QString, symbols);
        QFETCH(QString, names);
        QCOMPARE(shortcut.display(Shortcut::Notation::Symbols, us), symbols);
        QCOMPARE(shortcut.display(Shortcut::Notation::Names, us), names);
    }

    void keyNamesFollowTheInterfaceLanguage()
    {
        L10n::install(AppLanguage::SimplifiedChinese);
        QCOMPARE(Shortcut::keyName(keySpace, us), u"空格"_s);
        QCOMPARE((Shortcut{keySpace, 0x300}).display(Shortcut::Notation::Names, us),
                 u"Ctrl+Shift+空格"_s);
        QCOMPARE(Shortcut::keyName(0x7F, us), u"按键 127"_s);
        L10n::install(AppLanguage::English);
        QCOMPARE(Shortcut::keyName(keySpace, us), u"Space"_s);
    }

    void keyNamesFollowTheKeyboardLayout()
    {
        RussianishLayout layout;
        QCOMPARE(Shortcut::keyName(keyQ, layout), u"Й"_s);
        // Fixed names do not ask the layout.
        QCOMPARE(Shortcut::keyName(47, layout), u"."_s);
        QCOMPARE(Shortcut::keyName(keyA, layout), u"Key 0"_s);
    }
};

QTEST_MAIN(TestShortcut)
#include "tst_shortcut.moc"
