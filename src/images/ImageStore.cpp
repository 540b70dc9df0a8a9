#include "images/ImageStore.h"

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace ImageStore {

QString token(const QString& id, std::optional<double> width)
{
    const QString target = u"](%1://%2)"_s.arg(scheme, id);
    if (!width || !(*width > 0) || !std::isfinite(*width))
        return u"![image"_s + target;
    const double w = *width;
    // asprintf formats in the C locale, so the decimal mark is always a point.
    const QString written =
        w == std::floor(w) ? QString::number(w, 'f', 0) : QString::asprintf("%.1f", w);
    return u"![image|"_s + written + target;
}

const QRegularExpression& tokenExpression()
{
    static const QRegularExpression expression(
        uR"(!\[image(?:\|([0-9]+(?:\.[0-9]+)?))?\]\()"_s + scheme + uR"(://([A-Za-z0-9-]+)\))"_s);
    return expression;
}

QList<ImageToken> tokens(const QString& text)
{
    QList<ImageToken> found;
    // Most bodies hold no image; skip the expression for them.
    if (!text.contains(u"![image"_s))
        return found;
    QRegularExpressionMatchIterator it = tokenExpression().globalMatch(text);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        ImageToken token;
        token.id = match.captured(2);
        if (match.capturedStart(1) >= 0) {
            bool ok = false;
            const double w = match.capturedView(1).toDouble(&ok);
            if (ok && std::isfinite(w))
                token.width = w;
        }
        token.range = TextRange{match.capturedStart(0), match.capturedLength(0)};
        found.append(std::move(token));
    }
    return found;
}

QStringList referencedIDs(const QString& text)
{
    QStringList ids;
    for (const ImageToken& token : tokens(text))
        ids.append(token.id);
    return ids;
}

bool isValidID(QStringView id)
{
    if (id.isEmpty())
        return false;
    for (QChar c : id) {
        const char16_t u = c.unicode();
        const bool allowed = (u >= u'A' && u <= u'Z') || (u >= u'a' && u <= u'z')
            || (u >= u'0' && u <= u'9') || u == u'-';
        if (!allowed)
            return false;
    }
    return true;
}

} // namespace ImageStore
