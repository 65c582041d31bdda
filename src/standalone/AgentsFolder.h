#pragma once

#include "platform/FileLock.h"
#include "standalone/AgentGroup.h"

#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace cobblet {

/// An agent's bundle on disk.
struct AgentBundle {
    QString path;
    QString identifier;            ///< as its Info.plist states it; empty when that can't be read
    QString stamp;                 ///< of the executable that it was made from; empty when unknown
    std::optional<AppGroup> group; ///< absent when its "group-config.json" can't be read
};

/// The agents' directory, "~/Applications/Cobblet Groups" on every desktop, which holds their bundles. What lies in
/// it and was not made here, and what a link in it leads to, is left alone. Any thread, one at a time.
class AgentsFolder {
public:
    explicit AgentsFolder(QString path) : m_path(std::move(path)) {}

    const QString &path() const { return m_path; }
    /// Makes it where it is missing; a failure shows when something is to be written into it.
    void make() const;
    /// Keeps other processes from building here for as long as the lock lives; an error when one builds already.
    Result<std::unique_ptr<FileLock>> lock() const;

    /// All that are whole: folders that end in ".app" and hold a group.
    QList<AgentBundle> bundles() const;
    /// Where the group's name puts its bundle.
    QString destination(const AppGroup &group) const;
    /// The group's bundle wherever the group's name put it when it was made, else what lies where its name puts it
    /// now.
    std::optional<AgentBundle> bundleOf(const AppGroup &group) const;
    /// An error when something lies at `path` that was not made here.
    Status mayReplace(const QString &path) const;

    /// A new folder for one build; on the same file system, so that what was built can be moved into place at once.
    Result<QString> makeStaging() const;
    /// Notes in a staging folder that what is at `destination` is about to be changed, and keeps it there.
    Status keep(const QString &staging, const QString &destination) const;
    /// Puts back what keep() kept; the folder at the destination stays the same one.
    Status restore(const QString &staging) const;
    /// Takes a bundle out of the folder. It is gone at once and for good, also when this process ends meanwhile.
    Status discard(const QString &bundle) const;
    /// Clears what builds have left that did not come to their end. What they were changing is put back, unless
    /// `isWhole`.
    Status recover(const std::function<bool(const QString &bundle)> &isWhole) const;
    bool needsRecovery() const { return !leftovers().isEmpty(); }

private:
    /// The staging folders of builds that did not come to their end, or are under way.
    QStringList leftovers() const;
    QString stagingFolder() const { return m_path + QStringLiteral("/.staging"); }

    const QString m_path;
};

} // namespace cobblet
