#pragma once

#include "notes/TextRange.h"

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <optional>

// One image token found in a text.
struct ImageToken {
    QString id;
    // Display width in points; absent when the token has none.
    std::optional<double> width;
    // The whole token, in UTF-16 units of the scanned text.
    TextRange range;

    friend bool operator==(const ImageToken&, const ImageToken&) = default;
};

// A picture in a note is a token in its text that names a file in one flat folder. This
// namespace owns the token syntax, that folder and a cache of decoded images. It never
// throws and never shows anything: every failure is an absent result.
//
// Main thread, except where sync and transfer work say otherwise; the file writes are atomic
// and ids are fresh, so two saves never meet.
namespace ImageStore {

using ::ImageToken;

inline const QString scheme = QStringLiteral("pondrift-img");
// The characters an id may hold. New ids are upper-case UUIDs, but archives may bring any
// non-empty string of these.
inline const QString idAllowed =
    QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-");

// "![image](pondrift-img://ID)", or "![image|W](pondrift-img://ID)" when width is above 0.
// A whole width is written without fraction ("240"), any other with one decimal ("240.2").
QString token(const QString& id, std::optional<double> width = std::nullopt);
// Group 1 is the optional width, group 2 the id.
const QRegularExpression& tokenExpression();
// Every token of the text, in text order.
QList<ImageToken> tokens(const QString& text);
// The ids of the tokens, in text order, repeats kept.
QStringList referencedIDs(const QString& text);
// Non-empty and wholly in idAllowed; every file lookup is guarded by this, so that an id
// from a foreign file can never reach outside the folder.
bool isValidID(QStringView id);

// The folder of image files. By default "Images" in the support folder; tests and the note
// store may point it elsewhere. Setting it empties the cache. Created on first use; a
// failure to create it is ignored, and the writes then fail on their own.
void setDirectory(const QString& path);
QString directory();

// Stores the bytes as they are under a new id, written atomically as id.ext. Refused when
// the data is empty, or ext (lower-cased) is empty, longer than ten characters, or holds
// anything but letters and digits.
std::optional<QString> save(const QByteArray& data, const QString& ext);
// Scales the image down to 2048 on its longest side (a side of exactly 2048 stays) and
// stores it as PNG.
std::optional<QString> save(const QImage& image);

// The decoded image, cached by id. A miss is never cached, so a file that arrives later
// (by sync) shows up on the next ask.
std::optional<QImage> image(const QString& id);
// The file's bytes.
std::optional<QByteArray> data(const QString& id);
// The file of the id; a PNG wins over any other extension.
std::optional<QString> filePath(const QString& id);
// Removes the files and cached images; errors are ignored. (The system's name for this is
// "delete", a keyword here.)
void deleteImages(const QStringList& ids);
// The ids of all files in the folder; an unreadable folder gives none.
QStringList allIDs();

} // namespace ImageStore
