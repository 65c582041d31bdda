#pragma once

#include "ui/settings/SettingsSidebarItem.h"

#include <QList>
#include <QObject>
#include <QString>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

/// A page that stands in the sidebar below the groups.
struct SettingsPageEntry {
    SettingsSidebarItem::Kind kind;
    QString name; ///< in the preferences
    QString title;
    QString symbol;
    QString source; ///< the QML file
};

/// The pages in the sidebar's order. One whose operation this version does not have is left out.
const QList<SettingsPageEntry> &settingsPages();

/// One setting, as its row shows it and the search finds it.
struct SettingEntry {
    Q_GADGET
    QML_ANONYMOUS
    Q_PROPERTY(QString label MEMBER label CONSTANT)
    Q_PROPERTY(QString help MEMBER help CONSTANT)
public:
    QString id;
    SettingsSidebarItem::Kind page = SettingsSidebarItem::Kind::Theme;
    QString label;
    QString help; ///< may be empty
};

/// The settings of all pages but the groups', page by page.
const QList<SettingEntry> &settingEntries();

} // namespace cobblet
