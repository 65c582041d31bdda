#include "command/Identity.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace cobblet {

namespace {

/// The start of a file, which is all of a property list that states who a program is.
std::string startOf(const std::string &path)
{
    std::string content(64 * 1024, '\0');
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    const ssize_t size = file < 0 ? -1 : read(file, content.data(), content.size());
    if (file >= 0)
        close(file);
    content.resize(size > 0 ? size_t(size) : 0);
    return content;
}

/// The identifier that a property list in its XML form states; empty when it states none.
std::string_view statedIdentifier(std::string_view propertyList)
{
    constexpr std::string_view key = "<key>CFBundleIdentifier</key>", open = "<string>", close = "</string>";
    const size_t at = propertyList.find(key);
    if (at == propertyList.npos)
        return {};
    std::string_view rest = propertyList.substr(at + key.size());
    rest.remove_prefix(std::min(rest.find_first_not_of(" \t\r\n"), rest.size()));
    const size_t end = rest.find(close);
    return rest.starts_with(open) && end != rest.npos ? rest.substr(open.size(), end - open.size())
                                                      : std::string_view();
}

} // namespace

Identity Identity::own()
{
    char path[PATH_MAX];
    const ssize_t size = readlink("/proc/self/exe", path, sizeof path);
    Identity identity{{path, size > 0 ? size_t(size) : 0}, {}};
    for (int level = 0; level < 3; ++level) // BUNDLE/Contents/Helpers/cobblet
        identity.bundle.resize(std::min(identity.bundle.size(), identity.bundle.rfind('/')));
    const std::string propertyList = startOf(identity.bundle + "/Contents/Info.plist");
    identity.identifier = statedIdentifier(propertyList);
    if (identity.identifier.empty())
        identity.identifier = "com.vantor.cobblet";
    return identity;
}

std::string Identity::busName() const
{
    std::string name;
    for (size_t i = 0; i < identifier.size(); ++i) {
        if (std::isdigit(static_cast<unsigned char>(identifier[i])) && (i == 0 || identifier[i - 1] == '.'))
            name += '_';
        name += identifier[i];
    }
    return name;
}

std::string Identity::objectPath() const
{
    std::string path = "/" + identifier;
    for (char &c : path)
        c = c == '.' ? '/' : c == '-' ? '_' : c;
    return path;
}

} // namespace cobblet
