#include "support/ProgramOnScreen.h"

#include "notes/Paths.h"
#include "notes/Store.h"
#include "platform/qt/QtFiles.h"
#include "support/XWindows.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <xcb/shape.h>
#include <xcb/xcb.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeReply>;

} // namespace

ProgramOnScreen::ProgramOnScreen(int patience)
    : patience(patience)
{
    // The program refuses a runtime folder others can read.
    QDir(folder.path()).mkpath(u"run"_s);
    QFile::setPermissions(folder.path() + u"/run"_s,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

ProgramOnScreen::~ProgramOnScreen()
{
    // A relaunched process is no child of ours: it is told by the home it runs in.
    for (const qint64 pid : programsInHome()) {
        if (pid != process.processId())
            ::kill(static_cast<pid_t>(pid), SIGTERM);
    }
    // Before the home goes, or it cannot be removed while they still write to it.
    [[maybe_unused]] const bool gone = QTest::qWaitFor(
        [&] {
            const QList<qint64> left = programsInHome();
            return left.isEmpty() || left == QList<qint64>{process.processId()};
        },
        patience);
    if (x)
        xcb_disconnect(x);
    for (QProcess* p : {&process, &compositor, &windowManager}) {
        if (p->state() != QProcess::NotRunning) {
            p->kill();
            p->waitForFinished(10000);
        }
    }
}

bool ProgramOnScreen::startDesktop(bool withCompositor)
{
    display = screen.start({1280, 800});
    if (display.isEmpty())
        return false;
    x = xcb_connect(display.constData(), nullptr);
    if (xcb_connection_has_error(x))
        return false;
    windowManager.setProcessEnvironment(environment());
    windowManager.start(u"openbox"_s, {u"--sm-disable"_s});
    if (!windowManager.waitForStarted()
        || !QTest::qWaitFor([&] { return !property(root(), "_NET_SUPPORTING_WM_CHECK").isEmpty(); },
                            patience))
        return false;
    if (!withCompositor)
        return true;
    compositor.setProcessEnvironment(environment());
    compositor.start(u"picom"_s, {u"--backend"_s, u"xrender"_s});
    return compositor.waitForStarted()
           && QTest::qWaitFor([&] { return selectionOwner("_NET_WM_CM_S0") != XCB_NONE; },
                              patience);
}

void ProgramOnScreen::stopCompositor()
{
    compositor.terminate();
    compositor.waitForFinished(patience);
}

QProcessEnvironment ProgramOnScreen::environment() const
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    if (!display.isEmpty())
        env.insert(u"DISPLAY"_s, QString::fromLatin1(display));
    env.insert(u"HOME"_s, home());
    env.insert(u"XDG_DATA_HOME"_s, home() + u"/data"_s);
    env.insert(u"XDG_CONFIG_HOME"_s, home() + u"/config"_s);
    env.insert(u"XDG_RUNTIME_DIR"_s, home() + u"/run"_s);
    env.insert(u"PONDRIFT_DEBUG_DECK"_s, u"1"_s);
    env.remove(u"QT_QPA_PLATFORM"_s);
    env.insert(additions);
    for (const QString& name : removals)
        env.remove(name);
    return env;
}

void ProgramOnScreen::setVariable(const QString& name, const QString& value)
{
    removals.removeAll(name);
    additions.insert(name, value);
}

void ProgramOnScreen::unsetVariable(const QString& name)
{
    additions.remove(name);
    removals << name;
}

bool ProgramOnScreen::writeSettings(const QByteArray& contents)
{
    QDir(home()).mkpath(u"config/Pondrift"_s);
    QFile config(home() + u"/config/Pondrift/Pondrift.conf"_s);
    return config.open(QIODevice::WriteOnly) && config.write(contents) == contents.size();
}

bool ProgramOnScreen::seed(const QStringList& titles)
{
    return QProcess::execute(QString::fromUtf8(PONDRIFT_HELPER_DIR) + u"/seednotes"_s,
                             QStringList{home() + u"/data/Pondrift"_s} + titles)
           == 0;
}

bool ProgramOnScreen::startProgram(const QStringList& arguments)
{
    process.setProcessEnvironment(environment());
    process.setStandardOutputFile(logPath(), QIODevice::Append);
    process.setStandardErrorFile(logPath(), QIODevice::Append);
    process.start(QString::fromUtf8(PONDRIFT_BINARY), arguments);
    return process.waitForStarted();
}

bool ProgramOnScreen::launch() { return startProgram() && waitForLine(u"making a deck"_s); }

ProgramOnScreen::Outcome ProgramOnScreen::startAgain(const QStringList& arguments)
{
    QProcess later;
    later.setProcessEnvironment(environment());
    later.start(QString::fromUtf8(PONDRIFT_BINARY), arguments);
    const bool ended = later.waitForFinished(patience);
    return {ended ? later.exitCode() : -1, QString::fromUtf8(later.readAllStandardError())};
}

bool ProgramOnScreen::waitForLine(const QString& text)
{
    return QTest::qWaitFor(
        [&] {
            const qsizetype at = traceSoFar().indexOf(text, seen);
            if (at < 0)
                return false;
            seen = at + text.size();
            return true;
        },
        patience);
}

bool ProgramOnScreen::waitForMatch(const QString& pattern, QString* captured)
{
    const QRegularExpression re(pattern);
    return QTest::qWaitFor(
        [&] {
            const QRegularExpressionMatch m = re.match(traceSoFar(), seen);
            if (!m.hasMatch())
                return false;
            seen = m.capturedEnd();
            if (captured)
                *captured = m.captured(1);
            return true;
        },
        patience);
}

QString ProgramOnScreen::traceSoFar() const
{
    QFile file(logPath());
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QString ProgramOnScreen::logPath() const { return folder.filePath(u"pondrift.log"_s); }

QByteArray ProgramOnScreen::run(const QString& tool, const QStringList& args) const
{
    QProcess p;
    p.setProcessEnvironment(environment());
    p.start(tool, args);
    if (!p.waitForFinished(patience))
        return {};
    return p.readAllStandardOutput().trimmed();
}

bool ProgramOnScreen::xdotool(const QStringList& args) const
{
    QProcess p;
    p.setProcessEnvironment(environment());
    p.start(u"xdotool"_s, args);
    return p.waitForFinished(patience) && p.exitCode() == 0;
}

QString ProgramOnScreen::windowNamed(const QString& name) const
{
    const QByteArray found = run(u"xdotool"_s, {u"search"_s, u"--name"_s, u'^' + name + u'$'});
    return QString::fromLatin1(found.split('\n').constFirst());
}

QString ProgramOnScreen::activeWindow() const
{
    return QString::fromLatin1(run(u"xdotool"_s, {u"getactivewindow"_s}));
}

qint64 ProgramOnScreen::pidOf(const QString& window) const
{
    return run(u"xdotool"_s, {u"getwindowpid"_s, window}).toLongLong();
}

QList<qint64> ProgramOnScreen::programsInHome() const
{
    QList<qint64> pids;
    const QByteArray mark = "HOME=" + home().toUtf8();
    const QString binary = QFileInfo(QString::fromUtf8(PONDRIFT_BINARY)).canonicalFilePath();
    for (const QString& entry : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
        bool number = false;
        const qint64 pid = entry.toLongLong(&number);
        QFile environ(u"/proc/"_s + entry + u"/environ"_s);
        if (!number || !environ.open(QIODevice::ReadOnly))
            continue;
        if (environ.readAll().split('\0').contains(mark)
            && QFile::symLinkTarget(u"/proc/"_s + entry + u"/exe"_s) == binary)
            pids << pid;
    }
    return pids;
}

QString ProgramOnScreen::storedText() const
{
    QtFiles files;
    const Paths paths(home() + u"/data/Pondrift"_s);
    Store store(paths.db(), paths.key(), files);
    QString all;
    for (const Note& note : store.load())
        all += note.title + u'\n' + note.body + u'\n';
    return all;
}

QByteArray ProgramOnScreen::setting(const char* key) const
{
    QFile file(home() + u"/config/Pondrift/Pondrift.conf"_s);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith(QByteArray(key) + '='))
            return line.mid(qstrlen(key) + 1).trimmed();
    }
    return {};
}

