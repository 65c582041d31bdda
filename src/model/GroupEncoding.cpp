#include "model/GroupCoding.h"

#include <cstring>

namespace cobblet {

namespace {

// Written by hand and in one pass: a document tree of the largest lists costs more than writing them to disk.

/// Appends JSON to one buffer.
class Writer {
public:
    explicit Writer(qsizetype expected) { m_out.reserve(expected); }

    QByteArray take()
    {
        m_out.squeeze(); // the bytes live on in user defaults
        return std::move(m_out);
    }

    void raw(const char *text) { m_out.append(text); }
    void raw(char c) { m_out.append(c); }
    void number(int value) { m_out.append(QByteArray::number(value)); }
    void boolean(bool value) { raw(value ? "true" : "false"); }
    void string(const QString &text);

private:
    QByteArray m_out;
};

char *escaped(char *to, char16_t c)
{
    static constexpr char hex[] = "0123456789abcdef";
    *to++ = '\\';
    switch (c) {
    case u'\b':
        *to++ = 'b';
        break;
    case u'\f':
        *to++ = 'f';
        break;
    case u'\n':
        *to++ = 'n';
        break;
    case u'\r':
        *to++ = 'r';
        break;
    case u'\t':
        *to++ = 't';
        break;
    case u'"':
    case u'\\':
        *to++ = char(c);
        break;
    default:
        std::memcpy(to, "u00", 3);
        to[3] = hex[c >> 4];
        to[4] = hex[c & 15];
        to += 5;
    }
    return to;
}

char *utf8(char *to, char32_t c)
{
    if (c < 0x800) {
        *to++ = char(0xc0 | (c >> 6));
    } else {
        if (c < 0x10000) {
            *to++ = char(0xe0 | (c >> 12));
        } else {
            *to++ = char(0xf0 | (c >> 18));
            *to++ = char(0x80 | ((c >> 12) & 0x3f));
        }
        *to++ = char(0x80 | ((c >> 6) & 0x3f));
    }
    *to++ = char(0x80 | (c & 0x3f));
    return to;
}

void Writer::string(const QString &text)
{
    constexpr qsizetype longest = 6; // bytes that one UTF-16 unit can take: "\u0000"
    const qsizetype before = m_out.size();
    m_out.resize(before + text.size() * longest + 2);
    char *to = m_out.data() + before;
    *to++ = '"';
    const char16_t *from = reinterpret_cast<const char16_t *>(text.constData());
    const char16_t *const end = from + text.size();
    while (from != end) {
        const char16_t c = *from++;
        if (c < 0x20 || c == u'"' || c == u'\\')
            to = escaped(to, c);
        else if (c < 0x80)
            *to++ = char(c);
        else if (!QChar::isSurrogate(c))
            to = utf8(to, c);
        else if (QChar::isHighSurrogate(c) && from != end && QChar::isLowSurrogate(*from))
            to = utf8(to, QChar::surrogateToUcs4(c, *from++));
        else
            to = utf8(to, QChar::ReplacementCharacter); // half a character has no UTF-8
    }
    *to++ = '"';
    m_out.resize(to - m_out.constData());
}

const char *text(GroupIconStyle style)
{
    return style == GroupIconStyle::Grid ? "\"grid\"" : "\"emoji\"";
}

const char *text(GroupIconFill fill)
{
    switch (fill) {
    case GroupIconFill::Gradient:
        return "\"gradient\"";
    case GroupIconFill::Glass:
        return "\"glass\"";
    case GroupIconFill::Solid:
        break;
    }
    return "\"solid\"";
}

const char *text(PopupAnchor anchor)
{
    return anchor == PopupAnchor::DockIcon ? "\"dockIcon\"" : "\"dockCenter\"";
}

void write(Writer &out, const AppGroup &group)
{
    out.raw("{\"id\":");
    out.string(uuidText(group.id));
    out.raw(",\"name\":");
    out.string(group.name);
    out.raw(",\"emoji\":");
    out.string(group.emoji);
    out.raw(",\"apps\":[");
    for (qsizetype i = 0; i < group.apps.size(); ++i) {
        out.raw(i ? ",{\"name\":" : "{\"name\":");
        out.string(group.apps[i].name);
        out.raw(",\"bundleID\":");
        out.string(group.apps[i].bundleID);
        out.raw('}');
    }
    out.raw("],\"isPinned\":");
    out.boolean(group.isPinned);
    out.raw(",\"isStandalone\":");
    out.boolean(group.isStandalone);
    if (group.iconName) {
        out.raw(",\"iconName\":");
        out.string(*group.iconName);
    }
    out.raw(",\"iconStyle\":");
    out.raw(text(group.iconStyle));
    if (group.iconColor) {
        out.raw(",\"iconColor\":");
        out.string(*group.iconColor);
    }
    out.raw(",\"iconFill\":");
    out.raw(text(group.iconFill));
    if (group.popupColumns) {
        out.raw(",\"popupColumns\":");
        out.number(*group.popupColumns);
    }
    if (group.popupMaxRows) {
        out.raw(",\"popupMaxRows\":");
        out.number(*group.popupMaxRows);
    }
    if (group.popupShowsTitles) {
        out.raw(",\"popupShowsTitles\":");
        out.boolean(*group.popupShowsTitles);
    }
    if (group.popupAnchor) {
        out.raw(",\"popupAnchor\":");
        out.raw(text(*group.popupAnchor));
    }
    out.raw('}');
}

/// About how many bytes the group takes.
qsizetype expectedSize(const AppGroup &group)
{
    qsizetype size = 320 + group.name.size();
    for (const AppItem &app : group.apps)
        size += 28 + app.name.size() + app.bundleID.size();
    return size;
}

} // namespace

QString uuidText(const QUuid &id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

QByteArray encodeGroup(const AppGroup &group)
{
    Writer out(expectedSize(group));
    write(out, group);
    return out.take();
}

QByteArray encodeGroups(const QList<AppGroup> &groups)
{
    qsizetype expected = 2;
    for (const AppGroup &group : groups)
        expected += expectedSize(group);
    Writer out(expected);
    out.raw('[');
    for (qsizetype i = 0; i < groups.size(); ++i) {
        if (i)
            out.raw(',');
        write(out, groups[i]);
    }
    out.raw(']');
    return out.take();
}

} // namespace cobblet
