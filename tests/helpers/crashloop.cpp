// Edits, creates and deletes notes through the note store with real timers, for as long as
// it lives, so that a test can kill it at any moment. On standard output it tells what the
// database durably holds: "R" once the library is open, "S <id> <version>" when the saved body of a
// note carries that version, "D <id>" when its row is gone, and "X <id>" just before a deletion
// that may take the row at any moment. Every body carries "v<version>", and versions only grow (the
// first argument is where they start), so a later text is a larger number.
//
// Arguments: library folder, first version, random seed.

#include "images/ImageStore.h"
#include "notes/NoteStore.h"
#include "notes/Store.h"
#include "platform/qt/QtFiles.h"
#include "platform/qt/QtScheduler.h"

#include <QCoreApplication>
#include <QHash>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTimer>

#include <cstdio>
#include <random>

using namespace Qt::Literals::StringLiterals;

namespace {

void say(const QString& line)
{
    const QByteArray bytes = (line + u'\n').toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
    std::fflush(stdout);
}

qint64 versionOf(const QString& body)
{
    static const QRegularExpression version(u"\\bv(\\d+)\\b"_s);
    return version.match(body).captured(1).toLongLong();
}

class Driver {
public:
    Driver(NoteStore& notes, ImageStore& images, qint64 firstVersion, quint32 seed)
        : notes(notes)
        , images(images)
        , version(firstVersion)
        , random(seed)
    {
        // What is in the database at launch counts as said.
        for (const Note& note : notes.notes())
            said.insert(note.id, versionOf(note.body));
        QObject::connect(&notes, &NoteStore::unsavedIDsChanged, [this] { tell(); });
    }

    void step()
    {
        const QList<Note> all = notes.active();
        const int roll = pick(100);
        if (all.size() < 3 || roll < 4) {
            create();
        } else if (roll < 8 && all.size() > 6) {
            // Said before: the row goes inside the call, and a kill may come before "D".
            const QString id = all.at(pick(all.size())).id;
            say(u"X "_s + id);
            notes.deleteNote(id);
        } else if (roll < 10) {
            notes.undoDelete();
        } else if (roll < 14) {
            notes.flush(current);
        } else if (roll < 15) {
            notes.flushAll();
        } else if (roll < 17) {
            notes.togglePin(all.at(pick(all.size())).id);
        } else if (roll < 19) {
            notes.reorder(all.at(pick(all.size())).id, pick(5) - 2);
        } else {
            // Typing comes in bursts into one note; the note left behind is saved by its
            // own pause.
            if (burst-- <= 0 || !notes.note(current)) {
                current = all.at(pick(all.size())).id;
                burst = 5 + pick(40);
            }
            type(current);
        }
        tell();
    }

private:
    int pick(qsizetype bound)
    {
        return std::uniform_int_distribution<int>(0, static_cast<int>(bound) - 1)(random);
    }

    QString body(const QString& id, const QString& picture)
    {
        QString text = u"note %1 v%2\n"_s.arg(id).arg(++version);
        if (!picture.isEmpty())
            text += ImageTokens::token(picture) + u'\n';
        return text + u"filler "_s.repeated(pick(200));
    }

    void create()
    {
        QString picture;
        if (pick(3) == 0)
            picture = images.save(QByteArray(64 + pick(512), 'p'), u"png"_s).value_or(QString());
        notes.create(body(u"new"_s, picture));
    }

    void type(const QString& id)
    {
        const std::optional<Note> note = notes.note(id);
        if (!note)
            return;
        notes.updateBody(id, body(id, ImageTokens::referencedIDs(note->body).value(0)));
    }

    // Every note that is not ahead of the database holds in the database what it holds here.
    void tell()
    {
        QSet<QString> present;
        for (const Note& note : notes.notes()) {
            present.insert(note.id);
            if (notes.unsavedIDs().contains(note.id))
                continue;
            const qint64 saved = versionOf(note.body);
            const auto it = said.constFind(note.id);
            if (it == said.cend() || *it != saved) {
                said.insert(note.id, saved);
                say(u"S %1 %2"_s.arg(note.id).arg(saved));
            }
        }
        for (auto it = said.begin(); it != said.end();) {
            if (present.contains(it.key())) {
                ++it;
                continue;
            }
            say(u"D %1"_s.arg(it.key()));
            it = said.erase(it);
        }
    }

    NoteStore& notes;
    ImageStore& images;
    qint64 version;
    std::mt19937 random;
    QHash<QString, qint64> said;
    QString current;
    int burst = 0;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    const QStringList args = app.arguments();
    if (args.size() != 4) {
        std::fputs("usage: crashloop FOLDER FIRST_VERSION SEED\n", stderr);
        return 2;
    }
    const QString folder = args.at(1);
    QtFiles files;
    QtScheduler scheduler;
    Store store(folder + u"/notes.db"_s, folder + u"/note.key"_s, files);
    ImageStore images(folder + u"/Images"_s, files);
    NoteStore notes(store, scheduler, images, false,
                    [](const LocalizedError& error) { say(u"E "_s + error.description()); });
    if (!notes.isWritable())
        return 1;
    // The library is open and its database made: kills may begin.
    say(u"R"_s);

    Driver driver(notes, images, args.at(2).toLongLong(), args.at(3).toUInt());
    QTimer ticks;
    QObject::connect(&ticks, &QTimer::timeout, [&driver] { driver.step(); });
    ticks.start(2);
    return app.exec();
}
