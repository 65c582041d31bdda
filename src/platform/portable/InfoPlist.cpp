#include "platform/InfoPlist.h"

#include "platform/AtomicFile.h"

#include <plist/plist.h>

namespace cobblet {

namespace {

/// Some thousand times what a program states; the library recurses into whatever the file nests.
constexpr qint64 maximumBytes = 256 * 1024;

/// Without the characters that XML has no way to hold, so that what is written can be read.
QString storable(const QString &text)
{
    QString kept;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate())
            kept.append(c).append(text[++i]);
        else if (!c.isSurrogate() && (c >= u' ' || c == u'\n' || c == u'\t') && c < QChar(0xfffe))
            kept.append(c);
    }
    return kept;
}

} // namespace

Result<std::optional<InfoPlist>> InfoPlist::read(const QString &bundle)
{
    const QString path = bundle + QStringLiteral("/Contents/Info.plist");
    const auto bytes = readBounded(path, maximumBytes);
    if (!bytes)
        return bytes.cause();
    plist_t node = nullptr;
    plist_from_memory(bytes.value().constData(), uint32_t(bytes.value().size()), &node);
    std::shared_ptr<void> dictionary(node, plist_free);
    if (!node || plist_get_node_type(node) != PLIST_DICT)
        return std::optional<InfoPlist>();
    return std::optional(InfoPlist(path, std::move(dictionary)));
}

QString InfoPlist::text(const char *key) const
{
    plist_t node = plist_dict_get_item(m_dictionary.get(), key);
    if (!node || plist_get_node_type(node) != PLIST_STRING)
        return {};
    return QString::fromUtf8(plist_get_string_ptr(node, nullptr));
}

void InfoPlist::setText(const char *key, const QString &value)
{
    plist_dict_set_item(m_dictionary.get(), key, plist_new_string(storable(value).toUtf8().constData()));
}

void InfoPlist::setFlag(const char *key, bool value)
{
    plist_dict_set_item(m_dictionary.get(), key, plist_new_bool(value));
}

void InfoPlist::remove(const char *key)
{
    plist_dict_remove_item(m_dictionary.get(), key);
}

Status InfoPlist::write() const
{
    char *text = nullptr;
    uint32_t size = 0;
    plist_to_xml(m_dictionary.get(), &text, &size);
    if (!text)
        return Error{QStringLiteral("The file “%1” can't be written as a property list.").arg(m_path)};
    const std::unique_ptr<char, decltype(&plist_to_xml_free)> owned(text, plist_to_xml_free);
    return writeAtomically(m_path, QByteArray::fromRawData(text, qsizetype(size)));
}

} // namespace cobblet
