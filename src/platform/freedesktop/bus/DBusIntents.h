#pragma once

#include "platform/freedesktop/bus/SearchObjects.h"

namespace cobblet {

class DBusInstance;

/// The groups on the session bus: for scripts, for the command line, and for the searches of the desktops. Made
/// before the instance claims its name, so that the first caller already finds everything; what is called before
/// serve() waits for it.
class DBusIntents : public IntentsHost {
public:
    /// `instance` outlives this object. `icon` is a name in the icon theme.
    DBusIntents(DBusInstance &instance, const QString &icon);
    ~DBusIntents() override;
    DBusIntents(const DBusIntents &) = delete;
    DBusIntents &operator=(const DBusIntents &) = delete;

    Availability availability() const override;
    void serve(IntentRequests &requests) override;
    void stop() override;
    void groupsChanged() override;

private:
    DBusInstance &m_instance;
    SearchProviderObject m_searchProvider;
    RunnerObject m_runner;
};

} // namespace cobblet
