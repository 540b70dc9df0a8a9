#pragma once

#include <QString>
#include <QStringList>

// What the program was started with: `pondrift [URL...]`, `pondrift --new TEXT`,
// `pondrift --capture`. Every request becomes a pondrift: URL, so that a command typed in a
// terminal, bound to a desktop shortcut or opened from a link takes the same one path, through
// the running instance, to the same commands. Pure.
namespace CommandLine {

struct Parsed {
    // In the order given; checked by whoever runs them, not here.
    QStringList urls;
    bool help = false;
    // Why the arguments make no request; empty when they do.
    QString error;
};

// arguments: without the program's own name, after the toolkit took its options.
Parsed parse(const QStringList& arguments);

QString usage();

} // namespace CommandLine
