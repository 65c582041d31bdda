#include "seal/Seal.h"

#include "seal/BundleTree.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include <sys/stat.h>
#include <unistd.h>

namespace cobblet::seal {

namespace {

constexpr std::string_view firstLine = "Cobblet seal 2\n";
constexpr size_t maximumManifestBytes = 8 * 1024 * 1024;

/// About a path that is encoded.
std::string sentence(std::string_view path, const std::string &predicate)
{
    return std::string(path) + ' ' + predicate + '.';
}

std::string because(int error)
{
    return std::string(": ") + std::strerror(error);
}

/// Whether it is a folder itself, and no link to one; errno says why not.
bool isFolder(const std::string &path)
{
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0)
        return false;
    errno = ENOTDIR;
    return S_ISDIR(status.st_mode);
}

/// The manifest is a line for each file and link, in the order of the paths: what it is, a tab, and its path, which
/// holds no tab and no line break. Absent for a text that no seal has.
std::optional<Tree> parsed(std::string_view text)
{
    const bool isPlain = std::all_of(text.begin(), text.end(),
                                     [](char c) { return (c >= ' ' && c <= '~') || c == '\t' || c == '\n'; });
    if (!isPlain || !text.starts_with(firstLine) || !text.ends_with('\n'))
        return {};
    text.remove_prefix(firstLine.size());
    Tree sealed;
    while (!text.empty()) {
        const std::string line(text.substr(0, text.find('\n')));
        const size_t end = line.rfind('\t');
        if (end == line.npos || (!line.starts_with("F\t") && !line.starts_with("L\t")) ||
            (!sealed.empty() && sealed.rbegin()->first >= line.substr(end + 1)))
            return {};
        sealed[line.substr(end + 1)] = line.substr(0, end);
        text.remove_prefix(line.size() + 1);
    }
    return sealed;
}

/// False, with errno, when the file could not be written whole. The old one stays until the new one is.
bool store(const std::string &path, const std::string &text)
{
    const std::string temporary = path + ".tmp";
    unlink(temporary.c_str()); // of a process that was killed
    FILE *file = fopen(temporary.c_str(), "wxe");
    if (!file)
        return false;
    const bool isWritten =
        fwrite(text.data(), 1, text.size(), file) == text.size() && fflush(file) == 0 && fsync(fileno(file)) == 0;
    int error = errno;
    fclose(file);
    if (isWritten && rename(temporary.c_str(), path.c_str()) == 0)
        return true;
    error = isWritten ? errno : error;
    unlink(temporary.c_str());
    errno = error;
    return false;
}

/// What is wrong with a thing that was found; empty when it is as it was sealed.
std::string difference(const std::string *was, const std::string &is)
{
    const auto content = [](const std::string &what) { return what.substr(0, what.rfind('\t')); };
    if (is.starts_with('?'))
        return is.substr(1);
    if (!was)
        return is == "D" ? "" : "was added after the bundle was sealed";
    return *was == is                     ? ""
           : was->front() != is.front()   ? "is of another kind than when the bundle was sealed"
           : content(*was) != content(is) ? "was changed after the bundle was sealed"
                                          : "can be executed by others than when the bundle was sealed";
}

Faults differences(const Tree &sealed, const Tree &found)
{
    std::map<std::string, std::string> predicates;
    for (const auto &[path, was] : sealed)
        predicates[path] = "is missing";
    for (const auto &[path, is] : found) {
        const auto was = sealed.find(path);
        predicates[path] = difference(was == sealed.end() ? nullptr : &was->second, is);
    }
    Faults faults;
    for (const auto &[path, predicate] : predicates)
        if (!predicate.empty())
            faults.push_back(sentence(path, predicate));
    return faults;
}

} // namespace

Faults makeSeal(const char *path, bool replace)
{
    const std::string bundle = path + std::string("/");
    if (!isFolder(bundle + "Contents"))
        return {sentence(encoded(path), "is no bundle" + because(errno))};
    if ((mkdir((bundle + sealFolder).c_str(), 0755) != 0 && errno != EEXIST) || !isFolder(bundle + sealFolder))
        return {sentence(sealFolder, "can't be made" + because(errno))};
    struct stat status {};
    if (!replace && lstat((bundle + sealFile).c_str(), &status) == 0)
        return {sentence(encoded(path), "is sealed already; --force replaces the seal")};

    Faults faults;
    std::string text(firstLine);
    for (const auto &[name, what] : readTree(path)) {
        // What an interrupted sealing left, and a seal that is no file, are about to be replaced.
        const bool isOurs = name == sealFile || name == std::string(sealFile) + ".tmp";
        if (what.starts_with('?') && !isOurs)
            faults.push_back(sentence(name, what.substr(1)));
        else if (what.starts_with('F') || what.starts_with('L'))
            text.append(what).append("\t").append(name).append("\n");
    }
    if (!faults.empty())
        return faults;
    if (!store(bundle + sealFile, text))
        return {sentence(sealFolder, "can't be written" + because(errno))};
    return {};
}

Faults checkSeal(const char *path)
{
    const std::string bundle = path + std::string("/");
    if (!isFolder(bundle))
        return {sentence(encoded(path), "is no bundle" + because(errno))};
    std::string text;
    const auto take = [&](std::string_view bytes) {
        if (text.size() <= maximumManifestBytes)
            text += bytes;
    };
    if (!isFolder(bundle + "Contents") || !isFolder(bundle + sealFolder) || !readFile(bundle + sealFile, take))
        return {errno == ENOENT ? sentence(encoded(path), "is not sealed")
                                : sentence(sealFile, "can't be read" + because(errno))};
    const auto sealed = text.size() <= maximumManifestBytes ? parsed(text) : std::nullopt;
    if (!sealed)
        return {sentence(sealFile, "is damaged: the bundle has to be sealed again")};
    return differences(*sealed, readTree(path));
}

} // namespace cobblet::seal