ProgramOnScreen::XId ProgramOnScreen::root()
{
    return xcb_setup_roots_iterator(xcb_get_setup(x)).data->root;
}

ProgramOnScreen::XId ProgramOnScreen::programWindow()
{
    const Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(x, xcb_query_tree(x, root()), nullptr));
    if (!tree)
        return XCB_NONE;
    const xcb_window_t* frames = xcb_query_tree_children(tree.get());
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
        const Reply<xcb_query_tree_reply_t> inner(
            xcb_query_tree_reply(x, xcb_query_tree(x, frames[i]), nullptr));
        QList<xcb_window_t> candidates{frames[i]};
        if (inner) {
            const xcb_window_t* kids = xcb_query_tree_children(inner.get());
            candidates.append(
                QList<xcb_window_t>(kids, kids + xcb_query_tree_children_length(inner.get())));
        }
        for (const xcb_window_t w : candidates) {
            if (className(w).contains("pondrift"))
                return w;
        }
    }
    return XCB_NONE;
}

QByteArray ProgramOnScreen::className(XId window)
{
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        x, xcb_get_property(x, false, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256),
        nullptr));
    if (!reply)
        return {};
    return QByteArray(static_cast<const char*>(xcb_get_property_value(reply.get())),
                      xcb_get_property_value_length(reply.get()));
}

