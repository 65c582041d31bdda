#include "model/GroupCoding.h"

#include <nlohmann/json.hpp>

#include <QStringConverter>

#include <algorithm>
#include <array>
#include <concepts>
#include <limits>
#include <span>
#include <string_view>

namespace cobblet {

namespace {

using nlohmann::json;         // finds keys quickly: for reading
using nlohmann::ordered_json; // keeps the order of its keys: for writing

enum class Rule {
    Required, ///< a record without it, or with a malformed one, is not read
    Strict,   ///< may be missing, but a malformed one fails the record
    Lenient   ///< missing or malformed, the field keeps its default
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
        if (value == object.end() ? field.rule == Rule::Required
                                  : !field.read(*value, record) && field.rule != Rule::Lenient)
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

template<class Record>
ordered_json writtenList(const QList<Record> &records)
{
    ordered_json list = ordered_json::array();
    for (const Record &record : records)
        list.push_back(writtenRecord(record));
    return list;
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

bool read(const json &value, bool &flag)
{
    if (value.is_boolean())
        flag = value.get<bool>();
    return value.is_boolean();
}

/// A number without a fraction is an integer however it is written (4, 4.0, 4e0).
bool read(const json &value, int &integer)
{
    using Limits = std::numeric_limits<int>;
    const double number = value.is_number() ? value.get<double>() : 0.5;
    if (number < Limits::min() || number > Limits::max() || number != int(number))
        return false;
    integer = int(number);
    return true;
}

bool read(const json &value, QString &text)
{
    if (!value.is_string())
        return false;
    const std::string &utf8 = value.get_ref<const std::string &>(); // valid, the parser has checked it
    // A byte order mark is a character here.
    text = QStringDecoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom)(utf8);
    return true;
}

bool read(const json &value, QUuid &id)
{
    QString text;
    const auto parsed = read(value, text) ? parseUuid(text) : std::nullopt;
    id = parsed.value_or(id);
    return parsed.has_value();
}

template<class Enum>
requires std::is_enum_v<Enum>
bool read(const json &value, Enum &choice)
{
    const auto &all = texts<Enum>;
    const auto found =
        value.is_string() ? std::find(all.begin(), all.end(), value.get_ref<const std::string &>()) : all.end();
    if (found == all.end())
        return false;
    choice = Enum(found - all.begin());
    return true;
}

template<class Value>
bool read(const json &value, std::optional<Value> &optional)
{
    Value present{};
    if (!read(value, present))
        return false;
    optional = std::move(present);
    return true;
}

bool read(const json &value, QList<AppItem> &apps)
{
    if (!value.is_array())
        return false;
    apps.reserve(qsizetype(value.size()));
    return std::none_of(value.begin(), value.end(),
                        [&apps](const json &app) { return readRecord(app, apps.emplaceBack()); });
}

ordered_json written(std::integral auto value)
{
    return value;
}

ordered_json written(const QString &text)
{
    return text.toStdString();
}

ordered_json written(const QUuid &id)
{
    return written(uuidText(id));
}

template<class Enum>
requires std::is_enum_v<Enum> ordered_json written(Enum choice)
{
    return texts<Enum>[size_t(choice)];
}

template<class Value>
ordered_json written(const std::optional<Value> &optional)
{
    return optional ? written(*optional) : ordered_json();
}

ordered_json written(const QList<AppItem> &apps)
{
    return writtenList(apps);
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
/// many times larger than a text of nothing but brackets.
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
    return bytes(writtenList(groups));
}

Result<AppGroup> decodeGroup(const QByteArray &text)
{
    const auto document = parse(text);
    if (!document)
        return Error{QStringLiteral("The group can't be read: %1.").arg(document.error())};
    AppGroup group;
    if (const char *key = readRecord(document.value(), group))
        return Error{QStringLiteral("The group can't be read: it has no valid “%1”.").arg(QLatin1String(key))};
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
