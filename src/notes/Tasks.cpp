#include "notes/Tasks.h"

#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

namespace Tasks {

QStringView trimmedBlanksAndTabs(QStringView s)
{
    qsizetype start = 0;
    qsizetype end = s.size();
    auto blank = [](QChar c) { return c == u' ' || c == u'\t'; };
    while (start < end && blank(s[start]))
        ++start;
    while (end > start && blank(s[end - 1]))
        --end;
    return s.sliced(start, end - start);
}

std::optional<QChar> marker(QStringView line)
{
    if (!line.isEmpty() && (line.front() == open || line.front() == done))
        return line.front();
    return std::nullopt;
}

QString stripped(QStringView line)
{
    if (!marker(line))
        return line.toString();
    return trimmedBlanksAndTabs(line.sliced(1)).toString();
}

QString toMarkdown(const QString& body)
{
    static const QRegularExpression openLine(u"(*ANY)(?m)^([\\t ]*)\u2610 "_s);
    static const QRegularExpression doneLine(u"(*ANY)(?m)^([\\t ]*)\u2611 "_s);
    QString result = body;
    result.replace(openLine, u"\\1- [ ] "_s);
    result.replace(doneLine, u"\\1- [x] "_s);
    return result;
}

QString fromMarkdown(const QString& body)
{
    static const QRegularExpression openItem(u"(*ANY)(?m)^([\\t ]*)[-*][\\t ]+\\[ \\][\\t ]+"_s);
    static const QRegularExpression doneItem(u"(*ANY)(?m)^([\\t ]*)[-*][\\t ]+\\[[xX]\\][\\t ]+"_s);
    QString result = body;
    result.replace(openItem, u"\\1\u2610 "_s);
    result.replace(doneItem, u"\\1\u2611 "_s);
    return result;
}

} // namespace Tasks
