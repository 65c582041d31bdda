#pragma once

#include <QAbstractListModel>
#include <QHash>

#include <algorithm>

namespace cobblet {

/// A list model over a row of plain values. Replacing the rows keeps the delegates of those that stay in
/// place: they get new values instead of being built again, which is what makes selecting a group quick.
template<class Row>
class ListRows : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex &parent = {}) const override { return parent.isValid() ? 0 : int(m_rows.size()); }

    const QList<Row> &rows() const { return m_rows; }
    /// Null when there is no such row.
    const Row *row(int index) const { return index >= 0 && index < m_rows.size() ? &m_rows[index] : nullptr; }

protected:
    void setRows(QList<Row> rows)
    {
        const auto before = m_rows.size();
        const auto after = rows.size();
        if (after < before)
            beginRemoveRows({}, int(after), int(before - 1));
        else if (after > before)
            beginInsertRows({}, int(before), int(after - 1));
        const auto kept = std::min(before, after);
        const auto changed = std::mismatch(rows.begin(), rows.begin() + kept, m_rows.begin()).first - rows.begin();
        m_rows = std::move(rows);
        if (after < before)
            endRemoveRows();
        else if (after > before)
            endInsertRows();
        if (changed < kept)
            emit dataChanged(index(int(changed)), index(int(kept - 1)));
    }

    /// The same where a row is told by its key, and no two have the same: rows move, come and go one by one, so that
    /// a view can animate it and keeps what belongs to a row. A list that is mostly another one changes in place.
    template<class Key>
    void setRows(QList<Row> rows, Key Row::*key)
    {
        constexpr int mostMoves = 32;
        if (m_rows.isEmpty())
            return setRows(std::move(rows));
        QHash<Key, qsizetype> wanted;
        for (qsizetype i = 0; i < rows.size(); ++i)
            wanted.insert(rows[i].*key, i);
        for (qsizetype i = m_rows.size() - 1; i >= 0; --i)
            if (!wanted.contains(m_rows[i].*key))
                dropRow(i);
        int moves = 0;
        for (qsizetype i = 0; i < rows.size() && moves < mostMoves; ++i) {
            const auto isAt = [&](qsizetype at) { return at < m_rows.size() && m_rows[at].*key == rows[i].*key; };
            if (isAt(i))
                continue;
            const auto found = std::ranges::find(m_rows, rows[i].*key, key);
            if (found == m_rows.end()) {
                beginInsertRows({}, int(i), int(i));
                m_rows.insert(i, rows[i]);
                endInsertRows();
                continue;
            }
            ++moves;
            // Either this row came up, or the one in its place went down.
            if (isAt(i + 1))
                shiftRow(i, std::min(wanted.value(m_rows[i].*key), m_rows.size() - 1));
            if (!isAt(i))
                shiftRow(std::ranges::find(m_rows, rows[i].*key, key) - m_rows.begin(), i);
        }
        setRows(std::move(rows));
    }

    /// Moves a row to the place that it then has.
    void shiftRow(qsizetype from, qsizetype to)
    {
        if (from == to)
            return;
        beginMoveRows({}, int(from), int(from), {}, int(to > from ? to + 1 : to));
        m_rows.move(from, to);
        endMoveRows();
    }

    bool isRow(const QModelIndex &index) const
    {
        return checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid);
    }

    void allRowsChanged(const QList<int> &roles)
    {
        if (!m_rows.isEmpty())
            emit dataChanged(index(0), index(int(m_rows.size()) - 1), roles);
    }

private:
    void dropRow(qsizetype row)
    {
        beginRemoveRows({}, int(row), int(row));
        m_rows.removeAt(row);
        endRemoveRows();
    }

    QList<Row> m_rows;
};

} // namespace cobblet
