#include "integration/GroupUrl.h"

#include "integration/GroupQuery.h"

#include <QStringDecoder>

namespace cobblet {

namespace {

const QLatin1String scheme{"cobblet:"};
/// A character of a name takes at most three bytes for each of its UTF-16 units, each encoded as "%XX".
constexpr qsizetype maximumUrl = GroupQuery::maximumText * 9 + 100;

int hexDigit(QChar c)
{
    const char16_t u = c.unicode();
    if (u >= u'0' && u <= u'9')
        return u - u'0';
    const char16_t lower = u | 0x20;
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
}

/// Absent where a "%" does not begin two hexadecimal digits, and where the bytes are no UTF-8 or hold a zero.
std::optional<QString> percentDecoded(QStringView text)
{
    QByteArray bytes;
    for (qsizetype i = 0; i < text.size();) {
        const qsizetype percent = text.indexOf(u'%', i);
        bytes += text.sliced(i, (percent < 0 ? text.size() : percent) - i).toUtf8();
        if (percent < 0)
            break;
        if (percent + 2 >= text.size())
            return std::nullopt;
        const int high = hexDigit(text[percent + 1]);
        const int low = hexDigit(text[percent + 2]);
        if (high < 0 || low < 0)
            return std::nullopt;
        bytes += char(high * 16 + low);
        i = percent + 3;
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString decoded = decoder(bytes);
    if (decoder.hasError() || decoded.contains(QChar(0)))
        return std::nullopt;
    return decoded;
}

std::optional<IntentRequests::Verb> verbOf(QStringView host)
{
    using Verb = IntentRequests::Verb;
    for (const auto &[name, verb] :
         {std::pair(u"show", Verb::Show), std::pair(u"launch", Verb::Launch), std::pair(u"quit", Verb::Quit)})
        if (host.compare(name, Qt::CaseInsensitive) == 0)
            return verb;
    return std::nullopt;
}

} // namespace

bool GroupUrl::hasScheme(const QString &text)
{
    return text.startsWith(scheme, Qt::CaseInsensitive);
}

std::optional<GroupUrl> GroupUrl::parse(const QString &text)
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
    return GroupUrl{*verb, *std::move(group)};
}

} // namespace cobblet
