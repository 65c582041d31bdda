#pragma once

#include "platform/Appearance.h"
#include "platform/Dialogs.h"
#include "platform/DistributedNotifications.h"
#include "platform/DockTile.h"
#include "platform/HotKeys.h"
#include "platform/Instance.h"
#include "platform/Menus.h"
#include "platform/PanelSurface.h"
#include "platform/Pasteboard.h"
#include "platform/RunningApplications.h"
#include "platform/Screens.h"
#include "platform/StatusItem.h"
#include "platform/UserDefaults.h"
#include "platform/WindowAccess.h"
#include "platform/Workspace.h"

#include <QMap>
#include <QSet>
#include <QStringList>

/// An in-memory desktop that records what is asked of it. Every fake writes its calls, as text, into one shared
/// log where a log is given, so that a test can compare order across services.
namespace cobblet::test {

using Log = QStringList;

class FakeDefaults : public UserDefaults {
public:
    std::optional<QVariant> object(const QString &key) const override;
    bool contains(const QString &key) const override { return stored.contains(key); }
    Status set(const QString &key, const QVariant &value) override;
    Status remove(const QString &key) override;
    void registerDefault(const QString &key, const QVariant &value) override { registered[key] = value; }
    Availability availability() const override { return Availability::works(); }

    QMap<QString, QVariant> stored;
    QMap<QString, QVariant> registered;
};

class FakeWorkspace : public Workspace {
public:
    explicit FakeWorkspace(Log *log = nullptr) : m_log(log) {}

    QString resolved(const QString &bundleID) const override { return aliases.value(bundleID, bundleID); }
    std::optional<InstalledApplication> application(const QString &bundleID) const override;
    Result<InstalledApplication> applicationAt(const QString &path) const override;
    Availability availability() const override { return {}; }
    void open(const QString &bundleID, Completion done, const QString &activationToken) override;
    void openBundle(const QString &path, const QStringList &arguments, Completion done) override;
    void reveal(const QString &bundleID, Completion done) override;
    QImage icon(const QString &bundleID, int points, qreal ratio) const override;
    QImage genericIcon(int points, qreal ratio) const override;
    QString applicationsFolder() const override { return QStringLiteral("/apps"); }

    /// Adds an application whose file is "/apps/ID.desktop".
    void install(const QString &bundleID, const QString &name = {});

    QMap<QString, InstalledApplication> installed;
    QMap<QString, QString> aliases;
    QStringList opened;
    QStringList openedBundles; ///< "PATH ARGUMENTS"
    Status bundleOutcome;      ///< of every openBundle()

private:
    Log *m_log;
};

class FakeRunningApplications : public RunningApplications {
public:
    explicit FakeRunningApplications(Log *log = nullptr) : m_log(log) {}

    QList<RunningApplication> runningApplications() const override { return running; }
    Availability availability() const override { return seen; }
    void hide(const RunningApplication &a) override { record(QStringLiteral("hide"), a); }
    void unhide(const RunningApplication &a) override { record(QStringLiteral("unhide"), a); }
    void activate(const RunningApplication &a) override { record(QStringLiteral("activate"), a); }
    void terminate(const RunningApplication &a) override { record(QStringLiteral("terminate"), a); }
    void forceTerminate(const RunningApplication &a) override { record(QStringLiteral("forceTerminate"), a); }

    void launch(const RunningApplication &application);
    void quit(const RunningApplication &application);

    QList<RunningApplication> running;
    QStringList calls; ///< "hide ID PID"
    Availability seen; ///< whether other applications can be seen

private:
    void record(const QString &verb, const RunningApplication &application);
    Log *m_log;
};

class FakeWindowAccess : public WindowAccess {
public:
    explicit FakeWindowAccess(Log *log = nullptr) : m_log(log) {}
    Availability availability() const override { return Availability::works(); }
    bool isTrusted(bool prompt) override;
    void unminimizeWindows(const RunningApplication &application) override;
    void reopen(const RunningApplication &application) override;

    bool trusted = true;
    int prompts = 0;

private:
    Log *m_log;
};

class FakeScreens : public Screens {
public:
    Availability availability() const override { return Availability::works(); }
    QList<Screen> screens() const override { return list; }
    std::optional<QPointF> pointer() const override { return pointerPosition; }
    QRectF toWindowSystem(const QRectF &yUp) const override { return yUp; }
    void replace(const QList<Screen> &screens)
    {
        list = screens;
        emit changed();
    }

