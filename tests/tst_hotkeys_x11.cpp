#include "app/HotKeys.h"
#include "platform/KeyCodes.h"
#include "platform/Log.h"
#include "platform/x11/X11HotKeys.h"
#include "platform/x11/XkbKeyboardLayout.h"
#include "settings/Settings.h"
#include "support/MemoryDefaults.h"
#include "support/MemoryLoginItem.h"
#include "support/VirtualScreen.h"

#include <QGuiApplication>
#include <QProcess>
#include <QTest>

#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int patience = 30000;
constexpr quint32 ctrlAlt = KeyCodes::command | KeyCodes::option;
// Stored key codes of N, J and K.
constexpr Shortcut ctrlAltN{0x2D, ctrlAlt};
constexpr Shortcut ctrlAltJ{0x26, ctrlAlt};
constexpr Shortcut ctrlAltK{0x28, ctrlAlt};
// The same keys as the server numbers them (evdev + 8).
constexpr quint8 x11J = 44;
constexpr quint8 x11N = 57;

bool xdotool(const QStringList& args) { return QProcess::execute(u"xdotool"_s, args) == 0; }

// Another program on the same server, grabbing keys on the root window for itself.
struct OtherProgram {
    xcb_connection_t* x = xcb_connect(nullptr, nullptr);
    ~OtherProgram() { xcb_disconnect(x); }
    OtherProgram() = default;
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;

    // Control and Alt with the key; false when the server refuses it.
    bool grab(quint8 keycode)
    {
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(x)).data->root;
        xcb_generic_error_t* error = xcb_request_check(
            x, xcb_grab_key_checked(x, true, root, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1, keycode,
                                    XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        const bool taken = !error;
        std::free(error);
        return taken;
    }
};

} // namespace

class TestHotKeysX11 : public QObject {
    Q_OBJECT

    MemoryDefaults defaults;
    MemoryLoginItem loginItem;
    std::unique_ptr<XkbKeyboardLayout> layout;
    std::unique_ptr<X11HotKeys> backend;

private Q_SLOTS:
    void initTestCase()
    {
        Settings::install(defaults, loginItem);
        layout = XkbKeyboardLayout::open();
        QVERIFY(layout);
        backend = X11HotKeys::open(*layout);
        QVERIFY(backend);
    }

    // Presses reach their action from the event loop, with their time; a combination
    // another program holds is logged and stays dead while the others work; an unset one is
    // not grabbed; Num Lock makes no difference; a reload lets go of what changed.
    void theCombinationsWorkFromAnywhere()
    {
        Settings::setScNewNote(ctrlAltN);
        Settings::setScAllNotes(Shortcut{});
        Settings::setScArchive(ctrlAltJ);
        Settings::setScCapture(ctrlAltK);
        OtherProgram other;
        QVERIFY(other.grab(x11J));
        QStringList log;
        const Log::Capture capture([&](const QString& line) { log << line; });
        QList<quint32> fired;
        quint32 lastTime = 0;
        const auto record = [&](quint32 id) {
            return [&fired, &lastTime, id](quint32 time) {
                fired << id;
                lastTime = time;
            };
        };
        HotKeys keys(*backend);
        keys.registerActions(record(1), record(2), record(3), record(4));
        QCOMPARE(keys.live(), (QList<quint32>{1, 4}));
        QCOMPARE(
            log,
            QStringList{u"Pondrift: hotkey 3 unavailable (status 10) — another app may own it"_s});

        QVERIFY(xdotool({u"key"_s, u"ctrl+alt+n"_s}));
        QTRY_COMPARE_WITH_TIMEOUT(fired, QList<quint32>{1}, patience);
        QVERIFY(lastTime != 0);
        QVERIFY(xdotool({u"key"_s, u"Num_Lock"_s, u"ctrl+alt+k"_s, u"Num_Lock"_s}));
        QTRY_COMPARE_WITH_TIMEOUT(fired, (QList<quint32>{1, 4}), patience);

        Settings::setScNewNote(Shortcut{});
        keys.reload();
        QCOMPARE(keys.live(), QList<quint32>{4});
        OtherProgram third;
        QVERIFY2(third.grab(x11N), "Ctrl+Alt+N is still held");
    }
};

// On an X server of its own: the programs other tests start on the shared one hold global
// keys of their own.
int main(int argc, char** argv)
{
    VirtualScreen screen;
    const QByteArray display = screen.start(QSize(1024, 768));
    if (display.isEmpty()) {
        std::fprintf(stderr, "tst_hotkeys_x11: Xvfb is needed for this test\n");
        return 1;
    }
    qputenv("DISPLAY", display);
    QGuiApplication app(argc, argv);
    TestHotKeysX11 test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_hotkeys_x11.moc"
