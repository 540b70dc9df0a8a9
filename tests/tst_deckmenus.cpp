#include "deck/DeckActions.h"
#include "deck/ui/DeckMenus.h"
#include "l10n/L10n.h"
#include "settings/Settings.h"
#include "support/InstalledSettings.h"
#include "support/RecordingDeckActions.h"
#include "support/TestLibrary.h"

#include <QMenu>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// The menu as a person reads it: titles in order, "-" for a separator, "*" before a checked
// item, and a submenu's items in brackets after its title.
QStringList read(const QMenu& menu)
{
    QStringList lines;
    for (const QAction* a : menu.actions()) {
        if (a->isSeparator())
            lines.append(u"-"_s);
        else if (a->menu())
            lines.append(a->text() + u" ["_s + read(*a->menu()).join(u", "_s) + u']');
        else
            lines.append((a->isChecked() ? u"*"_s : QString()) + a->text());
    }
    return lines;
}

QString t(const char* key) { return L10n::text(QString::fromLatin1(key)); }

const DisplayInfo left{1, u"DP-1"_s, QRectF(0, 0, 1920, 1080), QRectF(0, 0, 1920, 1080), true};
const DisplayInfo right{2, u"HDMI-1"_s, QRectF(1920, 0, 1920, 1080), QRectF(1920, 0, 1920, 1080),
                        false};

} // namespace

class TestDeckMenus : public QObject {
    Q_OBJECT

    InstalledSettings settings;

private Q_SLOTS:
    void initTestCase() { settings.install(); }
    void init() { settings.defaults.values.clear(); }

    // What the program cannot do yet is left out, separators do not pile up around it, and the
    // marks tell the settings as they are.
    void theDeckMenuListsWhatTheProgramOffers()
    {
        Settings::setDeckAlwaysShown(true);
        Settings::setDisplayTarget(u"id:2"_s);
        RecordingDeckActions actions({u"newNote"_s, u"toggleDeckAlwaysShown"_s, u"toggleDeckEdge"_s,
                                      u"setDisplayTarget"_s, u"quit"_s});
        QMenu oneScreen;
        DeckMenus::fillDeckMenu(oneScreen, actions, {left});
        QCOMPARE(read(oneScreen),
                 (QStringList{t("menu.new_note"), u"-"_s, u"*"_s + t("menu.keep_deck_open"),
                              t("menu.dock_left"), u"-"_s, t("menu.quit")}));

        QMenu twoScreens;
        DeckMenus::fillDeckMenu(twoScreens, actions, {left, right});
        const QString displays = read(twoScreens).filter(t("menu.display")).value(0);
        QCOMPARE(displays, t("menu.display") + u" ["_s + t("display.all") + u", "_s
                               + t("display.main") + u", -, "_s
                               + L10n::format(u"display.named_main"_s, {u"DP-1"_s})
                               + u", *HDMI-1]"_s);
    }

    // A command runs once the menu has closed: it may take down the deck whose menu it was.
    void aChoiceRunsAfterTheMenuWithItsValue()
    {
        RecordingDeckActions actions({u"setDeckStyle"_s});
        QMenu menu;
        DeckMenus::fillDeckMenu(menu, actions, {left});
        QMenu* styles = menu.actions().constFirst()->menu();
        QVERIFY(styles);
        styles->actions().constLast()->trigger();
        QVERIFY(actions.calls.isEmpty());
        QTRY_COMPARE(actions.calls, QStringList{u"setDeckStyle:compact"_s});
    }

    void aNoteMenuOffersNewNoteOnlyWhenTheButtonsAreHidden_data()
    {
        QTest::addColumn<bool>("hideActions");
        QTest::newRow("buttons shown") << false;
        QTest::newRow("buttons hidden in a deck kept open") << true;
    }
    void aNoteMenuOffersNewNoteOnlyWhenTheButtonsAreHidden()
    {
        QFETCH(bool, hideActions);
        Settings::setDeckAlwaysShown(true);
        Settings::setDeckHideActions(hideActions);
        TestLibrary lib;
        NoteStore& notes = lib.open();
        const Note note = notes.create(u"text"_s);
        notes.togglePin(note.id);
        RecordingDeckActions actions({u"newNote"_s});
        QMenu menu;
        DeckMenus::fillNoteMenu(menu, *notes.note(note.id), notes, actions);
        QStringList expected{t("action.unpin"), t("action.archive"), t("help.cycle_colour"), u"-"_s,
                             t("action.delete")};
        if (hideActions)
            expected << u"-"_s << t("menu.new_note");
        QCOMPARE(read(menu), expected);
        menu.actions().constFirst()->trigger();
        QTRY_VERIFY(!notes.note(note.id)->pinned);
    }
};

QTEST_MAIN(TestDeckMenus)
#include "tst_deckmenus.moc"
