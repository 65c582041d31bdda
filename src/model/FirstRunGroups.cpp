#include "model/FirstRunGroups.h"

namespace cobblet {

namespace {

AppItem app(const char *name, const char *bundleID)
{
    return {QString::fromLatin1(name), QString::fromLatin1(bundleID)};
}

AppGroup group(const char *name, const QString &emoji, const QList<AppItem> &apps)
{
    AppGroup made;
    made.name = QString::fromLatin1(name);
    made.emoji = emoji;
    made.apps = apps;
    return made;
}

} // namespace

QList<AppGroup> firstRunGroups()
{
    return {group("Work", QStringLiteral(u"💼"),
                  {app("Mail", "com.apple.mail"), app("Calendar", "com.apple.iCal"), app("Notes", "com.apple.Notes"),
                   app("Reminders", "com.apple.reminders")}),
            group("Creative", QStringLiteral(u"🎨"),
                  {app("Photos", "com.apple.Photos"), app("Preview", "com.apple.Preview")}),
            group("Utilities", QStringLiteral(u"🔧"),
                  {app("Terminal", "com.apple.Terminal"), app("Activity Monitor", "com.apple.ActivityMonitor"),
                   app("Disk Utility", "com.apple.DiskUtility")})};
}

} // namespace cobblet
