#pragma once

#include "platform/Result.h"

#include <QString>

#include <memory>
#include <optional>

namespace cobblet {

/// What a bundle says of itself: the dictionary in its "Contents/Info.plist".
class InfoPlist {
public:
    /// Absent when the file is no dictionary; an error when it can't be read, or is larger than any is.
    static Result<std::optional<InfoPlist>> read(const QString &bundle);

    /// Empty when the key is missing or its value is no text.
    QString text(const char *key) const;
    void setText(const char *key, const QString &value);
    void setFlag(const char *key, bool value);
    void remove(const char *key);

    /// Replaces the file, in the XML form.
    Status write() const;

private:
    InfoPlist(QString path, std::shared_ptr<void> dictionary)
        : m_path(std::move(path)), m_dictionary(std::move(dictionary))
    {
    }

    QString m_path;
    std::shared_ptr<void> m_dictionary; ///< a node of the library that reads it
};

} // namespace cobblet