QRect ProgramOnScreen::geometry(XId window)
{
    const Reply<xcb_get_geometry_reply_t> g(
        xcb_get_geometry_reply(x, xcb_get_geometry(x, window), nullptr));
    const Reply<xcb_translate_coordinates_reply_t> t(xcb_translate_coordinates_reply(
        x, xcb_translate_coordinates(x, window, root(), 0, 0), nullptr));
    if (!g || !t)
        return {};
    return {t->dst_x, t->dst_y, g->width, g->height};
}

bool ProgramOnScreen::viewable(XId window)
{
    const Reply<xcb_get_window_attributes_reply_t> a(
        xcb_get_window_attributes_reply(x, xcb_get_window_attributes(x, window), nullptr));
    return a && a->map_state == XCB_MAP_STATE_VIEWABLE;
}

bool ProgramOnScreen::takesInput(XId window)
{
    // Flags, then input; the input field counts only with its flag (bit 0) set. A window
    // that says no is never given the keyboard by a click, whatever the manager.
    const QList<quint32> hints = property(window, "WM_HINTS");
    return hints.size() >= 2 && (hints[0] & 1u) && hints[1] != 0;
}

ProgramOnScreen::XId ProgramOnScreen::focus()
{
    const Reply<xcb_get_input_focus_reply_t> f(
        xcb_get_input_focus_reply(x, xcb_get_input_focus(x), nullptr));
    return f ? f->focus : XCB_NONE;
}

quint16 ProgramOnScreen::modifiers()
{
    const Reply<xcb_query_pointer_reply_t> p(
        xcb_query_pointer_reply(x, xcb_query_pointer(x, root()), nullptr));
    return p ? p->mask : 0;
}

QList<quint32> ProgramOnScreen::property(XId window, const char* name)
{
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        x, xcb_get_property(x, false, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 1024),
        nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto* values = static_cast<const quint32*>(xcb_get_property_value(reply.get()));
    return QList<quint32>(values, values + xcb_get_property_value_length(reply.get()) / 4);
}

ProgramOnScreen::XId ProgramOnScreen::atom(const char* name)
{
    const Reply<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(x, xcb_intern_atom(x, false, std::strlen(name), name), nullptr));
    return reply ? reply->atom : XCB_NONE;
}

ProgramOnScreen::XId ProgramOnScreen::selectionOwner(const char* name)
{
    const Reply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(x, xcb_get_selection_owner(x, atom(name)), nullptr));
    return owner ? owner->owner : XCB_NONE;
}

bool ProgramOnScreen::shaped(XId window)
{
    const Reply<xcb_shape_query_extents_reply_t> e(
        xcb_shape_query_extents_reply(x, xcb_shape_query_extents(x, window), nullptr));
    return e && e->bounding_shaped;
}

int ProgramOnScreen::windows() { return viewableTopLevels(display.constData()); }

ProgramOnScreen::XId ProgramOnScreen::openOtherWindow(QRect where)
{
    const xcb_screen_t* s = xcb_setup_roots_iterator(xcb_get_setup(x)).data;
    const xcb_window_t w = xcb_generate_id(x);
    const quint32 values[] = {s->white_pixel, XCB_EVENT_MASK_BUTTON_PRESS};
    xcb_create_window(x, XCB_COPY_FROM_PARENT, w, s->root, where.x(), where.y(), where.width(),
                      where.height(), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, s->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
    xcb_map_window(x, w);
    xcb_flush(x);
    return w;
}

bool ProgramOnScreen::clicked(XId window)
{
    bool found = false;
    while (xcb_generic_event_t* event = xcb_poll_for_event(x)) {
        if ((event->response_type & 0x7f) == XCB_BUTTON_PRESS
            && reinterpret_cast<xcb_button_press_event_t*>(event)->event == window)
            found = true;
        std::free(event);
    }
    return found;
}

void ProgramOnScreen::showDesktop(bool on)
{
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = root();
    event.type = atom("_NET_SHOWING_DESKTOP");
    event.data.data32[0] = on ? 1 : 0;
    xcb_send_event(x, false, root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(x);
}

bool ProgramOnScreen::holdKey(quint8 keycode, quint16 modifiers)
{
    const Reply<xcb_generic_error_t> error(
        xcb_request_check(x, xcb_grab_key_checked(x, true, root(), modifiers, keycode,
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)));
    return !error;
}
