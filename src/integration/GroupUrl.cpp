#include "integration/GroupUrl.h"

#include "integration/GroupQuery.h"

#include <QRegularExpression>
#include <QStringDecoder>

namespace cobblet {

namespace {

const QLatin1String scheme{"cobblet:"};
/// A character of a name takes at most three bytes for each of its UTF-16 units, each encoded as "%XX".
constexpr qsizetype maximumUrl = GroupQuery::maximumText * 9 + 100;

/// Absent where a "%" does not begin two hexadecimal digits, and where the bytes are no UTF-8 or hold a zero.
std::optional<QString> percentDecoded(QStringView text)
{
    static const QRegularExpression stray(QStringLiteral("%(?![0-9A-Fa-f]{2})"));
    if (text.contains(stray))
        return std::nullopt;
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString decoded = decoder(QByteArray::fromPercentEncoding(text.toUtf8()));
    if (decoder.hasError() || decoded.contains(QChar(0)))
        return std::nullopt;
    return decoded;
}

std::optional<IntentVerb> verbOf(QStringView host)
{
    for (const auto &[name, verb] : {std::pair(u"show", IntentVerb::Show), std::pair(u"launch", IntentVerb::Launch),
                                     std::pair(u"quit", IntentVerb::Quit)})
        if (host.compare(name, Qt::CaseInsensitive) == 0)
            return verb;
    return std::nullopt;
}

} // namespace

bool GroupUrl::hasScheme(const QString &text)
{
    return text.startsWith(scheme, Qt::CaseInsensitive);
}

std::optional<GroupRequest> GroupUrl::parse(const QString &text)
{
    if (text.size() > maximumUrl || !hasScheme(text))
        return std::nullopt;
    QStringView rest = QStringView(text).sliced(scheme.size());
    if (!rest.startsWith(u"//") || rest.contains(u'?') || rest.contains(u'#'))
        return std::nullopt;
    rest = rest.sliced(2);
    const qsizetype slash = rest.indexOf(u'/');
    if (slash < 0)
        return std::nullopt;
    const auto verb = verbOf(rest.first(slash));
    auto group = percentDecoded(rest.sliced(slash + 1));
    if (!verb || !group || group->isEmpty() || group->size() > GroupQuery::maximumText)
        return std::nullopt;
    return GroupRequest{*verb, *std::move(group)};
}

} // namespace cobblet
