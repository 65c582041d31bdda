#include "platform/freedesktop/intents/DBusIntents.h"

#include "platform/freedesktop/DBusInstance.h"

namespace cobblet {

DBusIntents::DBusIntents(DBusInstance &instance, const QString &icon)
    : m_instance(instance), m_faces{.service = instance.service(), .icon = icon}
{
    m_faces.service.queue().hold();
    m_faces.service.add(groupsFace(m_faces));
    m_faces.service.add(commandLineFace(m_faces));
    m_faces.service.add(searchProviderFace(m_faces), QStringLiteral("SearchProvider"));
    m_faces.service.add(runnerFace(m_faces), QStringLiteral("Runner"));
}

DBusIntents::~DBusIntents()
{
    DBusIntents::stop();
}

void DBusIntents::serve(IntentRequests &requests)
{
    m_faces.requests = &requests;
    m_instance.setUrlHandler([&requests](const QStringList &urls) { requests.open(urls); });
    m_faces.service.queue().release();
}

void DBusIntents::stop()
{
    m_instance.setUrlHandler({});
    m_faces.service.withdraw();
}

void DBusIntents::groupsChanged()
{
    m_faces.service.notify(groupsInterfaceName, groupsChangedNotice);
}

} // namespace cobblet
