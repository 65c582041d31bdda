#pragma once

#include "platform/portable/Releasing.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

#include <glib.h>

namespace cobblet {

/// A file of groups with keys and values, as GLib reads and writes them. Values are untranslated.
class KeyFile {
public:
    /// An empty one.
    KeyFile() : m_file(g_key_file_new()) {}
    /// Absent when the bytes are no key file.
    static std::optional<KeyFile> parse(const QByteArray &bytes);

    /// With its escapes undone; empty when the key is missing or its value is no text.
    QString text(const char *group, const char *key) const;
    bool flag(const char *group, const char *key) const;

    /// Writes a text so that it is read back as it is, less control characters that no text has.
    void setText(const char *group, const char *key, const QString &value);
    void setList(const char *group, const char *key, const QStringList &values);
    QByteArray bytes() const;

    GKeyFile *get() const { return m_file.get(); }

private:
    std::unique_ptr<GKeyFile, Releasing<g_key_file_unref>> m_file;
};

} // namespace cobblet
