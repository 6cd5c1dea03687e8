#include "app/LineModel.h"

#include "app/RowModel.h"
#include "app/Values.h"

namespace harbor {

namespace {

constexpr std::size_t longestLine = 4096;

/// Length of the longest beginning of `rest` that fits into a line and ends between two code points.
std::size_t displayLength(std::string_view rest)
{
    if (rest.size() <= longestLine)
        return rest.size();
    auto length = longestLine;
    while (length > longestLine - 4 && (static_cast<unsigned char>(rest[length]) & 0xC0) == 0x80)
        --length;
    return length;
}

}  // namespace

QVariant LineModel::data(QModelIndex const& index, int role) const
{
    return role == RowModel::rowRole ? at(index.row()) : QVariant();
}

QHash<int, QByteArray> LineModel::roleNames() const { return { { RowModel::rowRole, "row" } }; }

QVariant LineModel::at(int index) const
{
    if (index < 0 || index >= count())
        return {};
    auto const& line = lines_[static_cast<std::size_t>(index)];
    auto const& part = parts_[line.part];
    auto const text = std::string_view(part.text).substr(line.begin, line.length);
    return QVariant::fromValue(LogLine { toQt(text), part.tone });
}

void LineModel::show(std::vector<Part> parts)
{
    if (!lines_.empty()) {
        beginRemoveRows({}, 0, count() - 1);
        lines_.clear();
        endRemoveRows();
    }
    parts_ = std::move(parts);
    auto lines = linesOf(parts_);
    if (!lines.empty()) {
        beginInsertRows({}, 0, static_cast<int>(lines.size()) - 1);
        lines_ = std::move(lines);
        endInsertRows();
    }
    Q_EMIT countChanged();
}

std::vector<LineModel::Line> LineModel::linesOf(std::vector<Part> const& parts)
{
    std::vector<Line> lines;
    for (std::size_t part = 0; part < parts.size(); ++part) {
        std::string_view const text = parts[part].text;
        std::size_t begin = 0;
        while (begin < text.size()) {
            auto const end = std::min(text.find('\n', begin), text.size());
            while (end - begin > longestLine) {
                auto const length = displayLength(text.substr(begin, end - begin));
                lines.push_back({ part, begin, length });
                begin += length;
            }
            lines.push_back({ part, begin, end - begin });
            begin = end + 1;
        }
    }
    return lines;
}

}  // namespace harbor
