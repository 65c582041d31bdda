#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace cobblet::seal {

/// Where the seal lies, relative to the bundle.
constexpr const char *sealFolder = "Contents/_CodeSignature";
constexpr const char *sealFile = "Contents/_CodeSignature/CodeResources";

constexpr int maximumDepth = 32;
constexpr size_t maximumRecords = 20000;

/// One thing below the bundle.
struct Record {
    enum class Kind : char {
        File = 'F',
        Link = 'L',
        Folder = 'D',
        Unusable = '?' ///< a seal can't vouch for it: a pipe, a file that can't be read, a stranger beside the seal
    };

    std::string path; ///< relative to the bundle, as encoded() writes it
    Kind kind = Kind::File;
    std::string value;   ///< the SHA-256 in hexadecimal, where a link leads, or what is wrong: "is a named pipe"
    std::string execute; ///< who may execute a file: some of "ugo"
};

/// The bytes in printable ASCII, all others and "%" as "%XX": terminals obey some of them.
std::string encoded(std::string_view bytes);

/// Hands the content of a regular file on in pieces. False, with errno, when it can't be read: a link is not
/// followed, and a pipe in the file's place is not waited for.
bool readFile(const std::string &path, const std::function<void(std::string_view)> &take);

/// Everything below the bundle but the seal, in the order of the paths. Links are not followed.
std::vector<Record> readTree(const std::string &bundle);

} // namespace cobblet::seal
