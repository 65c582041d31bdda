#pragma once

#include "model/AppGroup.h"
#include "ui/panel/ListRows.h"

#include <QMap>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

/// The groups as the sidebar lists them: the pinned ones first, each run in stored order.
QList<AppGroup> sidebarOrder(const QList<AppGroup> &groups);

/// One tab.
struct SidebarRow {
    bool isMostUsed = false;
    QUuid groupID; ///< null for Most Used
    QString name;
    QString emoji;
    QString hint; ///< "⌘1", or empty

    bool operator==(const SidebarRow &) const = default;
};

/// The tabs of the sidebar.
class SidebarModel : public ListRows<SidebarRow> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Panel.sidebar is the one instance.")
public:
    enum Role { NameRole = Qt::UserRole, EmojiRole, HintRole, MostUsedRole };

    using ListRows::ListRows;

    /// `groups` in sidebar order; `digits` as the store's shortcut map.
    void update(const QList<AppGroup> &groups, const QMap<int, QUuid> &digits, bool showsMostUsed);

    /// The tab's row, or -1.
    int rowOfGroup(const QUuid &id) const;
    int rowOfMostUsed() const;

    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
};

} // namespace cobblet
