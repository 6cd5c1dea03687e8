#pragma once

#include "core/rewrite/ByteBlock.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace harbor {

/// Position of the first occurrence of `needle` (not empty) at or behind `from`; `npos` without one.
std::size_t findBytes(std::string_view text, std::string_view needle, std::size_t from);

/// Finds the bytes that mean something inside an SQL literal, 64 bytes at a time: both quotes, the backslash,
/// and the control characters up to CR. Positions must be asked for in rising order.
class SpecialBytes {
public:
    explicit SpecialBytes(std::string_view text)
        : text_(text)
    {
    }

    /// Position of the first such byte at or behind `position`; the size of the text without one.
    std::size_t next(std::size_t position)
    {
        if (position < blockEnd_) {
            auto const rest = mask_ & ~std::uint64_t { 0 } << (position - (blockEnd_ - ByteBlock::size));
            if (rest != 0)
                return blockEnd_ - ByteBlock::size + static_cast<std::size_t>(std::countr_zero(rest));
            position = blockEnd_;
        }
        return nextFromBlock(position);
    }

private:
    std::size_t nextFromBlock(std::size_t start)
    {
        for (; start < text_.size(); start += ByteBlock::size) {
            mask_ = ByteBlock::at(text_, start).special();
            blockEnd_ = start + ByteBlock::size;
            if (mask_ != 0)
                return start + static_cast<std::size_t>(std::countr_zero(mask_));
        }
        return text_.size();
    }

    std::string_view text_;
    std::size_t blockEnd_ = 0;  // Of the block that mask_ describes; 0 before the first one.
    std::uint64_t mask_ = 0;
};

}  // namespace harbor
