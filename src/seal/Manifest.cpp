#include "seal/Manifest.h"

#include <nlohmann/json.hpp>

#include <cstring>

#include <sys/stat.h>

namespace cobblet::seal {

namespace {

using Json = nlohmann::ordered_json;

constexpr int version = 1;
constexpr int maximumNesting = 3;
constexpr char digits[] = "0123456789ABCDEF";

/// Who may execute a file: some of "ugo".
std::string who(unsigned execute)
{
    std::string text;
    for (const auto &[bit, letter] : {std::pair(S_IXUSR, 'u'), {S_IXGRP, 'g'}, {S_IXOTH, 'o'}})
        if (execute & unsigned(bit))
            text += letter;
    return text;
}

unsigned executeOf(std::string_view who)
{
    unsigned execute = 0;
    for (const char letter : who)
        execute |= letter == 'u' ? S_IXUSR : letter == 'g' ? S_IXGRP : S_IXOTH;
    return execute;
}

std::string decoded(std::string_view text)
{
    const auto digit = [&](size_t at) {
        const char *found = at < text.size() ? std::strchr(digits, text[at]) : nullptr;
        return found ? unsigned(found - digits) : 0U;
    };
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%') {
            bytes += char(digit(i + 1) * 16 + digit(i + 2));
            i += 2;
        } else {
            bytes += text[i];
        }
    }
    return bytes;
}

/// Whether it leads to something below the folder that it starts from, and there by its only name.
bool isBelow(std::string_view path)
{
    if (path.find('\0') != path.npos || (std::string(path) + '/').starts_with(std::string(sealPath) + '/'))
        return false;
    for (size_t start = 0;;) {
        const size_t end = path.find('/', start);
        const std::string_view name = path.substr(start, end == path.npos ? end : end - start);
        if (name.empty() || name == "." || name == "..")
            return false;
        if (end == path.npos)
            return true;
        start = end + 1;
    }
}

Json item(const Record &record)
{
    Json item{{"path", encoded(record.path)}};
    if (record.kind == Record::Kind::Link) {
        item["link"] = encoded(record.value);
        return item;
    }
    item["sha256"] = record.value;
    if (record.execute)
        item["execute"] = who(record.execute);
    return item;
}

bool isDigest(const std::string &text)
{
    return text.size() == 64 && text.find_first_not_of("0123456789abcdef") == text.npos;
}

/// The text of a member; empty when there is none, or it is no text.
std::string text(const Json &object, const char *key)
{
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::optional<Record> record(const Json &stored)
{
    if (!stored.is_object())
        return {};
    Record record;
    record.path = decoded(text(stored, "path"));
    if (stored.contains("link")) {
        record.kind = Record::Kind::Link;
        record.value = decoded(text(stored, "link"));
    } else {
        record.value = text(stored, "sha256");
        record.execute = executeOf(text(stored, "execute"));
    }
    const bool holds =
        isBelow(record.path) && (record.kind == Record::Kind::Link ? !record.value.empty() : isDigest(record.value));
    // There is one way to write a record: another member, another order or another escape was not written here.
    if (!holds || item(record) != stored)
        return {};
    return record;
}

} // namespace

std::string encoded(std::string_view bytes)
{
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte > 0x7e || c == '%')
            ((text += '%') += digits[byte >> 4]) += digits[byte & 15];
        else
            text += c;
    }
    return text;
}

std::string manifest(const std::vector<Record> &records)
{
    Json files = Json::array();
    for (const Record &record : records)
        if (record.kind == Record::Kind::File || record.kind == Record::Kind::Link)
            files.push_back(item(record));
    return Json{{"version", version}, {"files", std::move(files)}}.dump(1) + '\n';
}

std::optional<std::vector<Record>> parsedManifest(std::string_view text)
{
    // What is nested deeper is not kept: it would take a hundred times its size.
    const auto shallow = [](int depth, Json::parse_event_t, const Json &) { return depth <= maximumNesting; };
    const Json json = Json::parse(text, shallow, false);
    if (!json.is_object() || json.size() != 2 || json.value("version", Json()) != version)
        return {};
    const auto files = json.find("files");
    if (files == json.end() || !files->is_array() || files->size() > maximumRecords)
        return {};
    std::vector<Record> records;
    for (const Json &stored : *files) {
        std::optional<Record> read = record(stored);
        if (!read || (!records.empty() && !(records.back().path < read->path)))
            return {};
        records.push_back(std::move(*read));
    }
    return records;
}

} // namespace cobblet::seal
