#include "model/ShortcutCoding.h"

#include "model/GroupCoding.h"

#include <nlohmann/json.hpp>

namespace cobblet {

namespace {

/// Takes an object of texts and stops at anything else.
struct ShortcutReader {
    QMap<int, QUuid> shortcuts;
    int digit = 0;
    bool open = false;

    bool null() { return false; }
    bool boolean(bool) { return false; }
    bool number_integer(qint64) { return false; }
    bool number_unsigned(quint64) { return false; }
    bool number_float(double, const std::string &) { return false; }
    bool binary(nlohmann::json::binary_t &) { return false; }
    bool start_array(size_t) { return false; }
    bool end_array() { return false; }
    bool end_object() { return true; }
    bool parse_error(size_t, const std::string &, const nlohmann::json::exception &) { return false; }

    bool start_object(size_t) { return !std::exchange(open, true); }

    bool key(std::string &text)
    {
        const QString name = QString::fromStdString(text);
        bool isNumber = false;
        digit = name.toInt(&isNumber);
        return isNumber && name == QString::number(digit);
    }

    bool string(std::string &text)
    {
        const auto id = parseUuid(QString::fromStdString(text));
        if (!open || !id)
            return false;
        shortcuts[digit] = *id;
        return true;
    }
};

} // namespace

QByteArray encodeShortcuts(const QMap<int, QUuid> &shortcuts)
{
    QByteArray json("{");
    for (auto it = shortcuts.cbegin(); it != shortcuts.cend(); ++it) {
        if (json.size() > 1)
            json += ',';
        json += '"' + QByteArray::number(it.key()) + "\":\"" + uuidText(it.value()).toLatin1() + '"';
    }
    return json + '}';
}

Result<QMap<int, QUuid>> decodeShortcuts(const QByteArray &json)
{
    ShortcutReader reader;
    // The parser takes a NUL for the end of its input.
    if (json.size() > maximumJsonBytes || json.contains('\0') ||
        !nlohmann::json::sax_parse(json.cbegin(), json.cend(), &reader))
        return Error{QStringLiteral("The shortcut digits are not a JSON object from digits to group ids.")};
    return std::move(reader.shortcuts);
}

} // namespace cobblet
