#include "platform/freedesktop/apps/StoredCorrections.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <utility>

namespace cobblet {

namespace {

const QString key = QStringLiteral("applicationCorrections"); ///< a JSON object: identifiers by marks

bool isUsable(const QString &text)
{
    return !text.isEmpty() && text.size() <= StoredCorrections::maximumText;
}

} // namespace

StoredCorrections::StoredCorrections(UserDefaults &defaults) : m_defaults(defaults), m_all(stored())
{
    connect(&m_defaults, &UserDefaults::didChange, this, &StoredCorrections::follow);
}

Corrections StoredCorrections::stored() const
{
    Corrections corrections;
    const QJsonObject object = QJsonDocument::fromJson(m_defaults.string(key).value_or(QString()).toUtf8()).object();
    for (auto it = object.begin(); it != object.end() && corrections.size() < maximumNumber; ++it)
        if (const QString id = it.value().toString(); isUsable(it.key()) && isUsable(id))
            corrections.insert(it.key(), id);
    return corrections;
}

void StoredCorrections::follow()
{
    const Corrections now = stored();
    if (std::exchange(m_all, now) != now)
        emit changed();
}

Status StoredCorrections::set(const QString &mark, const QString &id)
{
    m_defaults.synchronize();
    Corrections corrections = stored();
    if (id.isEmpty())
        corrections.remove(mark);
    else if (!isUsable(mark) || !isUsable(id))
        return Error{QStringLiteral("This can't be kept: it has no name that it could be known by again.")};
    else if (!corrections.contains(mark) && corrections.size() >= maximumNumber)
        return Error{QStringLiteral("No more than %1 corrections are kept: remove one first.").arg(maximumNumber)};
    else
        corrections.insert(mark, id);
    QJsonObject object;
    for (auto it = corrections.cbegin(); it != corrections.cend(); ++it)
        object.insert(it.key(), it.value());
    const QByteArray json = QJsonDocument(object).toJson(QJsonDocument::Compact);
    const Status status =
        corrections.isEmpty() ? m_defaults.remove(key) : m_defaults.set(key, QString::fromUtf8(json));
    follow();
    return status;
}

} // namespace cobblet
