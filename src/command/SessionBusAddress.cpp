#include "command/SessionBusAddress.h"

#include <string_view>

#include <unistd.h>

namespace cobblet {

std::string sessionBusAddress(const char *stated, const char *runtimeFolder)
{
    std::string usable;
    if (stated && *stated) {
        for (std::string_view rest = stated; !rest.empty();) {
            const size_t end = rest.find(';');
            const std::string_view one = rest.substr(0, end);
            if (one.starts_with("unix:"))
                usable.append(usable.empty() ? "" : ";").append(one);
            rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        }
        return usable;
    }
    if (runtimeFolder && *runtimeFolder == '/') {
        const std::string socket = std::string(runtimeFolder) + "/bus";
        // Where the folder's name would have to be written in another way, there is no bus of ours.
        if (socket.find_first_of("%,;=") == std::string::npos && access(socket.c_str(), F_OK) == 0)
            usable = "unix:path=" + socket;
    }
    return usable;
}

} // namespace cobblet
