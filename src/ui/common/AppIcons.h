#pragma once

#include "platform/Workspace.h"

#include <QQuickImageProvider>
#include <QUrl>

#include <algorithm>

namespace cobblet {

/// The icons of installed applications for lists that are open for a moment: "image://applications/IDENTIFIER", drawn
/// on the engine's own thread and kept only by the item that shows them.
class AppIcons : public QQuickImageProvider {
public:
    /// The workspace outlives the engine.
    explicit AppIcons(const Workspace &workspace)
        : QQuickImageProvider(Image, ForceAsynchronousImageLoading), m_workspace(workspace)
    {
    }

    QImage requestImage(const QString &escaped, QSize *size, const QSize &requested) override
    {
        const int side = std::clamp(requested.width(), 1, 512);
        QImage image = m_workspace.icon(QUrl::fromPercentEncoding(escaped.toUtf8()), side, 1);
        if (image.isNull())
            image = m_workspace.genericIcon(side, 1);
        *size = image.size();
        return image;
    }

private:
    const Workspace &m_workspace;
};

} // namespace cobblet
