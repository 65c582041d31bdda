#pragma once

#include "model/AppGroup.h"
#include "platform/FileStamp.h"
#include "platform/Result.h"

#include <optional>

namespace cobblet {

/// "groups.json" on disk. What is in its place but does not decode is never overwritten: it is set aside as
/// "groups.json.corrupt-DATE" first, and the newest three of those are kept.
class GroupsFile {
public:
    explicit GroupsFile(const QString &folder);

    struct Look {
        enum Kind {
            Same,    ///< the file is the one of the last look or write
            Missing, ///< there is none, or it does not decode
            Read
        } kind = Same;
        QList<AppGroup> groups; ///< when Read
    };
    /// Reads the file unless it is still the one last looked at. Says in the log why it does not decode.
    Look look();
    /// Makes the next look read the file whatever it is.
    void forget() { m_stamp.reset(); }

    /// Writes the list unless it stands there already. The caller holds the lock and has just looked.
    Status write(const QByteArray &json);

    const QString &path() const { return m_path; }

private:
    QString m_path;
    std::optional<FileStamp> m_stamp; ///< the file that was looked at or written last
    bool m_isBad = false;             ///< it does not decode
};

} // namespace cobblet
