#include "platform/freedesktop/bus/BusNames.h"

#include <QRegularExpression>

namespace cobblet {

bool isBusName(const QString &identifier)
{
    static const QRegularExpression name(QStringLiteral("\\A[A-Za-z_-][\\w-]*(\\.[A-Za-z_-][\\w-]*)+\\z"));
    return identifier.size() <= 255 && name.match(identifier).hasMatch();
}

QString busName(const QString &identifier)
{
    static const QRegularExpression digit(QStringLiteral("(^|\\.)(?=[0-9])"));
    return QString(identifier).replace(digit, QStringLiteral("\\1_"));
}

QString busPathOf(const QString &identifier)
{
    QString path = QLatin1Char('/') + identifier;
    return path.replace(QLatin1Char('.'), QLatin1Char('/')).replace(QLatin1Char('-'), QLatin1Char('_'));
}

} // namespace cobblet
