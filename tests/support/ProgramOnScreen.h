#pragma once

#include "support/VirtualScreen.h"

#include <QByteArray>
#include <QList>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRect>
#include <QRegularExpression>
#include <QStringList>
#include <QTemporaryDir>

struct xcb_connection_t;

// The real program in a home of its own, seen and driven from outside as a person's hand
// would: xdotool (XTest) for the pointer and keys, the X server's idea of its windows, and
// its deck trace (PONDRIFT_DEBUG_DECK) in a log file. Every process of the program started in
// the home writes there: a relaunched one inherits the old one's standard error.
//
// The desktop is optional: without startDesktop() the program runs on the display the test
// itself was given. Everything it started is ended when dropped, including instances that
// are no child of ours but run in its home.
class ProgramOnScreen {
public:
    // X window and atom ids, as the server numbers them.
    using XId = quint32;

    // patience: how long, in milliseconds, every wait of this fixture may take.
    explicit ProgramOnScreen(int patience = 30000);
    ~ProgramOnScreen();
    ProgramOnScreen(const ProgramOnScreen&) = delete;
    ProgramOnScreen& operator=(const ProgramOnScreen&) = delete;

    // An Xvfb of 1280x800 with openbox running on it, and picom too when asked; false when
    // one of them did not come up in time.
    bool startDesktop(bool withCompositor = false);
    void stopCompositor();

    QString home() const { return folder.path(); }
    // What the program and every tool started here run with: the system's environment with
    // the home's XDG folders, this desktop's display (when there is one), the deck trace on,
    // no forced Qt platform, and the test's own additions on top.
    QProcessEnvironment environment() const;
    void setVariable(const QString& name, const QString& value);
    void unsetVariable(const QString& name);

    // The program's settings file, written before it starts.
    bool writeSettings(const QByteArray& contents);
    // Notes in the program's own library, written as an earlier launch would have.
    bool seed(const QStringList& titles);

    // Starts the program; launch() also waits until it makes its deck.
    bool startProgram(const QStringList& arguments = {});
    bool launch();
    QProcess& program() { return process; }

    struct Outcome {
        int exitCode = -1; // -1: it did not end in time
        QString errors;
    };
    // A later start, which hands its request to the running instance and ends.
    Outcome startAgain(const QStringList& arguments);
    bool request(const QString& url) { return startAgain({url}).exitCode == 0; }

    // Waits for a line holding the text, or matching the pattern, after what was already
    // found; captured receives the pattern's first group.
    bool waitForLine(const QString& text);
    bool waitForMatch(const QString& pattern, QString* captured = nullptr);
    QString traceSoFar() const;

    // A tool run with environment(); its standard output, or empty when it did not end.
    QByteArray run(const QString& tool, const QStringList& args) const;
    bool xdotool(const QStringList& args) const;
    // Windows as xdotool names them (decimal ids).
    QString windowNamed(const QString& name) const;
    QString activeWindow() const;
    qint64 pidOf(const QString& window) const;
    // Every process of the program that runs in this home.
    QList<qint64> programsInHome() const;

    // Every note's text as the database holds it, read beside the running program.
    QString storedText() const;
    // A value of the program's settings file, as the next launch would read it.
    QByteArray setting(const char* key) const;

    // What follows needs startDesktop().
    XId root();
    // The first top-level window, or one a frame of the window manager holds, whose class
    // names the program.
    XId programWindow();
    QRect geometry(XId window);
    bool viewable(XId window);
    // Whether WM_HINTS lets a click give the window the keyboard.
    bool takesInput(XId window);
    XId focus();
    // The modifier keys the server holds down now.
    quint16 modifiers();
    QList<quint32> property(XId window, const char* name);
    XId atom(const char* name);
    XId selectionOwner(const char* name);
    // Whether the window is cut to a shape of its own rather than its rectangle.
    bool shaped(XId window);
    // Mapped top-level windows of every program on this desktop.
    int windows();
    // An ordinary window of another program, that hears button presses.
    XId openOtherWindow(QRect where);
    // Whether a click has reached the window since the last look.
    bool clicked(XId window);
    // As a pager's "Show Desktop" button asks.
    void showDesktop(bool on);
    // Holds a combination on the root window, as another program that got there first does.
    bool holdKey(quint8 keycode, quint16 modifiers);

private:
    QByteArray className(XId window);
    QString logPath() const;

    const int patience;
    VirtualScreen screen;
    QByteArray display;
    xcb_connection_t* x = nullptr;
    QTemporaryDir folder;
    QProcessEnvironment additions;
    QStringList removals;
    QProcess windowManager;
    QProcess compositor;
    QProcess process;
    qsizetype seen = 0;
};
