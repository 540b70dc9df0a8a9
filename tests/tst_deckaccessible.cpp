#include "deck/DeckGeom.h"
#include "deck/ui/DeckView.h"
#include "l10n/L10n.h"
#include "notes/Ink.h"
#include "settings/Settings.h"
#include "support/DeckRig.h"
#include "support/InstalledSettings.h"

#include <QAccessible>
#include <QStandardPaths>
#include <QTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

// A deck over notes with these titles (the newest first in the deck), its view on screen at
// the fan's size away from the screen's corner, fanned by the pointer unless told otherwise.
struct Deck : DeckRig {
    std::unique_ptr<DeckView> view;
    QAccessibleInterface* iface = nullptr;

    explicit Deck(const QStringList& titles, bool fanned = true)
    {
        for (const QString& title : titles)
            notes.create(title);
        view =
            std::make_unique<DeckView>(DeckView::Parts{deck, notes, lib.clock, actions}, nullptr);
        view->setGeometry(QRect(QPoint(100, 50), DeckGeom::wideFrame(screen).size().toSize()));
        view->show();
        if (fanned) {
            fanOut();
            lib.clock.advance(0.1);
        }
        iface = QAccessible::queryAccessibleInterface(view.get());
    }
    // Lets the reveal play out.
    bool settle()
    {
        if (!QTest::qWaitForWindowExposed(view.get()))
            return false;
        view->repaint();
        return QTest::qWaitFor([this] { return !view->isAnimating(); });
    }
    QAccessibleInterface* child(const QString& name) const
    {
        for (int i = 0; i < iface->childCount(); ++i) {
            if (iface->child(i)->text(QAccessible::Name) == name)
                return iface->child(i);
        }
        return nullptr;
    }
    QString idOf(const QString& title) const
    {
        for (const Note& note : notes.active()) {
            if (note.body == title)
                return note.id;
        }
        return {};
    }
};

QString plus() { return L10n::text(u"help.new_note"_s); }
QString cog() { return L10n::text(u"help.settings"_s); }

} // namespace

class TestDeckAccessible : public QObject {
    Q_OBJECT

    InstalledSettings settings;

private Q_SLOTS:
    void initTestCase() { settings.install(); }
    void init() { settings.defaults.values.clear(); }

