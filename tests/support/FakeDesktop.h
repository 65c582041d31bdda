#pragma once

#include "platform/Appearance.h"
#include "platform/DistributedNotifications.h"
#include "platform/HotKeys.h"
#include "platform/Instance.h"
#include "platform/PanelSurface.h"
#include "platform/RunningApplications.h"
#include "platform/Screens.h"
#include "platform/UserDefaults.h"
#include "platform/WindowAccess.h"
#include "platform/Workspace.h"

#include <QDebug>
#include <QMap>
#include <QSet>
#include <QStringList>
#include <QThread>

#include <mutex>
#include <ostream>

/// How GoogleTest prints the toolkit's values.
template<class T>
requires std::same_as<T, QString> || std::same_as<T, QStringList> || std::same_as<T, QSizeF> ||
    std::same_as<T, QPointF> || std::same_as<T, QRectF>
void PrintTo(const T &value, std::ostream *out)
{
    QString text;
    QDebug(&text) << value;
    *out << text.toStdString();
}

/// An in-memory desktop that records what is asked of it. A fake that is given a log writes its calls into it, as
/// text, so that a test can compare order across services.
namespace cobblet::test {

using namespace Qt::StringLiterals;

using Log = QStringList;

/// A service whose availability a test may set.
template<class Service>
class Fake : public Service {
public:
    Availability availability() const override { return available; }

    Availability available;
};

inline void noteIn(Log *log, const QString &line)
{
    if (log)
        log->append(line);
}

class FakeDefaults : public Fake<UserDefaults> {
public:
    std::optional<QVariant> object(const QString &key) const override
    {
        for (const auto *map : {&stored, &registered})
            if (map->contains(key))
                return map->value(key);
        return std::nullopt;
    }
    bool contains(const QString &key) const override { return stored.contains(key); }
    Status set(const QString &key, const QVariant &value) override
    {
        if (!failure.isEmpty())
            return Error{failure};
        stored[key] = value.metaType() == QMetaType::fromType<int>() ? QVariant(qint64(value.toInt())) : value;
        emit didChange();
        return {};
    }
    Status remove(const QString &key) override
    {
        stored.remove(key);
        emit didChange();
        return {};
    }
    void registerDefault(const QString &key, const QVariant &value) override { registered[key] = value; }

    QMap<QString, QVariant> stored, registered;
    QString failure; ///< why nothing is stored, when that is so
};

class FakeWorkspace : public Fake<Workspace> {
public:
    explicit FakeWorkspace(Log *log = nullptr) : m_log(log) {}

    QString resolved(const QString &bundleID) const override { return aliases.value(bundleID, bundleID); }
    std::optional<InstalledApplication> application(const QString &bundleID) const override
    {
        const std::lock_guard lock(m_mutex); // icons are asked for from other threads
        const auto it = installed.constFind(resolved(bundleID));
        return it == installed.cend() ? std::nullopt : std::optional(*it);
    }
    Result<InstalledApplication> applicationAt(const QString &path) const override
    {
        for (const InstalledApplication &application : installed)
            if (application.path == path)
                return application;
        return Error{u"%1 is not an application."_s.arg(path)};
    }
    void open(const QString &bundleID, Completion done, const QString &) override
    {
        opened.append(bundleID);
        noteIn(m_log, u"open "_s + bundleID);
        if (waits)
            opening.insert(bundleID, done);
        else if (done)
            done(application(bundleID) ? Status() : Error{u"%1 is not installed."_s.arg(bundleID)});
    }
    void openBundle(const QString &path, const QStringList &arguments, Completion done) override
    {
        openedBundles.append(path + QLatin1Char(' ') + arguments.join(QLatin1Char(' ')));
        if (done)
            done(bundleOutcome);
    }
    bool opensUrl(const QString &url) const override { return urls.contains(url); }
    void openUrl(const QString &url, Completion done) override
    {
        opened.append(url);
        if (done)
            done({});
    }
    void reveal(const QString &bundleID, Completion done) override
    {
        noteIn(m_log, u"reveal "_s + bundleID);
        if (done)
            done({});
    }
    QImage icon(const QString &bundleID, int points, qreal ratio) const override
    {
        const bool isInstalled = application(bundleID).has_value();
        const std::lock_guard lock(m_mutex);
        lookups.append({bundleID, QThread::currentThread() == thread()});
        return isInstalled ? square(points, ratio, colour(resolved(bundleID))) : QImage();
    }
    /// Of an application's icon.
    static QColor colour(const QString &resolvedID)
    {
        return {QColor::fromHsv(int(qHash(resolvedID) % 360), 160, 210).rgb()};
    }
    QImage genericIcon(int points, qreal ratio) const override { return square(points, ratio, Qt::gray); }
    void listApplications(std::function<void(const QList<InstalledApplication> &)> answer) override
    {
        QMetaObject::invokeMethod(
            this, [answer, this] { answer(installed.values()); }, Qt::QueuedConnection);
    }
    QString applicationsFolder() const override { return u"/apps"_s; }

