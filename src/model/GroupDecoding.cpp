#include "model/GroupCoding.h"

#include "model/GroupFields.h"
#include "model/TextBlock.h"

#include <nlohmann/json.hpp>

#include <limits>
#include <string>
#include <vector>

namespace cobblet {

namespace {

using field::Field;

/// Takes the parser's events straight into groups. Of a key given twice the last counts, though every one must
/// be of the right type. A number without a fraction is an integer however it is written (4, 4.0, 4e0). null is
/// a value of a wrong type.
class GroupReader {
public:
    /// With `single` the document is one group instead of a list.
    explicit GroupReader(bool single) : m_single(single) {}

    QList<AppGroup> groups;
    QString error;

    bool null() { return other(); }

    bool boolean(bool value)
    {
        if (m_skippedTo >= 0)
            return true;
        return (m_place == InGroup && field::set(m_group, m_field, value)) || other();
    }

    bool number_integer(qint64 value) { return number(double(value), value); }
    bool number_unsigned(quint64 value) { return number(double(value), value); }
    bool number_float(double value, const std::string &) { return number(value, value); }
    bool binary(nlohmann::json::binary_t &) { return false; } // no JSON text holds one

    bool string(std::string &value)
    {
        if (m_skippedTo >= 0)
            return true;
        if (m_place == InApp && m_field != field::Unknown) {
            (m_field == field::Name ? m_app.name : m_app.bundleID) = m_texts.add(value);
            m_seen |= 1u << m_field;
            return true;
        }
        if (m_place != InGroup)
            return other();
        m_seen |= 1u << m_field;
        return field::set(m_group, m_field, value, m_texts) || other();
    }

    bool key(std::string &name)
    {
        if (m_skippedTo >= 0)
            return true;
        if (m_place == InApp)
            m_field = name == "name" ? field::Name : name == "bundleID" ? field::Id : field::Unknown;
        else
            m_field = field::named(name);
        return true;
    }

    bool start_object(size_t)
    {
        if (!enter())
            return false;
        if (m_skippedTo >= 0)
            return true;
        if (m_place == (m_single ? Outside : InList)) {
            m_place = InGroup;
            m_seen = 0;
            m_group = emptyGroup();
            m_apps.clear();
            m_texts.clear();
            return true;
        }
        if (m_place == InApps) {
            m_place = InApp;
            m_seen = 0;
            m_app = {};
            return true;
        }
        return skip();
    }

    bool end_object()
    {
        if (leaveSkipped())
            return true;
        if (m_place == InApp) {
            m_place = InApps;
            m_apps.push_back(m_app);
            return has(field::Name, "name", "an app") && has(field::Id, "bundleID", "an app");
        }
        return finishGroup();
    }

    bool start_array(size_t)
    {
        if (!enter())
            return false;
        if (m_skippedTo >= 0)
            return true;
        if (m_place == Outside && !m_single) {
            m_place = InList;
            return true;
        }
        if (m_place == InGroup && m_field == field::Apps) {
            m_place = InApps;
            m_groupSeen = m_seen | 1u << field::Apps;
            m_apps.clear();
            return true;
        }
        return skip();
    }

    bool end_array()
    {
        if (leaveSkipped())
            return true;
        if (m_place == InApps) {
            m_place = InGroup;
            m_seen = m_groupSeen;
        } else {
            m_place = Outside;
        }
        return true;
    }

    bool parse_error(size_t position, const std::string &, const nlohmann::json::exception &)
    {
        return fail(QStringLiteral("it is not valid JSON at byte %1").arg(position));
    }

private:
    enum Place { Outside, InList, InGroup, InApps, InApp };
    struct App {
        TextBlock::Span name;
        TextBlock::Span bundleID;
    };

    static AppGroup emptyGroup()
    {
        return {QUuid(), {}, {}, {}, false, false, {}, {}, {}, {}, {}, {}, {}, {}}; // a random id would cost time
    }

    bool fail(const QString &why)
    {
        if (error.isEmpty())
            error = why;
        return false;
    }

    QString groupNumber() const { return QStringLiteral("group %1").arg(groups.size() + 1); }

    bool has(Field field, const char *name, const char *owner)
    {
        if (m_seen & 1u << field)
            return true;
        return fail(
            QStringLiteral("%1 of %2 has no \"%3\"").arg(QLatin1String(owner), groupNumber(), QLatin1String(name)));
    }

    bool enter()
    {
        return ++m_depth <= maximumJsonDepth ||
               fail(QStringLiteral("it is nested more than %1 levels deep").arg(maximumJsonDepth));
    }

