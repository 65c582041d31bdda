#pragma once

#include "platform/freedesktop/bus/SearchObjects.h"

namespace cobblet {

class DBusInstance;

/// The groups on the session bus: for scripts, for the command line, and for the searches of the desktops. Made
/// before the instance claims its name, so that the first caller already finds everything; what is called before
/// serve() waits for it.
class DBusIntents : public IntentsHost {
public:
    /// `instance` outlives this object. By `identifier` its icon is called, and what tells searches of it.
    DBusIntents(DBusInstance &instance, const QString &identifier);
    ~DBusIntents() override;
    DBusIntents(const DBusIntents &) = delete;
    DBusIntents &operator=(const DBusIntents &) = delete;

    Availability availability() const override;
    void examine(CapabilitiesAnswer answer) override;
    void serve(IntentRequests &requests) override;
    void stop() override;
    void groupsChanged() override;

private:
    DBusInstance &m_instance;
    const QString m_identifier;
    bool m_serves = false;
    SearchProviderObject m_searchProvider;
    RunnerObject m_runner;
};

} // namespace cobblet
