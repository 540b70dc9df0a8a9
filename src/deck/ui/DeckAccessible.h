#pragma once

#include <QAccessibleWidget>
#include <QHash>
#include <QString>

class DeckView;

// What a screen reader finds in a deck. The view paints its items itself, so to Qt it is one
// blank widget; this interface lists the items as its children (tabs and chips as page tabs;
// the More and Empty tabs, the plus, the cog and the preview card as buttons; the pill as
// text), each with its name, its place on screen and a press that does what a click does.
//
// An item's interface is kept by the item's key, so a screen reader's handle to a tab lasts
// across repaints and reorders; it is deleted when its item is no longer listed, and until
// then reports itself invalid. Main thread only.
class DeckAccessible final : public QAccessibleWidget {
public:
    // Makes Qt ask for this interface for every DeckView; calls after the first do nothing.
    static void install();

    explicit DeckAccessible(DeckView* view);
    ~DeckAccessible() override;

    QString text(QAccessible::Text t) const override;
    int childCount() const override;
    QAccessibleInterface* child(int index) const override;
    int indexOfChild(const QAccessibleInterface* child) const override;
    QAccessibleInterface* childAt(int x, int y) const override;

private:
    DeckView* deck() const;
    QAccessibleInterface* childFor(const QString& key) const;
    // After a repaint that changed the items: drops the interfaces of items gone, makes those
    // of items new, and tells assistive technology.
    void itemsChanged();

    // Made on demand by the const lookups above, hence mutable.
    mutable QHash<QString, QAccessible::Id> children;
    QMetaObject::Connection watch;
};