    void everyDrawnItemIsAChildWithItsNameRoleAndPlace_data()
    {
        QTest::addColumn<QStringList>("titles");
        QTest::addColumn<DeckStyle>("style");
        QTest::addColumn<bool>("fanned");
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QList<QAccessible::Role>>("roles");
        const QStringList three{u"one"_s, u"two"_s, u"three"_s};
        const QList<QAccessible::Role> threeRoles{QAccessible::PageTab, QAccessible::PageTab,
                                                  QAccessible::PageTab, QAccessible::Button,
                                                  QAccessible::Button};
        QTest::newRow("tabs") << three << DeckStyle::Tabs << true
                              << QStringList{u"three"_s, u"two"_s, u"one"_s, plus(), cog()}
                              << threeRoles;
        QTest::newRow("chips") << three << DeckStyle::Compact << true
                               << QStringList{u"three"_s, u"two"_s, u"one"_s, plus(), cog()}
                               << threeRoles;
        QTest::newRow("more notes than the fan lists")
            << QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s, u"f"_s, u"g"_s}
            << DeckStyle::Tabs << true
            << QStringList{u"g"_s, u"f"_s, u"e"_s, u"d"_s, u"c"_s, L10n::plural(u"notes.more"_s, 2),
                           plus(), cog()}
            << QList<QAccessible::Role>(5, QAccessible::PageTab)
                   + QList<QAccessible::Role>(3, QAccessible::Button);
        QTest::newRow("no notes") << QStringList() << DeckStyle::Tabs << true
                                  << QStringList{plus(), plus(), cog()}
                                  << QList<QAccessible::Role>(3, QAccessible::Button);
        QTest::newRow("at rest, the pill alone")
            << three << DeckStyle::Tabs << false << QStringList{L10n::plural(u"notes.count"_s, 3)}
            << QList<QAccessible::Role>{QAccessible::StaticText};
    }
    void everyDrawnItemIsAChildWithItsNameRoleAndPlace()
    {
        QFETCH(QStringList, titles);
        QFETCH(DeckStyle, style);
        QFETCH(bool, fanned);
        QFETCH(QStringList, names);
        QFETCH(QList<QAccessible::Role>, roles);
        Settings::setDeckStyle(style);
        Deck d(titles, fanned);
        QVERIFY(d.settle());
        QCOMPARE(d.iface->text(QAccessible::Name), u"Pondrift"_s);
        QStringList shownNames;
        QList<QAccessible::Role> shownRoles;
        const QList<DeckView::ItemInfo> items = d.view->items();
        QCOMPARE(d.iface->childCount(), items.size());
        for (int i = 0; i < d.iface->childCount(); ++i) {
            QAccessibleInterface* child = d.iface->child(i);
            shownNames.append(child->text(QAccessible::Name));
            shownRoles.append(child->role());
            QCOMPARE(child->parent(), d.iface);
            QCOMPARE(d.iface->indexOfChild(child), i);
            QVERIFY(!child->state().focusable && !child->state().invisible);
            // Everything but the pill does something when pressed.
            QCOMPARE(child->actionInterface()->actionNames().isEmpty(),
                     child->role() == QAccessible::StaticText);
            // On the screen, where a magnifier or a reader following the pointer looks.
            const QRectF global = child->rect();
            const QRectF drawn(d.view->mapToGlobal(items[i].rect.topLeft()), items[i].rect.size());
            for (const auto edge : {&QRectF::left, &QRectF::top, &QRectF::right, &QRectF::bottom})
                QVERIFY2(std::abs((global.*edge)() - (drawn.*edge)()) < 1, qPrintable(names[i]));
            const QPoint middle = global.center().toPoint();
            QCOMPARE(d.iface->childAt(middle.x(), middle.y()), child);
        }
        QCOMPARE(shownNames, names);
        QCOMPARE(shownRoles, roles);
    }

    void pressingAChildDoesWhatItsClickDoes_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("calls");
        QTest::addColumn<QString>("opens");
        QTest::newRow("a tab opens its note") << u"two"_s << QStringList() << u"two"_s;
        QTest::newRow("plus") << plus() << QStringList{u"newNote"_s} << QString();
        QTest::newRow("cog") << cog() << QStringList{u"openSettings"_s} << QString();
    }
    void pressingAChildDoesWhatItsClickDoes()
    {
        QFETCH(QString, name);
        QFETCH(QStringList, calls);
        QFETCH(QString, opens);
        Deck d({u"one"_s, u"two"_s, u"three"_s});
        QVERIFY(d.settle());
        QAccessibleInterface* child = d.child(name);
        QVERIFY(child);
        QAccessibleActionInterface* action = child->actionInterface();
        QVERIFY(action);
        QCOMPARE(action->actionNames(), QStringList{QAccessibleActionInterface::pressAction()});
        action->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(d.actions.calls, calls);
        QCOMPARE(d.deck.state(),
                 opens.isEmpty() ? DeckState::fan() : DeckState::expanded(d.idOf(opens)));
    }

    // A reader's handle to a tab lasts through repaints and changes to the other tabs.
    void childrenKeepTheirHandlesWhileTheirItemsStay_data()
    {
        QTest::addColumn<bool>("remove");
        QTest::addColumn<QStringList>("names");
        QTest::newRow("a note deleted") << true << QStringList{u"three"_s, u"one"_s, plus(), cog()};
        QTest::newRow("a note renamed")
            << false << QStringList{u"three"_s, u"zwei"_s, u"one"_s, plus(), cog()};
    }
    void childrenKeepTheirHandlesWhileTheirItemsStay()
    {
        QFETCH(bool, remove);
        QFETCH(QStringList, names);
        Deck d({u"one"_s, u"two"_s, u"three"_s});
        QVERIFY(d.settle());
        QHash<QString, QAccessible::Id> ids;
        for (int i = 0; i < d.iface->childCount(); ++i)
            ids.insert(d.view->items()[i].key, QAccessible::uniqueId(d.iface->child(i)));
        const QString two = d.idOf(u"two"_s);
        if (remove)
            d.notes.deleteNote(two);
        else
            d.notes.updateBody(two, u"zwei"_s);
        QVERIFY(d.settle());

        QStringList shown;
        for (int i = 0; i < d.iface->childCount(); ++i) {
            QAccessibleInterface* child = d.iface->child(i);
            shown.append(child->text(QAccessible::Name));
            QCOMPARE(QAccessible::uniqueId(child), ids.value(d.view->items()[i].key));
        }
        QCOMPARE(shown, names);
        QCOMPARE(QAccessible::accessibleInterface(ids.value(two)) == nullptr, remove);
    }
};

QTEST_MAIN(TestDeckAccessible)
#include "tst_deckaccessible.moc"
