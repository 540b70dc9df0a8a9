#include "sync/ClientConflicts.h"

#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

namespace ClientConflicts {

std::optional<QString> originalName(const QString& name)
{
    // Every client's mark says "conflict"; the test keeps the expressions off nearly every
    // name. They are built per call on purpose: a function with no static state stays pure.
    if (!name.contains(u"conflict"_s))
        return std::nullopt;
    // Each pattern captures the original's stem and the extension.
    const QRegularExpression patterns[] = {
        // Syncthing: the device's short id is seven letters or digits.
        QRegularExpression(u"^(.+)\\.sync-conflict-\\d{8}-\\d{6}(?:-[A-Z0-9]{7})?(\\.[^.]+)$"_s),
        // Nextcloud and ownCloud, and Dropbox with or without the owner's name and a number.
        QRegularExpression(
            u"^(.+?) \\((?:[^()]*['\u2019]s )?conflicted copy(?: [^()]*)?\\)(?: \\(\\d+\\))?(\\.[^.]+)$"_s),
        // Older ownCloud clients.
        QRegularExpression(u"^(.+)_conflict-\\d{8}-\\d{6}(\\.[^.]+)$"_s),
    };
    for (const QRegularExpression& pattern : patterns) {
        const QRegularExpressionMatch match = pattern.match(name);
        if (match.hasMatch())
            return match.captured(1) + match.captured(2);
    }
    return std::nullopt;
}

} // namespace ClientConflicts
