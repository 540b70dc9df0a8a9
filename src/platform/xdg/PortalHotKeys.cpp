#include "platform/xdg/PortalHotKeys.h"

#include "platform/KeyCodes.h"
#include "platform/Log.h"
#include "platform/x11/X11KeyCodes.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QTimer>

#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString portalService = u"org.freedesktop.portal.Desktop"_s;
const QString portalPath = u"/org/freedesktop/portal/desktop"_s;
const QString shortcutsInterface = u"org.freedesktop.portal.GlobalShortcuts"_s;

// One entry of the portal's shortcut lists: an id and a dictionary of what goes with it.
struct PortalShortcut {
    QString id;
    QVariantMap info;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut)
{
    argument.beginStructure();
    argument << shortcut.id << shortcut.info;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut)
{
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.info;
    argument.endStructure();
    return argument;
}

} // namespace

Q_DECLARE_METATYPE(PortalShortcut)

namespace {

QString shortcutId(quint32 id) { return u"hotkey-%1"_s.arg(id); }

std::optional<quint32> idOf(const QString& shortcut)
{
    if (!shortcut.startsWith(u"hotkey-"))
        return std::nullopt;
    bool ok = false;
    const quint32 id = shortcut.mid(7).toUInt(&ok);
    return ok ? std::optional(id) : std::nullopt;
}

QString pathText(const QVariant& value)
{
    if (value.canConvert<QDBusObjectPath>())
        return value.value<QDBusObjectPath>().path();
    return value.toString();
}

} // namespace

