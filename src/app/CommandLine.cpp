#include "app/CommandLine.h"

#include "app/UrlScheme.h"

using namespace Qt::Literals::StringLiterals;

namespace CommandLine {

Parsed parse(const QStringList& arguments)
{
    Parsed parsed;
    bool options = true;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (options && argument == u"--"_s) {
            options = false;
        } else if (options && (argument == u"--help"_s || argument == u"-h"_s)) {
            parsed.help = true;
        } else if (options && argument == u"--capture"_s) {
            parsed.urls << UrlScheme::scheme + u"://capture"_s;
        } else if (options && argument == u"--new"_s) {
            if (i + 1 == arguments.size()) {
                parsed.error = u"--new needs the note's text after it"_s;
                return parsed;
            }
            parsed.urls << UrlScheme::newNoteUrl(arguments[++i]);
        } else if (options && argument.startsWith(u'-') && argument.size() > 1) {
            parsed.error = u"unknown option "_s + argument;
            return parsed;
        } else {
            parsed.urls << argument;
        }
    }
    return parsed;
}

QString usage()
{
    return u"Usage: pondrift [URL...]\n"
           u"       pondrift --new TEXT\n"
           u"       pondrift --capture\n"
           u"\n"
           u"Starts Pondrift, or hands the request to the one already running and ends.\n"
           u"  URL          pondrift://new?text=TEXT   a new note with the text\n"
           u"               pondrift://capture         quick capture\n"
           u"               pondrift://all             every note\n"
           u"               pondrift://settings        the settings\n"
           u"  --new TEXT   a new note with TEXT, escaped for you\n"
           u"  --capture    quick capture, for a desktop shortcut\n"_s;
}

} // namespace CommandLine
