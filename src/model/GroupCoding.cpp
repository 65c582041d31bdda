#include "model/GroupCoding.h"

#include <nlohmann/json.hpp>

#include <QStringConverter>

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <string_view>
#include <type_traits>

namespace cobblet {

namespace {

using nlohmann::json;         // finds keys quickly: for reading
using nlohmann::ordered_json; // keeps the order of its keys: for writing

enum class Rule {
    Required, ///< a record without it, or with a malformed one, is not read
    Strict,   ///< may be missing or null, but a malformed one fails the record
    Lenient   ///< missing, null or malformed, the field keeps its default
};

/// A field of a record in its JSON.
template<class Record>
struct Field {
    const char *key;
    Rule rule;
    bool (*read)(const json &value, Record &record); ///< false, and nothing changed, when the value is malformed
    ordered_json (*write)(const Record &record);     ///< null when the key is not written
};

/// In the order in which they are written.
template<class Record>
std::span<const Field<Record>> fields();

/// The first key that is missing or malformed; null when the record has been read.
template<class Record>
const char *readRecord(const json &object, Record &record)
{
    for (const Field<Record> &field : fields<Record>()) {
        const auto value = object.find(field.key); // the end when this is no object
        const bool isAbsent = value == object.end() || value->is_null();
        if (isAbsent ? field.rule == Rule::Required : !field.read(*value, record) && field.rule != Rule::Lenient)
            return field.key;
    }
    return nullptr;
}

template<class Record>
ordered_json writtenRecord(const Record &record)
{
    ordered_json::object_t object;
    object.reserve(fields<Record>().size()); // growing, it would copy the values instead of moving them
    for (const Field<Record> &field : fields<Record>())
        if (ordered_json value = field.write(record); !value.is_null())
            object.emplace_back(field.key, std::move(value));
    return object;
}

/// The texts of an enumeration's cases, in their order.
template<class Enum>
constexpr auto texts = nullptr;
template<>
constexpr std::array<std::string_view, 2> texts<GroupIconStyle>{"emoji", "grid"};
template<>
constexpr std::array<std::string_view, 3> texts<GroupIconFill>{"solid", "gradient", "glass"};
template<>
constexpr std::array<std::string_view, 2> texts<PopupAnchor>{"dockCenter", "dockIcon"};

bool readText(const std::string &utf8, QString &text)
{
    // A byte order mark is a character here.
    text = QStringDecoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom)(utf8);
    return true;
}

bool readText(const std::string &utf8, QUuid &id)
{
    const auto parsed = parseUuid(QString::fromStdString(utf8));
    id = parsed.value_or(id);
    return parsed.has_value();
}

template<class Enum>
requires std::is_enum_v<Enum>
bool readText(const std::string &text, Enum &choice)
{
    const auto found = std::ranges::find(texts<Enum>, text);
    if (found != texts<Enum>.end())
        choice = Enum(found - texts<Enum>.begin());
    return found != texts<Enum>.end();
}

/// False, and nothing changed, when the value is malformed.
template<class Field>
bool read(const json &value, Field &field)
{
    if constexpr (requires { field.has_value(); }) {
        typename Field::value_type present{};
        return read(value, present) && (field = std::move(present), true);
    } else if constexpr (std::is_same_v<Field, bool>) {
        return value.is_boolean() && (field = value.get<bool>(), true);
    } else if constexpr (std::is_same_v<Field, int>) {
        // A number without a fraction is an integer however it is written (4, 4.0, 4e0).
        using Limits = std::numeric_limits<int>;
        const double number = value.is_number() ? value.get<double>() : 0.5;
        return number >= Limits::min() && number <= Limits::max() && number == int(number) &&
               (field = int(number), true);
    } else if constexpr (std::is_same_v<Field, QList<AppItem>>) {
        field.reserve(qsizetype(value.size()));
        return value.is_array() && std::none_of(value.begin(), value.end(), [&field](const json &app) {
                   return readRecord(app, field.emplaceBack());
               });
    } else {
        const auto *text = value.get_ptr<const std::string *>(); // valid UTF-8, the parser has checked it
        return text && readText(*text, field);
    }
}

template<class Field>
ordered_json written(const Field &field)
{
    if constexpr (requires { field.has_value(); }) {
        return field ? written(*field) : ordered_json();
    } else if constexpr (std::is_same_v<Field, QString>) {
        return field.toStdString();
    } else if constexpr (std::is_same_v<Field, QUuid>) {
        return uuidText(field).toStdString();
    } else if constexpr (std::is_enum_v<Field>) {
        return texts<Field>[size_t(field)];
    } else if constexpr (std::is_integral_v<Field>) {
        return field;
    } else {
        ordered_json list = ordered_json::array();
        for (const auto &record : field)
            list.push_back(writtenRecord(record));
        return list;
    }
}

template<class Record, class Value>
Record recordOf(Value Record::*);

template<auto Member>
constexpr auto field(const char *key, Rule rule)
{
    using Record = decltype(recordOf(Member));
    return Field<Record>{key, rule, [](const json &value, Record &record) { return read(value, record.*Member); },
                         [](const Record &record) { return written(record.*Member); }};
}

template<>
std::span<const Field<AppItem>> fields()
{
    using enum Rule;
    static constexpr Field<AppItem> table[] = {
        field<&AppItem::name>("name", Required),
        field<&AppItem::bundleID>("bundleID", Required),
    };
    return table;
}

template<>
std::span<const Field<AppGroup>> fields()
{
    using enum Rule;
    static constexpr Field<AppGroup> table[] = {
        field<&AppGroup::id>("id", Required),
        field<&AppGroup::name>("name", Required),
        field<&AppGroup::emoji>("emoji", Required),
        field<&AppGroup::apps>("apps", Required),
        field<&AppGroup::isPinned>("isPinned", Strict),
        field<&AppGroup::isStandalone>("isStandalone", Strict),
        field<&AppGroup::iconName>("iconName", Strict),
        field<&AppGroup::iconStyle>("iconStyle", Lenient),
        field<&AppGroup::iconColor>("iconColor", Strict),
        field<&AppGroup::iconFill>("iconFill", Lenient),
        field<&AppGroup::popupColumns>("popupColumns", Lenient),
        field<&AppGroup::popupMaxRows>("popupMaxRows", Lenient),
        field<&AppGroup::popupShowsTitles>("popupShowsTitles", Lenient),
        field<&AppGroup::popupAnchor>("popupAnchor", Lenient),
    };
    return table;
}

/// What keeps the text from being parsed within our bounds; empty when nothing does. The parser would build a tree
/// many times larger than a text of nothing but brackets, and with a callback that stops it, it looks through all
/// values of a list after each object.
QString problemOf(const QByteArray &text)
{
    if (text.size() > maximumJsonBytes)
        return QStringLiteral("it is larger than %1 bytes").arg(maximumJsonBytes);
    int depth = 0, deepest = 0, values = 0;
    bool quoted = false;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (c == '"')
            quoted = !quoted;
        else if (c == '\\')
            ++at;
        else if (c == '\0') // which the parser takes for the end of its input
            return QStringLiteral("it holds a null character");
        else if (!quoted && (c == '[' || c == '{'))
            ++values, deepest = std::max(deepest, ++depth);
        else if (!quoted && (c == ']' || c == '}'))
            --depth;
        else if (!quoted && c == ',')
            ++values;
    }
    if (deepest > maximumJsonDepth)
        return QStringLiteral("it is nested more than %1 levels deep").arg(maximumJsonDepth);
    return values > maximumJsonValues ? QStringLiteral("it holds more than %1 values").arg(maximumJsonValues)
                                      : QString();
}

