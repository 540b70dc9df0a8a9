#include "support/TestLibrary.h"

using namespace Qt::Literals::StringLiterals;

NoteStore& TestLibrary::open(bool seedWelcome)
{
    notes.reset();
    store = std::make_unique<Store>(paths.db(), paths.key(), files);
    notes = std::make_unique<NoteStore>(
        *store, clock, images, seedWelcome,
        [this](const LocalizedError& error) { reports.append(error.description()); });
    return *notes;
}

QList<Note> TestLibrary::stored() { return Store(paths.db(), paths.key(), files).load(); }

std::optional<Note> TestLibrary::storedNote(const QString& id)
{
    for (const Note& note : stored()) {
        if (note.id == id)
            return note;
    }
    return std::nullopt;
}

QString TestLibrary::image(const QByteArray& bytes)
{
    return images.save(bytes, u"png"_s).value_or(QString());
}
