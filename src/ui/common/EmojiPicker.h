#pragma once

#include "ui/common/ListRows.h"

#include <QStringList>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

class Emojis;

/// Headings and rows of at most eight emoji: the catalogue, or what the search found. A place in it is a row and a
/// column. Everything is shown in the skin tone that was chosen last. Main thread only.
struct EmojiRow {
    QString heading; ///< of a row without emoji
    QStringList emoji;
    bool operator==(const EmojiRow &) const = default;
};

class EmojiPicker : public ListRows<EmojiRow> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Emojis makes it.")
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY searchChanged)
    Q_PROPERTY(int currentRow READ currentRow NOTIFY currentChanged)
    Q_PROPERTY(int currentColumn READ currentColumn NOTIFY currentChanged)
    Q_PROPERTY(QString currentName READ currentName NOTIFY currentChanged)
    Q_PROPERTY(QString emptyText READ emptyText NOTIFY searchChanged)
public:
    enum Role { HeadingRole = Qt::UserRole, EmojiRole, NamesRole };
    static constexpr int columns = 8;

    EmojiPicker(Emojis &emojis, QObject *view);

    QHash<int, QByteArray> roleNames() const override;
    QVariant data(const QModelIndex &index, int role) const override;

    QString search() const { return m_search; }
    void setSearch(const QString &text);
    /// Where the keyboard is; -1 for nowhere.
    int currentRow() const { return m_row; }
    int currentColumn() const { return m_column; }
    /// What the emoji there is called; empty for nowhere.
    QString currentName() const;
    /// What is said where there is nothing to pick.
    QString emptyText() const;

    /// Puts the keyboard on an emoji that is there, once at the start.
    Q_INVOKABLE void point(const QString &emoji);
    /// An arrow key or Page Up or Down; false for any other.
    Q_INVOKABLE bool move(int key);
    /// Empty where there is none.
    Q_INVOKABLE QString at(int row, int column) const;
    /// The emoji there in no and in each skin tone; empty when it has none.
    Q_INVOKABLE QStringList tones(int row, int column) const;
    /// From now on emoji are shown in the tone that this one has, of those that tones() told.
    Q_INVOKABLE void rememberTone(int tone);
    Q_INVOKABLE int tone() const;
    Q_INVOKABLE QString name(const QString &emoji) const;
    /// Whether the two are the same but for how they are written.
    Q_INVOKABLE static bool isSame(QString one, QString other);

signals:
    void searchChanged();
    void currentChanged();

private:
    void fill();
    void addRows(QList<EmojiRow> &rows, const QStringList &emoji) const;
    void setCurrent(int row, int column);
    int nextRow(int row, int step) const;

    Emojis &m_emojis;
    QString m_search;
    int m_row = -1;
    int m_column = -1;
};

} // namespace cobblet
