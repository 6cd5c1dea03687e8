#pragma once

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

#include <string>
#include <vector>

namespace harbor {

/// A long text as the lines of a list. Only the text and the places of its lines are kept, and a line becomes
/// a row when it is looked at, so that 50 MB of output show at once.
class LineModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the state of a screen.")
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    /// One part of the text with the tone of its lines, as in `LogLine`.
    struct Part {
        std::string text;
        QString tone;
    };

    using QAbstractListModel::QAbstractListModel;

    int count() const { return static_cast<int>(lines_.size()); }
    int rowCount(QModelIndex const& parent = {}) const override { return parent.isValid() ? 0 : count(); }
    QVariant data(QModelIndex const& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
    Q_INVOKABLE QVariant at(int index) const;

    /// Shows other parts, one below the other. Lines above 4,096 bytes are broken for the display.
    void show(std::vector<Part> parts);

Q_SIGNALS:
    void countChanged();

private:
    struct Line {
        std::size_t part;
        std::size_t begin;
        std::size_t length;
    };
    static std::vector<Line> linesOf(std::vector<Part> const& parts);

    std::vector<Part> parts_;
    std::vector<Line> lines_;
};

}  // namespace harbor