/// The error goes on after a colon.
Result<json> parse(const QByteArray &text)
{
    if (const QString problem = problemOf(text); !problem.isEmpty())
        return Error{problem};
    json document = json::parse(text.cbegin(), text.cend(), nullptr, false);
    if (document.is_discarded())
        return Error{QStringLiteral("it is not valid JSON")};
    return document;
}

QByteArray bytes(const auto &document)
{
    return QByteArray::fromStdString(document.dump());
}

} // namespace

std::optional<QUuid> parseUuid(const QString &text)
{
    const QUuid id(text);
    const bool isCanonical = id.toString(QUuid::WithoutBraces).compare(text, Qt::CaseInsensitive) == 0;
    return isCanonical ? std::optional(id) : std::nullopt;
}

QString uuidText(const QUuid &id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

QByteArray encodeGroup(const AppGroup &group)
{
    return bytes(writtenRecord(group));
}

QByteArray encodeGroups(const QList<AppGroup> &groups)
{
    return bytes(written(groups));
}

Result<AppGroup> decodeGroup(const QByteArray &text, const char *key)
{
    const auto document = parse(text);
    if (!document)
        return Error{QStringLiteral("The group can't be read: %1.").arg(document.error())};
    const json &object = document.value();
    const auto held = key ? object.find(key) : object.end(); // the end also when this is no object
    AppGroup group;
    const char *missing = key && held == object.end() ? key : readRecord(key ? *held : object, group);
    if (missing)
        return Error{QStringLiteral("The group can't be read: it has no valid “%1”.").arg(QLatin1String(missing))};
    return group;
}

Result<QList<AppGroup>> decodeGroups(const QByteArray &text)
{
    const auto failed = [](const QString &why) {
        return Error{QStringLiteral("The list of groups can't be read: %1.").arg(why)};
    };
    const auto document = parse(text);
    if (!document)
        return failed(document.error());
    if (!document.value().is_array())
        return failed(QStringLiteral("it is not a list"));
    QList<AppGroup> groups;
    for (const json &group : document.value())
        if (const char *key = readRecord(group, groups.emplaceBack()))
            return failed(QStringLiteral("group %1 has no valid “%2”").arg(groups.size()).arg(QLatin1String(key)));
    groups.squeeze();
    return groups;
}

QByteArray encodeShortcuts(const QMap<int, QUuid> &shortcuts)
{
    json object = json::object();
    for (auto it = shortcuts.cbegin(); it != shortcuts.cend(); ++it)
        object[std::to_string(it.key())] = uuidText(it.value()).toStdString();
    return bytes(object);
}

Result<QMap<int, QUuid>> decodeShortcuts(const QByteArray &text)
{
    const auto document = parse(text);
    bool good = document && document.value().is_object();
    QMap<int, QUuid> shortcuts;
    if (good) {
        for (const auto &[key, value] : document.value().items()) {
            const QString digits = QString::fromStdString(key);
            const int digit = digits.toInt();
            good = good && digits == QString::number(digit) && read(value, shortcuts[digit]);
        }
    }
    if (!good)
        return Error{QStringLiteral("The shortcut digits are not a JSON object from digits to group ids.")};
    return shortcuts;
}

} // namespace cobblet
