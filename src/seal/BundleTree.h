#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace cobblet::seal {

/// Where the seal lies, relative to the bundle.
constexpr const char *contentsFolder = "Contents";
constexpr const char *sealFolder = "_CodeSignature";
constexpr const char *sealPath = "Contents/_CodeSignature";
constexpr const char *sealFile = "CodeResources";

constexpr int maximumDepth = 32;
constexpr size_t maximumRecords = 20000;

/// One thing below the bundle.
struct Record {
    enum class Kind {
        File,
        Link,
        Folder,
        Unusable ///< a seal can't vouch for it: a pipe, a file that can't be read, a stranger beside the seal
    };

    std::string path; ///< relative to the bundle, in the bytes of the file system
    Kind kind = Kind::File;
    std::string value;    ///< the SHA-256 in hexadecimal, where a link leads, or what is wrong: "is a named pipe"
    unsigned execute = 0; ///< of a file: the mode's three bits

    bool operator==(const Record &) const = default;
};

/// Everything below the bundle but the seal, in the order of the paths' bytes. Links are not followed.
std::vector<Record> readTree(int bundle);

/// What `errno` says, as the end of a sentence.
std::string cause();

} // namespace cobblet::seal
