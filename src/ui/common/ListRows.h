#pragma once

#include <QAbstractListModel>

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
    QList<Row> m_rows;
};

} // namespace cobblet
