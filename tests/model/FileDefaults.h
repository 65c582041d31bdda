#pragma once

#include "platform/AtomicFile.h"
#include "platform/FileLock.h"
#include "platform/UserDefaults.h"

#include <QFile>

#include <memory>

namespace cobblet::test {

/// Preferences that several processes share: one file per key, binary values only, read anew at each question.
/// It stands in for a desktop's own preferences, so that the store's tests need no desktop.
class FileDefaults : public UserDefaults {
public:
    explicit FileDefaults(const QString &folder) : m_folder(folder) {}

    std::optional<QVariant> object(const QString &key) const override
    {
        const auto bytes = readBounded(path(key), 64 * 1024 * 1024);
        return bytes ? std::optional<QVariant>(bytes.value()) : std::nullopt;
    }
    bool contains(const QString &key) const override { return QFile::exists(path(key)); }
    Status set(const QString &key, const QVariant &value) override
    {
        const FileLock lock(path(key) + QStringLiteral(".lock"));
        const Status status = writeAtomically(path(key), value.toByteArray());
        emit didChange();
        return status;
    }
    Status remove(const QString &key) override
    {
        QFile::remove(path(key));
        emit didChange();
        return {};
    }
    void registerDefault(const QString &, const QVariant &) override {}

private:
    QString path(const QString &key) const { return m_folder + QLatin1Char('/') + key; }

    QString m_folder;
};

inline std::unique_ptr<UserDefaults> makeTestDefaults(const QString &folder)
{
    return std::make_unique<FileDefaults>(folder);
}

} // namespace cobblet::test
