#include "notes/Paths.h"

#include <QDir>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

Paths Paths::user()
{
    const QString folder =
        QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u"/Pondrift"_s;
    QDir().mkpath(folder);
    return Paths{folder};
}
