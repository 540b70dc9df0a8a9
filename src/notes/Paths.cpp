#include "notes/Paths.h"

#include <QDir>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace Paths {

QString support()
{
    static const QString folder = [] {
        QString path =
            QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u"/Pondrift"_s;
        QDir().mkpath(path);
        return path;
    }();
    return folder;
}

QString db()
{
    return support() + u"/notes.db"_s;
}

QString key()
{
    return support() + u"/note.key"_s;
}

} // namespace Paths
