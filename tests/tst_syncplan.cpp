#include "sync/CloudSyncIndex.h"
#include "sync/SyncPlan.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;
using SyncPlan::Action;
using SyncPlan::RemoteFile;

namespace {

constexpr double t0 = 1'773'480'413.0; // 2026-03-14T09:26:53Z

Date at(double offset) { return Date{t0 + offset}; }

Note note(const QString& id, double modified)
{
    return Note(id, {}, u"body"_s, 0, at(0), at(modified), false, false,
                NoteTextDirection::Automatic, 0);
}

RemoteFile file(const QString& name, std::optional<QString> id, double declared, double onDisk)
{
    return RemoteFile{name, std::move(id), at(declared), at(onDisk)};
}

RemoteFile orphan(const QString& name, double onDisk)
{
    return RemoteFile{name, std::nullopt, Date::distantPast(), at(onDisk)};
}

struct Case {
    QList<Note> notes;
    QList<RemoteFile> remote;
    QSet<QString> unresolved;
    CloudSyncIndex index;
};

CloudSyncIndex indexOf(std::initializer_list<std::tuple<QString, QString, double, double>> rows)
{
    CloudSyncIndex index;
    for (const auto& [id, name, synced, fileDate] : rows)
        index.record(id, name, at(synced), at(fileDate));
    return index;
}

} // namespace

Q_DECLARE_METATYPE(Case)

namespace QTest {
template <> char* toString(const QList<Action>& actions)
{
    QStringList parts;
    for (const Action& a : actions)
        parts << a.toString();
    return qstrdup(('[' + parts.join(u", "_s).toUtf8() + ']').constData());
}
} // namespace QTest

