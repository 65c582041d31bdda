#pragma once

#include <string>

namespace cobblet {

/// Which instance this command speaks for: the one of the bundle that it lies in.
struct Identity {
    std::string bundle;     ///< the ".app" folder; empty when that cannot be told
    std::string identifier; ///< "com.vantor.cobblet", or an agent's

    /// Of the running command. A bundle that does not say what it is is taken for Cobblet itself.
    static Identity own();

    bool isAgent() const { return identifier.starts_with("com.cobblet.agent."); }
    /// The name of the instance on the session bus: no element of one may begin with a digit.
    std::string busName() const;
    std::string objectPath() const;
};

} // namespace cobblet
