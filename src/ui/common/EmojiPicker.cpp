#include "ui/common/EmojiPicker.h"

#include "ui/common/EmojiCatalogue.h"
#include "ui/common/Emojis.h"

#include <algorithm>

namespace cobblet {

namespace {

constexpr int rowsOfAPage = 5;

} // namespace

EmojiPicker::EmojiPicker(Emojis &emojis, QObject *view) : ListRows(view), m_emojis(emojis)
{
    fill();
}

QHash<int, QByteArray> EmojiPicker::roleNames() const
{
    return {{HeadingRole, "heading"}, {EmojiRole, "emoji"}, {NamesRole, "names"}};
}

QVariant EmojiPicker::data(const QModelIndex &index, int role) const
{
    if (!isRow(index))
        return {};
    const EmojiRow &row = *this->row(index.row());
    switch (role) {
    case HeadingRole:
        return row.heading;
    case EmojiRole:
        return row.emoji;
    case NamesRole: {
        QStringList names;
        std::transform(row.emoji.begin(), row.emoji.end(), std::back_inserter(names),
                       [this](const QString &emoji) { return name(emoji); });
        return names;
    }
    default:
        return {};
    }
}

void EmojiPicker::setSearch(const QString &text)
{
    if (m_search == text)
        return;
    m_search = text;
    fill();
    const bool isFound = !m_search.trimmed().isEmpty() && !rows().isEmpty();
    setCurrent(isFound ? 0 : -1, isFound ? 0 : -1);
    emit currentChanged(); // also where the place is the same: another emoji is there
    emit searchChanged();
}

void EmojiPicker::fill()
{
    QList<EmojiRow> rows;
    if (m_search.trimmed().isEmpty()) {
        for (const EmojiCategory &category : emojiCatalogue()) {
            QStringList drawn;
            std::copy_if(category.items.begin(), category.items.end(), std::back_inserter(drawn),
                         [this](const QString &emoji) { return m_emojis.canDraw(emoji); });
            if (drawn.isEmpty())
                continue;
            rows.append({category.name, {}});
            addRows(rows, drawn);
        }
    } else {
        addRows(rows, m_emojis.search().find(m_search));
    }
    setRows(std::move(rows));
}

void EmojiPicker::addRows(QList<EmojiRow> &rows, const QStringList &emoji) const
{
    const int tone = m_emojis.tone();
    for (qsizetype i = 0; i < emoji.size(); i += columns) {
        EmojiRow row{{}, emoji.mid(i, columns)};
        if (tone != 0)
            for (QString &one : row.emoji)
                one = m_emojis.search().inTone(one, tone);
        rows.append(row);
    }
}

QString EmojiPicker::emptyText() const
{
    if (!m_emojis.hasFont())
        return QStringLiteral("No font with emoji is installed.");
    return QStringLiteral("No emoji of that name");
}

QString EmojiPicker::at(int row, int column) const
{
    const EmojiRow *there = this->row(row);
    return there ? there->emoji.value(column) : QString();
}

QString EmojiPicker::name(const QString &emoji) const
{
    const QString name = m_emojis.search().name(emoji);
    return name.isEmpty() ? emoji : name;
}

QString EmojiPicker::currentName() const
{
    const QString emoji = at(m_row, m_column);
    return emoji.isEmpty() ? emoji : name(emoji);
}

QStringList EmojiPicker::tones(int row, int column) const
{
    const QString emoji = at(row, column);
    QStringList toned;
    if (m_emojis.search().hasTones(emoji))
        for (int tone = 0; tone <= 5; ++tone)
            toned.append(m_emojis.search().inTone(emoji, tone));
    return toned;
}

void EmojiPicker::rememberTone(int tone)
{
    m_emojis.rememberTone(tone);
}

int EmojiPicker::tone() const
{
    return m_emojis.tone();
}

bool EmojiPicker::isSame(QString one, QString other)
{
    return one.remove(QChar(0xfe0f)) == other.remove(QChar(0xfe0f));
}

void EmojiPicker::setCurrent(int row, int column)
{
    if (m_row == row && m_column == column)
        return;
    m_row = row;
    m_column = column;
    emit currentChanged();
}

void EmojiPicker::point(const QString &emoji)
{
    for (int row = 0; row < int(rows().size()); ++row)
        for (int column = 0; column < int(rows()[row].emoji.size()); ++column)
            if (isSame(rows()[row].emoji[column], emoji)) {
                setCurrent(row, column);
                return;
            }
}

/// The next row with emoji from here; the same one at either end.
int EmojiPicker::nextRow(int row, int step) const
{
    for (int next = row + step; this->row(next); next += step)
        if (!rows()[next].emoji.isEmpty())
            return next;
    return row;
}

bool EmojiPicker::move(int key)
{
    const auto down = [this](int rows, int step) {
        int row = m_row;
        for (int i = 0; i < rows; ++i)
            row = nextRow(row, step);
        if (row >= 0)
            setCurrent(row, std::min(std::max(m_column, 0), int(this->rows()[row].emoji.size()) - 1));
    };
    const auto along = [this, &down](int step) {
        if (m_row < 0)
            return down(1, 1);
        if (!at(m_row, m_column + step).isEmpty())
            return setCurrent(m_row, m_column + step);
        const int row = nextRow(m_row, step);
        if (row != m_row)
            setCurrent(row, step > 0 ? 0 : int(rows()[row].emoji.size()) - 1);
    };
    switch (key) {
    case Qt::Key_Down:
        down(1, 1);
        return true;
    case Qt::Key_Up:
        down(1, -1);
        return true;
    case Qt::Key_PageDown:
        down(rowsOfAPage, 1);
        return true;
    case Qt::Key_PageUp:
        down(rowsOfAPage, -1);
        return true;
    case Qt::Key_Right:
        along(1);
        return true;
    case Qt::Key_Left:
        along(-1);
        return true;
    default:
        return false;
    }
}

} // namespace cobblet
