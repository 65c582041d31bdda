#include "command/Identity.h"

#include <algorithm>
#include <climits>

#include <fcntl.h>
#include <unistd.h>

namespace cobblet {

namespace {

constexpr std::string_view mainIdentifier = "com.vantor.cobblet";
constexpr size_t maximumIdentifier = 255;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isPlain(std::string_view identifier)
{
    for (const char c : identifier)
        if (!isDigit(c) && !(c >= 'a' && c <= 'z') && !(c >= 'A' && c <= 'Z') && c != '.' && c != '-')
            return false;
    return !identifier.empty() && identifier.size() <= maximumIdentifier;
}

std::string contentOf(const std::string &path)
{
    std::string content(64 * 1024, '\0');
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    const ssize_t size = file < 0 ? -1 : read(file, content.data(), content.size());
    if (file >= 0)
        close(file);
    content.resize(size > 0 ? size_t(size) : 0);
    return content;
}

} // namespace

std::string_view statedIdentifier(std::string_view propertyList)
{
    constexpr std::string_view key = "<key>CFBundleIdentifier</key>", open = "<string>", close = "</string>";
    const size_t at = propertyList.find(key);
    if (at == std::string_view::npos)
        return {};
    std::string_view rest = propertyList.substr(at + key.size());
    rest.remove_prefix(std::min(rest.find_first_not_of(" \t\r\n"), rest.size()));
    if (!rest.starts_with(open))
        return {};
    rest.remove_prefix(open.size());
    const size_t end = rest.find(close);
    const std::string_view identifier = end == std::string_view::npos ? std::string_view() : rest.substr(0, end);
    return isPlain(identifier) ? identifier : std::string_view();
}

Identity Identity::own()
{
    char path[PATH_MAX];
    const ssize_t size = readlink("/proc/self/exe", path, sizeof path);
    std::string_view folder(path, size > 0 && size < PATH_MAX ? size_t(size) : 0);
    for (int level = 0; level < 3; ++level) // BUNDLE/Contents/Helpers/cobblet
        folder = folder.substr(0, folder.rfind('/') == std::string_view::npos ? 0 : folder.rfind('/'));
    Identity identity{std::string(folder), std::string(mainIdentifier)};
    if (!folder.empty()) {
        const std::string propertyList = contentOf(identity.bundle + "/Contents/Info.plist");
        if (const std::string_view stated = statedIdentifier(propertyList); !stated.empty())
            identity.identifier = stated;
    }
    return identity;
}

std::string Identity::busName() const
{
    std::string name;
    for (size_t i = 0; i < identifier.size(); ++i) {
        if (isDigit(identifier[i]) && (i == 0 || identifier[i - 1] == '.'))
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
