#include "app/Migration.h"

#include "l10n/L10n.h"
#include "platform/Files.h"
#include "platform/FolderChooser.h"

#include <QDir>

using namespace Qt::Literals::StringLiterals;

namespace {

// In this order: the journal files belong to the database before them.
const QString movedFiles[] = {u"notes.db"_s, u"notes.db-wal"_s, u"notes.db-shm"_s, u"note.key"_s};

bool isFile(Files& files, const QString& path)
{
    const std::optional<Files::Entry> entry = files.stat(path);
    return entry && entry->kind == Files::Kind::File;
}

} // namespace

Migration::Environment Migration::Environment::current()
{
    // Flatpak hands the host's data folder in when the person set one of their own.
    QString hostData = qEnvironmentVariable("HOST_XDG_DATA_HOME");
    if (hostData.isEmpty())
        hostData = QDir::homePath() + u"/.local/share"_s;
    return {.sandboxId = qEnvironmentVariable("FLATPAK_ID"),
            .legacyFolder = hostData + u"/Pondrift"_s};
}

bool Migration::needed(const Environment& environment, const Paths& data, Files& files)
{
    return !environment.sandboxId.isEmpty() && !files.stat(data.db())
           && isFile(files, environment.legacyFolder + u"/notes.db"_s);
}

void Migration::runIfNeeded(const Environment& environment, const Paths& data, Files& files,
                            FolderChooser& chooser)
{
    if (!needed(environment, data, files))
        return;
    const std::optional<QString> chosen =
        chooser.chooseFolder(environment.legacyFolder, L10n::text(u"migration.panel_prompt"_s),
                             L10n::text(u"migration.panel_open"_s));
    // Cancelled: the launch goes on with an empty library, whose database then keeps the
    // question from coming again.
    if (!chosen)
        return;
    files.makeFolder(data.support, true, Files::Access::Private);
    for (const QString& name : movedFiles) {
        const QString from = *chosen + u'/' + name;
        if (!isFile(files, from))
            continue;
        QByteArray bytes;
        if (!files.read(from, bytes))
            continue;
        const QString to = data.support + u'/' + name;
        files.remove(to);
        files.write(to, bytes, Files::Access::Private);
    }
}
