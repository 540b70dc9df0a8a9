#pragma once

#include <QString>
#include <QStringList>

#include <optional>

class ImageStore;
class QMimeData;
class QUrl;

// Turns what the user pastes, drops or picks into stored images. File URLs come first, so
// that a file copied in a file manager is stored as itself rather than as its icon; only then
// is a bitmap taken. Failures are silent: a file that cannot be read just gives no id.
// Main thread, as part of a paste or drop.
namespace ImagePasteboard {

// By the file's type: its extension, and its content when the extension says nothing (a
// file without one). True when the type is an image type or inherits one.
bool isImageFile(const QString& path);
// The file's bytes as they are, under its own extension lower-cased, or "png" without one.
// Animation and full size are kept: the size cap of stored bitmaps does not apply here.
std::optional<QString> saveFile(const QString& path, ImageStore& store);
// The ids of the images stored from the data, in order: every image file among its local
// file URLs; failing that, its one bitmap; else none.
QStringList imageIDs(const QMimeData* mime, ImageStore& store);
// Whether imageIDs would find something. Writes nothing, so it is safe while validating a
// menu or during a drag.
bool canProvideImage(const QMimeData* mime);

} // namespace ImagePasteboard
