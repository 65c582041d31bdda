#include "platform/freedesktop/bus/IntentValues.h"

#include <QByteArrayList>
#include <QDBusArgument>
#include <QDBusMetaType>

#include <concepts>

namespace cobblet {

/// In the order of IntentOutcome::Kind.
static constexpr QLatin1String kindNames[] = {QLatin1String("launched"),      QLatin1String("brought-forward"),
                                              QLatin1String("hidden"),        QLatin1String("asked-to-quit"),
                                              QLatin1String("still-running"), QLatin1String("not-running"),
                                              QLatin1String("not-installed"), QLatin1String("failed")};

static QDBusArgument &operator<<(QDBusArgument &out, const GroupEntity &group)
{
    out.beginStructure();
    out << group.id.toString(QUuid::WithoutBraces).toUpper() << group.name << group.emoji;
    out.endStructure();
    return out;
}

static QDBusArgument &operator<<(QDBusArgument &out, const IntentOutcome &outcome)
{
    out.beginStructure();
    out << outcome.bundleID << outcome.name << QString(kindNames[size_t(outcome.kind)]) << outcome.reason;
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
requires std::same_as<T, GroupEntity> || std::same_as<T, IntentOutcome> || std::same_as<T, RunnerMatch>
static const QDBusArgument &operator>>(const QDBusArgument &in, T &)
{
    return in;
}

void registerIntentValues()
{
    qDBusRegisterMetaType<GroupEntity>();
    qDBusRegisterMetaType<GroupList>();
    qDBusRegisterMetaType<IntentOutcome>();
    qDBusRegisterMetaType<OutcomeList>();
    qDBusRegisterMetaType<RunnerMatch>();
    qDBusRegisterMetaType<RunnerMatchList>();
    qDBusRegisterMetaType<VariantMapList>();
    qDBusRegisterMetaType<QByteArrayList>();
    // The toolkit looks a method's further results up by this name.
    qRegisterMetaType<OutcomeList>("cobblet::OutcomeList");
}

} // namespace cobblet