    /// Adds an application whose file is "/apps/ID.desktop".
    void install(const QString &bundleID, const QString &name = {})
    {
        const QString path = u"/apps/%1.desktop"_s.arg(bundleID);
        const std::lock_guard lock(m_mutex);
        installed[bundleID] = {bundleID, name.isEmpty() ? bundleID : name, path};
    }
    void uninstall(const QString &bundleID)
    {
        const std::lock_guard lock(m_mutex);
        installed.remove(bundleID);
    }

    QMap<QString, InstalledApplication> installed;
    QMap<QString, QString> aliases;
    QStringList urls; ///< those that something opens
    QStringList opened;
    QStringList openedBundles; ///< "PATH ARGUMENTS"
    Status bundleOutcome;      ///< of every openBundle()
    bool waits = false;        ///< whether what is opened ends when the test says so
    QMap<QString, Completion> opening;
    mutable QList<std::pair<QString, bool>> lookups; ///< of icons, and whether on the main thread

private:
    static QImage square(int points, qreal ratio, const QColor &color)
    {
        QImage image(QSize(1, 1) * qRound(points * ratio), QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(ratio);
        image.fill(color);
        return image;
    }
    mutable std::mutex m_mutex; ///< of `installed` and `lookups`
    Log *m_log;
};

class FakeRunningApplications : public Fake<RunningApplications> {
public:
    explicit FakeRunningApplications(Log *log = nullptr) : m_log(log) {}

    QList<RunningApplication> runningApplications() const override { return running; }
    Recognition recognition(const RunningApplication &a) const override { return recognitions[a.processIdentifier]; }
    QList<Correction> corrections() const override { return corrected; }
    Status correct(const Correction &correction) override
    {
        corrected.removeIf([&](const Correction &known) { return known.mark == correction.mark; });
        if (!correction.bundleIdentifier.isEmpty())
            corrected.append(correction);
        emit correctionsChanged();
        return correctionOutcome;
    }
    void hide(const RunningApplication &a, Completion done) override
    {
        record(u"hide"_s, a);
        if (done)
            hiding.insert(a.processIdentifier, done);
    }
    void unhide(const RunningApplication &a) override { record(u"unhide"_s, a); }
    void activate(const RunningApplication &a) override { record(u"activate"_s, a); }
    void terminate(const RunningApplication &a) override { record(u"terminate"_s, a); }
    void forceTerminate(const RunningApplication &a) override { record(u"forceTerminate"_s, a); }

    void launch(const RunningApplication &application, Origin origin = Origin::Elsewhere)
    {
        running.append(application);
        emit didLaunch(application, origin);
    }
    void quit(const RunningApplication &application)
    {
        running.removeOne(application);
        emit didTerminate(application);
    }

    QList<RunningApplication> running;
    QMap<qint64, Recognition> recognitions; ///< by pid
    QList<Correction> corrected;
    Status correctionOutcome;        ///< of every correct()
    QStringList calls;               ///< "hide ID PID"
    QMap<qint64, Completion> hiding; ///< the ends that the test has to tell, by pid

private:
    void record(const QString &verb, const RunningApplication &application)
    {
        calls.append(u"%1 %2 %3"_s.arg(verb, application.bundleIdentifier).arg(application.processIdentifier));
        noteIn(m_log, calls.last());
    }
    Log *m_log;
};

class FakeWindowAccess : public Fake<WindowAccess> {
public:
    explicit FakeWindowAccess(Log *log = nullptr) : m_log(log) {}
    bool isTrusted(bool prompt) override
    {
        prompts += prompt;
        return trusted;
    }
    void unminimizeWindows(const RunningApplication &application) override
    {
        noteIn(m_log, u"unminimize "_s + application.bundleIdentifier);
    }
    void reopen(const RunningApplication &application) override
    {
        noteIn(m_log, u"reopen "_s + application.bundleIdentifier);
    }

