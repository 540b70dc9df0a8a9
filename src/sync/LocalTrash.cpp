#include "sync/LocalTrash.h"

#include "exchange/NoteDocument.h"
#include "platform/Files.h"
#include "platform/Log.h"
#include "sync/DocumentNames.h"

#include <QDateTime>
#include <QSet>

using namespace Qt::Literals::StringLiterals;

LocalTrash::LocalTrash(QString folder, Files& files)
    : where(std::move(folder))
    , files(files)
{
}

bool LocalTrash::keep(const Note& note, Date at)
{
    if (const Files::Result made = files.makeFolder(where, true, Files::Access::Private); !made) {
        Log::cloud(u"cannot make the trash folder"_s, where + u": "_s + made.description());
        return false;
    }
    QSet<QString> taken;
    if (const auto entries = files.list(where, false)) {
        for (const Files::Entry& entry : *entries)
            taken.insert(entry.name.toLower());
    }
    // The title's safe name, with the time of the deletion before the extension; a second
    // deletion in the same second gets a number.
    const QString stamp =
        QDateTime::fromMSecsSinceEpoch(qint64(at.seconds * 1000)).toString(u"yyyy-MM-dd-HHmmss"_s);
    const QString base = DocumentNames::fileName(note, {});
    const QString stem = base.chopped(DocumentNames::extension.size() + 1);
    QString name;
    for (int n = 1;; ++n) {
        const QString suffix = n == 1 ? QString() : u" %1"_s.arg(n);
        name = u"%1 (deleted %2%3).%4"_s.arg(stem, stamp, suffix, DocumentNames::extension);
        if (!taken.contains(name.toLower()))
            break;
    }
    const QString path = where + u'/' + name;
    if (const Files::Result written =
            files.write(path, NoteDocument::render(note).toUtf8(), Files::Access::Private);
        !written) {
        Log::cloud(u"cannot keep a deleted note in the trash"_s,
                   path + u": "_s + written.description());
        return false;
    }
    return true;
}

void LocalTrash::prune(Date now)
{
    const auto entries = files.list(where, true);
    if (!entries)
        return;
    for (const Files::Entry& entry : *entries) {
        if (entry.kind != Files::Kind::File || !entry.name.endsWith(u".md"_s))
            continue;
        if (now.seconds - entry.modified.seconds <= keptFor)
            continue;
        if (const Files::Result removed = files.remove(where + u'/' + entry.name); !removed)
            Log::cloud(u"cannot empty the trash"_s, entry.name + u": "_s + removed.description());
    }
}
