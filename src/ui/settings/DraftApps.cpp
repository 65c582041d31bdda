#include "ui/settings/DraftApps.h"

#include "platform/Workspace.h"
#include "ui/common/DisplayText.h"

namespace cobblet {

DraftApps::DraftApps(const Workspace &workspace) : m_workspace(workspace)
{
    connect(&workspace, &Workspace::installedApplicationsChanged, this,
            [this] { allRowsChanged({IsInstalledRole}); });
}

QVariant DraftApps::data(const QModelIndex &index, int role) const
{
    if (!isRow(index))
        return {};
    const AppItem &app = rows()[index.row()];
    switch (role) {
    case NameRole:
        return displayText(app.name);
    case BundleIDRole:
        return displayText(app.bundleID);
    case IsInstalledRole:
        return m_workspace.application(app.bundleID).has_value();
    default:
        return {};
    }
}

QHash<int, QByteArray> DraftApps::roleNames() const
{
    return {{NameRole, "name"}, {BundleIDRole, "bundleID"}, {IsInstalledRole, "isInstalled"}};
}

} // namespace cobblet
