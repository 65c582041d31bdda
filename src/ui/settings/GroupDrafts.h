#pragma once

#include "platform/Result.h"
#include "ui/settings/DraftAppearance.h"

#include <QHash>
#include <QObject>

namespace cobblet {

class ConfigManager;

/// The drafts of all groups that are edited and not applied yet. They live as long as the program, so that neither
/// another page nor a closed window loses one, and follow what others change in the stored groups. The draft of a
/// group that is deleted waits for it to come back. Main thread only.
class GroupDrafts : public QObject {
    Q_OBJECT
public:
    /// The store outlives the object.
    explicit GroupDrafts(ConfigManager &config);

    /// Whether there is something to apply.
    bool hasDraft(const QUuid &group) const { return m_drafts.contains(group); }
    /// The draft, or the group as it is stored.
    DraftAppearance draft(const QUuid &group) const;
    /// A draft that is like the stored group is none.
    void set(const QUuid &group, const DraftAppearance &draft);
    /// Stores the draft, with what others changed meanwhile in fields that it leaves alone. A failure keeps it.
    Status apply(const QUuid &group);

signals:
    /// draft() is another one than before.
    void changed(const QUuid &group);
    /// hasDraft() is, of some group.
    void membersChanged();

private:
    struct Draft {
        DraftAppearance base; ///< the stored group as the draft knows it
        DraftAppearance now;
        bool isUnsaved = false; ///< it was applied, but the file did not take it
    };

    void follow();

    ConfigManager &m_config;
    QHash<QUuid, Draft> m_drafts;
};

} // namespace cobblet
