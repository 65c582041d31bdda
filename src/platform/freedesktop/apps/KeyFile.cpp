#include "platform/freedesktop/apps/KeyFile.h"

namespace cobblet {

namespace {

using Text = std::unique_ptr<char, Releasing<g_free>>;

QByteArray withoutControls(const QString &value)
{
    QString text;
    for (const QChar c : value)
        if (c.category() != QChar::Other_Control || c == u'\n' || c == u'\r' || c == u'\t')
            text += c;
    return text.toUtf8();
}

} // namespace

std::optional<KeyFile> KeyFile::parse(const QByteArray &bytes)
{
    KeyFile file;
    if (!g_key_file_load_from_data(file.get(), bytes.constData(), gsize(bytes.size()), G_KEY_FILE_NONE, nullptr))
        return std::nullopt;
    return file;
}

QString KeyFile::text(const char *group, const char *key) const
{
    return QString::fromUtf8(Text(g_key_file_get_string(get(), group, key, nullptr)).get());
}

bool KeyFile::flag(const char *group, const char *key) const
{
    return g_key_file_get_boolean(get(), group, key, nullptr) != 0;
}

void KeyFile::setText(const char *group, const char *key, const QString &value)
{
    g_key_file_set_string(get(), group, key, withoutControls(value).constData());
    // GLib leaves tabs within a text as they are, which is a fault to the validator.
    QByteArray raw(Text(g_key_file_get_value(get(), group, key, nullptr)).get());
    g_key_file_set_value(get(), group, key, raw.replace('\t', "\\t").constData());
}

void KeyFile::setList(const char *group, const char *key, const QStringList &values)
{
    QByteArrayList texts;
    for (const QString &value : values)
        texts.append(withoutControls(value));
    std::vector<const char *> pointers;
    for (const QByteArray &text : texts)
        pointers.push_back(text.constData());
    g_key_file_set_string_list(get(), group, key, pointers.data(), pointers.size());
}

QByteArray KeyFile::bytes() const
{
    gsize size = 0;
    const Text text(g_key_file_to_data(get(), &size, nullptr));
    return {text.get(), qsizetype(size)};
}

} // namespace cobblet
