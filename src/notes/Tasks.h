#pragma once

#include <QChar>
#include <QString>

#include <optional>

// Task lines as the body stores them: a line whose very first character is a box. The
// Markdown form ("- [ ] ", "- [x] ") exists only in exported and synced documents.
namespace Tasks {

inline constexpr QChar open = QChar(0x2610); // ☐
inline constexpr QChar done = QChar(0x2611); // ☑
inline const QString openPrefix = QString(open) + QLatin1Char(' ');
inline const QString donePrefix = QString(done) + QLatin1Char(' ');

// The line's first character when it is a box; absent otherwise, also for an empty line or
// one that begins with a blank.
std::optional<QChar> marker(QStringView line);
inline bool isTask(QStringView line) { return marker(line).has_value(); }
// The line without its box, trimmed of blanks and tabs; a line without a box as it stands.
QString stripped(QStringView line);

// Trims blanks and tabs only, the way every line rule of a note trims: newlines and other
// white space stay.
QStringView trimmedBlanksAndTabs(QStringView text);

// Whole-body conversions; indentation before a box is kept both ways.
QString toMarkdown(const QString& body);
QString fromMarkdown(const QString& body);

} // namespace Tasks