    bool trusted = true;
    int prompts = 0;

private:
    Log *m_log;
};

class FakeScreens : public Fake<Screens> {
public:
    QList<Screen> screens() const override { return list; }
    std::optional<QPointF> pointer() const override { return pointerPosition; }
    QRectF toWindowSystem(const QRectF &yUp) const override { return yUp; }
    void replace(const QList<Screen> &screens)
    {
        list = screens;
        emit changed();
    }

    QList<Screen> list{{u"main"_s, QRectF(0, 0, 1440, 900), QRectF(0, 60, 1440, 840)}};
    std::optional<QPointF> pointerPosition;
};

/// Fades and frame animations are held until finishFade().
class FakePanelSurface : public Fake<PanelSurface> {
public:
    bool isVisible() const override { return visible; }
    void setPlace(const PanelPlace &place) override { frame = place.frame; }
    void animatePlace(const PanelPlace &place, double seconds, Easing easing) override
    {
        frame = place.frame;
        note(u"frame %1x%2"_s.arg(frame.width()).arg(frame.height()), seconds, easing);
    }
    void setAlpha(double a) override
    {
        alpha = m_target = a;
        m_done = nullptr;
    }
    void fade(double a, double seconds, Easing easing, std::function<void()> done) override
    {
        m_target = a;
        m_done = std::move(done);
        note(u"fade %1"_s.arg(a), seconds, easing);
    }
    void makeKeyAndOrderFront() override
    {
        visible = true;
        ++madeKey;
    }
    void orderOut() override { visible = false; }
    KeyWindow otherKeyWindow() const override { return otherKey; }
    void orderOutOtherKeyWindow() override
    {
        otherKey = KeyWindow::None;
        ++orderedOutOther;
    }
    bool hasModalWindow() const override { return modal; }

    void finishFade()
    {
        alpha = m_target;
        if (const auto done = std::exchange(m_done, nullptr))
            done();
    }
    void resignKey() { emit resignedKey(); }

    bool visible = false, modal = false;
    KeyWindow otherKey = KeyWindow::None;
    QRectF frame;
    double alpha = 1;
    int madeKey = 0, orderedOutOther = 0;
    QStringList animations; ///< "fade 1 0.18 out", "frame 600x340 0.18 out"

private:
    void note(const QString &what, double seconds, Easing easing)
    {
        const auto curve = QLatin1String(easing == Easing::In ? "in" : "out");
        animations.append(u"%1 %2 %3"_s.arg(what).arg(seconds).arg(curve));
    }
    double m_target = 1;
    std::function<void()> m_done;
};

class FakeAppearance : public Fake<Appearance> {
public:
    bool isDark() const override { return dark; }
    QColor accentColor() const override { return QColor(0, 122, 255); }
    void setDark(bool value)
    {
        dark = value;
        emit changed();
    }

    bool dark = false;
};

class FakeDistributedNotifications : public Fake<DistributedNotifications> {
public:
    Status post(const QString &name, const QString &object) override
    {
        posted.append(name + QLatin1Char(' ') + object);
        emit received(name, object);
        return {};
    }
    QStringList posted; ///< "NAME OBJECT"
};

/// Refuses the ids in `taken`.
class FakeHotKeys : public Fake<HotKeys> {
public:
    std::vector<Result<Handle>> registerAll(const QList<HotKey> &keys) override
    {
        asked = keys;
        std::vector<Result<Handle>> results;
        for (const HotKey &key : keys) {
            if (taken.contains(key.id.id)) {
                results.emplace_back(Error{u"taken"_s});
                continue;
            }
            held.append(key.id.id);
            results.emplace_back(std::make_unique<Registration>(this, key.id));
        }
        return results;
    }
    QString trigger(const HotKeyID &id) const override { return triggers.value(id.id); }
    void press(quint32 id) { emit pressed({0, id}); }
    void refuse(quint32 id) { emit refused({0, id}, u"refused"_s); }

    QSet<quint32> taken;
    QMap<quint32, QString> triggers;
    QList<HotKey> asked;
    QList<quint32> held; ///< registered and not unregistered

private:
    void unregister(const HotKeyID &id) override { held.removeOne(id.id); }
};

class FakeInstance : public Fake<Instance> {
public:
    Role claim(const QStringList &) override { return Role::First; }
    void sendReopen() { emit reopen({}); }
};

} // namespace cobblet::test
