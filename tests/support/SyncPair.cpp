#include "support/SyncPair.h"

#include "exchange/NoteDocument.h"
#include "notes/NoteColor.h"
#include "platform/Log.h"
#include "support/SyncMachine.h"
#include "support/TestFiles.h"
#include "sync/DocumentNames.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

SyncClient::SyncClient(QString rootA, QString rootB, ManualScheduler& world,
                       QRandomGenerator& random, QStringList& log)
    : roots{std::move(rootA), std::move(rootB)}
    , world(world)
    , random(random)
    , log(log)
{
}

SyncClient::State SyncClient::state(int side, const QString& path) const
{
    State result;
    const QByteArray file = QFile::encodeName(roots[side] + u'/' + path);
    struct stat info {};
    if (::stat(file.constData(), &info) != 0 || !S_ISREG(info.st_mode))
        return result;
    QFile f(QString::fromUtf8(file));
    if (!f.open(QIODevice::ReadOnly))
        return result;
    result.bytes = f.readAll();
    result.modified = info.st_mtim;
    return result;
}

QStringList SyncClient::allPaths(int side) const
{
    QStringList paths;
    QDirIterator it(roots[side], QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    const QDir root(roots[side]);
    while (it.hasNext()) {
        const QString path = it.next();
        if (!it.fileName().startsWith(u".syncthing."_s))
            paths.append(root.relativeFilePath(path));
    }
    return paths;
}

void SyncClient::look()
{
    const double now = world.now().seconds;
    for (int side = 0; side < 2; ++side) {
        QSet<QString> paths(agreed.keyBegin(), agreed.keyEnd());
        for (const QString& path : allPaths(side))
            paths.insert(path);
        for (const QString& path : paths) {
            const std::optional<QByteArray> now_ = state(side, path).bytes;
            if (now_ == agreed.value(path)) {
                due[side].remove(path);
                continue;
            }
            if (due[side].contains(path))
                continue;
            // Most changes travel within seconds; a removal often comes a second after the
            // file that replaced it, as a rename's two halves do.
            double delay = 0.2 + random.bounded(4000) / 1000.0;
            if (!now_ && random.bounded(2) == 0)
                delay += 1.0;
            due[side].insert(path, now + delay);
        }
    }
}

void SyncClient::deliver(double chance)
{
    const double now = world.now().seconds;
    QList<std::pair<int, QString>> ready;
    for (int side = 0; side < 2; ++side) {
        for (auto it = due[side].cbegin(); it != due[side].cend(); ++it) {
            if (it.value() <= now)
                ready.append({side, it.key()});
        }
    }
    for (qsizetype i = ready.size() - 1; i > 0; --i)
        std::swap(ready[i], ready[random.bounded(static_cast<int>(i + 1))]);
    for (const auto& [side, path] : ready) {
        if (due[side].contains(path) && random.bounded(1000) < chance * 1000)
            agree(path);
    }
}

bool SyncClient::deliverNow(int side, const QString& path)
{
    // Only a plain replacement: over a file changed here too, the client would make a
    // conflict copy, and only after it noticed that change.
    if (!due[1 - side].contains(path) || due[side].contains(path)
        || state(side, path).bytes != agreed.value(path))
        return false;
    agree(path);
    return true;
}

int SyncClient::settle()
{
    int delivered = 0;
    for (int round = 0; round < 50; ++round) {
        look();
        if (waiting() == 0)
            return delivered;
        QSet<QString> paths;
        for (int side = 0; side < 2; ++side) {
            for (auto it = due[side].cbegin(); it != due[side].cend(); ++it)
                paths.insert(it.key());
        }
        for (const QString& path : paths) {
            agree(path);
            ++delivered;
        }
    }
    return -1;
}

void SyncClient::copy(int from, int to, const QString& path, const State& source)
{
    const QString target = roots[to] + u'/' + path;
    if (!source.bytes) {
        QFile::remove(target);
        log << u"client: removed %1 on %2"_s.arg(path, to ? u"B"_s : u"A"_s);
        return;
    }
    const QFileInfo info(target);
    QDir().mkpath(info.path());
    // Whole files only, under the sender's date, as a client puts a download in place.
    const QString staged = info.path() + u"/.syncthing."_s + info.fileName() + u".tmp"_s;
    if (!TestFiles::write(staged, *source.bytes))
        return;
    const timespec times[2]{source.modified, source.modified};
    ::utimensat(AT_FDCWD, QFile::encodeName(staged).constData(), times, 0);
    ::rename(QFile::encodeName(staged).constData(), QFile::encodeName(target).constData());
    log << u"client: %1 -> %2 %3"_s.arg(from ? u"B"_s : u"A"_s, to ? u"B"_s : u"A"_s, path);
}

QString SyncClient::conflictName(const QString& path, int loser) const
{
    const qsizetype slash = path.lastIndexOf(u'/');
    const qsizetype dot = path.lastIndexOf(u'.');
    const bool hasExtension = dot > slash + 1;
    const QString stem = hasExtension ? path.left(dot) : path;
    const QString extension = hasExtension ? path.mid(dot) : QString();
    const QString device = loser ? u"BRAVO02"_s : u"ALPHA01"_s;
    for (double at = world.now().seconds;; at += 1) {
        const QString stamp = QDateTime::fromSecsSinceEpoch(static_cast<qint64>(at), Qt::UTC)
                                  .toString(u"yyyyMMdd-HHmmss"_s);
        const QString name = stem + u".sync-conflict-"_s + stamp + u'-' + device + extension;
        if (!QFileInfo::exists(roots[0] + u'/' + name)
            && !QFileInfo::exists(roots[1] + u'/' + name))
            return name;
    }
}

void SyncClient::agree(const QString& path)
{
    const State sides[2]{state(0, path), state(1, path)};
    const std::optional<QByteArray> base = agreed.value(path);
    due[0].remove(path);
    due[1].remove(path);
    if (sides[0].bytes == sides[1].bytes) {
        agreed.insert(path, sides[0].bytes);
        return;
    }
    const bool changed[2]{sides[0].bytes != base, sides[1].bytes != base};
    int winner = changed[0] ? 0 : 1;
    if (changed[0] && changed[1]) {
        // A change beats a deletion; between two changes the newer file stays and the older
        // one is kept beside it.
        if (!sides[0].bytes || !sides[1].bytes) {
            winner = sides[0].bytes ? 0 : 1;
        } else {
            const auto key = [](const timespec& t) { return std::pair(t.tv_sec, t.tv_nsec); };
            winner = key(sides[1].modified) > key(sides[0].modified) ? 1 : 0;
            const int loser = 1 - winner;
            const QString copyName = conflictName(path, loser);
            ::rename(QFile::encodeName(roots[loser] + u'/' + path).constData(),
                     QFile::encodeName(roots[loser] + u'/' + copyName).constData());
            log << u"client: conflict on %1, %2's version kept as %3"_s.arg(
                path, loser ? u"B"_s : u"A"_s, copyName);
        }
    }
    copy(winner, 1 - winner, path, sides[winner]);
    agreed.insert(path, sides[winner].bytes);
}

namespace {

const QRegularExpression markerPattern(u"\\[m\\d+\\]"_s);

QStringList markersIn(const QString& text)
{
    QStringList found;
    for (auto it = markerPattern.globalMatch(text); it.hasNext();)
        found.append(it.next().captured());
    return found;
}

// Every file's text under a folder, one after another.
QString textsUnder(const QString& folder)
{
    QString all;
    QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        all += QString::fromUtf8(TestFiles::read(it.next())) + u'\n';
    return all;
}

// The last operation on a note and what it should have left, for the values that must
// travel on their own: a pin, a colour, an archive.
struct Touch {
    double previous = -1e12;
    double last = -1e12;
    QString what;
    std::function<bool(const Note&)> holds;
};

} // namespace

QString PairLife::live(quint32 seed, int steps, const MakeCarrier& carrier)
{
    QRandomGenerator random(seed);
    ManualScheduler world(Date{1'773'480'413.0});
    QStringList log;
    Log::Capture capture([&](const QString& line) { log << u"    "_s + line; });
    QTemporaryDir rootA;
    QTemporaryDir rootB;
    const auto skew = [&] { return random.bounded(120'001) / 1000.0 - 60.0; };
    const auto drift = [&] { return (random.bounded(2001) - 1000) / 1e6; };
    SkewedClock clockA(world, skew(), drift());
    SkewedClock clockB(world, skew(), drift());
    SyncMachine a(rootA.path(), clockA);
    SyncMachine b(rootB.path(), clockB);
    SyncMachine* sides[] = {&a, &b};
    for (SyncMachine* side : sides)
        side->prompt.immediate = MassDeletePrompt::Answer::DeleteHere;
    const std::unique_ptr<FolderCarrier> carried =
        carrier ? carrier(rootA.path(), rootB.path(), world, random, log)
                : std::make_unique<SyncClient>(rootA.path(), rootB.path(), world, random, log);
    if (!carried)
        return u"seed %1: the sync client did not start:\n%2"_s.arg(seed).arg(log.join(u'\n'));
    FolderCarrier& client = *carried;
    log << u"seed %1: A's clock %2 s, B's %3 s off"_s.arg(seed)
               .arg(clockA.now().seconds - world.now().seconds)
               .arg(clockB.now().seconds - world.now().seconds);

    QStringList saved;
    QSet<QString> excused;
    QSet<QString> created;
    QSet<QString> deleted;
    QHash<QString, Touch> touches;
    int nextMark = 0;
    const auto mark = [&] { return u"[m%1]"_s.arg(++nextMark); };
    const auto touch = [&](const QString& id, const QString& what = {},
                           std::function<bool(const Note&)> holds = {}) {
        Touch& t = touches[id];
        t.previous = t.last;
        t.last = world.now().seconds;
        t.what = what;
        t.holds = std::move(holds);
    };
    const QStringList titles{QString(), u"Plans"_s, u"plans"_s, u"Shopping"_s, u"Ideas"_s};
    const qint32 colors = static_cast<qint32>(NoteColor::all().size());

    for (int step = 0; step < steps; ++step) {
        const int s = random.bounded(2);
        SyncMachine& m = *sides[s];
        const QString who = s ? u"B"_s : u"A"_s;
        const QList<Note> notes = m.notes->notes();
        const std::optional<Note> note =
            notes.isEmpty() ? std::nullopt : std::optional(notes[random.bounded(notes.size())]);
        const QStringList docs = m.names();
        const QString doc = docs.isEmpty() ? QString() : docs[random.bounded(docs.size())];
        const QString path = m.file(doc);
        const QString title = titles[random.bounded(titles.size())];
        const int op = random.bounded(100);
        const QString at = u"%1 %2 t=%3: "_s.arg(step).arg(who).arg(world.now().seconds, 0, 'f', 3);
        if (op < 10) {
            const QString body = mark();
            const Note made = m.notes->create(body, title);
            created.insert(made.id);
            saved << body;
            touch(made.id);
            log << at + u"create %1 %2 \"%3\""_s.arg(made.id, body, title);
        } else if (op < 30 && note) {
            const QString line = mark();
            m.notes->updateBody(note->id, note->body + u'\n' + line);
            saved << line;
            touch(note->id);
            log << at + u"edit %1 +%2"_s.arg(note->id, line);
        } else if (op < 35 && note) {
            m.notes->updateTitle(note->id, title);
            touch(note->id);
            log << at + u"title %1 \"%2\""_s.arg(note->id, title);
        } else if (op < 40 && note) {
            const bool pinned = !note->pinned;
            m.notes->togglePin(note->id);
            touch(note->id, u"pinned %1"_s.arg(pinned),
                  [pinned](const Note& n) { return n.pinned == pinned; });
            log << at + u"pin %1 %2"_s.arg(note->id).arg(pinned);
        } else if (op < 44 && note) {
            const qint64 color = random.bounded(colors);
            m.notes->setColor(note->id, color);
            touch(note->id, u"colour %1"_s.arg(color),
                  [color](const Note& n) { return n.color == color; });
            log << at + u"colour %1 %2"_s.arg(note->id).arg(color);
        } else if (op < 48 && note) {
            const bool archived = !note->archived;
            m.notes->setArchived(note->id, archived);
            touch(note->id, u"archived %1"_s.arg(archived),
                  [archived](const Note& n) { return n.archived == archived; });
            log << at + u"archive %1 %2"_s.arg(note->id).arg(archived);
        } else if (op < 52 && note) {
            // What this machine's copy holds goes with it, on purpose.
            for (const QString& line : markersIn(note->body))
                excused.insert(line);
            deleted.insert(note->id);
            m.notes->deleteNote(note->id);
            log << at + u"delete %1 %2"_s.arg(note->id, markersIn(note->body).join(u' '));
        } else if (op < 60 && !doc.isEmpty()) {
            // A person edits the document in another editor, which may write CR LF line ends
            // or add its own list to the header.
            QString text = QString::fromUtf8(TestFiles::read(path));
            const QString line = mark();
            text += u'\n' + line;
            QString how;
            if (random.bounded(4) == 0 && text.startsWith(u"---\n"_s)) {
                text.insert(4, u"tags:\n  - home\n  - later\n"_s);
                how += u" +tags"_s;
            }
            if (random.bounded(4) == 0) {
                text.replace(u"\r\n"_s, u"\n"_s).replace(u'\n', u"\r\n"_s);
                how += u" CRLF"_s;
            }
            TestFiles::write(path, text.toUtf8());
            m.folder.stamp(path);
            saved << line;
            const auto parsed = NoteDocument::parse(text, {});
            if (parsed.hasIdentity)
                touch(parsed.note.id);
            log << at + u"hand edit %1 +%2%3"_s.arg(doc, line, how);
        } else if (op < 64 && !doc.isEmpty()) {
            const QString to = u"renamed %1.md"_s.arg(step);
            QFile::rename(path, m.file(to));
            log << at + u"hand rename %1 -> %2"_s.arg(doc, to);
        } else if (op < 66 && !doc.isEmpty()) {
            const QString text = QString::fromUtf8(TestFiles::read(path));
            for (const QString& line : markersIn(text))
                excused.insert(line);
            const auto parsed = NoteDocument::parse(text, {});
            if (parsed.hasIdentity)
                deleted.insert(parsed.note.id);
            QFile::remove(path);
            log << at + u"hand delete %1"_s.arg(doc);
        } else if (op < 69) {
            m.restart();
            log << at + u"restart"_s;
        } else if (op < 72) {
            // A plain file from a third machine lands in both folders at once: both adopt it,
            // and must make one note of it.
            const QString line = mark();
            const QString name = u"dropped %1.md"_s.arg(step);
            for (SyncMachine* side : sides) {
                TestFiles::write(side->file(name), (u"From elsewhere\n"_s + line).toUtf8());
                side->folder.stamp(side->file(name));
            }
            client.look();
            client.settle();
            saved << line;
            log << at + u"a file dropped into both folders: %1 %2"_s.arg(name, line);
        } else {
            // Now and then the client puts the other machine's version of a file in place
            // while the pass is between its look at the folder and its writes.
            int replacements = random.bounded(3) == 0 ? 1 : 0;
            if (replacements > 0) {
                m.folder.beforeTouch = [&, s](const QString& name) {
                    if (replacements > 0
                        && client.deliverNow(s, DocumentNames::folder + u'/' + name)) {
                        --replacements;
                        log << u"    client replaced %1 during the pass"_s.arg(name);
                    }
                };
            }
            log << at + u"pass"_s;
            m.engine->syncNow();
            m.folder.beforeTouch = nullptr;
            for (const auto& action : m.engine->lastPlan())
                log << u"    "_s + action.toString();
        }
        world.advance(random.bounded(2000) / 1000.0);
        client.look();
        if (random.bounded(10) < 7)
            client.deliver(0.3 + random.bounded(70) / 100.0);
    }

    QStringList problems;
    // Quiet rounds: the client delivers everything and both machines pass, until neither
    // has anything left to do.
    bool quiet = false;
    for (int round = 0; round < 20 && !quiet; ++round) {
        world.advance(CloudSync::renameWait + 1); // past every undo window and wait
        int delivered = client.settle();
        log << u"quiet round %1"_s.arg(round);
        bool ran = a.engine->syncNow();
        for (const auto& action : a.engine->lastPlan())
            log << u"    A "_s + action.toString();
        delivered += client.settle();
        ran = b.engine->syncNow() && ran;
        for (const auto& action : b.engine->lastPlan())
            log << u"    B "_s + action.toString();
        delivered += client.settle();
        if (!ran)
            problems << u"a quiet pass did not run"_s;
        quiet = delivered == 0 && a.engine->lastPlan().isEmpty() && b.engine->lastPlan().isEmpty();
    }
    if (!quiet)
        problems << u"the machines never came to rest"_s;

    // The two stores agree, note by note.
    const auto inA = contents(*a.notes);
    const auto inB = contents(*b.notes);
    for (auto it = inA.cbegin(); it != inA.cend(); ++it) {
        if (!inB.contains(it.key()))
            problems << u"%1 only on A"_s.arg(it.key());
        else if (inB.value(it.key()) != it.value())
            problems << u"%1 differs:\nA:\n%2\nB:\n%3"_s.arg(it.key(), it.value(),
                                                             inB.value(it.key()));
    }
    for (auto it = inB.cbegin(); it != inB.cend(); ++it) {
        if (!inA.contains(it.key()))
            problems << u"%1 only on B"_s.arg(it.key());
    }
    for (SyncMachine* side : sides) {
        if (contents(*side->notes).size() != side->notes->notes().size())
            problems << u"an id twice in one store"_s;
    }

    // No note changed its id: every note made and not deleted on purpose is there, under
    // the id it was made with.
    for (const QString& id : created) {
        if (!deleted.contains(id) && !(a.notes->note(id) && b.notes->note(id)))
            problems << u"note %1 is gone (or under another id)"_s.arg(id);
    }

    // Every line ever saved and not deleted on purpose is somewhere: in a note, in a conflict
    // copy or in the trash of either machine.
    QString everywhere;
    for (SyncMachine* side : sides) {
        for (const Note& n : side->notes->notes())
            everywhere += n.body + u'\n';
        everywhere += textsUnder(side->folder.path() + u'/' + DocumentNames::conflictsFolder);
        everywhere += textsUnder(side->trash.folder());
    }
    for (const QString& line : saved) {
        if (!excused.contains(line) && !everywhere.contains(line))
            problems << u"lost %1"_s.arg(line);
    }

    // No note twice: two notes with the same lines are one note made twice.
    for (SyncMachine* side : sides) {
        QHash<QString, QString> byLines;
        for (const Note& n : side->notes->notes()) {
            QStringList lines = markersIn(n.body);
            if (lines.isEmpty())
                continue;
            lines.sort();
            const QString key = lines.join(u' ');
            if (byLines.contains(key))
                problems << u"%1 and %2 are one note twice (%3)"_s.arg(byLines.value(key), n.id,
                                                                       key);
            byLines.insert(key, n.id);
        }
    }

    // A pin, a colour or an archive made with nothing else going on around it reaches both
    // machines.
    for (auto it = touches.cbegin(); it != touches.cend(); ++it) {
        const Touch& t = it.value();
        if (!t.holds || t.last - t.previous < 30)
            continue;
        for (SyncMachine* side : sides) {
            const auto n = side->notes->note(it.key());
            if (n && !t.holds(*n))
                problems << u"%1 lost its %2 on %3"_s.arg(it.key(), t.what,
                                                          side == &a ? u"A"_s : u"B"_s);
        }
    }

    // A further pass changes nothing: no file written, no note changed; also after a
    // relaunch.
    for (bool relaunch : {false, true}) {
        for (SyncMachine* side : sides) {
            world.advance(1.3);
            if (relaunch)
                side->restart();
            const int writes = side->folder.files.writes;
            const auto before = contents(*side->notes);
            side->engine->syncNow();
            if (!side->engine->lastPlan().isEmpty() || side->folder.files.writes != writes
                || contents(*side->notes) != before) {
                QStringList plan;
                for (const auto& action : side->engine->lastPlan())
                    plan << action.toString();
                problems << u"a further pass on %1%2 did something: %3"_s.arg(
                    side == &a ? u"A"_s : u"B"_s, relaunch ? u" after a relaunch"_s : QString(),
                    plan.join(u", "_s));
            }
        }
    }
    client.look();
    if (client.waiting() > 0)
        problems << u"the client still has files to carry after the quiet passes"_s;

    if (problems.isEmpty())
        return {};
    // PONDRIFT_LOG_TAIL=N shows more of the life, 0 all of it.
    bool given = false;
    const int asked = qEnvironmentVariableIntValue("PONDRIFT_LOG_TAIL", &given);
    const qsizetype tail = given ? asked : 80;
    return u"seed %1:\n%2\n-- the life's log, last lines --\n%3"_s.arg(seed).arg(
        problems.join(u'\n'),
        log.mid(tail > 0 ? std::max<qsizetype>(0, log.size() - tail) : 0).join(u'\n'));
}

void PairLife::verify(quint32 seed, int steps, const MakeCarrier& carrier)
{
    const QString problems = live(seed, steps, carrier);
    if (!problems.isEmpty())
        qWarning().noquote() << problems;
    QVERIFY2(problems.isEmpty(), qPrintable(problems.section(u'\n', 0, 1)));
}