    QList<Screen> list{{QStringLiteral("main"), QRectF(0, 0, 1440, 900), QRectF(0, 60, 1440, 840)}};
    std::optional<QPointF> pointerPosition;
};

/// Fades and frame animations are held until finishFade().
class FakePanelSurface : public PanelSurface {
public:
    Availability availability() const override { return Availability::works(); }
    bool isVisible() const override { return visible; }
    void setPlace(const PanelPlace &place) override { frame = place.frame; }
    void animatePlace(const PanelPlace &place, double seconds, Easing easing) override;
    void setAlpha(double a) override;
    void fade(double a, double seconds, Easing easing, std::function<void()> done) override;
    void makeKeyAndOrderFront() override;
    void orderOut() override { visible = false; }
    KeyWindow otherKeyWindow() const override { return otherKey; }
    void orderOutOtherKeyWindow() override
    {
        otherKey = KeyWindow::None;
        ++orderedOutOther;
    }
    bool hasModalWindow() const override { return modal; }

    void finishFade();
    void resignKey() { emit resignedKey(); }

    bool visible = false;
    bool modal = false;
    KeyWindow otherKey = KeyWindow::None;
    QRectF frame;
    double alpha = 1;
    int madeKey = 0;
    int orderedOutOther = 0;
    QStringList animations; ///< "fade 1 0.18 out", "frame 600x340 0.18 out"

private:
    double m_target = 1;
    std::function<void()> m_done;
};

class FakeAppearance : public Appearance {
public:
    Availability availability() const override { return {}; }
    bool isDark() const override { return dark; }
    QColor accentColor() const override { return QColor(0, 122, 255); }
    void setDark(bool value);

    bool dark = false;
};

class FakeDistributedNotifications : public DistributedNotifications {
public:
    Availability availability() const override { return {}; }
    Status post(const QString &name, const QString &object) override;
    QStringList posted; ///< "NAME OBJECT"
};

/// Answers alerts with `button` unless `waits` is set, file panels with `files`, at once.
class FakeDialogs : public Dialogs {
public:
    Availability availability() const override { return Availability::works(); }
    void ask(const Alert &alert, std::function<void(std::optional<int>)> answer) override;
    void chooseFiles(const FileRequest &request, std::function<void(const QStringList &)> answer) override;
    void saveFile(const FileRequest &request, std::function<void(const std::optional<QString> &)> answer) override;

    std::optional<int> button;
    bool waits = false;
    std::function<void(std::optional<int>)> pending; ///< the answer to the last alert, while it waits
    QStringList files;
    QList<Alert> alerts;
    QList<FileRequest> requests;
};

class FakePasteboard : public Pasteboard {
public:
    Availability availability() const override { return Availability::works(); }
    void setText(const QString &value) override { text = value; }

    QString text;
};

class FakeMenus : public Menus {
public:
    Availability availability() const override { return Availability::works(); }
    void popUp(const QList<MenuItem> &items, QWindow *, const QPointF &) override { last = items; }

    QList<MenuItem> last;
};

class FakeStatusItem : public StatusItem {
public:
    Availability availability() const override { return Availability::works(); }
    void setImage(Template value, const QString &accessibilityDescription) override
    {
        image = std::move(value);
        description = accessibilityDescription;
    }
    void setMenu(const QList<MenuItem> &items) override { menu = items; }
    void show() override { ++shown; }

    Template image;
    QString description;
    QList<MenuItem> menu;
    int shown = 0;
};

class FakeDockTile : public DockTile {
public:
    Availability availability() const override { return Availability::works(); }
    void setIcon(const QImage &image) override { icon = image; }
    void activateApplication() override { ++activations; }
    void setMenu(std::function<QList<DockMenuItem>()> items, std::function<bool(const QString &)> chosen) override
    {
        menu = std::move(items);
        choose = std::move(chosen);
    }

    QImage icon;
    std::function<QList<DockMenuItem>()> menu;
    std::function<bool(const QString &)> choose;
    int activations = 0;
};

/// Refuses the ids in `taken`, and gives an empty handle for those in `empty`.
class FakeHotKeys : public HotKeys {
public:
    std::vector<Result<Handle>> registerAll(const QList<HotKey> &keys) override;
    Availability availability() const override { return available; }
    QString trigger(const HotKeyID &) const override { return {}; }
    void press(quint32 id) { emit pressed({0, id}); }
    void refuse(quint32 id) { emit refused({0, id}, QStringLiteral("refused")); }

    Availability available;
    QSet<quint32> taken;
    QSet<quint32> empty;
    QList<HotKey> asked;
    QList<quint32> held; ///< registered and not unregistered

private:
    void unregister(const HotKeyID &id) override { held.removeOne(id.id); }
};

class FakeInstance : public Instance {
public:
    Availability availability() const override { return {}; }
    Role claim(const QStringList &) override { return role; }
    void sendReopen(const QString &token = {}) { emit reopen(token); }

    Role role = Role::First;
};

} // namespace cobblet::test
