#pragma once

#include "platform/HotKeyBackend.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <memory>

class QDBusMessage;

// Global keys through the desktop's GlobalShortcuts portal, for Wayland sessions, where no
// program may grab keys on its own. The desktop decides: it is offered every combination at
// once, with a description and the preferred keys, and may ask the person, bind other keys
// or bind none. So a grab answers 0 when the offer is made, and what the desktop finally did
// is logged. Presses come back as the portal's Activated signal.
class PortalHotKeys final : public QObject, public HotKeyBackend {
    Q_OBJECT
public:
    // Absent when the bus has no GlobalShortcuts portal. The bus must outlive the backend.
    static std::unique_ptr<PortalHotKeys> open(QDBusConnection bus);
    ~PortalHotKeys() override;

    int grab(quint32 id, quint32 keyCode, quint32 modifiers) override;
    void releaseAll() override;
    void describe(quint32 id, const QString& text) override;

    // The keys as the desktop's shortcut notation writes them ("CTRL+ALT+n"); empty for a key
    // that notation cannot name.
    static QString trigger(quint32 keyCode, quint32 modifiers);

private Q_SLOTS:
    void sessionCreated(uint response, const QVariantMap& results);
    void shortcutsBound(uint response, const QVariantMap& results);
    void activated(const QDBusMessage& message);

private:
    explicit PortalHotKeys(QDBusConnection bus);
    // Sends a portal request whose answer arrives as a Response signal on a path made of our
    // bus name and a fresh token; the signal is subscribed to before the call, so a fast
    // portal cannot answer into the void.
    void request(const QString& method, QList<QVariant> arguments, const char* answer);
    void offer();
    void closeSession();

    QDBusConnection bus;
    QString session;
    bool creating = false;
    bool offerQueued = false;
    bool stale = false;
    QString pendingRequest;
    // The combinations to offer, by id, and what they are for.
    QHash<quint32, QString> wanted;
    QHash<quint32, QString> descriptions;
    int requests = 0;
};
