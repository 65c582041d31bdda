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

protected:
    /// The picture of the whole item, or a null image for nothing. Runs while the main thread waits.
    virtual QImage picture(qreal ratio) const = 0;
    void redraw();

    QSGNode *updatePaintNode(QSGNode *old, UpdatePaintNodeData *) override;
    void geometryChange(const QRectF &now, const QRectF &before) override;
    void itemChange(ItemChange change, const ItemChangeData &data) override;

private:
    bool m_stale = true;
};

// The base class is written with its namespace below: the tools that read the types do not look it up otherwise.

/// A picture that a model supplies.
class CBAppIconTile : public cobblet::PictureItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QVariant image READ image WRITE setImage NOTIFY imageChanged)
public:
    using PictureItem::PictureItem;
    QVariant image() const { return m_image; } ///< a QImage
    void setImage(const QVariant &image);

signals:
    void imageChanged();

protected:
    QImage picture(qreal) const override { return m_image; }

private:
    QImage m_image;
};

/// A symbol in one colour, centred in the item as in the system font of `fontSize`.
class CBSymbol : public cobblet::PictureItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY changed)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY changed)
    Q_PROPERTY(double fontSize READ fontSize WRITE setFontSize NOTIFY changed)
public:
    using PictureItem::PictureItem;
    QString name() const { return m_name; }
    void setName(const QString &name);
    QColor color() const { return m_color; }
    void setColor(const QColor &color);
    double fontSize() const { return m_fontSize; }
    void setFontSize(double size);

signals:
    void changed();

protected:
    QImage picture(qreal ratio) const override;

private:
    QString m_name;
    QColor m_color = Qt::black;
    double m_fontSize = 0;
};

/// The selected row's rounded rectangle with its fine outline and its shadow. The item's margin leaves room for
/// the shadow on every side.
class CBRowShape : public cobblet::PictureItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor fill MEMBER m_fill WRITE setFill NOTIFY changed)
    Q_PROPERTY(QColor stroke MEMBER m_stroke WRITE setStroke NOTIFY changed)
    Q_PROPERTY(QColor shadow MEMBER m_shadow WRITE setShadow NOTIFY changed)
    Q_PROPERTY(double shadowRadius MEMBER m_shadowRadius WRITE setShadowRadius NOTIFY changed)
    Q_PROPERTY(double shadowY MEMBER m_shadowY WRITE setShadowY NOTIFY changed)
    Q_PROPERTY(double radius MEMBER m_radius WRITE setRadius NOTIFY changed)
    Q_PROPERTY(int margin READ margin CONSTANT)
public:
    using PictureItem::PictureItem;
    void setFill(const QColor &fill);
    void setStroke(const QColor &stroke);
    void setShadow(const QColor &shadow);
    void setShadowRadius(double radius);
    void setShadowY(double y);
    void setRadius(double radius);
    int margin() const { return shadowMargin; }

signals:
    void changed();

protected:
    QImage picture(qreal ratio) const override;

private:
    template<class T>
    void assign(T &member, const T &value);

    static constexpr int shadowMargin = 4;
    QColor m_fill;
    QColor m_stroke;
    QColor m_shadow;
    double m_shadowRadius = 0;
    double m_shadowY = 0;
    double m_radius = 8;
};

} // namespace cobblet
