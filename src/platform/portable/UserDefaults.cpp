#include "platform/UserDefaults.h"

namespace cobblet {

namespace {

template<class T>
std::optional<T> exactly(const std::optional<QVariant> &value)
{
    if (!value || value->metaType() != QMetaType::fromType<T>())
        return std::nullopt;
    return value->value<T>();
}

} // namespace

bool UserDefaults::boolean(const QString &key) const
{
    const auto value = object(key);
    if (const auto flag = exactly<bool>(value))
        return *flag;
    return exactly<qint64>(value) == 1;
}

qint64 UserDefaults::integer(const QString &key) const
{
    const auto value = object(key);
    if (const auto flag = exactly<bool>(value))
        return *flag ? 1 : 0;
    return exactly<qint64>(value).value_or(0);
}

std::optional<QString> UserDefaults::string(const QString &key) const
{
    return exactly<QString>(object(key));
}

std::optional<QByteArray> UserDefaults::data(const QString &key) const
{
    return exactly<QByteArray>(object(key));
}

} // namespace cobblet
