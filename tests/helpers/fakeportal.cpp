// Child process for the portal hot key tests: a desktop's GlobalShortcuts portal on the
// session bus it is given (DBUS_SESSION_BUS_ADDRESS), as much of it as a program that binds
// keys meets. It answers every request through the Request object's Response signal, as the
// real portal does, and tells the test what it was asked, one line each on standard output:
//   ready
//   session PATH
//   bind ID|DESCRIPTION|TRIGGER;ID|...      the shortcuts as offered
//   closed PATH
// A line "press ID" on standard input sends Activated for the newest session.
//
//   fakeportal [--decline] [--skip ID]
//     --decline   answer every BindShortcuts with response 2 (the person said no)
//     --skip      leave that shortcut out of the bound list, as a desktop that did not bind it
#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QSocketNotifier>
#include <QTimer>

#include <cstdio>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString base = u"/org/freedesktop/portal/desktop"_s;

void say(const QString& line)
{
    std::printf("%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

QString senderPart(const QString& sender) { return sender.mid(1).replace(u'.', u'_'); }

struct Offered {
    QString id;
    QVariantMap info;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Offered& o)
{
    argument.beginStructure();
    argument << o.id << o.info;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Offered& o)
{
    argument.beginStructure();
    argument >> o.id >> o.info;
    argument.endStructure();
    return argument;
}

} // namespace

Q_DECLARE_METATYPE(Offered)

namespace {

class Portal final : public QDBusVirtualObject {
public:
    bool decline = false;
    QString skip;
    QString newestSession;

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        const QString member = message.member();
        if (message.interface() == u"org.freedesktop.DBus.Properties" && member == u"Get") {
            connection.send(message.createReply(
                QVariant::fromValue(QDBusVariant(QVariant::fromValue(uint(1))))));
            return true;
        }
        if (message.interface() == u"org.freedesktop.portal.Session" && member == u"Close") {
            say(u"closed "_s + message.path());
            connection.send(message.createReply());
            return true;
        }
        if (message.interface() != u"org.freedesktop.portal.GlobalShortcuts")
            return false;
        const QList<QVariant> args = message.arguments();
        const QVariantMap options = qdbus_cast<QVariantMap>(args.last());
        const QString who = senderPart(message.service());
        const QString handle =
            base + u"/request/"_s + who + u'/' + options.value(u"handle_token"_s).toString();
        connection.send(message.createReply(QVariant::fromValue(QDBusObjectPath(handle))));
        uint response = 0;
        QVariantMap results;
        if (member == u"CreateSession") {
            newestSession = base + u"/session/"_s + who + u'/'
                            + options.value(u"session_handle_token"_s).toString();
            say(u"session "_s + newestSession);
            results.insert(u"session_handle"_s, newestSession);
        } else if (member == u"BindShortcuts") {
            const auto offered = qdbus_cast<QList<Offered>>(args.at(1));
            QStringList described;
            QList<Offered> bound;
            for (const Offered& o : offered) {
                described.append(o.id + u'|' + o.info.value(u"description"_s).toString() + u'|'
                                 + o.info.value(u"preferred_trigger"_s).toString());
                if (o.id == skip)
                    continue;
                QVariantMap info{{u"description"_s, o.info.value(u"description"_s)}};
                if (o.info.contains(u"preferred_trigger"_s))
                    info.insert(u"trigger_description"_s, o.info.value(u"preferred_trigger"_s));
                bound.append({o.id, info});
            }
            say(u"bind "_s + described.join(u';'));
            if (decline)
                response = 2;
            else
                results.insert(u"shortcuts"_s, QVariant::fromValue(bound));
        } else {
            return false;
        }
        // After the reply, as a portal that asks the person would.
        QTimer::singleShot(0, [connection, handle, response, results] {
            QDBusMessage signal = QDBusMessage::createSignal(
                handle, u"org.freedesktop.portal.Request"_s, u"Response"_s);
            signal << response << results;
            QDBusConnection(connection).send(signal);
        });
        return true;
    }
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    qDBusRegisterMetaType<Offered>();
    qDBusRegisterMetaType<QList<Offered>>();
    Portal portal;
    const QStringList args = app.arguments();
    portal.decline = args.contains(u"--decline"_s);
    if (const qsizetype at = args.indexOf(u"--skip"_s); at >= 0 && at + 1 < args.size())
        portal.skip = args.at(at + 1);

    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerVirtualObject(base, &portal, QDBusConnection::SubPath)
        || !bus.registerService(u"org.freedesktop.portal.Desktop"_s)) {
        say(u"failed "_s + bus.lastError().message());
        return 1;
    }
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [&] {
        char line[256];
        if (!std::fgets(line, sizeof line, stdin)) {
            app.quit();
            return;
        }
        const QString command = QString::fromUtf8(line).trimmed();
        if (!command.startsWith(u"press "_s))
            return;
        QDBusMessage signal = QDBusMessage::createSignal(
            base, u"org.freedesktop.portal.GlobalShortcuts"_s, u"Activated"_s);
        signal << QVariant::fromValue(QDBusObjectPath(portal.newestSession)) << command.mid(6)
               << qulonglong(1234) << QVariantMap();
        bus.send(signal);
    });
    say(u"ready"_s);
    return app.exec();
}
