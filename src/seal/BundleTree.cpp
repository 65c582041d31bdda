#include "seal/BundleTree.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <fts.h>
#include <nettle/sha2.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cobblet::seal {

namespace {

using Kind = Record::Kind;

/// Stays in the processor's cache: a buffer of 1 MiB takes a sixth longer. A mapping is no quicker, and would end the
/// program when the file shrinks.
constexpr size_t bufferBytes = 128 * 1024;

std::string hexadecimal(std::string_view bytes, const char *digits)
{
    std::string text;
    for (const char c : bytes)
        (text += digits[static_cast<unsigned char>(c) >> 4]) += digits[c & 15];
    return text;
}

/// What is wrong with a thing; its path is filled in later.
Record unusable(const std::string &predicate)
{
    return {{}, Kind::Unusable, predicate, {}};
}

Record unreadable(int error)
{
    return unusable(std::string("can't be read: ") + std::strerror(error));
}

Record file(const std::string &path, mode_t mode)
{
    sha256_ctx context;
    sha256_init(&context);
    const bool isRead = readFile(path, [&](std::string_view bytes) {
        sha256_update(&context, bytes.size(), reinterpret_cast<const uint8_t *>(bytes.data()));
    });
    if (!isRead)
        return unreadable(errno);
    char digest[SHA256_DIGEST_SIZE];
    sha256_digest(&context, sizeof digest, reinterpret_cast<uint8_t *>(digest));
    std::string execute;
    for (const auto &[bit, letter] : {std::pair(S_IXUSR, 'u'), {S_IXGRP, 'g'}, {S_IXOTH, 'o'}})
        if (mode & bit)
            execute += letter;
    return {{}, Kind::File, hexadecimal({digest, sizeof digest}, "0123456789abcdef"), execute};
}

Record link(const char *path)
{
    char target[PATH_MAX];
    const ssize_t size = readlink(path, target, sizeof target);
    return size < 0 ? unreadable(errno) : Record{{}, Kind::Link, encoded({target, size_t(size)}), {}};
}

Record special(mode_t mode)
{
    return unusable(S_ISFIFO(mode)                   ? "is a named pipe"
                    : S_ISSOCK(mode)                 ? "is a socket"
                    : S_ISCHR(mode) || S_ISBLK(mode) ? "is a device"
                                                     : "is of an unknown kind");
}

/// What the walk is at; `path` is relative to the bundle.
Record recordOf(const FTSENT &entry, std::string_view path)
{
    if (entry.fts_errno != 0)
        return unreadable(entry.fts_errno);
    if (path == sealFolder && entry.fts_info != FTS_D)
        return unusable("is no folder");
    if (path == sealFile)
        return unusable("is no file");
    if (path.starts_with(std::string(sealFolder) + '/'))
        return unusable("is no part of a seal");
    switch (entry.fts_info) {
    case FTS_D:
        return entry.fts_level > maximumDepth ? unusable("is a folder in too many others")
                                              : Record{{}, Kind::Folder, {}, {}};
    case FTS_F:
        return file(entry.fts_accpath, entry.fts_statp->st_mode);
    case FTS_SL:
    case FTS_SLNONE:
        return link(entry.fts_accpath);
    default:
        return special(entry.fts_statp->st_mode);
    }
}

} // namespace

std::string encoded(std::string_view bytes)
{
    std::string text;
    for (const char &c : bytes)
        if (c < 0x20 || c > 0x7e || c == '%')
            (text += '%') += hexadecimal({&c, 1}, "0123456789ABCDEF");
        else
            text += c;
    return text;
}

bool readFile(const std::string &path, const std::function<void(std::string_view)> &take)
{
    const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0)
        return false;
    static std::vector<char> buffer(bufferBytes);
    struct stat status {};
    ssize_t size = fstat(file, &status);
    if (size == 0 && !S_ISREG(status.st_mode)) {
        errno = EINVAL;
        size = -1;
    }
    while (size >= 0 && (size = read(file, buffer.data(), buffer.size())) > 0)
        take({buffer.data(), size_t(size)});
    const int error = errno;
    close(file);
    errno = error;
    return size == 0;
}

std::vector<Record> readTree(const std::string &bundle)
{
    std::vector<Record> records;
    std::string root = bundle;
    while (root.size() > 1 && root.ends_with('/'))
        root.pop_back();
    char *const roots[] = {root.data(), nullptr};
    const std::unique_ptr<FTS, int (*)(FTS *)> tree(
        fts_open(roots, FTS_PHYSICAL | FTS_COMFOLLOW | FTS_NOCHDIR, nullptr), fts_close);
    while (FTSENT *entry = tree ? (errno = 0, fts_read(tree.get())) : nullptr) {
        std::string_view path(entry->fts_path + root.size());
        if (path.starts_with('/'))
            path.remove_prefix(1);
        if (entry->fts_info == FTS_DP || (path.empty() && entry->fts_info == FTS_D) ||
            (path == sealFile && entry->fts_info == FTS_F))
            continue;
        Record record = records.size() == maximumRecords ? unusable("is one file more than a bundle may hold")
                                                         : recordOf(*entry, path);
        record.path = encoded(path);
        records.push_back(std::move(record));
        if (records.size() > maximumRecords)
            return records;
        if (entry->fts_level > maximumDepth)
            fts_set(tree.get(), entry, FTS_SKIP);
    }
    if (errno != 0) { // the walk did not come to its end
        records.push_back(unreadable(errno));
        records.back().path += '.';
    }
    std::sort(records.begin(), records.end(), [](const Record &a, const Record &b) { return a.path < b.path; });
    return records;
}

} // namespace cobblet::seal
