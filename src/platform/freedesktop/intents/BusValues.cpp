#include "platform/freedesktop/intents/BusValues.h"

#include <QDBusArgument>
#include <QDBusMetaType>

namespace cobblet {

static QString kindName(IntentOutcome::Kind kind)
{
    switch (kind) {
    case IntentOutcome::Kind::Launched:
        return QStringLiteral("launched");
    case IntentOutcome::Kind::BroughtForward:
        return QStringLiteral("brought-forward");
    case IntentOutcome::Kind::Hidden:
        return QStringLiteral("hidden");
    case IntentOutcome::Kind::AskedToQuit:
        return QStringLiteral("asked-to-quit");
    case IntentOutcome::Kind::StillRunning:
        return QStringLiteral("still-running");
    case IntentOutcome::Kind::NotRunning:
        return QStringLiteral("not-running");
    case IntentOutcome::Kind::NotInstalled:
        return QStringLiteral("not-installed");
    case IntentOutcome::Kind::Failed:
        break;
    }
    return QStringLiteral("failed");
}

static QDBusArgument &operator<<(QDBusArgument &out, const IntentGroup &group)
{
    out.beginStructure();
    out << group.id << group.name << group.emoji;
    out.endStructure();
    return out;
}

static QDBusArgument &operator<<(QDBusArgument &out, const IntentOutcome &outcome)
{
    out.beginStructure();
    out << outcome.bundleID << outcome.name << kindName(outcome.kind) << outcome.reason;
    out.endStructure();
    return out;
}

static QDBusArgument &operator<<(QDBusArgument &out, const RunnerMatch &match)
{
    out.beginStructure();
    out << match.id << match.text << match.icon << match.category << match.relevance << match.properties;
    out.endStructure();
    return out;
}

/// These values are only ever sent, but the toolkit registers both directions together.
template<class T>
static const QDBusArgument &operator>>(const QDBusArgument &in, T &) requires std::is_same_v<T, IntentGroup> ||
    std::is_same_v<T, IntentOutcome> || std::is_same_v<T, RunnerMatch>
{
    return in;
}

template<class T>
static QVariant listValue(const QList<T> &list)
{
    [[maybe_unused]] static const bool registered = [] {
        if constexpr (!std::is_same_v<T, QVariantMap>)
            qDBusRegisterMetaType<T>();
        qDBusRegisterMetaType<QList<T>>();
        return true;
    }();
    return QVariant::fromValue(list);
}

QVariant busValue(const QList<IntentGroup> &groups)
{
    return listValue(groups);
}

QVariant busValue(const QList<IntentOutcome> &outcomes)
{
    return listValue(outcomes);
}

QVariant busValue(const QList<RunnerMatch> &matches)
{
    return listValue(matches);
}

QVariant busValue(const QList<QVariantMap> &maps)
{
    return listValue(maps);
}

} // namespace cobblet
