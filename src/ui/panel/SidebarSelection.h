#pragma once

#include "model/AppGroup.h"

#include <optional>

namespace cobblet {

/// The tab selected in the sidebar: a group, or Most Used.
class SidebarSelection {
public:
    static SidebarSelection mostUsed() { return SidebarSelection(std::nullopt); }
    /// The id that is reserved for Most Used means that one.
    static SidebarSelection group(const QUuid &id)
    {
        return id == AppGroup::mostUsedID ? mostUsed() : SidebarSelection(id);
    }

    bool isMostUsed() const { return !m_group; }
    /// Absent for Most Used.
    std::optional<QUuid> groupID() const { return m_group; }

    bool operator==(const SidebarSelection &) const = default;

private:
    explicit SidebarSelection(std::optional<QUuid> group) : m_group(group) {}
    std::optional<QUuid> m_group;
};

} // namespace cobblet
