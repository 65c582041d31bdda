#include "ui/settings/DeletedGroups.h"

#include "model/ConfigManager.h"
#include "ui/common/DisplayText.h"

namespace cobblet {

namespace {

using namespace std::chrono_literals;

constexpr auto undoTime = 10s;

} // namespace

DeletedGroups::DeletedGroups(ConfigManager &config, Scheduler &scheduler, QObject *parent)
    : QObject(parent), m_config(config), m_scheduler(scheduler)
{
}

QString DeletedGroups::notice() const
{
    return m_deleted.isEmpty() ? QString()
                               : QStringLiteral("Deleted “%1”.").arg(displayText(m_deleted.last().group.name));
}

void DeletedGroups::deleteGroup(const QUuid &id)
{
    const AppGroup *group = m_config.group(id);
    if (!group)
        return;
    m_deleted.append({*group, group - m_config.groups().constData(), m_config.shortcutDigits(id)});
    m_config.deleteGroup(id);
    changed();
}

void DeletedGroups::undo()
{
    if (m_deleted.isEmpty())
        return;
    const Deleted last = m_deleted.takeLast();
    m_config.restoreGroup(last.group, last.index, last.digits);
    changed();
    if (m_config.group(last.group.id))
        emit restored(last.group.id);
}

void DeletedGroups::changed()
{
    m_end = m_deleted.isEmpty() ? nullptr : m_scheduler.after(undoTime, [this] {
        m_deleted.clear();
        emit noticeChanged();
    });
    emit noticeChanged();
}

} // namespace cobblet
