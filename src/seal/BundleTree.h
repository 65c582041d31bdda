#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace cobblet::seal {

/// Where the seal lies, relative to the bundle.
constexpr const char *sealFolder = "Contents/_CodeSignature";
constexpr const char *sealFile = "Contents/_CodeSignature/CodeResources";

constexpr int maximumDepth = 32;
constexpr size_t maximumEntries = 20000;

/// What lies below a bundle, by its path, which is relative to the bundle and as encoded() writes it. A file is "F",
/// its SHA-256 in hexadecimal and which of "ugo" may execute it; a link is "L", where it leads as encoded() writes
/// it, and nothing; a tab stands between each two. A folder is "D". What a seal can't vouch for, as a pipe, a file
/// that can't be read or a stranger beside the seal, is "?" and what is wrong: "?is a pipe, a socket or a device".
using Tree = std::map<std::string, std::string>;

/// The bytes in printable ASCII, all others and "%" as "%XX": terminals obey some of them.
std::string encoded(std::string_view bytes);

/// Hands the content of a regular file on in pieces. False, with errno, when it can't be read: a link is not
/// followed, and a pipe in the file's place is not waited for.
bool readFile(const std::string &path, const std::function<void(std::string_view)> &take);

/// Everything below the bundle but the seal. Links are not followed.
Tree readTree(const std::string &bundle);

} // namespace cobblet::seal
