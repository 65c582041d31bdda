#pragma once

#include "model/AppGroup.h"
#include "ui/common/ListRows.h"

#include <QtQml/qqmlregistration.h>

namespace cobblet {

class Workspace;

/// The applications of a draft, in order. Whether one is installed is looked up for the rows that are shown.
class DraftApps : public ListRows<AppItem> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("GroupEditor.apps is the one instance.")
public:
    enum Role { NameRole = Qt::UserRole, BundleIDRole, IsInstalledRole };

    /// The workspace outlives the object.
    explicit DraftApps(const Workspace &workspace);

    void update(const QList<AppItem> &apps) { setRows(apps); }
    /// Moves the row to the place that it then has.
    void move(int from, int to) { shiftRow(from, to); }

    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    const Workspace &m_workspace;
};

} // namespace cobblet