std::unique_ptr<PortalHotKeys> PortalHotKeys::open(QDBusConnection bus)
{
    if (!bus.isConnected())
        return nullptr;
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<QList<PortalShortcut>>();
    // Asking for the interface's version starts the portal where the bus can, and fails where
    // the desktop's portal has no global shortcuts.
    QDBusMessage ask = QDBusMessage::createMethodCall(
        portalService, portalPath, u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    ask << shortcutsInterface << u"version"_s;
    const QDBusMessage answer = bus.call(ask, QDBus::Block, 5000);
    if (answer.type() != QDBusMessage::ReplyMessage)
        return nullptr;
    return std::unique_ptr<PortalHotKeys>(new PortalHotKeys(bus));
}

PortalHotKeys::PortalHotKeys(QDBusConnection bus)
    : bus(bus)
{
    // Taken as the whole message: a slot typed by the signal's arguments is refused when the
    // first connection of the process is made before QtDBus knows its own path type.
    this->bus.connect(portalService, portalPath, shortcutsInterface, u"Activated"_s, this,
                      SLOT(activated(QDBusMessage)));
}

PortalHotKeys::~PortalHotKeys() { closeSession(); }

QString PortalHotKeys::trigger(quint32 keyCode, quint32 modifiers)
{
    const std::optional<quint32> keysym = X11KeyCodes::x11Keysym(keyCode);
    if (!keysym)
        return {};
    char name[64];
    if (xkb_keysym_get_name(*keysym, name, sizeof name) <= 0)
        return {};
    QStringList parts;
    // Ctrl stands where the Mac's Command key stands, Super where its Control key does.
    if (modifiers & KeyCodes::command)
        parts.append(u"CTRL"_s);
    if (modifiers & KeyCodes::option)
        parts.append(u"ALT"_s);
    if (modifiers & KeyCodes::shift)
        parts.append(u"SHIFT"_s);
    if (modifiers & KeyCodes::control)
        parts.append(u"LOGO"_s);
    parts.append(QString::fromLatin1(name));
    return parts.join(u'+');
}

int PortalHotKeys::grab(quint32 id, quint32 keyCode, quint32 modifiers)
{
    wanted.insert(id, trigger(keyCode, modifiers));
    // The grabs of one reload arrive one by one; the desktop is asked once for all of them.
    if (!offerQueued) {
        offerQueued = true;
        QTimer::singleShot(0, this, [this] {
            offerQueued = false;
            offer();
        });
    }
    return 0;
}

void PortalHotKeys::releaseAll()
{
    wanted.clear();
    // An answer still on its way is for the keys given up now; the offer starts again then.
    if (!pendingRequest.isEmpty())
        stale = true;
    // A session's keys cannot be taken back one by one; a new offer needs a new session.
    closeSession();
}

void PortalHotKeys::describe(quint32 id, const QString& text) { descriptions.insert(id, text); }

void PortalHotKeys::offer()
{
    if (wanted.isEmpty() || !pendingRequest.isEmpty())
        return;
    if (session.isEmpty()) {
        const QString token = u"pondrift_session_%1"_s.arg(++requests);
        request(u"CreateSession"_s, {QVariantMap{{u"session_handle_token"_s, token}}},
                SLOT(sessionCreated(uint, QVariantMap)));
        return;
    }
    QList<quint32> ids = wanted.keys();
    std::sort(ids.begin(), ids.end());
    QList<PortalShortcut> shortcuts;
    for (quint32 id : ids) {
        QVariantMap info{{u"description"_s, descriptions.value(id, shortcutId(id))}};
        if (const QString keys = wanted.value(id); !keys.isEmpty())
            info.insert(u"preferred_trigger"_s, keys);
        shortcuts.append({shortcutId(id), info});
    }
    request(u"BindShortcuts"_s,
            {QVariant::fromValue(QDBusObjectPath(session)), QVariant::fromValue(shortcuts),
             QString(), QVariantMap()},
            SLOT(shortcutsBound(uint, QVariantMap)));
}

void PortalHotKeys::request(const QString& method, QList<QVariant> arguments, const char* answer)
{
    const QString token = u"pondrift_%1"_s.arg(++requests);
    QString sender = bus.baseService();
    sender.remove(0, 1).replace(u'.', u'_');
    pendingRequest = u"/org/freedesktop/portal/desktop/request/%1/%2"_s.arg(sender, token);
    bus.connect(portalService, pendingRequest, u"org.freedesktop.portal.Request"_s, u"Response"_s,
                this, answer);
    // The options are always the last argument; the token goes there.
    QVariantMap options = arguments.takeLast().toMap();
    options.insert(u"handle_token"_s, token);
    arguments.append(options);
    QDBusMessage call =
        QDBusMessage::createMethodCall(portalService, portalPath, shortcutsInterface, method);
    call.setArguments(arguments);
    if (!bus.send(call))
        Log::line(u"global hot keys: the desktop's portal could not be asked (%1)"_s.arg(
            bus.lastError().message()));
}

void PortalHotKeys::sessionCreated(uint response, const QVariantMap& results)
{
    bus.disconnect(portalService, pendingRequest, u"org.freedesktop.portal.Request"_s,
                   u"Response"_s, this, SLOT(sessionCreated(uint, QVariantMap)));
    pendingRequest.clear();
    if (response != 0) {
        Log::line(u"global hot keys: the desktop gave no session (response %1)"_s.arg(response));
        return;
    }
    session = pathText(results.value(u"session_handle"_s));
    if (std::exchange(stale, false))
        closeSession();
    offer();
}

void PortalHotKeys::shortcutsBound(uint response, const QVariantMap& results)
{
    bus.disconnect(portalService, pendingRequest, u"org.freedesktop.portal.Request"_s,
                   u"Response"_s, this, SLOT(shortcutsBound(uint, QVariantMap)));
    pendingRequest.clear();
    if (std::exchange(stale, false)) {
        closeSession();
        offer();
        return;
    }
    if (response != 0) {
        Log::line(u"global hot keys: the desktop declined them (response %1)"_s.arg(response));
        return;
    }
    QHash<quint32, QString> bound;
    const auto shortcuts = qdbus_cast<QList<PortalShortcut>>(results.value(u"shortcuts"_s));
    for (const PortalShortcut& s : shortcuts)
        if (const auto id = idOf(s.id))
            bound.insert(*id, s.info.value(u"trigger_description"_s).toString());
    QList<quint32> ids = wanted.keys();
    std::sort(ids.begin(), ids.end());
    for (quint32 id : ids) {
        if (!bound.contains(id))
            Log::line(u"hotkey %1 was not bound by the desktop"_s.arg(id));
        else
            Log::line(u"hotkey %1 bound by the desktop to %2"_s.arg(id).arg(bound.value(id)));
    }
}

void PortalHotKeys::activated(const QDBusMessage& message)
{
    const QList<QVariant> arguments = message.arguments();
    if (arguments.size() < 2)
        return;
    const auto id = idOf(arguments.at(1).toString());
    if (pathText(arguments.at(0)) != session || !id || !wanted.contains(*id) || !pressed)
        return;
    // The portal's time is not the window system's clock, so the press carries none.
    pressed(*id, 0);
}

void PortalHotKeys::closeSession()
{
    if (session.isEmpty())
        return;
    bus.call(QDBusMessage::createMethodCall(portalService, session,
                                            u"org.freedesktop.portal.Session"_s, u"Close"_s),
             QDBus::NoBlock);
    session.clear();
}
