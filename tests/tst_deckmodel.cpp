#include "deck/DeckModel.h"
#include "settings/Settings.h"
#include "support/MemoryDefaults.h"
#include "support/MemoryLoginItem.h"

#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestDeckModel : public QObject {
    Q_OBJECT

private:
    MemoryDefaults defaults;
    MemoryLoginItem loginItem;

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        Settings::install(defaults, loginItem);
    }
    void init() { defaults.values.clear(); }

    void syncPreferencesTakesTheSettingsAndLeavesTheMomentAlone()
    {
        DeckModel model;
        model.setFindQuery(u"milk"_s);
        model.setShowAll(true);
        model.setOpenedHeight(200);
        model.setOpenedTop(40);
        Settings::setDeckStyle(DeckStyle::Compact);
        Settings::setDeckAlwaysShown(true);
        Settings::setDeckOnLeftEdge(true);
        Settings::setNoteSizeIndex(3);
        Settings::setOpenOnHover(!model.openOnHover());
        QSignalSpy changed(&model, &DeckModel::changed);
        model.syncPreferences();
        QCOMPARE(changed.count(), 1);
        QCOMPARE(model.style(), DeckStyle::Compact);
        QVERIFY(model.alwaysShown());
        QVERIFY(model.onLeftEdge());
        QCOMPARE(model.noteSize(), Settings::noteSize());
        QCOMPARE(model.openOnHover(), Settings::openOnHover());
        QCOMPARE(model.findQuery(), std::optional(u"milk"_s));
        QVERIFY(model.showAll());
        QCOMPARE(model.openedHeight(), 200.0);
        QCOMPARE(model.openedTop(), std::optional(40.0));
        model.syncPreferences();
        QCOMPARE(changed.count(), 1);
    }

    void theFindBarShowsForEmptyTextAndGoesOnlyWhenAbsent()
    {
        DeckModel model;
        QSignalSpy changed(&model, &DeckModel::changed);
        model.setFindQuery(QString());
        QCOMPARE(model.findQuery(), std::optional(QString()));
        QCOMPARE(changed.count(), 1);
        model.setFindQuery(QString());
        QCOMPARE(changed.count(), 1);
        model.setFindQuery(std::nullopt);
        QCOMPARE(model.findQuery(), std::nullopt);
        QCOMPARE(changed.count(), 2);
    }

    void aNewModelStartsFromTheSettings()
    {
        Settings::setNoteSizeIndex(2);
        DeckModel model;
        QCOMPARE(model.state(), DeckState::rest());
        QVERIFY(!model.fanVisible());
        QCOMPARE(model.openedHeight(), Settings::noteSize().height());
        QCOMPARE(model.openedTop(), std::nullopt);
    }
};

QTEST_GUILESS_MAIN(TestDeckModel)
#include "tst_deckmodel.moc"
