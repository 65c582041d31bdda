#include "seal/Seal.h"

#include "seal/BundleTree.h"
#include "seal/Descriptor.h"
#include "seal/Manifest.h"

#include <cerrno>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>

namespace cobblet::seal {

namespace {

using Kind = Record::Kind;

constexpr const char *temporaryFile = "CodeResources.tmp";

/// The folder at a path below another one, where no link leads out of it.
int openFolder(int parent, const char *name)
{
    return openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

int openBundle(const char *path)
{
    return open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

std::string sentence(std::string_view path, const std::string &predicate)
{
    return encoded(path) + ' ' + predicate + '.';
}

Faults noBundle(const char *path)
{
    return {sentence(path, "is no bundle: " + cause())};
}

bool writeWhole(int file, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        if (written < 0 && errno != EINTR)
            return false;
        text.remove_prefix(size_t(written < 0 ? 0 : written));
    }
    return fsync(file) == 0;
}

/// False when the manifest could not be written; errno says why.
bool store(int folder, std::string_view text)
{
    const Descriptor file(openat(folder, temporaryFile, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
    if (file < 0)
        return false;
    if (writeWhole(file, text) && renameat(folder, temporaryFile, folder, sealFile) == 0)
        return true;
    const int error = errno;
    unlinkat(folder, temporaryFile, 0);
    errno = error;
    return false;
}

/// The manifest's text; absent, with errno, when it can't be read.
std::optional<std::string> load(int bundle)
{
    const Descriptor contents(openFolder(bundle, contentsFolder));
    const Descriptor folder(contents < 0 ? -1 : openFolder(contents, sealFolder));
    const Descriptor file(folder < 0 ? -1 : openat(folder, sealFile, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (file < 0 || fstat(file, &status) != 0)
        return {};
    if (!S_ISREG(status.st_mode) || size_t(status.st_size) > maximumManifestBytes)
        return std::string(); // no manifest of ours
    std::string text(size_t(status.st_size), '\0');
    for (size_t size = 0; size < text.size();) {
        const ssize_t n = read(file, text.data() + size, text.size() - size);
        if (n < 0 && errno != EINTR)
            return {};
        if (n == 0)
            text.resize(size);
        size += size_t(n < 0 ? 0 : n);
    }
    return text;
}

std::string nounOf(Kind kind)
{
    return kind == Kind::File ? "a file" : kind == Kind::Link ? "a symbolic link" : "a folder";
}

/// How a thing differs from what was sealed; empty when it does not.
std::string difference(const Record &sealed, const Record &found)
{
    if (found.kind == Kind::Unusable)
        return found.value;
    if (found.kind != sealed.kind)
        return "was " + nounOf(sealed.kind) + " when the bundle was sealed, and is " + nounOf(found.kind);
    if (found.value != sealed.value)
        return found.kind == Kind::Link ? "leads elsewhere than when the bundle was sealed"
                                        : "was changed after the bundle was sealed";
    if (found.execute == sealed.execute)
        return {};
    return !found.execute    ? "can no longer be executed"
           : !sealed.execute ? "could not be executed when the bundle was sealed"
                             : "can be executed by others than when the bundle was sealed";
}

/// Both in the order of their paths.
Faults differences(const std::vector<Record> &sealed, const std::vector<Record> &found)
{
    Faults faults;
    auto was = sealed.begin();
    for (const Record &is : found) {
        for (; was != sealed.end() && was->path < is.path; ++was)
            faults.push_back(sentence(was->path, "is missing"));
        std::string predicate;
        if (was != sealed.end() && was->path == is.path)
            predicate = difference(*was++, is);
        else if (is.kind == Kind::Unusable)
            predicate = is.value;
        else if (is.kind != Kind::Folder)
            predicate = "was added after the bundle was sealed";
        if (!predicate.empty())
            faults.push_back(sentence(is.path, predicate));
    }
    for (; was != sealed.end(); ++was)
        faults.push_back(sentence(was->path, "is missing"));
    return faults;
}

} // namespace

Faults makeSeal(const char *path, bool replace)
{
    const Descriptor bundle(openBundle(path));
    const Descriptor contents(bundle < 0 ? -1 : openFolder(bundle, contentsFolder));
    if (contents < 0)
        return noBundle(path);
    if (mkdirat(contents, sealFolder, 0755) != 0 && errno != EEXIST)
        return {sentence(sealPath, "can't be made: " + cause())};
    const Descriptor folder(openFolder(contents, sealFolder));
    if (folder < 0)
        return {sentence(sealPath, "can't be opened: " + cause())};
    if (!replace && faccessat(folder, sealFile, F_OK, AT_SYMLINK_NOFOLLOW) == 0)
        return {sentence(path, "is sealed already; --force replaces the seal")};
    unlinkat(folder, temporaryFile, 0); // of a process that was killed

    const std::vector<Record> records = readTree(bundle);
    Faults faults;
    for (const Record &record : records)
        if (record.kind == Kind::Unusable)
            faults.push_back(sentence(record.path, record.value));
    if (!faults.empty())
        return faults;
    const std::string text = manifest(records);
    if (text.size() > maximumManifestBytes)
        return {sentence(path, "holds more names than a seal can")};
    if (!store(folder, text))
        return {sentence(sealPath, "can't be written: " + cause())};
    return {};
}

Faults checkSeal(const char *path)
{
    const Descriptor bundle(openBundle(path));
    if (bundle < 0)
        return noBundle(path);
    const std::optional<std::string> text = load(bundle);
    if (!text && errno == ENOENT)
        return {sentence(path, "is not sealed")};
    const std::string file = std::string(sealPath) + '/' + sealFile;
    if (!text)
        return {sentence(file, "can't be read: " + cause())};
    const auto sealed = parsedManifest(*text);
    if (!sealed)
        return {sentence(file, "is damaged: the bundle has to be sealed again")};
    return differences(*sealed, readTree(bundle));
}

} // namespace cobblet::seal
