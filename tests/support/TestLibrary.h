#pragma once

#include "images/ImageStore.h"
#include "notes/NoteStore.h"
#include "notes/Paths.h"
#include "notes/Store.h"
#include "support/FaultyFiles.h"
#include "support/ManualScheduler.h"

#include <QStringList>
#include <QTemporaryDir>

#include <memory>

// One library in a temporary folder: the real database, key file and image folder on the
// real disk (with write faults on demand), a virtual clock, and every report the note store
// makes.
struct TestLibrary {
    QTemporaryDir dir;
    Paths paths{dir.path()};
    ManualScheduler clock;
    FaultyFiles files;
    ImageStore images{paths.images(), files};
    std::unique_ptr<Store> store;
    std::unique_ptr<NoteStore> notes;
    QStringList reports;

    // Opens the library afresh, as a new launch would.
    NoteStore& open(bool seedWelcome = false);
    // What a later launch would read, through a connection of its own.
    QList<Note> stored();
    std::optional<Note> storedNote(const QString& id);
    // A new image file; its id.
    QString image(const QByteArray& bytes = "picture");
    bool imageExists(const QString& id) { return images.filePath(id).has_value(); }
};
