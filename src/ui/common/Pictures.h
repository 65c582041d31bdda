#pragma once

#include <QColor>
#include <QImage>
#include <QQuickItem>
#include <QVariant>

namespace cobblet {

/// An item drawn as one image that is made once, at the window's pixel ratio, and again when it changes.
class PictureItem : public QQuickItem {
    Q_OBJECT
    QML_ANONYMOUS
public:
    explicit PictureItem(QQuickItem *parent = nullptr);

signals:
    /// The picture is another one than before.
    void changed();

protected:
    /// The picture of the whole item, or a null image for nothing. Runs while the main thread waits.
    virtual QImage picture(qreal ratio) const = 0;
    QSGNode *updatePaintNode(QSGNode *old, UpdatePaintNodeData *) override;
    void geometryChange(const QRectF &now, const QRectF &before) override;
    void itemChange(ItemChange change, const ItemChangeData &data) override;

private:
    void redraw();
    bool m_stale = true;
};

// The base class is written with its namespace below: the tools that read the types do not look it up otherwise.

/// A picture that a model supplies.
class CBAppIconTile : public cobblet::PictureItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QVariant image MEMBER m_image NOTIFY changed)
public:
    using PictureItem::PictureItem;

protected:
    QImage picture(qreal) const override { return m_image.value<QImage>(); }

private:
    QVariant m_image; ///< a QImage
};

/// A symbol in one colour, centred in the item as in the system font of `fontSize`.
class CBSymbol : public cobblet::PictureItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString name MEMBER m_name NOTIFY changed)
    Q_PROPERTY(QColor color MEMBER m_color NOTIFY changed)
    Q_PROPERTY(double fontSize MEMBER m_fontSize NOTIFY changed)
public:
    explicit CBSymbol(QQuickItem *parent = nullptr);

protected:
    QImage picture(qreal ratio) const override;

private:
    QString m_name;
    QColor m_color = Qt::black;
    double m_fontSize = 0;
};

} // namespace cobblet
