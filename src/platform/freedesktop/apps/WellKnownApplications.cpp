#include "platform/freedesktop/apps/WellKnownApplications.h"

#include <QFileInfo>
#include <QMutexLocker>
#include <QStandardPaths>

#include <algorithm>
#include <iterator>
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

const WellKnown *find(const QString &id)
{
    const auto found = std::find_if(std::begin(table), std::end(table), [&](const WellKnown &item) {
        return id.compare(QLatin1String(item.id), Qt::CaseInsensitive) == 0;
    });
    return found == std::end(table) ? nullptr : found;
}

} // namespace

WellKnownApplications::WellKnownApplications(const InstalledApplications &installed, MimeDefaults mimeDefaults)
    : m_installed(installed), m_mimeDefaults(std::move(mimeDefaults))
{
}

bool WellKnownApplications::isWellKnown(const QString &id)
{
    return find(id) != nullptr;
}

QString WellKnownApplications::resolved(const QString &id) const
{
    const WellKnown *item = find(id);
    if (!item)
        return id;
    const QMutexLocker lock(&m_mutex);
    if (const auto known = m_resolved.constFind(id); known != m_resolved.cend())
        return *known;
    const QString counterpart = decide(item->rules);
    const QString answer = counterpart.isEmpty() ? id : counterpart;
    m_resolved.insert(id, answer);
    return answer;
}

void WellKnownApplications::forget()
{
    const QMutexLocker lock(&m_mutex);
    m_resolved.clear();
    m_mimeDefaults.forget();
}

QString WellKnownApplications::decide(const QByteArray &rules) const
{
    for (const QByteArray &rule : rules.split(' ')) {
        const qsizetype colon = rule.indexOf(':');
        const QByteArray kind = rule.left(colon);
        const QByteArray value = rule.mid(colon + 1);
        QString id;
        if (kind == "default") {
            id =
                m_mimeDefaults.defaultFor(value, [this](const QString &candidate) { return isInstalled(candidate); });
        } else if (kind == "id") {
            if (const QString exact = QString::fromLatin1(value); isInstalled(exact))
                id = exact;
        } else if (kind == "command") {
            const QFileInfo program(QStandardPaths::findExecutable(QString::fromLatin1(value)));
            const auto index = m_installed.index();
            for (const IndexEntry *entry : index->byProgram(QFileInfo(program.canonicalFilePath()).fileName()))
                if (id.isEmpty() && entry->visible && isInstalled(entry->id))
                    id = entry->id;
        } else if (kind == "category") {
            id = byTraits(value.split('+'), {});
        } else if (kind == "keyword") {
            id = byTraits({}, value);
        }
        if (!id.isEmpty())
            return id;
    }
    return {};
}

/// Among several, the one that belongs to the running desktop, then the one with the shortest identifier (a
/// program's plain variant), then the first in the alphabet.
QString WellKnownApplications::byTraits(const QByteArrayList &categories, const QByteArray &keyword) const
{
    QByteArrayList desktops;
    for (const QString &desktop : InstalledApplications::currentDesktops())
        desktops.append(desktop.toLower().toUtf8());
    const auto index = m_installed.index();
    QList<std::tuple<bool, qsizetype, QString>> matches;
    for (const IndexEntry &item : index->entries()) {
        const QByteArrayList &own = item.entry.categories;
        const bool inAll =
            std::all_of(categories.begin(), categories.end(), [&](const auto &c) { return own.contains(c); });
        if (!item.visible || !inAll || (!keyword.isEmpty() && !item.entry.keywords.contains(keyword)))
            continue;
        const bool foreign =
            std::none_of(desktops.begin(), desktops.end(), [&](const auto &d) { return own.contains(d); });
        matches.append({foreign, item.id.size(), item.id});
    }
    std::sort(matches.begin(), matches.end());
    for (const auto &match : matches)
        if (isInstalled(std::get<2>(match)))
            return std::get<2>(match);
    return {};
}

} // namespace cobblet
