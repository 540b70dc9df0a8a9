#include "support/NoteBuilder.h"
#include "sync/ClientConflicts.h"
#include "sync/CloudSyncIndex.h"
#include "sync/SyncPlan.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;
using SyncPlan::Action;
using SyncPlan::RemoteFile;

namespace {

constexpr double t0 = 1'773'480'413.0; // 2026-03-14T09:26:53Z

// text: the body of a document read in this pass; absent for one not read.
RemoteFile file(const QString& name, std::optional<QString> id, double declared, double onDisk,
                const std::optional<QString>& text = std::nullopt)
{
    return RemoteFile{name, std::move(id), Date{t0 + declared}, Date{t0 + onDisk},
                      text ? std::optional(SyncPlan::textKey(*text)) : std::nullopt};
}

// The content of a note of this id holding this text, as a document would declare it.
QByteArray content(const QString& id, const QString& text, bool pinned = false)
{
    return SyncPlan::contentHash(aNote().id(id).body(text).pinned(pinned));
}

// A document whose content is known: read in this pass, or unchanged since the entry.
RemoteFile read(const QString& name, const QString& id, const QString& text, double declared,
                double onDisk)
{
    RemoteFile f = file(name, id, declared, onDisk);
    f.contentHash = content(id, text);
    return f;
}

RemoteFile orphan(const QString& name, double onDisk = 6,
                  const std::optional<QString>& text = std::nullopt)
{
    return RemoteFile{name, std::nullopt, Date::distantPast(), Date{t0 + onDisk},
                      text ? std::optional(SyncPlan::textKey(*text)) : std::nullopt};
}

struct Case {
    QList<Note> notes;
    QList<RemoteFile> remote;
    QSet<QString> unresolved;
    CloudSyncIndex index;
};

} // namespace

Q_DECLARE_METATYPE(Case)

// The planner, one row per line of its note table, the documents without a local note,
// copies of one id, the order of the result, and the order and equality of names.
class TestSyncPlan : public QObject {
    Q_OBJECT

    static Note note(const QString& id, double at) { return aNote().id(id).modified(t0 + at); }
    static Note note(const QString& id, double at, const QString& text, bool pinned = false)
    {
        return aNote().id(id).body(text).pinned(pinned).modified(t0 + at);
    }

