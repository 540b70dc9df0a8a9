#include "app/AppActions.h"
#include "app/AppMenu.h"
#include "app/AppServices.h"
#include "app/SettingsSurface.h"
#include "app/ui/TrayIcon.h"
#include "deck/ui/DeckMenus.h"
#include "settings/Settings.h"
#include "support/FakeBackends.h"
#include "support/FakeDisplays.h"

#include <QMenu>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// The program's command table over fakes, with an about box that counts its showings.
struct Commands {
    QTemporaryDir dir;
    int aboutShown = 0;
    std::unique_ptr<AppServices> services;
    std::unique_ptr<AppActions> actions;

    Commands()
    {
        FakeBackends fakes;
        fakes.backends.makeSettingsWindow = [](SettingsModel&, KeyboardLayout&) {
            return std::unique_ptr<SettingsSurface>();
        };
        fakes.backends.showAbout = [this] { ++aboutShown; };
        services =
            std::make_unique<AppServices>(std::move(fakes.backends), Paths{dir.path()}, dir.path());
        actions = std::make_unique<AppActions>(*services, [] {});
    }
};

// The command ids a menu's items carry, submenus included, in order.
QStringList ids(const QMenu& menu)
{
    QStringList list;
    for (const QAction* a : menu.actions()) {
        if (a->menu())
            list += ids(*a->menu());
        else if (!a->data().toString().isEmpty())
            list.append(a->data().toString());
    }
    return list;
}

} // namespace

// Every command a menu, a key or a link can name exists, and no surface leaves one out.
class TestAppMenus : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void everyCommandOfTheProgramIsInTheTable()
    {
        Commands commands;
        const QStringList table{
            u"newNote"_s,
            u"openAllNotes"_s,
            u"openArchive"_s,
            u"quickCapture"_s,
            u"openSettings"_s,
            u"toggleOverFullScreen"_s,
            u"setDeckStyle"_s,
            u"setFontSize"_s,
            u"stepFontSize"_s,
            u"biggerText"_s,
            u"smallerText"_s,
            u"setNoteFont"_s,
            u"toggleDeckAlwaysShown"_s,
            u"setDeckScale"_s,
            u"toggleDeckEdge"_s,
            u"setDisplayTarget"_s,
            u"toggleLaunchAtLogin"_s,
            u"exportMarkdown"_s,
            u"exportPlainText"_s,
            u"exportSingleFile"_s,
            u"exportStickies"_s,
            u"importStickies"_s,
            u"checkForUpdates"_s,
            u"toggleAutoUpdates"_s,
            u"quit"_s,
            u"showAbout"_s,
            u"refreshDecks"_s,
        };
        for (const QString& id : table)
            QVERIFY2(commands.actions->contains(id), qPrintable(id));
    }

    // Without a menu bar, the tray and the deck's menu are where the application menu lives:
    // both must offer all of it, the tray in the menu's own order.
    void theTrayAndTheDeckOfferTheApplicationMenu()
    {
        Commands commands;
        QStringList wanted;
        for (const AppMenu::Item& item : AppMenu::items) {
            if (!item.isSeparator())
                wanted.append(item.action.toString());
        }
        QMenu tray;
        TrayIcon::fillMenu(tray, *commands.actions);
        QCOMPARE(ids(tray), wanted);

        QMenu deck;
        DeckMenus::fillDeckMenu(deck, commands.actions->forDecks(),
                                {FakeDisplays::make(1, QRectF(0, 0, 1920, 1080), true)});
        const QStringList offered = ids(deck);
        for (const QString& id : wanted)
            QVERIFY2(offered.contains(id), qPrintable(id));
    }

    // On Linux packages bring new versions: asking for updates tells which version this is
    // instead of doing nothing.
    void aboutAndUpdatesShowTheAboutBox_data()
    {
        QTest::addColumn<QString>("id");
        QTest::newRow("about") << u"showAbout"_s;
        QTest::newRow("check for updates") << u"checkForUpdates"_s;
    }
    void aboutAndUpdatesShowTheAboutBox()
    {
        QFETCH(QString, id);
        Commands commands;
        QVERIFY(commands.actions->run(id));
        QCOMPARE(commands.aboutShown, 1);
    }

    void aStepOfTheTextSizeTakesItsValue()
    {
        Commands commands;
        Settings::setNoteFontSize(14);
        QVERIFY(commands.actions->run(u"stepFontSize:2"_s));
        QCOMPARE(Settings::noteFontSize(), 16.0);
        QVERIFY(commands.actions->run(u"stepFontSize:lots"_s));
        QCOMPARE(Settings::noteFontSize(), 16.0);
    }
};

QTEST_MAIN(TestAppMenus)
#include "tst_appmenus.moc"
