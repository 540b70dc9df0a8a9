#include "notes/Paths.h"

#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

Paths Paths::user()
{
    return Paths{QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
                 + u"/Pondrift"_s};
}
