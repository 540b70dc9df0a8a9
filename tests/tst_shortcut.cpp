#include "l10n/L10n.h"
#include "platform/KeyboardLayout.h"
#include "platform/fallback/UsKeyboardLayout.h"
#include "settings/Settings.h"
#include "settings/Shortcut.h"
#include "support/MemoryDefaults.h"
#include "support/MemoryLoginItem.h"

#include <QKeyEvent>
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
    QString character(quint32 code) const override { return code == keyQ ? u"й"_s : QString(); }
    std::optional<quint32> keyCodeForScanCode(quint32) const override { return std::nullopt; }
};

const UsKeyboardLayout us;

} // namespace

class TestShortcut : public QObject {
    Q_OBJECT

    // Settings keeps the store it is given for the rest of the process.
    MemoryDefaults defaults;
    MemoryLoginItem loginItem;

private Q_SLOTS:
    void cleanup() { L10n::install(AppLanguage::English); }

    void from_data()
    {
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::addColumn<bool>("allowingBareKey");
        QTest::addColumn<std::optional<Shortcut>>("made");
        const auto row = [](const char* name, Qt::KeyboardModifiers modifiers, bool bare,
                            std::optional<quint32> mask) {
            QTest::newRow(name) << modifiers << bare
                                << (mask ? std::optional(Shortcut{keyA, *mask}) : std::nullopt);
        };
        row("shift alone is enough", Qt::ShiftModifier, false, Shortcut::shift);
        row("a plain key is refused for a global shortcut", {}, false, {});
        row("a plain key is taken inside a note", {}, true, 0);
        row("Ctrl is the command key, Super the control key, Alt the option key",
            Qt::ControlModifier | Qt::MetaModifier | Qt::AltModifier, false,
            Shortcut::command | Shortcut::control | Shortcut::option);
        row("the keypad flag is dropped", Qt::KeypadModifier, false, {});
    }
    void from()
    {
        QFETCH(Qt::KeyboardModifiers, modifiers);
        QFETCH(bool, allowingBareKey);
        QFETCH(std::optional<Shortcut>, made);
        QCOMPARE(Shortcut::from(KeyPress{keyA, modifiers}, allowingBareKey), made);
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
        QTest::newRow("another key fails") << ctrlN << KeyPress{keyA, Qt::ControlModifier} << false;
        QTest::newRow("an unset shortcut, not even key 0 bare")
            << Shortcut::none() << KeyPress{} << false;
        QTest::newRow("a bare key matches bare") << Shortcut{0x35, 0} << KeyPress{0x35, {}} << true;
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
        const auto fromEvent = [](int key, Qt::KeyboardModifiers modifiers) {
            const auto press = Shortcut::pressOf(QKeyEvent(QEvent::KeyPress, key, modifiers), us);
            return press ? Shortcut::from(*press, true) : std::nullopt;
        };
        // Without an X server the event carries no X11 key code; the Qt key stands in.
        QCOMPARE(fromEvent(Qt::Key_A, Qt::ShiftModifier), (Shortcut{keyA, Shortcut::shift}));
        QCOMPARE(fromEvent(Qt::Key_Exclam, Qt::ShiftModifier), (Shortcut{0x12, Shortcut::shift}));
        QCOMPARE(fromEvent(Qt::Key_Enter, Qt::KeypadModifier), (Shortcut{0x24, 0}));
        QCOMPARE(fromEvent(Qt::Key_VolumeUp, Qt::ControlModifier), std::nullopt);
    }

    void display_data()
    {
        QTest::addColumn<Shortcut>("shortcut");
        QTest::addColumn<QString>("symbols");
        QTest::addColumn<QString>("names");
        QTest::newRow("unset") << Shortcut::none() << u"—"_s << u"—"_s;
        QTest::newRow("all four in their fixed order")
            << Shortcut{keyA, 0x1B00} << u"⌃⌥⇧⌘A"_s << u"Super+Ctrl+Alt+Shift+A"_s;
        QTest::newRow("a key without a character after the modifiers")
            << Shortcut{0x33, Shortcut::command} << u"⌘⌫"_s << u"Ctrl+Backspace"_s;
        QTest::newRow("a key the layout does not know")
            << Shortcut{0x7F, 0x1000} << u"⌃Key 127"_s << u"Super+Key 127"_s;
        // Keys that type no character: a Mac's symbols in one notation, the names every other
        // program of a Linux desktop shows in the other, never a symbol there.
        const auto key = [](const char* name, quint32 code, const QString& symbols,
                            const QString& names) {
            QTest::newRow(name) << Shortcut{code, 0} << symbols << names;
        };
        key("F20, the last function key, by its name", 0x5A, u"F20"_s, u"F20"_s);
        key("Page Down", 0x79, u"⇟"_s, u"PgDown"_s);
        key("Insert, which a Mac keyboard has as Help", 0x72, u"Help"_s, u"Ins"_s);
        key("forward delete", 0x75, u"⌦"_s, u"Del"_s);
        key("Escape by the interface language in both", 0x35, u"Esc"_s, u"Esc"_s);
        key("up arrow", 0x7E, u"↑"_s, u"Up"_s);
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
        QCOMPARE(Shortcut::keyName(keySpace, us), u"Space"_s);
        L10n::install(AppLanguage::SimplifiedChinese);
        QCOMPARE(Shortcut::keyName(keySpace, us), u"空格"_s);
        QCOMPARE(Shortcut::keyName(0x7F, us), u"按键 127"_s);
        // Named as Qt's own Chinese table names them, as every Qt program does.
        QCOMPARE(Shortcut::keyName(0x33, Shortcut::Notation::Names, us), u"退格"_s);
    }

    // The Mac's Control forms would be Super+= and Super+-, which desktops take for zooming
    // the screen, so the text size keys default to the Command forms; a stored choice wins.
    void textSizeKeysDefaultToCtrlAndAStoredChoiceWins()
    {
        Settings::install(defaults, loginItem);
        QCOMPARE(Settings::scBigger().display(Shortcut::Notation::Names, us), u"Ctrl+="_s);
        QCOMPARE(Settings::scSmaller().display(Shortcut::Notation::Names, us), u"Ctrl+-"_s);

        Settings::setScBigger(Shortcut{0x18, Shortcut::control});
        QCOMPARE(Settings::scBigger().display(Shortcut::Notation::Names, us), u"Super+="_s);
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
