#pragma once
#include "platform/LaunchRegistry.h"
namespace cobblet {
class DesktopEntryRegistry : public LaunchRegistry {
public:
    Status registerBundle(const QString &, const QList<DockMenuItem> &) override { return {}; }
    Status unregisterBundle(const QString &) override { return {}; }
    QStringList registeredAgents() const override { return {}; }
};
} // namespace cobblet
