#pragma once

#include <QColor>
#include <QString>

#include <array>

// One of the eight note colours: paper (the background), dash (the accent) and ink (the
// text). A note stores the colour's position in `all`.
struct NoteColor {
    QString name;
    QColor paper;
    QColor dash;
    QColor ink;

    static const std::array<NoteColor, 8>& all();
    // Any integer gives a colour: the index is taken modulo eight, never negative.
    static const NoteColor& at(qint64 index);
    // "color." and the lower-cased name, through L10n.
    QString localizedKey() const;
    QString localizedName() const;
};
