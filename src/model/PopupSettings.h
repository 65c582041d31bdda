#pragma once

#include "model/AppGroup.h"

#include <QObject>

namespace cobblet {

class UserDefaults;

/// The popup layout in force for one group.
struct EffectivePopupLayout {
    int columns = 0; ///< below 1: as many as fit the standard panel
    int maxRows = 0; ///< below 1: no cap
    bool showsTitles = true;
    PopupAnchor anchor = PopupAnchor::DockCenter;

    bool operator==(const EffectivePopupLayout &) const = default;
};

/// The global popup preferences. They follow the shared defaults; writers just write the keys.
class PopupSettings : public QObject {
    Q_OBJECT
public:
    explicit PopupSettings(UserDefaults &sharedDefaults, QObject *parent = nullptr);

    int columns() const { return m_layout.columns; }
    int maxRows() const { return m_layout.maxRows; }
    bool showsTitles() const { return m_layout.showsTitles; }
    PopupAnchor anchor() const { return m_layout.anchor; }
    bool showsMostUsed() const { return m_showsMostUsed; }

    /// Each value from the group where it sets its own, else the global one; no group: the global values.
    EffectivePopupLayout effectiveLayout(const AppGroup *group) const;

signals:
    /// At least one value is another one than before.
    void changed();

private:
    void load();

    UserDefaults &m_defaults;
    EffectivePopupLayout m_layout;
    bool m_showsMostUsed = true;
};

} // namespace cobblet
