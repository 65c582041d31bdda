#include "platform/freedesktop/bus/DBusIntents.h"

#include "Program.h"
#include "Runner.h"
#include "SearchProvider.h"
#include "platform/freedesktop/bus/DBusInstance.h"

namespace cobblet {

DBusIntents::DBusIntents(DBusInstance &instance, const QString &icon)
    : m_instance(instance), m_searchProvider(instance.program(), icon), m_runner(instance.program(), icon)
{
    registerIntentValues();
    // Each belongs to its object.
    new GroupsAdaptor(&m_instance.program());
    new CommandLineAdaptor(&m_instance.program());
    new SearchProvider2Adaptor(&m_searchProvider);
    new Krunner1Adaptor(&m_runner);
    m_instance.add(QStringLiteral("SearchProvider"), m_searchProvider);
    m_instance.add(QStringLiteral("Runner"), m_runner);
    m_instance.program().calls().hold();
}

DBusIntents::~DBusIntents()
{
    DBusIntents::stop();
}

Availability DBusIntents::availability() const
{
    const Availability instance = m_instance.availability();
    return instance.level == Availability::Level::Works
               ? Availability::works(QStringLiteral("Scripts, searches and the command line reach the groups."))
               : Availability::unavailable(
                     QStringLiteral("Scripts and searches can't reach the groups. %1").arg(instance.sentence));
}

void DBusIntents::serve(IntentRequests &requests)
{
    m_instance.program().setRequests(&requests);
    m_instance.program().calls().release();
}

void DBusIntents::stop()
{
    m_instance.withdraw();
    m_instance.program().setRequests(nullptr);
}

void DBusIntents::groupsChanged()
{
    emit m_instance.program().GroupsChanged();
}

} // namespace cobblet
