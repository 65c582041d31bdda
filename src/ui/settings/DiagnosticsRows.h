#pragma once

#include "ui/common/ListRows.h"

#include <QString>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

/// A line of the diagnostics page, with what is said of it below.
struct DiagnosticsRow {
    QString title;
    QString sentence;
    int level = 0;    ///< of a service: 0 works, 1 partly, 2 not
    QString bundleID; ///< of an application that has an icon
    QString mark;     ///< by which a correction knows it; empty when it can't be corrected

    bool operator==(const DiagnosticsRow &) const = default;
};

/// One of the lists of that page.
class DiagnosticsRows : public ListRows<DiagnosticsRow> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("DiagnosticsModel has them.")
public:
    enum Role { TitleRole = Qt::UserRole, SentenceRole, LevelRole, BundleIDRole, IsCorrectableRole };

    using ListRows::ListRows;
    using ListRows::setRows;

    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
};

} // namespace cobblet
