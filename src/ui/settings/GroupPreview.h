#pragma once

#include "model/AppGroup.h"

#include <QImage>
#include <QObject>
#include <QThreadPool>
#include <QVariant>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

class GroupIconProvider;

/// The tile that a group would have, 128 points wide. One of application icons is drawn in the background, because
/// icons may have to be looked up first. Main thread only.
class GroupPreview : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("GroupEditor.preview is the one instance.")
    Q_PROPERTY(QVariant image READ image NOTIFY changed)
public:
    /// The icons outlive the object.
    explicit GroupPreview(const GroupIconProvider &icons);
    /// Waits for the tile that is being drawn.
    ~GroupPreview() override;

    QVariant image() const { return m_image; }
    void show(const AppGroup &group);
    /// Draws the same tile again, because icons changed.
    void redraw();

signals:
    void changed();

private:
    void set(QImage image);
    QImage drawn(const AppGroup &group) const;

    const GroupIconProvider &m_icons;
    AppGroup m_group; ///< with nothing but what a tile shows
    QImage m_image;
    bool m_isDrawing = false;
    bool m_isStale = false; ///< what is being drawn is out of date
    QThreadPool m_worker;
};

} // namespace cobblet
