#include "seal/Seal.h"

#include "seal/BundleTree.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cobblet::seal {

namespace {

using Kind = Record::Kind;

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

// The manifest is a line for each file and link, in the order of the paths: its kind, what it holds, who may execute
// it, and its path, which holds no tab and no line break.

std::string lineOf(const Record &record)
{
    return char(record.kind) + ('\t' + record.value) + '\t' + record.execute + '\t' + record.path + '\n';
}

/// Cuts off what stands before the separator; absent when there is none.
std::optional<std::string> cut(std::string_view &text, char separator)
{
    const size_t end = text.find(separator);
    if (end == text.npos)
        return {};
    std::string part(text.substr(0, end));
    text.remove_prefix(end + 1);
    return part;
}

/// Absent for a text that no seal has.
std::optional<std::vector<Record>> parsed(std::string_view text)
{
    const bool isPlain = std::all_of(text.begin(), text.end(),
                                     [](char c) { return (c >= ' ' && c <= '~') || c == '\t' || c == '\n'; });
    if (!isPlain || !text.starts_with(firstLine))
        return {};
    text.remove_prefix(firstLine.size());
    std::vector<Record> records;
    while (!text.empty()) {
        const auto kind = cut(text, '\t'), value = cut(text, '\t'), execute = cut(text, '\t'), path = cut(text, '\n');
        if (!path || (*kind != "F" && *kind != "L") || (!records.empty() && records.back().path >= *path))
            return {};
        records.push_back({*path, Kind(kind->front()), *value, *execute});
    }
    return records;
}

/// False, with errno, when the file could not be written whole. The old one stays until the new one is.
bool store(const std::string &path, std::string_view text)
{
    const std::string temporary = path + ".tmp";
    unlink(temporary.c_str()); // of a process that was killed
    const int file = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (file < 0)
        return false;
    ssize_t written = 0;
    while (!text.empty() && (written = write(file, text.data(), text.size())) >= 0)
        text.remove_prefix(size_t(written));
    bool isWhole = written >= 0 && fsync(file) == 0;
    isWhole = isWhole && rename(temporary.c_str(), path.c_str()) == 0;
    const int error = errno;
    close(file);
    if (!isWhole)
        unlink(temporary.c_str());
    errno = error;
    return isWhole;
}

/// How a thing differs from what was sealed; empty when it does not.
std::string difference(const Record &sealed, const Record &found)
{
    return found.kind != sealed.kind         ? "is of another kind than when the bundle was sealed"
           : found.value != sealed.value     ? "was changed after the bundle was sealed"
           : found.execute != sealed.execute ? "can be executed by others than when the bundle was sealed"
                                             : "";
}

/// Both in the order of their paths.
Faults differences(const std::vector<Record> &sealed, const std::vector<Record> &found)
{
    Faults faults;
    auto was = sealed.begin();
    const auto missingBefore = [&](const std::string *path) {
        for (; was != sealed.end() && (!path || was->path < *path); ++was)
            faults.push_back(sentence(was->path, "is missing"));
    };
    for (const Record &is : found) {
        missingBefore(&is.path);
        const Record *same = was != sealed.end() && was->path == is.path ? &*was++ : nullptr;
        const std::string predicate = is.kind == Kind::Unusable ? is.value
                                      : same                    ? difference(*same, is)
                                      : is.kind == Kind::Folder ? std::string()
                                                                : "was added after the bundle was sealed";
        if (!predicate.empty())
            faults.push_back(sentence(is.path, predicate));
    }
    missingBefore(nullptr);
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
    for (const Record &record : readTree(path)) {
        // What an interrupted sealing left, and a seal that is no file, are about to be replaced.
        const bool isOurs = record.path == sealFile || record.path == std::string(sealFile) + ".tmp";
        if (record.kind == Kind::Unusable && !isOurs)
            faults.push_back(sentence(record.path, record.value));
        else if (record.kind == Kind::File || record.kind == Kind::Link)
            text += lineOf(record);
    }
    if (!faults.empty())
        return faults;
    if (text.size() > maximumManifestBytes)
        return {sentence(encoded(path), "holds more names than a seal can")};
    if (!store(bundle + sealFile, text))
        return {sentence(sealFolder, "can't be written" + because(errno))};
    return {};
}

Faults checkSeal(const char *path)
{
    const std::string bundle = path + std::string("/");
    struct stat status {};
    if (const int error = stat(path, &status) != 0 ? errno : S_ISDIR(status.st_mode) ? 0 : ENOTDIR; error != 0)
        return {sentence(encoded(path), "is no bundle" + because(error))};
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
