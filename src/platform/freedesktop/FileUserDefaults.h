#pragma once

#include "platform/FileStamp.h"
#include "platform/UserDefaults.h"
#include "platform/freedesktop/PlistDomain.h"

#include <QFileSystemWatcher>
#include <QHash>

#include <memory>

namespace cobblet {

/// A domain of preferences in one property-list file that any number of processes share: every change is made
/// on top of the newest file under a lock, and changes of other processes are followed.
class FileUserDefaults : public UserDefaults {
    Q_OBJECT
public:
    /// Whether changes of other processes arrive by themselves. A watch costs the end of a process several ms.
    enum class Following { Watched, WhenSynchronized };

    /// The file is "FOLDER/DOMAIN.plist"; neither needs to be there.
    FileUserDefaults(const QString &folder, const QString &domain, Following following = Following::Watched,
                     QObject *parent = nullptr);

    std::optional<QVariant> object(const QString &key) const override;
    bool contains(const QString &key) const override;
    Status set(const QString &key, const QVariant &value) override;
    Status remove(const QString &key) override;
    void registerDefault(const QString &key, const QVariant &value) override;
    void synchronize() override { follow(); }

private:
    /// What this process remembers of a stored value: a large one stays on disk.
    struct Known {
        QVariant value;
        qsizetype largeSize = -1;
        size_t largeHash = 0;
        bool operator==(const Known &) const = default;
    };
    using Values = QHash<QString, Known>;

    PlistDomain read(bool locked);
    void setAside(const QString &reason);
    bool adopt(const PlistDomain &domain);
    bool applyUnsaved(PlistDomain &domain) const;
    Status change(const QString &key, const std::optional<QVariant> &value);
    void follow();
    void watch();
    void warnOnce(const QString &message);

    const Following m_following;
    QString m_path;
    QString m_lockPath;
    FileStamp m_stamp;
    Values m_values;
    QHash<QString, std::optional<QVariant>> m_unsaved; ///< changes that could not be written; no value: removed
    QHash<QString, QVariant> m_registered;
    std::unique_ptr<QFileSystemWatcher> m_watcher;
    bool m_warned = false;
};

} // namespace cobblet
