#pragma once

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

namespace harbor {

/// One row of a list: what it is, and what it shows.
struct ModelRow {
    QString key;   ///< Tells the row from the others; not used by `append`.
    QVariant row;  ///< A value with an `operator==`, read by QML under the role "row".
};

/// The model behind every list. It never resets: what changed is inserted, removed, moved or told to have
/// changed, so that a list keeps its scroll position, selection and focus.
class RowModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the state of a screen.")
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    static constexpr int rowRole = Qt::UserRole + 1;

    using QAbstractListModel::QAbstractListModel;

    int count() const { return static_cast<int>(rows_.size()); }
    int rowCount(QModelIndex const& parent = {}) const override { return parent.isValid() ? 0 : count(); }
    QVariant data(QModelIndex const& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override { return { { rowRole, "row" } }; }
    /// The row's value; an invalid one for an index outside the list.
    Q_INVOKABLE QVariant at(int index) const;

    /// Makes the list equal to `rows`, whose keys differ from each other, in the fewest steps that keep equal
    /// keys in place.
    void assign(QList<ModelRow> const& rows);
    /// Adds rows at the end, then drops the oldest above `cap`.
    void append(QVariantList const& rows, int cap);
    void clear();

Q_SIGNALS:
    void countChanged();

private:
    void dropRowsMissingIn(QList<ModelRow> const& rows);
    void removeRange(int first, int count);
    int indexOf(QString const& key, int from) const;

    QList<ModelRow> rows_;
};

}  // namespace harbor
