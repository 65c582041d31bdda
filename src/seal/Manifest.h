#pragma once

#include "seal/BundleTree.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cobblet::seal {

constexpr size_t maximumManifestBytes = 8 * 1024 * 1024;

/// The bytes in printable ASCII: all others, and "%", as "%XX". For JSON, which holds no other bytes than UTF-8, and
/// for terminals, which obey some of them.
std::string encoded(std::string_view bytes);

/// The seal's file for these records, of which folders are left out: a version, and the files and links as a list in
/// the order of the paths' bytes.
std::string manifest(const std::vector<Record> &records);
/// Its files and links. Absent for anything that manifest() would not have written.
std::optional<std::vector<Record>> parsedManifest(std::string_view text);

} // namespace cobblet::seal
