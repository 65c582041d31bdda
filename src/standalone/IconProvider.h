#pragma once

#include <QHash>
#include <QImage>
#include <QObject>
#include <QStringList>

#include <mutex>
#include <shared_mutex>
#include <thread>

namespace cobblet {

class Workspace;

/// Application icons by bundle identifier, looked up once per process and kept. When the installed applications
/// change, the kept icons are looked up again in the background. Any thread, unless stated.
class IconProvider : public QObject {
    Q_OBJECT
public:
    /// The side of an icon, in points.
    static constexpr int iconPoints = 64;

    /// Icons are drawn for this ratio of device pixels to points. Main thread.
    IconProvider(Workspace &workspace, qreal devicePixelRatio, QObject *parent = nullptr);
    /// Waits for the icon that is being loaded.
    ~IconProvider() override;

    /// Never null: the generic icon stands in for an application without one. Loads on the caller's thread
    /// when the icon is not cached.
    QImage icon(const QString &bundleID);
    /// The cached icon; null when it is not loaded yet.
    QImage cached(const QString &bundleID) const;
    /// Loads on a background thread what is not cached, skipping identifiers of no installed application.
    void preload(const QStringList &bundleIDs);
    /// Another ratio forgets every icon. Main thread.
    void setDevicePixelRatio(qreal ratio);
    /// Forgets every icon; views ask again on iconsChanged(). Main thread.
    void clear();

signals:
    /// On the main thread: these icons are cached now.
    void loaded(const QStringList &bundleIDs);
    /// On the main thread: every icon may be another one than before.
    void iconsChanged();

private:
    /// Icons to load in the background.
    struct Job {
        QStringList bundleIDs;
        bool replaces = false; ///< of icons that are cached already
    };
    /// What icons are drawn for. An icon drawn for an earlier state is not stored.
    struct State {
        qreal ratio;
        int generation = 0;
    };

    QImage fallback(const State &drawnFor);
    /// Whether the state was still current.
    bool store(const QHash<QString, QImage> &icons, const State &drawnFor);
    void enqueue(Job job);
    void work();
    void load(const Job &job);
    /// From the worker to the main thread.
    void announce(const QStringList &bundleIDs);
    void emitLoaded();
    void reload();
    bool isStopping() const;

    Workspace &m_workspace;

    // Standard primitives, not the toolkit's: ThreadSanitizer sees through these only.
    mutable std::shared_mutex m_cacheMutex;
    QHash<QString, QImage> m_cache;
    QImage m_fallback; ///< made when first needed
    State m_state;

    mutable std::mutex m_jobsMutex;
    QList<Job> m_jobs;
    QStringList m_unannounced;
    bool m_isWorking = false;
    bool m_isStopping = false;
    std::thread m_worker; ///< lives only while there are jobs
};

} // namespace cobblet