    /// Closes one level; true when it belonged to a value that is skipped.
    bool leaveSkipped()
    {
        --m_depth;
        if (m_skippedTo < 0)
            return false;
        if (m_depth == m_skippedTo)
            m_skippedTo = -1;
        return true;
    }

    /// An array or object has begun where none belongs.
    bool skip()
    {
        if (!other())
            return false;
        m_skippedTo = m_depth - 1;
        return true;
    }

    /// A value of a type that does not belong where it stands.
    bool other()
    {
        if (m_skippedTo >= 0)
            return true;
        switch (m_place) {
        case InGroup:
            if (m_field == field::Unknown)
                return true;
            if (!field::isLenient(m_field))
                return fail(QStringLiteral("\"%1\" of %2 is malformed").arg(field::nameOf(m_field), groupNumber()));
            field::reset(m_group, m_field);
            return true;
        case InApp:
            return m_field == field::Unknown ||
                   fail(QStringLiteral("\"%1\" of an app of %2 is not a text")
                            .arg(QLatin1String(m_field == field::Name ? "name" : "bundleID"), groupNumber()));
        case InApps:
            return fail(QStringLiteral("an app of %1 is not an object").arg(groupNumber()));
        case InList:
            return fail(QStringLiteral("%1 is not an object").arg(groupNumber()));
        case Outside:
            break;
        }
        return fail(m_single ? QStringLiteral("it is not an object") : QStringLiteral("it is not a list"));
    }

    template<class Number>
    bool number(double rounded, Number value)
    {
        const bool inRange = rounded >= std::numeric_limits<int>::min() && rounded <= std::numeric_limits<int>::max();
        if (m_skippedTo < 0 && m_place == InGroup && inRange && Number(int(value)) == value &&
            field::set(m_group, m_field, int(value)))
            return true;
        return other();
    }

    bool finishGroup()
    {
        m_place = m_single ? Outside : InList;
        for (const Field field : {field::Id, field::Name, field::Emoji, field::Apps})
            if (!(m_seen & 1u << field))
                return fail(QStringLiteral("%1 has no \"%2\"").arg(groupNumber(), field::nameOf(field)));
        m_texts.finish();
        m_group.apps.reserve(qsizetype(m_apps.size()));
        for (const App &app : m_apps)
            m_group.apps.append({m_texts.text(app.name), m_texts.text(app.bundleID)});
        groups.append(std::move(m_group));
        return true;
    }

    const bool m_single;
    int m_depth = 0;
    int m_skippedTo = -1; ///< the depth at which a skipped value ends; negative when none is being skipped
    Place m_place = Outside;
    Field m_field = field::Unknown;
    unsigned m_seen = 0;      ///< the fields of the object being read, as bits
    unsigned m_groupSeen = 0; ///< the group's, while its apps are being read
    AppGroup m_group = emptyGroup();
    std::vector<App> m_apps;
    App m_app;
    TextBlock m_texts;
};

Result<QList<AppGroup>> read(const QByteArray &json, bool single)
{
    const QString prefix = single ? QStringLiteral("The group can't be read: %1.")
                                  : QStringLiteral("The list of groups can't be read: %1.");
    if (json.size() > maximumJsonBytes)
        return Error{prefix.arg(QStringLiteral("it is larger than %1 bytes").arg(maximumJsonBytes))};
    if (json.contains('\0')) // which the parser takes for the end of its input
        return Error{prefix.arg(QStringLiteral("it is not valid JSON"))};
    GroupReader reader(single);
    if (!nlohmann::json::sax_parse(json.cbegin(), json.cend(), &reader))
        return Error{prefix.arg(reader.error)};
    reader.groups.squeeze();
    return std::move(reader.groups);
}

} // namespace

std::optional<QUuid> parseUuid(const QString &text)
{
    if (text.size() != 36)
        return std::nullopt;
    for (int i = 0; i < 36; ++i) {
        const char16_t c = text[i].unicode();
        const bool isHyphen = i == 8 || i == 13 || i == 18 || i == 23;
        const bool isHex = (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
        if (isHyphen ? c != u'-' : !isHex)
            return std::nullopt;
    }
    return QUuid(text);
}

Result<AppGroup> decodeGroup(const QByteArray &json)
{
    auto list = read(json, true);
    if (!list)
        return Error{list.error()};
    return list.value().constFirst();
}

Result<QList<AppGroup>> decodeGroups(const QByteArray &json)
{
    return read(json, false);
}

} // namespace cobblet
