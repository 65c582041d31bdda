#include "support/FakeDesktop.h"

namespace cobblet::test {

namespace {

void write(Log *log, const QString &line)
{
    if (log)
        log->append(line);
}

QString easingName(Easing easing)
{
    return easing == Easing::In ? QStringLiteral("in") : QStringLiteral("out");
}

QImage square(int points, qreal ratio, const QColor &color)
{
    const int side = qRound(points * ratio);
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(color);
    return image;
}

} // namespace

std::optional<QVariant> FakeDefaults::object(const QString &key) const
{
    for (const auto *map : {&stored, &registered})
        if (const auto it = map->constFind(key); it != map->cend())
            return *it;
    return std::nullopt;
}

Status FakeDefaults::set(const QString &key, const QVariant &value)
{
    stored[key] = value.metaType() == QMetaType::fromType<int>() ? QVariant::fromValue(qint64(value.toInt())) : value;
    emit didChange();
    return {};
}

Status FakeDefaults::remove(const QString &key)
{
    stored.remove(key);
    emit didChange();
    return {};
}

void FakeWorkspace::install(const QString &bundleID, const QString &name)
{
    installed[bundleID] = {bundleID, name.isEmpty() ? bundleID : name,
                           QStringLiteral("/apps/%1.desktop").arg(bundleID)};
}

std::optional<InstalledApplication> FakeWorkspace::application(const QString &bundleID) const
{
    const auto it = installed.constFind(resolved(bundleID));
    return it == installed.cend() ? std::nullopt : std::optional(*it);
}

Result<InstalledApplication> FakeWorkspace::applicationAt(const QString &path) const
{
    for (const InstalledApplication &application : installed)
        if (application.path == path)
            return application;
    return Error{QStringLiteral("%1 is not an application.").arg(path)};
}

void FakeWorkspace::open(const QString &bundleID, Completion done, const QString &)
{
    opened.append(bundleID);
    write(m_log, QStringLiteral("open ") + bundleID);
    if (done)
        done(application(bundleID) ? Status() : Status(Error{QStringLiteral("%1 is not installed.").arg(bundleID)}));
}

void FakeWorkspace::openBundle(const QString &path, const QStringList &arguments, Completion done)
{
    openedBundles.append(path + QLatin1Char(' ') + arguments.join(QLatin1Char(' ')));
    if (done)
        done(bundleOutcome);
}

void FakeWorkspace::reveal(const QString &bundleID, Completion done)
{
    write(m_log, QStringLiteral("reveal ") + bundleID);
    if (done)
        done({});
}

QImage FakeWorkspace::icon(const QString &bundleID, int points, qreal ratio) const
{
    if (!application(bundleID))
        return {};
    return square(points, ratio, QColor::fromHsv(int(qHash(resolved(bundleID)) % 360), 160, 210));
}

QImage FakeWorkspace::genericIcon(int points, qreal ratio) const
{
    return square(points, ratio, Qt::gray);
}

void FakeRunningApplications::launch(const RunningApplication &application)
{
    running.append(application);
    emit didLaunch(application);
}

void FakeRunningApplications::quit(const RunningApplication &application)
{
    running.removeOne(application);
    emit didTerminate(application);
}

void FakeRunningApplications::record(const QString &verb, const RunningApplication &application)
{
    const QString line =
        QStringLiteral("%1 %2 %3").arg(verb, application.bundleIdentifier).arg(application.processIdentifier);
    calls.append(line);
    write(m_log, line);
}

bool FakeWindowAccess::isTrusted(bool prompt)
{
    prompts += prompt ? 1 : 0;
    return trusted;
}

void FakeWindowAccess::unminimizeWindows(const RunningApplication &application)
{
    write(m_log, QStringLiteral("unminimize ") + application.bundleIdentifier);
}

void FakeWindowAccess::reopen(const RunningApplication &application)
{
    write(m_log, QStringLiteral("reopen ") + application.bundleIdentifier);
}

void FakePanelSurface::animatePlace(const PanelPlace &place, double seconds, Easing easing)
{
    frame = place.frame;
    animations.append(QStringLiteral("frame %1x%2 %3 %4")
                          .arg(frame.width())
                          .arg(frame.height())
                          .arg(seconds)
                          .arg(easingName(easing)));
}

void FakePanelSurface::setAlpha(double a)
{
    alpha = m_target = a;
    m_done = nullptr;
}

void FakePanelSurface::fade(double a, double seconds, Easing easing, std::function<void()> done)
{
    m_target = a;
    m_done = std::move(done);
    animations.append(QStringLiteral("fade %1 %2 %3").arg(a).arg(seconds).arg(easingName(easing)));
}

void FakePanelSurface::makeKeyAndOrderFront()
{
    visible = true;
    ++madeKey;
}

void FakePanelSurface::finishFade()
{
    alpha = m_target;
    if (const auto done = std::exchange(m_done, nullptr))
        done();
}

void FakeAppearance::setDark(bool value)
{
    dark = value;
    emit changed();
}

Status FakeDistributedNotifications::post(const QString &name, const QString &object)
{
    posted.append(name + QLatin1Char(' ') + object);
    emit received(name, object);
    return {};
}

void FakeDialogs::ask(const Alert &alert, std::function<void(std::optional<int>)> answer)
{
    alerts.append(alert);
    if (waits)
        pending = std::move(answer);
    else if (answer)
        answer(button);
}

void FakeDialogs::chooseFiles(const FileRequest &request, std::function<void(const QStringList &)> answer)
{
    requests.append(request);
    answer(files);
}

void FakeDialogs::saveFile(const FileRequest &request, std::function<void(const std::optional<QString> &)> answer)
{
    requests.append(request);
    answer(files.isEmpty() ? std::nullopt : std::optional(files.first()));
}

std::vector<Result<HotKeys::Handle>> FakeHotKeys::registerAll(const QList<HotKey> &keys)
{
    asked = keys;
    std::vector<Result<Handle>> results;
    for (const HotKey &key : keys) {
        if (taken.contains(key.id.id)) {
            results.emplace_back(Error{QStringLiteral("taken")});
        } else if (empty.contains(key.id.id)) {
            results.emplace_back(Handle());
        } else {
            held.append(key.id.id);
            results.emplace_back(std::make_unique<Registration>(this, key.id));
        }
    }
    return results;
}

} // namespace cobblet::test
