#pragma once

#include "model/AppGroup.h"
#include "ui/common/ListRows.h"

#include <QtQml/qqmlregistration.h>

#include <functional>

namespace cobblet {

/// A group as the settings list it.
struct GroupRowData {
    QUuid groupID;
    QString name;
    QString emoji;
    int apps = 0;
    bool isPinned = false;
    bool hasDraft = false; ///< changes of it wait to be applied

    bool operator==(const GroupRowData &) const = default;
};

/// The groups in stored order, as the sidebar of the settings lists them.
class GroupRows : public ListRows<GroupRowData> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Settings.groups is the one instance.")
public:
    enum Role { NameRole = Qt::UserRole, EmojiRole, AppsRole, IsPinnedRole, HasDraftRole };

    using ListRows::ListRows;

    void update(const QList<AppGroup> &groups, const std::function<bool(const AppGroup &)> &hasDraft);

    /// Moves the row to the place that it then has. Stored is what ConfigManager has.
    void move(int from, int to) { shiftRow(from, to); }
    /// The group's row, or -1.
    int rowOfGroup(const QUuid &id) const;

    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
};

} // namespace cobblet
