#pragma once

#include "notes/TextRange.h"

#include <QList>
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

// A picture in a note is a token in its text, "![image](pondrift-img://ID)", that names a
// file of the image store. This is the token's syntax, pure over strings.
namespace ImageTokens {

inline const QString scheme = QStringLiteral("pondrift-img");
// The characters an id may hold. New ids are upper-case UUIDs, but archives may bring any
// non-empty string of these.
inline const QString idAllowed =
    QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-");

// "![image](pondrift-img://ID)", or "![image|W](pondrift-img://ID)" when width is above 0.
// A whole width is written without fraction ("240"), any other with one decimal ("240.2").
QString token(const QString& id, std::optional<double> width = std::nullopt);
// Every token of the text, in text order.
QList<ImageToken> tokens(QStringView text);
// The ids of the tokens, in text order, repeats kept.
QStringList referencedIDs(QStringView text);
// Non-empty and wholly in idAllowed; every file lookup is guarded by this, so that an id
// from a foreign file can never reach outside the image folder.
bool isValidID(QStringView id);

} // namespace ImageTokens

// The image files as the note store sees them: it removes the files that no note refers to
// any more. Implemented by the image store.
class ImageFiles {
public:
    virtual ~ImageFiles() = default;
    // The ids of all stored files; none when the folder cannot be read.
    virtual QStringList allIDs() = 0;
    // Removes the files; errors are ignored.
    virtual void deleteImages(const QStringList& ids) = 0;
};
