#include "ui/settings/GroupDrafts.h"

#include "model/ConfigManager.h"

namespace cobblet {

GroupDrafts::GroupDrafts(ConfigManager &config) : m_config(config)
{
    connect(&m_config, &ConfigManager::groupsChanged, this, &GroupDrafts::follow);
}

DraftAppearance GroupDrafts::draft(const QUuid &id) const
{
    if (const auto draft = m_drafts.constFind(id); draft != m_drafts.cend())
        return draft->now;
    const AppGroup *group = m_config.group(id);
    return group ? DraftAppearance::of(*group) : DraftAppearance();
}

void GroupDrafts::set(const QUuid &id, const DraftAppearance &draft)
{
    const AppGroup *group = m_config.group(id);
    if (!group || draft == this->draft(id))
        return;
    const DraftAppearance stored = DraftAppearance::of(*group);
    const bool hadDraft = hasDraft(id);
    const bool isUnsaved = m_drafts.value(id).isUnsaved;
    if (draft == stored && !isUnsaved)
        m_drafts.remove(id);
    else
        m_drafts[id] = {stored, draft, isUnsaved};
    emit changed(id);
    if (hasDraft(id) != hadDraft)
        emit membersChanged();
}

Status GroupDrafts::apply(const QUuid &id)
{
    const auto known = m_drafts.constFind(id);
    if (known == m_drafts.cend())
        return {};
    const Draft draft = *known;
    m_config.changeGroup(id, [draft](AppGroup &group) {
        DraftAppearance merged = draft.now;
        merged.follow(draft.base, DraftAppearance::of(group));
        group = merged.appliedTo(group);
    });
    const AppGroup *group = m_config.group(id);
    const Status saved = m_config.saved();
    if (group && !saved)
        m_drafts[id] = {DraftAppearance::of(*group), DraftAppearance::of(*group), true};
    else
        m_drafts.remove(id);
    emit changed(id);
    emit membersChanged();
    return saved;
}

void GroupDrafts::follow()
{
    QList<QUuid> affected;
    bool membersDiffer = false;
    for (auto draft = m_drafts.begin(); draft != m_drafts.end();) {
        const AppGroup *group = m_config.group(draft.key());
        const DraftAppearance stored = group ? DraftAppearance::of(*group) : draft->base;
        if (stored == draft->base) {
            ++draft;
            continue;
        }
        affected.append(draft.key());
        draft->now.follow(draft->base, stored);
        draft->base = stored;
        const bool isApplied = draft->now == stored && !draft->isUnsaved;
        membersDiffer = membersDiffer || isApplied;
        draft = isApplied ? m_drafts.erase(draft) : std::next(draft);
    }
    for (const QUuid &id : std::as_const(affected))
        emit changed(id);
    if (membersDiffer)
        emit membersChanged();
}

} // namespace cobblet