    static Case plan(const QList<Note>& notes, const QList<RemoteFile>& remote,
                     const QSet<QString>& unresolved, const CloudSyncIndex& index)
    {
        return Case{notes, remote, unresolved, index};
    }
    // One note A and its document a.md, read in this pass.
    static Case one(double noteAt, const QString& noteText, const QString& fileText,
                    double declared, double onDisk, const CloudSyncIndex& index,
                    bool pinned = false)
    {
        return Case{{note(u"A"_s, noteAt, noteText, pinned)},
                    {read(u"a.md"_s, u"A"_s, fileText, declared, onDisk)},
                    {},
                    index};
    }

private Q_SLOTS:
    void rows_data()
    {
        QTest::addColumn<Case>("input");
        QTest::addColumn<QString>("expected"); // as the actions print, joined by "; "
        const QString a = u"A"_s;
        CloudSyncIndex synced; // the note's entry: its file, and both dates of the last sync
        synced.record(a, u"a.md"_s, Date{t0 + 5}, Date{t0 + 6});

        QTest::newRow("a note whose document is gone is deleted, even when edited since")
            << plan({note(a, 9)}, {}, {u"other.md"_s}, synced) << u"deleteLocal(A)"_s;
        QTest::newRow("first meeting with the declared date equal: reindex only")
            << plan({note(a, 5)}, {file(u"a.md"_s, a, 5, 7)}, {}, {}) << u"reindex(A, a.md)"_s;
        QTest::newRow("first meeting with the effective date equal: nothing")
            << plan({note(a, 7)}, {file(u"a.md"_s, a, 5, 7)}, {}, {}) << QString();
        QTest::newRow("first meeting, local later: conflict that the note wins")
            << plan({note(a, 8)}, {file(u"a.md"_s, a, 5, 7)}, {}, {})
            << u"conflict(A, a.md, local)"_s;
        // Which side changed is told by content; dates only pick the winner of a conflict.
        // An entry saved before hashes were kept: content that agrees is recorded; content
        // that differs where the dates see no change counts as changed on both sides.
        CloudSyncIndex agreed; // the last sync agreed on "v1", the file then dated 6
        agreed.record(a, u"a.md"_s, Date{t0 + 5}, Date{t0 + 6}, content(a, u"v1"_s));
        QTest::newRow("a local edit dated before the last sync is pushed")
            << one(2, u"v2"_s, u"v1"_s, 5, 6, agreed) << u"push(A, a.md)"_s;
        QTest::newRow("a pin alone is pushed")
            << one(5, u"v1"_s, u"v1"_s, 5, 6, agreed, true) << u"push(A, a.md)"_s;
        QTest::newRow("a file arriving with an older date is pulled")
            << one(5, u"v1"_s, u"v2"_s, 1, 2, agreed) << u"pull(a.md)"_s;
        QTest::newRow("a file whose date alone moved is only recorded")
            << one(5, u"v1"_s, u"v1"_s, 5, 8, agreed) << u"reindex(A, a.md)"_s;
        QTest::newRow("a note whose date alone moved is no change")
            << one(9, u"v1"_s, u"v1"_s, 5, 6, agreed) << QString();
        QTest::newRow("both changed to the same content: recorded only")
            << one(9, u"v2"_s, u"v2"_s, 5, 8, agreed) << u"reindex(A, a.md)"_s;
        QTest::newRow("both changed at the same moment: a conflict, the file wins")
            << one(8, u"v2"_s, u"v3"_s, 5, 8, agreed) << u"conflict(A, a.md, remote)"_s;
        QTest::newRow("both changed, the note later: the note wins")
            << one(9, u"v2"_s, u"v3"_s, 5, 8, agreed) << u"conflict(A, a.md, local)"_s;
        QTest::newRow("both changed, a clock ahead elsewhere: the declared date wins")
            << one(9, u"v2"_s, u"v3"_s, 20, 8, agreed) << u"conflict(A, a.md, remote)"_s;
        QTest::newRow("first meeting over equal content: recorded only")
            << one(9, u"v1"_s, u"v1"_s, 5, 7, {}) << u"reindex(A, a.md)"_s;
        QTest::newRow("first meeting over other content at one date: a conflict")
            << one(7, u"v2"_s, u"v1"_s, 5, 7, {}) << u"conflict(A, a.md, remote)"_s;
        QTest::newRow("an entry without hash over equal content is recorded")
            << one(9, u"v1"_s, u"v1"_s, 5, 8, synced) << u"reindex(A, a.md)"_s;
        QTest::newRow("an entry without hash, a change in the second of the last sync")
            << one(5, u"v2"_s, u"v1"_s, 5, 6, synced) << u"conflict(A, a.md, remote)"_s;
        QTest::newRow("an entry without hash, only the note dated later: push")
            << one(9, u"v2"_s, u"v1"_s, 5, 6, synced) << u"push(A, a.md)"_s;
        QTest::newRow("only the note changed: push to the file it has")
            << plan({note(a, 9, u"v2"_s)}, {read(u"b.md"_s, a, u"v1"_s, 5, 6)}, {}, agreed)
            << u"push(A, b.md)"_s;

        // Several documents with one id: one copy is kept, the others become notes of their own;
        // the copy the index names stays, as does a name it spells in another form.
        QTest::newRow("no indexed copy and equal dates: the greater name wins")
            << plan({note(a, 5)}, {file(u"y.md"_s, a, 5, 6), file(u"x.md"_s, a, 5, 6)}, {}, {})
            << u"adopt(x.md); reindex(A, y.md)"_s;
        QTest::newRow("no indexed copy: the later effective date wins over the name")
            << plan({note(a, 5)}, {file(u"y.md"_s, a, 5, 6), file(u"x.md"_s, a, 5, 9)}, {}, {})
            << u"adopt(y.md); reindex(A, x.md)"_s;
        QTest::newRow("a copy of an id with no note is adopted, not pulled under the id too")
            << plan({}, {file(u"b.md"_s, a, 5, 6), file(u"a.md"_s, a, 5, 6)}, {}, {})
            << u"adopt(a.md); pull(b.md)"_s;
        QTest::newRow("a note new here under two names with one text is taken in once") << plan(
            {}, {file(u"old.md"_s, a, 5, 6, u"text"_s), file(u"new.md"_s, a, 8, 9, u"text"_s)}, {},
            {}) << u"pull(new.md)"_s;
        QTest::newRow("a second name of an id deleted here goes with it, not into a new note")
            << plan({}, {file(u"a.md"_s, a, 5, 6), file(u"b.md"_s, a, 5, 9, u"other"_s)}, {},
                    synced)
            << u"deleteRemote(a.md); deleteRemote(b.md)"_s;

        // A rename elsewhere arrives as a new document before the old one's removal.
        const Note atFive = aNote().id(a).body(u"text"_s).modified(t0 + 5);
        QTest::newRow("a second document with the indexed note's text is a rename on its way")
            << plan({atFive}, {file(u"a.md"_s, a, 5, 6), file(u"new.md"_s, a, 8, 9, u"text"_s)}, {},
                    synced)
            << QString();
        QTest::newRow("a second document with the indexed file's text is a rename on its way")
            << plan({note(a, 9)},
                    {file(u"a.md"_s, a, 5, 6, u"text"_s), file(u"new.md"_s, a, 5, 9, u"text"_s)},
                    {}, synced)
            << u"push(A, a.md)"_s;
        QTest::newRow("a second document with other text is a note of its own")
            << plan({atFive}, {file(u"a.md"_s, a, 5, 6), file(u"new.md"_s, a, 8, 9, u"other"_s)},
                    {}, synced)
            << u"adopt(new.md)"_s;
        QTest::newRow("once the old name is gone, the renamed document is the note's")
            << plan({atFive}, {file(u"new.md"_s, a, 8, 9, u"text"_s)}, {}, synced)
            << u"pull(new.md)"_s;
        QTest::newRow("a note never synced here: its copies are still notes of their own") << plan(
            {atFive}, {file(u"a.md"_s, a, 5, 6, u"text"_s), file(u"new.md"_s, a, 5, 6, u"text"_s)},
            {}, {}) << u"adopt(a.md); reindex(A, new.md)"_s;

        // Sync clients' own conflict copies.
        const QString stc = u"a.sync-conflict-20260314-092653-ABCDEFG.md"_s;
        QTest::newRow("a client's copy with its original's text goes")
            << plan({atFive}, {file(u"a.md"_s, a, 5, 6, u"text"_s), file(stc, a, 8, 9, u"text"_s)},
                    {}, synced)
            << u"discard(%1)"_s.arg(stc);
        QTest::newRow("a client's copy with the note's text goes when the original was not read")
            << plan({atFive}, {file(u"a.md"_s, a, 5, 6), file(stc, a, 8, 9, u"text"_s)}, {}, synced)
            << u"discard(%1)"_s.arg(stc);
        QTest::newRow(
            "a client's copy with other text is adopted, and the original stays the note's")
            << plan({atFive}, {file(u"a.md"_s, a, 5, 6), file(stc, a, 8, 9, u"other"_s)}, {},
                    synced)
            << u"adopt(%1)"_s.arg(stc);
        QTest::newRow("a client's copy of a note never seen here is adopted, not pulled")
            << plan({}, {file(u"a.md"_s, a, 5, 6, u"text"_s), file(stc, a, 8, 9, u"other"_s)}, {},
                    {})
            << u"adopt(%1); pull(a.md)"_s.arg(stc);
        QTest::newRow("a client's copy of a plain file with the same text goes")
            << plan({}, {orphan(u"a.md"_s, 6, u"text"_s), orphan(stc, 6, u"text"_s)}, {}, {})
            << u"adopt(a.md); discard(%1)"_s.arg(stc);
        QTest::newRow("a client's copy adopted before is a note of its own")
            << plan({}, {file(u"a.md"_s, a, 5, 6, u"text"_s), file(stc, u"B"_s, 8, 9, u"text"_s)},
                    {}, {})
            << u"pull(a.md); pull(%1)"_s.arg(stc);
        QTest::newRow("a client's copy whose original is gone stands for its note")
            << plan({atFive}, {file(stc, a, 5, 9, u"text"_s)}, {}, synced)
            << u"pull(%1)"_s.arg(stc);
        QTest::newRow("a client's copy whose original cannot be read yet waits")
            << plan({atFive}, {file(stc, a, 8, 9, u"other"_s)}, {u"a.md"_s}, synced) << QString();

        QTest::newRow("new notes keep the store's order; adopts and unseen notes' pulls go by name")
            << plan({note(u"Z"_s, 1), note(u"B"_s, 1)},
                    {orphan(u"q.md"_s), file(u"n2.md"_s, u"N2"_s, 1, 1), orphan(u"c.md"_s),
                     file(u"n1.md"_s, u"N1"_s, 1, 1)},
                    {}, {})
            << u"adopt(c.md); adopt(q.md); push(Z, -); push(B, -); pull(n1.md); pull(n2.md)"_s;
        QTest::newRow("a name comes before a longer name it begins")
            << plan({}, {orphan(u"a.md.md"_s), orphan(u"a.md"_s)}, {}, {})
            << u"adopt(a.md); adopt(a.md.md)"_s;
        QTest::newRow("a private-use character sorts before an astral one, as scalars do")
            << plan({}, {orphan(u"\U0001F600.md"_s), orphan(u"\uE000.md"_s)}, {}, {})
            << u"adopt(\uE000.md); adopt(\U0001F600.md)"_s;
        QTest::newRow("a decomposed e acute sorts as the composed one, after z")
            << plan({}, {orphan(u"e\u0301.md"_s), orphan(u"z.md"_s)}, {}, {})
            << u"adopt(z.md); adopt(e\u0301.md)"_s;
        // The index names the composed form; the folder spells it decomposed.
        CloudSyncIndex composed;
        composed.record(a, u"caf\u00E9.md"_s, Date{t0 + 5}, Date{t0 + 6});
        QTest::newRow("an unreadable name protects its note in either spelling")
            << plan({note(a, 5)}, {}, {u"cafe\u0301.md"_s}, composed) << QString();
        QTest::newRow("the indexed copy is known in either spelling")
            << plan({note(a, 5)}, {file(u"z.md"_s, a, 5, 9), file(u"cafe\u0301.md"_s, a, 5, 6)}, {},
                    composed)
            << u"adopt(z.md)"_s;
    }
    void clientConflictNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("original"); // empty: not a client's copy
        QTest::newRow("Syncthing, a name with dots")
            << u"v1.2 notes.sync-conflict-20260314-092653-ABCDEFG.md"_s << u"v1.2 notes.md"_s;
        QTest::newRow("Nextcloud and ownCloud")
            << u"Plans (conflicted copy 2026-03-14 092653).md"_s << u"Plans.md"_s;
        QTest::newRow("an older ownCloud")
            << u"Plans_conflict-20260314-092653.md"_s << u"Plans.md"_s;
        QTest::newRow("Dropbox, a typographic apostrophe and a number")
            << u"Plans (Ana Lima\u2019s conflicted copy 2026-03-14) (1).md"_s << u"Plans.md"_s;
        QTest::newRow("Dropbox, a title with brackets")
            << u"Plans (draft) (Ana's conflicted copy 2026-03-14).md"_s << u"Plans (draft).md"_s;
        QTest::newRow("our own conflict copy is no client's")
            << u"Plans (conflict 2026-03-14-092653).md"_s << QString();
        QTest::newRow("a title that speaks of conflicts")
            << u"conflict resolution.md"_s << QString();
        QTest::newRow("a mark with no stamp") << u"Plans.sync-conflict.md"_s << QString();
    }
    void clientConflictNames()
    {
        QFETCH(QString, name);
        QFETCH(QString, original);
        QCOMPARE(ClientConflicts::originalName(name).value_or(QString()), original);
    }

    void rows()
    {
        QFETCH(Case, input);
        QFETCH(QString, expected);
        QStringList actions;
        for (const Action& a :
             SyncPlan::actions(input.notes, input.remote, input.unresolved, input.index))
            actions << a.toString();
        QCOMPARE(actions.join(u"; "_s), expected);
    }
};

QTEST_GUILESS_MAIN(TestSyncPlan)
#include "tst_syncplan.moc"
