#include "standalone/IconProvider.h"

#include "platform/Workspace.h"

#include <utility>

namespace cobblet {

namespace {

/// So many icons are announced at once: views that wait are served early, and not icon by icon.
constexpr int batchSize = 16;

} // namespace

IconProvider::IconProvider(Workspace &workspace, qreal devicePixelRatio, QObject *parent)
    : QObject(parent), m_workspace(workspace), m_state{devicePixelRatio}
{
    connect(&workspace, &Workspace::installedApplicationsChanged, this, &IconProvider::reload);
}

IconProvider::~IconProvider()
{
    {
        const std::lock_guard lock(m_jobsMutex);
        m_isStopping = true;
        m_jobs.clear();
    }
    if (m_worker.joinable())
        m_worker.join();
}

QImage IconProvider::icon(const QString &bundleID)
{
    State drawnFor{};
    {
        const std::shared_lock lock(m_cacheMutex);
        if (const auto it = m_cache.constFind(bundleID); it != m_cache.cend())
            return *it;
        drawnFor = m_state;
    }
    QImage image = m_workspace.icon(bundleID, iconPoints, drawnFor.ratio);
    if (image.isNull())
        image = fallback(drawnFor);
    store({{bundleID, image}}, drawnFor);
    return image;
}

QImage IconProvider::fallback(const State &drawnFor)
{
    {
        const std::shared_lock lock(m_cacheMutex);
        if (!m_fallback.isNull() && drawnFor.generation == m_state.generation)
            return m_fallback;
    }
    const QImage image = m_workspace.genericIcon(iconPoints, drawnFor.ratio);
    const std::unique_lock lock(m_cacheMutex);
    if (drawnFor.generation == m_state.generation)
        m_fallback = image;
    return image;
}

QImage IconProvider::cached(const QString &bundleID) const
{
    const std::shared_lock lock(m_cacheMutex);
    return m_cache.value(bundleID);
}

bool IconProvider::store(const QHash<QString, QImage> &icons, const State &drawnFor)
{
    const std::unique_lock lock(m_cacheMutex);
    if (drawnFor.generation != m_state.generation)
        return false;
    m_cache.insert(icons);
    return true;
}

void IconProvider::preload(const QStringList &bundleIDs)
{
    Job job;
    {
        const std::shared_lock lock(m_cacheMutex);
        for (const QString &id : bundleIDs)
            if (!m_cache.contains(id))
                job.bundleIDs.append(id);
    }
    if (!job.bundleIDs.isEmpty())
        enqueue(std::move(job));
}

void IconProvider::setDevicePixelRatio(qreal ratio)
{
    {
        const std::unique_lock lock(m_cacheMutex);
        if (ratio == m_state.ratio)
            return;
        m_state.ratio = ratio;
    }
    clear();
}

void IconProvider::clear()
{
    {
        const std::unique_lock lock(m_cacheMutex);
        ++m_state.generation;
        m_cache.clear();
        m_fallback = {};
    }
    emit iconsChanged();
}

void IconProvider::reload()
{
    // The icons on screen stay until the new ones are here, so that nothing flickers.
    Job job;
    job.replaces = true;
    {
        const std::shared_lock lock(m_cacheMutex);
        job.bundleIDs = m_cache.keys();
    }
    if (!job.bundleIDs.isEmpty())
        enqueue(std::move(job));
}

void IconProvider::enqueue(Job job)
{
    const std::lock_guard lock(m_jobsMutex);
    if (m_isStopping)
        return;
    m_jobs.append(std::move(job));
    if (m_isWorking)
        return;
    m_isWorking = true;
    if (m_worker.joinable())
        m_worker.join(); // it has left work() behind
    m_worker = std::thread([this] { work(); });
}

void IconProvider::work()
{
    while (true) {
        Job job;
        {
            const std::lock_guard lock(m_jobsMutex);
            if (m_jobs.isEmpty()) {
                m_isWorking = false;
                return;
            }
            job = m_jobs.takeFirst();
        }
        load(job);
    }
}

bool IconProvider::isStopping() const
{
    const std::lock_guard lock(m_jobsMutex);
    return m_isStopping;
}

void IconProvider::announce(const QStringList &bundleIDs)
{
    {
        const std::lock_guard lock(m_jobsMutex);
        m_unannounced.append(bundleIDs);
    }
    QMetaObject::invokeMethod(this, &IconProvider::emitLoaded, Qt::QueuedConnection);
}

void IconProvider::emitLoaded()
{
    QStringList bundleIDs;
    {
        const std::lock_guard lock(m_jobsMutex);
        bundleIDs = std::exchange(m_unannounced, {});
    }
    if (!bundleIDs.isEmpty())
        emit loaded(bundleIDs);
}

void IconProvider::load(const Job &job)
{
    State drawnFor{};
    {
        const std::shared_lock lock(m_cacheMutex);
        drawnFor = m_state;
    }
    bool changed = false;
    for (qsizetype first = 0; first < job.bundleIDs.size(); first += batchSize) {
        QHash<QString, QImage> icons;
        for (const QString &id : job.bundleIDs.mid(first, batchSize)) {
            if (isStopping())
                return;
            const QImage before = cached(id);
            if (!job.replaces && !before.isNull())
                continue;
            QImage image = m_workspace.icon(id, iconPoints, drawnFor.ratio);
            if (image.isNull() && job.replaces)
                image = fallback(drawnFor);
            if (!image.isNull() && image != before)
                icons.insert(id, image);
        }
        if (icons.isEmpty() || !store(icons, drawnFor))
            continue;
        changed = true;
        if (!job.replaces)
            announce(icons.keys());
    }
    if (changed && job.replaces)
        QMetaObject::invokeMethod(this, &IconProvider::iconsChanged, Qt::QueuedConnection);
}

} // namespace cobblet