class TestSyncPlan : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // One row per line of the note table, the documents without a local note, and copies.
    void rows_data()
    {
        QTest::addColumn<Case>("input");
        QTest::addColumn<QList<Action>>("expected");
        const QString a = u"A"_s;

        QTest::newRow("all inputs empty give nothing") << Case{} << QList<Action>{};
        QTest::newRow("a note with no entry and no document is pushed as new")
            << Case{{note(a, 5)}, {}, {}, {}} << QList<Action>{Action::push(a, std::nullopt)};
        QTest::newRow("a note whose document is gone but unreadable this pass stays")
            << Case{{note(a, 5)}, {}, {u"a.md"_s}, indexOf({{a, u"a.md"_s, 5, 5}})}
            << QList<Action>{};
        QTest::newRow("a note whose document is gone is deleted, even when edited since")
            << Case{{note(a, 9)}, {}, {u"other.md"_s}, indexOf({{a, u"a.md"_s, 5, 5}})}
            << QList<Action>{Action::deleteLocal(a)};
        QTest::newRow("first meeting with the declared date equal: reindex only")
            << Case{{note(a, 5)}, {file(u"a.md"_s, a, 5, 7)}, {}, {}}
            << QList<Action>{Action::reindex(a, u"a.md"_s)};
        QTest::newRow("first meeting with the effective date equal: nothing")
            << Case{{note(a, 7)}, {file(u"a.md"_s, a, 5, 7)}, {}, {}} << QList<Action>{};
        QTest::newRow("first meeting, local later: conflict that the note wins")
            << Case{{note(a, 8)}, {file(u"a.md"_s, a, 5, 7)}, {}, {}}
            << QList<Action>{Action::conflict(a, u"a.md"_s, true)};
        QTest::newRow("first meeting, local one second earlier: conflict the file wins")
            << Case{{note(a, 6)}, {file(u"a.md"_s, a, 5, 7)}, {}, {}}
            << QList<Action>{Action::conflict(a, u"a.md"_s, false)};
        QTest::newRow("both sides unchanged by the strict tests: nothing")
            << Case{{note(a, 5)}, {file(u"a.md"_s, a, 5, 6)}, {}, indexOf({{a, u"a.md"_s, 5, 6}})}
            << QList<Action>{};
        QTest::newRow("only the note changed: push to the file it has")
            << Case{{note(a, 9)}, {file(u"b.md"_s, a, 5, 6)}, {}, indexOf({{a, u"a.md"_s, 5, 6}})}
            << QList<Action>{Action::push(a, u"b.md"_s)};
        QTest::newRow("only the file changed: pull")
            << Case{{note(a, 5)}, {file(u"a.md"_s, a, 5, 8)}, {}, indexOf({{a, u"a.md"_s, 5, 6}})}
            << QList<Action>{Action::pull(u"a.md"_s)};
        QTest::newRow("both changed to the same moment: nothing")
            << Case{{note(a, 8)}, {file(u"a.md"_s, a, 5, 8)}, {}, indexOf({{a, u"a.md"_s, 5, 6}})}
            << QList<Action>{};
        QTest::newRow("both changed, the note later: the note wins")
            << Case{{note(a, 9)}, {file(u"a.md"_s, a, 5, 8)}, {}, indexOf({{a, u"a.md"_s, 5, 6}})}
            << QList<Action>{Action::conflict(a, u"a.md"_s, true)};
        QTest::newRow("both changed, a clock ahead elsewhere: the declared date wins")
            << Case{{note(a, 9)}, {file(u"a.md"_s, a, 20, 8)}, {}, indexOf({{a, u"a.md"_s, 5, 6}})}
            << QList<Action>{Action::conflict(a, u"a.md"_s, false)};
        QTest::newRow("a document of an unseen note is pulled")
            << Case{{}, {file(u"a.md"_s, a, 5, 6)}, {}, {}}
            << QList<Action>{Action::pull(u"a.md"_s)};
        QTest::newRow("a document of a note deleted here is deleted")
            << Case{{}, {file(u"a.md"_s, a, 5, 6)}, {}, indexOf({{a, u"a.md"_s, 5, 6}})}
            << QList<Action>{Action::deleteRemote(u"a.md"_s)};
        QTest::newRow("a document without identity is adopted whatever the index holds")
            << Case{{}, {orphan(u"a.md"_s, 6)}, {}, indexOf({{a, u"a.md"_s, 5, 6}})}
            << QList<Action>{Action::adopt(u"a.md"_s)};

        // Several documents with one id: one copy is kept, the others are adopted as new notes.
        QTest::newRow("the indexed copy stays the winner although older; the newer is adopted")
            << Case{{note(a, 5)},
                    {file(u"new.md"_s, a, 5, 30), file(u"old.md"_s, a, 5, 6)},
                    {},
                    indexOf({{a, u"old.md"_s, 5, 6}})}
            << QList<Action>{Action::adopt(u"new.md"_s)};
        QTest::newRow("no indexed copy and equal dates: the greater name wins")
            << Case{{note(a, 5)}, {file(u"y.md"_s, a, 5, 6), file(u"x.md"_s, a, 5, 6)}, {}, {}}
            << QList<Action>{Action::adopt(u"x.md"_s), Action::reindex(a, u"y.md"_s)};
        QTest::newRow("no indexed copy: the later effective date wins over the name")
            << Case{{note(a, 5)}, {file(u"y.md"_s, a, 5, 6), file(u"x.md"_s, a, 5, 9)}, {}, {}}
            << QList<Action>{Action::adopt(u"y.md"_s), Action::reindex(a, u"x.md"_s)};
        QTest::newRow("copies of an id with no note appear again at the end")
            << Case{{}, {file(u"b.md"_s, a, 5, 6), file(u"a.md"_s, a, 5, 6)}, {}, {}}
            << QList<Action>{Action::adopt(u"a.md"_s), Action::pull(u"a.md"_s),
                             Action::pull(u"b.md"_s)};
        QTest::newRow("the same with an entry: adopt first, deletions at the end")
            << Case{{},
                    {file(u"b.md"_s, a, 5, 6), file(u"a.md"_s, a, 5, 6)},
                    {},
                    indexOf({{a, u"b.md"_s, 5, 6}})}
            << QList<Action>{Action::adopt(u"a.md"_s), Action::deleteRemote(u"a.md"_s),
                             Action::deleteRemote(u"b.md"_s)};
    }
    void rows()
    {
        QFETCH(Case, input);
        QFETCH(QList<Action>, expected);
        QCOMPARE(SyncPlan::actions(input.notes, input.remote, input.unresolved, input.index),
                 expected);
    }

    void orderOfTheResult()
    {
        // Notes keep the store's order; adopts and the last group are sorted by name.
        const QList<Note> notes{note(u"Z"_s, 1), note(u"B"_s, 1), note(u"M"_s, 1)};
        const QList<RemoteFile> remote{
            orphan(u"q.md"_s, 1), file(u"n2.md"_s, u"N2"_s, 1, 1), orphan(u"c.md"_s, 1),
            file(u"n1.md"_s, u"N1"_s, 1, 1)};
        const QList<Action> expected{
            Action::adopt(u"c.md"_s),           Action::adopt(u"q.md"_s),
            Action::push(u"Z"_s, std::nullopt), Action::push(u"B"_s, std::nullopt),
            Action::push(u"M"_s, std::nullopt), Action::pull(u"n1.md"_s),
            Action::pull(u"n2.md"_s)};
        QCOMPARE(SyncPlan::actions(notes, remote, {}, {}), expected);
    }

    void textOrder_data()
    {
        QTest::addColumn<QString>("lower");
        QTest::addColumn<QString>("higher");
        QTest::newRow("plain ASCII") << u"a.md"_s << u"b.md"_s;
        QTest::newRow("upper case before lower case") << u"Z.md"_s << u"a.md"_s;
        QTest::newRow("a prefix comes first") << u"a"_s << u"a.md"_s;
        QTest::newRow("a private-use character sorts before an astral one")
            << u"\uE000.md"_s << u"\U0001F600.md"_s;
        QTest::newRow("U+FFFD sorts before an emoji") << u"\uFFFD"_s << u"\U0001F4DD"_s;
        QTest::newRow("decomposed e acute sorts as the composed one, after z")
            << u"z"_s << u"e\u0301"_s;
    }
    void textOrder()
    {
        QFETCH(QString, lower);
        QFETCH(QString, higher);
        QVERIFY(SyncPlan::textLess(lower, higher));
        QVERIFY(!SyncPlan::textLess(higher, lower));
    }

    void canonicallyEqualNamesMatch()
    {
        // The index names the composed form; the folder lists the decomposed one.
        const QString composed = u"caf\u00E9.md"_s;
        const QString decomposed = u"cafe\u0301.md"_s;
        const CloudSyncIndex index = indexOf({{u"A"_s, composed, 5, 6}});
        QCOMPARE(SyncPlan::actions({note(u"A"_s, 5)}, {}, {decomposed}, index),
                 QList<Action>{});
        const QList<RemoteFile> two{file(u"z.md"_s, u"A"_s, 5, 9),
                                    file(decomposed, u"A"_s, 5, 6)};
        QCOMPARE(SyncPlan::actions({note(u"A"_s, 5)}, two, {}, index),
                 QList<Action>{Action::adopt(u"z.md"_s)});
    }

    void equalInputsGiveEqualLists()
    {
        const QList<Note> notes{note(u"A"_s, 3), note(u"B"_s, 9)};
        const QList<RemoteFile> remote{file(u"b.md"_s, u"B"_s, 5, 8), orphan(u"x.md"_s, 2)};
        const CloudSyncIndex index = indexOf({{u"B"_s, u"b.md"_s, 5, 6}});
        QCOMPARE(SyncPlan::actions(notes, remote, {}, index),
                 SyncPlan::actions(notes, remote, {}, index));
    }
};

QTEST_GUILESS_MAIN(TestSyncPlan)
#include "tst_syncplan.moc"
