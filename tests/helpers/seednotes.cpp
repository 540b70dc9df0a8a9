// Writes notes into a data folder as an earlier launch of the program would have left them:
// the real database and key file, one note per title, each with a line of text, the first
// title on top of the deck. For tests and screenshots that start the program on a library.
//
// Arguments: data folder (the program's Pondrift folder), then the titles. A title may carry
// its body after a "|"; "{picture}" in a body becomes a picture of a sunset, stored as a
// dropped picture is. A title that starts with "~" goes to the archive, without the "~".

#include "images/ImageStore.h"
#include "notes/ImageTokens.h"
#include "notes/NoteStore.h"
#include "notes/Paths.h"
#include "notes/Store.h"
#include "platform/qt/QtFiles.h"
#include "support/ManualScheduler.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QImage>
#include <QPainter>

#include <cstdio>

namespace {

// A sky going from blue to orange over the sea, with a sun on the horizon.
QImage sunset()
{
    QImage image(800, 500, QImage::Format_RGB32);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, 320);
    sky.setColorAt(0, QColor(0x2b, 0x4a, 0x7e));
    sky.setColorAt(1, QColor(0xf2, 0x9e, 0x5c));
    p.fillRect(0, 0, 800, 320, sky);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0xfb, 0xd3, 0x6b));
    p.drawEllipse(QPointF(560, 320), 70, 70);
    QLinearGradient sea(0, 320, 0, 500);
    sea.setColorAt(0, QColor(0x3c, 0x5a, 0x80));
    sea.setColorAt(1, QColor(0x1c, 0x2a, 0x44));
    p.fillRect(0, 320, 800, 180, sea);
    return image;
}

} // namespace

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
        QString title = bar < 0 ? arg : arg.left(bar);
        const bool archived = title.startsWith(u'~');
        if (archived)
            title.remove(0, 1);
        const QString body =
            bar < 0 ? QStringLiteral("…")
                    : arg.mid(bar + 1).replace(QStringLiteral("\\n"), QStringLiteral("\n"));
        QString text = body;
        if (text.contains(QStringLiteral("{picture}"))) {
            const std::optional<QString> id = images.save(sunset());
            if (!id)
                return 1;
            text.replace(QStringLiteral("{picture}"), ImageTokens::token(*id, 220));
        }
        const Note note = notes.create(text, title);
        if (archived)
            notes.setArchived(note.id, true);
    }
    return notes.flushAll() ? 0 : 1;
}
