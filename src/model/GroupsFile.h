#pragma once

#include "model/AppGroup.h"
#include "platform/FileStamp.h"
#include "platform/Result.h"

#include <chrono>
#include <optional>

namespace cobblet {

/// Where the preferences hold the second copy of the groups.
inline const QString groupsCopyKey = QStringLiteral("cobblet_groups");

/// "groups.json" on disk. What is in its place but does not decode is never overwritten: it is set aside as
/// "groups.json.corrupt-DATE" first, and the newest three of those are kept.
class GroupsFile {
public:
    /// What does not decode counts as damaged once it was left alone for `stillness`; until then somebody may be
    /// writing it in place.
    GroupsFile(const QString &folder, std::chrono::milliseconds stillness);

    struct Look {
        enum Kind {
            Same,       ///< the file is the one of the last look or write
            Missing,    ///< there is none, or it is damaged
            Unfinished, ///< it does not decode, and was changed a moment ago
            Read
        } kind = Same;
        QList<AppGroup> groups; ///< when Read
        QString damage;         ///< when Missing: why it holds no groups; empty when there is none
    };
    /// Reads the file unless it is still the one last looked at.
    Look look();
    /// Makes the next look read the file whatever it is.
    void forget() { m_stamp.reset(); }

    /// Writes the list unless it stands there already; an error while the file is unfinished. The caller holds the
    /// lock and has just looked.
    Status write(const QByteArray &json);

    const QString &path() const { return m_path; }
    /// What stood there at the last look does not decode.
    bool isBad() const { return m_isBad; }

private:
    bool isUnfinished() const;

    QString m_path;
    std::chrono::milliseconds m_stillness;
    std::optional<FileStamp> m_stamp; ///< the file that was looked at or written last
    bool m_isBad = false;             ///< it does not decode
};

} // namespace cobblet
