#include "ui/common/Emojis.h"

#include "platform/UserDefaults.h"

#include <QLocale>
#include <QPainter>

namespace cobblet {

namespace {

const QString toneKey = QStringLiteral("emojiSkinTone");
constexpr int tones = 5;

/// What a picker shows before it is scrolled, at two pixels per point.
constexpr int keptBytes = 640 * 1024;

} // namespace

Emojis::Emojis(const EmojiSource &source) : m_source(source), m_pictures(keptBytes) {}

Emojis::~Emojis() = default;

EmojiPicker *Emojis::makePicker(QObject *view)
{
    ++m_pickers;
    auto *picker = new EmojiPicker(*this, view);
    connect(picker, &QObject::destroyed, this, [this] {
        if (--m_pickers == 0)
            release();
    });
    return picker;
}

void Emojis::release()
{
    m_search.reset();
    m_font.reset();
    emit released();
}

EmojiFont &Emojis::font()
{
    if (!m_font)
        m_font = std::make_unique<EmojiFont>();
    return *m_font;
}

EmojiSearch &Emojis::search()
{
    if (!m_search)
        m_search = std::make_unique<EmojiSearch>(m_source.tables, QLocale::system().uiLanguages(),
                                                 [this](const QString &emoji) { return canDraw(emoji); });
    return *m_search;
}

bool Emojis::hasFont()
{
    return canDraw(QStringLiteral(u"💼"));
}

bool Emojis::canDraw(const QString &emoji)
{
    return font().canDraw(emoji);
}

QImage Emojis::picture(const QString &emoji, double pixels)
{
    const QString key = QStringLiteral("%1 %2").arg(emoji).arg(pixels);
    if (const QImage *known = m_pictures.object(key))
        return *known;
    const QImage image = font().picture(emoji, pixels);
    m_pictures.insert(key, new QImage(image), std::max<qsizetype>(1, image.sizeInBytes()));
    return image;
}

int Emojis::tone() const
{
    const qint64 stored = m_source.defaults.integer(toneKey);
    return stored >= 1 && stored <= tones ? int(stored) : 0;
}

void Emojis::rememberTone(int tone)
{
    if (tone != this->tone())
        (void)m_source.defaults.set(toneKey, tone);
}

} // namespace cobblet

QImage CBEmoji::picture(qreal ratio) const
{
    auto *emojis = cobblet::Emojis::create(qmlEngine(this), nullptr);
    QImage image((size() * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
    if (!emojis || image.isNull())
        return {};
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(m_fill);
    painter.setPen(m_stroke.alpha() == 0 ? QPen(Qt::NoPen) : QPen(m_stroke, m_strokeWidth));
    const double inset = m_stroke.alpha() == 0 ? 0 : m_strokeWidth / 2;
    painter.drawRoundedRect(QRectF(QPointF(0, 0), size()).adjusted(inset, inset, -inset, -inset), m_radius - inset,
                            m_radius - inset);
    const QImage drawn = m_emoji.isEmpty() ? QImage() : emojis->picture(m_emoji, m_fontSize * ratio);
    // On whole pixels, which it was scaled to.
    const QPoint at((image.width() - drawn.width()) / 2, (image.height() - drawn.height()) / 2);
    painter.resetTransform();
    painter.setTransform(QTransform::fromScale(1 / ratio, 1 / ratio));
    painter.drawImage(at, drawn);
    return image;
}
