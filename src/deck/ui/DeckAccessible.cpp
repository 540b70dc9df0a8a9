#include "deck/ui/DeckAccessible.h"

#include "deck/ui/DeckView.h"

#include <QPointer>
#include <QSet>
#include <QWindow>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

QAccessible::Role roleOf(const QString& kind)
{
    if (kind == u"tab"_s || kind == u"chip"_s)
        return QAccessible::PageTab;
    // The pill only counts the notes; the deck fans when the pointer comes to it.
    if (kind == u"pill"_s)
        return QAccessible::StaticText;
    return QAccessible::Button;
}

std::optional<DeckView::ItemInfo> find(const QList<DeckView::ItemInfo>& items, const QString& key)
{
    for (const DeckView::ItemInfo& item : items) {
        if (item.key == key)
            return item;
    }
    return std::nullopt;
}

// One item of a deck, found again by its key each time it is asked, so that it always tells
// what is drawn now.
class DeckItemAccessible final : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    DeckItemAccessible(DeckView* view, QString key, QString name)
        : view(view)
        , key(std::move(key))
        , announcedName(std::move(name))
    {
    }

    bool isValid() const override { return retiring || item().has_value(); }
    // No object of its own: Qt's cache maps each object to one interface, and the view's is
    // the deck's.
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return view ? view->window()->windowHandle() : nullptr; }
    QAccessibleInterface* parent() const override
    {
        return view ? QAccessible::queryAccessibleInterface(view.data()) : nullptr;
    }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }

    QString text(QAccessible::Text t) const override
    {
        const std::optional<DeckView::ItemInfo> info = item();
        return info && t == QAccessible::Name ? info->name : QString();
    }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override
    {
        const std::optional<DeckView::ItemInfo> info = item();
        if (!info)
            return {};
        return QRectF(view->mapToGlobal(info->rect.topLeft()), info->rect.size()).toAlignedRect();
    }
    QAccessible::Role role() const override
    {
        const std::optional<DeckView::ItemInfo> info = item();
        return info ? roleOf(info->kind) : QAccessible::NoRole;
    }
    // Nothing in the deck takes the keyboard; a press is the way in.
    QAccessible::State state() const override { return {}; }

    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                    : nullptr;
    }
    QStringList actionNames() const override
    {
        const std::optional<DeckView::ItemInfo> info = item();
        if (!info || info->kind == u"pill"_s)
            return {};
        return {pressAction()};
    }
    void doAction(const QString& name) override
    {
        if (name == pressAction() && actionNames().contains(name))
            view->press(key);
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

    std::optional<DeckView::ItemInfo> item() const
    {
        return view ? find(view->items(), key) : std::nullopt;
    }

    const QPointer<DeckView> view;
    const QString key;
    // The name assistive technology was last told, to tell it of a renamed note.
    QString announcedName;
    // Set while its going is announced: the bridge names what went only while it is valid.
    bool retiring = false;
};

QAccessibleInterface* deckFactory(const QString& className, QObject* object)
{
    if (className == u"DeckView"_s) {
        if (auto* view = qobject_cast<DeckView*>(object))
            return new DeckAccessible(view);
    }
    return nullptr;
}

} // namespace

void DeckAccessible::install()
{
    [[maybe_unused]] static const bool installed = [] {
        QAccessible::installFactory(&deckFactory);
        return true;
    }();
}

DeckAccessible::DeckAccessible(DeckView* view)
    : QAccessibleWidget(view, QAccessible::Grouping)
{
    watch = QObject::connect(view, &DeckView::itemsChanged, view, [this] { itemsChanged(); });
}

// The items' interfaces are not tied to an object, so nothing else deletes them.
DeckAccessible::~DeckAccessible()
{
    QObject::disconnect(watch);
    for (const QAccessible::Id id : std::as_const(children))
        QAccessible::deleteAccessibleInterface(id);
}

DeckView* DeckAccessible::deck() const { return static_cast<DeckView*>(widget()); }

QString DeckAccessible::text(QAccessible::Text t) const
{
    if (t == QAccessible::Name && deck()->accessibleName().isEmpty())
        return u"Pondrift"_s;
    return QAccessibleWidget::text(t);
}

int DeckAccessible::childCount() const { return static_cast<int>(deck()->items().size()); }

QAccessibleInterface* DeckAccessible::child(int index) const
{
    const QList<DeckView::ItemInfo> items = deck()->items();
    if (index < 0 || index >= items.size())
        return nullptr;
    return childFor(items.at(index).key);
}

int DeckAccessible::indexOfChild(const QAccessibleInterface* child) const
{
    const auto* item = dynamic_cast<const DeckItemAccessible*>(child);
    if (!item || item->view != deck())
        return -1;
    const QList<DeckView::ItemInfo> items = deck()->items();
    for (qsizetype i = 0; i < items.size(); ++i) {
        if (items.at(i).key == item->key)
            return static_cast<int>(i);
    }
    return -1;
}

// Later items are drawn over earlier ones.
QAccessibleInterface* DeckAccessible::childAt(int x, int y) const
{
    const QPointF local = deck()->mapFromGlobal(QPointF(x, y));
    const QList<DeckView::ItemInfo> items = deck()->items();
    for (auto it = items.crbegin(); it != items.crend(); ++it) {
        if (it->rect.contains(local))
            return childFor(it->key);
    }
    return nullptr;
}

QAccessibleInterface* DeckAccessible::childFor(const QString& key) const
{
    if (QAccessibleInterface* known = QAccessible::accessibleInterface(children.value(key)))
        return known;
    const std::optional<DeckView::ItemInfo> info = find(deck()->items(), key);
    auto* made = new DeckItemAccessible(deck(), key, info ? info->name : QString());
    children.insert(key, QAccessible::registerAccessibleInterface(made));
    return made;
}

void DeckAccessible::itemsChanged()
{
    const QList<DeckView::ItemInfo> items = deck()->items();
    QSet<QString> keys;
    for (const DeckView::ItemInfo& item : items)
        keys.insert(item.key);
    for (auto it = children.begin(); it != children.end();) {
        if (keys.contains(it.key())) {
            ++it;
            continue;
        }
        if (auto* gone = static_cast<DeckItemAccessible*>(QAccessible::accessibleInterface(*it))) {
            gone->retiring = true;
            QAccessibleEvent event(gone, QAccessible::ObjectDestroyed);
            QAccessible::updateAccessibility(&event);
        }
        QAccessible::deleteAccessibleInterface(*it);
        it = children.erase(it);
    }
    for (const DeckView::ItemInfo& item : items) {
        const bool known = children.contains(item.key);
        auto* child = static_cast<DeckItemAccessible*>(childFor(item.key));
        if (!known) {
            QAccessibleEvent event(child, QAccessible::ObjectCreated);
            QAccessible::updateAccessibility(&event);
        } else if (child->announcedName != item.name) {
            child->announcedName = item.name;
            QAccessibleEvent event(child, QAccessible::NameChanged);
            QAccessible::updateAccessibility(&event);
        }
    }
    QAccessibleEvent reorder(deck(), QAccessible::ObjectReorder);
    QAccessible::updateAccessibility(&reorder);
}
