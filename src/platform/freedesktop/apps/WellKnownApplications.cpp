#include "platform/freedesktop/apps/WellKnownApplications.h"

#include <QFileInfo>
#include <QMutexLocker>
#include <QStandardPaths>

#include <algorithm>
#include <optional>
#include <tuple>

namespace cobblet {

namespace {

/// How a well-known identifier's counterpart is found. The rules are tried from left to right:
///   default:TYPE       the default application for a MIME type or URL scheme
///   id:ID              this application, when it is installed
///   command:NAME       the application of the program that the system's choice NAME stands for
///   category:A+B       an application in all these menu categories
///   keyword:WORD       an application with this search keyword
struct WellKnown {
    const char *id;
    const char *rules;
};

constexpr WellKnown table[] = {
    {"com.apple.mail", "default:x-scheme-handler/mailto category:email"},
    {"com.apple.iCal", "default:text/calendar default:x-scheme-handler/webcal category:calendar keyword:calendar"},
    {"com.apple.Notes", "id:org.gnome.Notes id:org.gnome.bijiben id:org.kde.knotes id:org.gnome.Gnote "
                        "id:xfce4-notes keyword:notes keyword:note"},
    {"com.apple.reminders", "id:org.gnome.Todo id:org.gnome.Endeavour id:org.kde.zanshin "
                            "keyword:reminders keyword:reminder keyword:todo keyword:tasks keyword:task"},
    {"com.apple.Photos", "id:org.gnome.Photos id:org.gnome.Shotwell id:shotwell id:org.kde.digikam "
                         "category:graphics+photography default:image/jpeg category:graphics+viewer"},
    {"com.apple.Preview",
     "default:application/pdf category:office+viewer default:image/png category:graphics+viewer"},
    {"com.apple.Terminal", "command:x-terminal-emulator category:terminalemulator"},
    {"com.apple.ActivityMonitor",
     "id:org.gnome.SystemMonitor id:gnome-system-monitor id:org.kde.plasma-systemmonitor "
     "id:org.kde.ksysguard id:xfce4-taskmanager category:system+monitor category:monitor"},
    {"com.apple.DiskUtility", "id:org.gnome.DiskUtility id:org.gnome.Disks id:org.kde.partitionmanager id:gparted "
                              "category:system+filesystem keyword:partition keyword:disk"},
    {"com.apple.Safari", "default:x-scheme-handler/https default:x-scheme-handler/http default:text/html "
                         "category:webbrowser"},
    {"com.apple.finder", "default:inode/directory category:filemanager"},
    {"com.apple.systempreferences", "id:org.gnome.Settings id:gnome-control-center id:systemsettings "
                                    "id:org.kde.systemsettings id:xfce-settings-manager id:cinnamon-settings "
                                    "id:matecc id:lxqt-config keyword:preferences"},
    {"com.apple.calculator", "id:org.gnome.Calculator id:org.kde.kcalc category:calculator keyword:calculator "
                             "keyword:calculation"},
    {"com.apple.TextEdit", "default:text/plain category:texteditor"},
    {"com.apple.Music", "default:audio/mpeg default:audio/flac category:audio+player category:music"},
    {"com.apple.AddressBook", "default:text/vcard default:text/x-vcard category:contactmanagement keyword:contacts"},
    {"com.apple.Maps", "id:org.gnome.Maps id:org.kde.marble default:x-scheme-handler/geo category:maps keyword:maps"},
    {"com.apple.QuickTimePlayerX", "default:video/mp4 category:video+player"},
    {"com.apple.TV", "default:video/mp4 category:video+player"},
    {"com.apple.iBooksX", "default:application/epub+zip category:literature keyword:ebook"},
    {"com.apple.MobileSMS", "default:x-scheme-handler/xmpp default:x-scheme-handler/im category:instantmessaging "
                            "category:chat"},
    {"com.apple.FaceTime", "category:videoconference category:telephony"},
    {"com.apple.PhotoBooth", "id:org.gnome.Cheese id:org.gnome.Snapshot id:org.kde.kamoso keyword:webcam"},
    {"com.apple.AppStore", "default:x-scheme-handler/appstream category:packagemanager"},
    {"com.apple.FontBook", "id:org.gnome.font-viewer id:org.kde.kfontview keyword:fonts"},
    {"com.apple.Dictionary", "id:org.gnome.Dictionary category:dictionary"},
    {"com.apple.Stickies", "id:org.kde.knotes id:xpad keyword:notes keyword:note"},
    {"com.apple.VoiceMemos", "id:org.gnome.SoundRecorder category:recorder"},
    {"com.apple.weather", "id:org.gnome.Weather id:org.kde.kweather keyword:weather"},
    {"com.apple.clock", "id:org.gnome.clocks id:org.kde.kclock category:clock"},
    {"com.apple.Chess", "id:org.gnome.Chess id:org.kde.knights keyword:chess"},
    {"com.apple.Console", "id:org.gnome.Logs id:org.kde.ksystemlog keyword:logs"},
    {"com.apple.keychainaccess", "id:org.gnome.seahorse.Application id:org.kde.kwalletmanager5 keyword:keyring"},
    {"com.apple.archiveutility", "default:application/zip category:archiving"},
    {"com.apple.screenshot.launcher", "id:org.gnome.Screenshot id:org.kde.spectacle id:xfce4-screenshooter "
                                      "keyword:screenshot"},
    {"com.apple.dt.Xcode", "id:org.gnome.Builder id:org.kde.kdevelop category:ide"},
    {"com.apple.iWork.Pages", "id:libreoffice-writer category:wordprocessor"},
    {"com.apple.iWork.Numbers", "id:libreoffice-calc category:spreadsheet"},
    {"com.apple.iWork.Keynote", "id:libreoffice-impress category:presentation"},
};

/// Null for an identifier that is not well known.
const char *rulesOf(const QString &id)
{
    for (const WellKnown &item : table)
        if (id.compare(QLatin1String(item.id), Qt::CaseInsensitive) == 0)
            return item.rules;
    return nullptr;
}

} // namespace

QString WellKnownApplications::resolved(const QString &id) const
{
    const char *rules = rulesOf(id);
    if (!rules)
        return id;
    const QMutexLocker lock(&m_mutex);
    if (const auto known = m_resolved.constFind(id); known != m_resolved.cend())
        return *known;
    QString answer = id;
    for (const QByteArray &rule : QByteArray(rules).split(' '))
        if (const QString counterpart = candidate(rule); m_installed.entry(counterpart).ok()) {
            answer = counterpart;
            break;
        }
    m_resolved.insert(id, answer);
    return answer;
}

void WellKnownApplications::forget()
{
    const QMutexLocker lock(&m_mutex);
    m_resolved.clear();
}

QString WellKnownApplications::candidate(const QByteArray &rule) const
{
    const qsizetype colon = rule.indexOf(':');
    const QByteArray kind = rule.left(colon);
    const QByteArray value = rule.mid(colon + 1);
    if (kind == "default")
        return InstalledApplications::defaultFor(value);
    if (kind == "id")
        return QString::fromLatin1(value);
    if (kind == "category")
        return byTraits(value.split('+'), {});
    if (kind == "keyword")
        return byTraits({}, value);
    // A command.
    const QFileInfo program(QStandardPaths::findExecutable(QString::fromLatin1(value)));
    const auto index = m_installed.index();
    for (const IndexEntry *entry : index->byProgram(QFileInfo(program.canonicalFilePath()).fileName()))
        if (entry->visible && m_installed.entry(entry->id).ok())
            return entry->id;
    return {};
}

/// Among several, the one that belongs to the running desktop, then the one with the shortest identifier (a
/// program's plain variant), then the first in the alphabet.
QString WellKnownApplications::byTraits(const QByteArrayList &categories, const QByteArray &keyword) const
{
    const QByteArrayList desktops = qgetenv("XDG_CURRENT_DESKTOP").toLower().split(':');
    const auto index = m_installed.index();
    using Match = std::tuple<bool, qsizetype, QString>;
    std::optional<Match> best;
    for (const IndexEntry &item : index->entries()) {
        const QByteArrayList &own = item.entry.categories;
        const auto isOwn = [&](const QByteArray &category) { return own.contains(category); };
        if (!item.visible || !std::all_of(categories.begin(), categories.end(), isOwn) ||
            (!keyword.isEmpty() && !item.entry.keywords.contains(keyword)))
            continue;
        const Match match{std::none_of(desktops.begin(), desktops.end(), isOwn), item.id.size(), item.id};
        if ((!best || match < *best) && m_installed.entry(item.id).ok())
            best = match;
    }
    return best ? std::get<2>(*best) : QString();
}

} // namespace cobblet
