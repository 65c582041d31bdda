#pragma once

#include "model/AppGroup.h"
#include "support/FakeDesktop.h"

namespace cobblet::demo {

/// The fake desktop with application icons that are worth looking at.
class DemoWorkspace : public test::FakeWorkspace {
public:
    QImage icon(const QString &bundleID, int points, qreal ratio) const override;

    /// Names and identifiers of sample applications; all are installed but "org.example.missing".
    QList<AppItem> apps(int count);
};

/// Five groups; the first one holds `apps` applications.
QList<AppGroup> sampleGroups(DemoWorkspace &workspace, int apps);

} // namespace cobblet::demo
