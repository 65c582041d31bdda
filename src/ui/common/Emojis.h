#pragma once

#include "ui/common/EmojiFont.h"
#include "ui/common/EmojiPicker.h"
#include "ui/common/EmojiSearch.h"
#include "ui/common/EmojiSource.h"
#include "ui/common/EngineSingleton.h"
#include "ui/common/Pictures.h"

#include <QCache>
#include <QObject>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

/// The emoji as the views draw and search them. The font and the tables are read with the first use, and given back
/// when nothing is open any more that uses them.
class Emojis : public QObject, public EngineSingleton<Emojis> {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    explicit Emojis(const EmojiSource &source);
    ~Emojis() override;

    /// A picker that lives as long as its view.
    Q_INVOKABLE cobblet::EmojiPicker *makePicker(QObject *view);

    EmojiSearch &search();
    /// Whether there is a font with emoji at all.
    bool hasFont();
    bool canDraw(const QString &emoji);
    /// The emoji as in a font of so many pixels; null where it can't be drawn.
    QImage picture(const QString &emoji, double pixels);

    /// The skin tone that was chosen last, 1 to 5; 0 for none.
    int tone() const;
    void rememberTone(int tone);

signals:
    /// Nothing uses them any more: megabytes are free that were not before.
    void released();

private:
    EmojiFont &font();
    void release();

    EmojiSource m_source;
    int m_pickers = 0;
    std::unique_ptr<EmojiFont> m_font;
    std::unique_ptr<EmojiSearch> m_search;
    QCache<QString, QImage> m_pictures; ///< of the last pickers; the cost is the size in bytes
};

} // namespace cobblet

// The base class is written with its namespace below: the tools that read the types do not look it up otherwise.

/// One emoji of the picker, centred on a rounded rectangle.
class CBEmoji : public cobblet::PictureItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString emoji MEMBER m_emoji NOTIFY changed)
    Q_PROPERTY(double fontSize MEMBER m_fontSize NOTIFY changed)
    Q_PROPERTY(double radius MEMBER m_radius NOTIFY changed)
    Q_PROPERTY(QColor fill MEMBER m_fill NOTIFY changed)
    Q_PROPERTY(QColor stroke MEMBER m_stroke NOTIFY changed)
    Q_PROPERTY(double strokeWidth MEMBER m_strokeWidth NOTIFY changed)
public:
    using PictureItem::PictureItem;

protected:
    QImage picture(qreal ratio) const override;

private:
    QString m_emoji;
    double m_fontSize = 22; ///< points
    double m_radius = 0;
    QColor m_fill = Qt::transparent;
    QColor m_stroke = Qt::transparent; ///< inside of the edge
    double m_strokeWidth = 1;
};
