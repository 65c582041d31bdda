#pragma once

#include <QHash>
#include <QImage>
#include <QObject>
#include <QReadWriteLock>
#include <QStringList>

namespace cobblet {

class Workspace;

/// Application icons by bundle identifier, looked up once per process and kept. Any thread, unless stated.
class IconProvider : public QObject {
    Q_OBJECT
public:
    /// The side of an icon, in points.
    static constexpr int iconPoints = 64;

    /// Icons are drawn for this ratio of device pixels to points. Main thread.
    IconProvider(Workspace &workspace, qreal devicePixelRatio, QObject *parent = nullptr);
    /// Waits for running loads.
    ~IconProvider() override;

    /// Never null: the generic icon stands in for an application without one. Loads on the caller's thread
    /// when the icon is not cached.
    QImage icon(const QString &bundleID);
    /// The cached icon; null when it is not loaded yet.
    QImage cached(const QString &bundleID) const;
    /// Loads on background threads what is not cached, skipping identifiers of no installed application.
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
    Workspace &m_workspace;
};

} // namespace cobblet
