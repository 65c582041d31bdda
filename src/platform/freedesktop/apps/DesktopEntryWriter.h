#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace cobblet {

/// Writes a desktop entry, so that whatever the values hold is read back as it was: by GIO, by our own reader and by
/// the validator. Control characters other than tabs and line ends are left out, and texts are cut to maximumText.
class DesktopEntryWriter {
public:
    static constexpr qsizetype maximumText = 1000; ///< in UTF-16 units

    void group(const QByteArray &name);
    void text(const char *key, const QString &value);
    void list(const char *key, const QStringList &values);
    /// A program with its arguments, for "Exec". See canRun().
    void command(const char *key, const QStringList &arguments);

    QByteArray bytes() const { return m_bytes; }

    /// Whether a command can name this program: not one with both a percent and an equals sign in its path.
    static bool canRun(const QString &program);

private:
    void line(const char *key, const QString &value);

    QByteArray m_bytes;
};

} // namespace cobblet
