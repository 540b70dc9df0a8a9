// The whole program, launched as main() launches it, holding one edit that has not reached
// the database: its clock is stopped, so the pause before a save never ends, and only the
// way the process ends can save the edit. Says "R" on standard output once the edit is made,
// then runs until something ends it.
//
// Arguments: data folder, the text to type into the first note.

#include "app/AppDelegate.h"
#include "app/AppServices.h"
#include "app/ui/ProductionBackends.h"
#include "support/ManualScheduler.h"
#include "support/MemoryDefaults.h"

#include <QApplication>

#include <cstdio>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: unsavededit DATA-FOLDER TEXT\n");
        return 2;
    }
    AppServices::Backends backends = makeProductionBackends();
    backends.scheduler = std::make_unique<ManualScheduler>();
    backends.defaults = std::make_unique<MemoryDefaults>();
    AppServices services(std::move(backends), Paths{QString::fromLocal8Bit(argv[1])},
                         QString::fromLocal8Bit(argv[1]));
    AppDelegate delegate(services);
    delegate.applicationDidFinishLaunching();

    NoteStore& notes = services.noteStore();
    notes.flushAll();
    notes.updateBody(notes.notes().first().id, QString::fromLocal8Bit(argv[2]));
    if (notes.unsavedIDs().isEmpty())
        return 3;
    std::puts("R");
    std::fflush(stdout);
    return app.exec();
}
