#include "platform/xdg/XdgLoginItem.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace {

// The Exec key is quoted twice: inside double quotes, '"', '`', '$' and '\' take a
// backslash, and then, since the value is also a string, every backslash is doubled.
QString quotedExec(const QString& path)
{
    QString quoted;
    for (QChar c : path) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            quoted += u'\\';
        quoted += c;
    }
    quoted.replace(u"\\"_s, u"\\\\"_s);
    return u"\""_s + quoted + u"\""_s;
}

} // namespace

XdgLoginItem::XdgLoginItem(QString entryPath, QString execPath)
    : entryPath(std::move(entryPath))
    , execPath(std::move(execPath))
{
}

QString XdgLoginItem::defaultEntryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
           + u"/autostart/app.pondrift.Pondrift.desktop"_s;
}

bool XdgLoginItem::isEnabled() const
{
    QFile file(entryPath);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.trimmed().replace(' ', "") == "Hidden=true")
            return false;
    }
    return true;
}

std::optional<QString> XdgLoginItem::enable()
{
    const QString folder = QFileInfo(entryPath).absolutePath();
    if (!QDir().mkpath(folder))
        return u"cannot create the folder "_s + folder;
    QSaveFile file(entryPath);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    const QString entry = u"[Desktop Entry]\n"
                          u"Type=Application\n"
                          u"Name=Pondrift\n"
                          u"Exec="_s
                          + quotedExec(execPath)
                          + u"\n"
                            u"Icon=app.pondrift.Pondrift\n"
                            u"Terminal=false\n"
                            u"X-GNOME-Autostart-enabled=true\n"_s;
    file.write(entry.toUtf8());
    if (!file.commit())
        return file.errorString();
    return std::nullopt;
}

std::optional<QString> XdgLoginItem::disable()
{
    QFile file(entryPath);
    if (!file.exists())
        return std::nullopt;
    if (!file.remove())
        return file.errorString();
    return std::nullopt;
}
