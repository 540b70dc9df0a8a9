// Writes notes into a data folder as an earlier launch of the program would have left them:
// the real database and key file, one note per title, each with a line of text, the first
// title on top of the deck. For tests and screenshots that start the program on a library.
//
// Arguments: data folder (the program's Pondrift folder), then the titles. A title may carry
// its body after a "|".

#include "images/ImageStore.h"
#include "notes/NoteStore.h"
#include "notes/Paths.h"
#include "notes/Store.h"
#include "platform/qt/QtFiles.h"
#include "support/ManualScheduler.h"

#include <QCoreApplication>
#include <QDateTime>

#include <cstdio>

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    if (argc < 3) {
        std::fprintf(stderr, "usage: seednotes DATA-FOLDER TITLE[|BODY]...\n");
        return 2;
    }
    const Paths paths(QString::fromLocal8Bit(argv[1]));
    QtFiles files;
    // Written now, as a person would have written them just before the launch.
    ManualScheduler clock(Date{static_cast<double>(QDateTime::currentSecsSinceEpoch())});
    Store store(paths.db(), paths.key(), files);
    ImageStore images(paths.images(), files);
    NoteStore notes(store, clock, images, false, {});
    // A new note goes on top, so the titles go in from the last.
    for (int i = argc - 1; i >= 2; --i) {
        const QString arg = QString::fromLocal8Bit(argv[i]);
        const qsizetype bar = arg.indexOf(u'|');
        const QString title = bar < 0 ? arg : arg.left(bar);
        const QString body =
            bar < 0 ? QStringLiteral("…")
                    : arg.mid(bar + 1).replace(QStringLiteral("\\n"), QStringLiteral("\n"));
        notes.create(body, title);
    }
    return notes.flushAll() ? 0 : 1;
}
