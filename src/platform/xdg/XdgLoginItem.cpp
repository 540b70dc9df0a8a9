#include "platform/xdg/XdgLoginItem.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// Characters that make an Exec argument need quotes.
bool isReserved(QChar c)
{
    static const QString reserved = u" \t\n\"'\\><~|&;$*?#()`"_s;
    return reserved.contains(c);
}

// One argument of an Exec line, before the line is written as a string value: in double
// quotes when it holds a reserved character, '"', '`', '$' and '\' then taking a backslash.
QString execArgument(const QString& argument)
{
    if (!argument.isEmpty() && std::none_of(argument.cbegin(), argument.cend(), isReserved))
        return argument;
    QString quoted = u"\""_s;
    for (QChar c : argument) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            quoted += u'\\';
        quoted += c;
    }
    return quoted + u'"';
}

// The Exec value as it stands in the file: '%' doubled so that it is no field code, then the
// escapes of any string value.
QString execValue(const QString& program)
{
    QString line = execArgument(program);
    // GLib looks up the program of an entry before it expands "%%", so it rejects an entry
    // whose program path holds a '%' and GNOME never starts it. A shell that runs its $0
    // keeps the percent sign out of the program's place; only such paths pay for it.
    if (program.contains(u'%'))
        line = u"/bin/sh -c "_s + execArgument(u"exec \"$0\""_s) + u' ' + line;
    line.replace(u"%"_s, u"%%"_s);
    line.replace(u"\\"_s, u"\\\\"_s);
    line.replace(u"\n"_s, u"\\n"_s);
    line.replace(u"\t"_s, u"\\t"_s);
    line.replace(u"\r"_s, u"\\r"_s);
    return line;
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
    // Only the entry's own group counts; an action group may hold keys of the same name.
    bool inEntry = false;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray& raw : lines) {
        const QByteArray line = raw.trimmed();
        if (line.startsWith('[')) {
            inEntry = line == "[Desktop Entry]";
            continue;
        }
        const qsizetype equals = line.indexOf('=');
        if (!inEntry || line.startsWith('#') || equals < 0)
            continue;
        const QByteArray key = line.left(equals).trimmed();
        const QByteArray value = line.mid(equals + 1).trimmed();
        // Sessions skip a hidden entry; GNOME's own switch for "off" keeps the entry and sets
        // its flag, which other desktops honour too.
        if ((key == "Hidden" && value == "true")
            || (key == "X-GNOME-Autostart-enabled" && value == "false"))
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
    // No Icon line: a name that no installed icon answers to shows as a broken picture in
    // the desktops' startup lists.
    const QString entry = u"[Desktop Entry]\n"
                          u"Type=Application\n"
                          u"Name=Pondrift\n"
                          u"Exec="_s
                          + execValue(execPath)
                          + u"\n"
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
