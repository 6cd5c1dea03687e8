#include "app/RowModel.h"

#include <QSet>

namespace harbor {

QVariant RowModel::data(QModelIndex const& index, int role) const
{
    return role == rowRole ? at(index.row()) : QVariant();
}

QVariant RowModel::at(int index) const
{
    return index >= 0 && index < count() ? rows_.at(index).row : QVariant();
}

void RowModel::assign(QList<ModelRow> const& rows)
{
    auto const before = count();
    dropRowsMissingIn(rows);
    for (int i = 0; i < rows.size(); ++i) {
        auto const& wanted = rows.at(i);
        auto const found = indexOf(wanted.key, i);
        if (found < 0) {
            beginInsertRows({}, i, i);
            rows_.insert(i, wanted);
            endInsertRows();
            continue;
        }
        if (found != i) {
            beginMoveRows({}, found, found, {}, i);
            rows_.move(found, i);
            endMoveRows();
        }
        if (rows_.at(i).row != wanted.row) {
            rows_[i].row = wanted.row;
            Q_EMIT dataChanged(index(i), index(i));
        }
    }
    if (count() != before)
        Q_EMIT countChanged();
}

void RowModel::append(QVariantList const& rows, int cap)
{
    if (rows.isEmpty())
        return;
    auto const before = count();
    auto const kept = rows.mid(std::max<qsizetype>(0, rows.size() - cap));
    beginInsertRows({}, before, before + static_cast<int>(kept.size()) - 1);
    for (auto const& row : kept)
        rows_.append({ {}, row });
    endInsertRows();
    if (count() > cap)
        removeRange(0, count() - cap);
    if (count() != before)
        Q_EMIT countChanged();
}

void RowModel::clear()
{
    if (rows_.isEmpty())
        return;
    removeRange(0, count());
    Q_EMIT countChanged();
}

void RowModel::dropRowsMissingIn(QList<ModelRow> const& rows)
{
    QSet<QString> wanted;
    for (auto const& row : rows)
        wanted.insert(row.key);
    for (int last = count() - 1; last >= 0; --last) {
        if (wanted.contains(rows_.at(last).key))
            continue;
        auto first = last;
        while (first > 0 && !wanted.contains(rows_.at(first - 1).key))
            --first;
        removeRange(first, last - first + 1);
        last = first;
    }
}

void RowModel::removeRange(int first, int number)
{
    beginRemoveRows({}, first, first + number - 1);
    rows_.remove(first, number);
    endRemoveRows();
}

int RowModel::indexOf(QString const& key, int from) const
{
    for (int i = from; i < count(); ++i) {
        if (rows_.at(i).key == key)
            return i;
    }
    return -1;
}

}  // namespace harbor
