#pragma once

#include "model/AppGroup.h"
#include "ui/common/ListRows.h"

#include <QMap>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

/// The groups as the sidebar lists them: the pinned ones first, each run in stored order.
QList<AppGroup> sidebarOrder(const QList<AppGroup> &groups);

/// One tab.
struct SidebarRow {
    QUuid groupID;
    QString name;
    QString emoji;
    int shortcutDigit = 0; ///< 0: none

    bool operator==(const SidebarRow &) const = default;
};

/// The tabs of the sidebar's groups.
class SidebarModel : public ListRows<SidebarRow> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Panel.sidebar is the one instance.")
public:
    enum Role { NameRole = Qt::UserRole, EmojiRole, ShortcutDigitRole };

    using ListRows::ListRows;

    /// `groups` in sidebar order; `digits` as the store's shortcut map.
    void update(const QList<AppGroup> &groups, const QMap<int, QUuid> &digits);

    /// The tab's row, or -1.
    int rowOfGroup(const QUuid &id) const;

    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
};

} // namespace cobblet
