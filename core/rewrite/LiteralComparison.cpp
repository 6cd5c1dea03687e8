#include "core/rewrite/LiteralComparison.h"

#include "core/rewrite/ByteScan.h"

#include <algorithm>

namespace harbor {

namespace {

/// Walks over the literals of a text as bytes.
class LiteralWalk {
public:
    explicit LiteralWalk(std::string_view text)
        : text_(text)
        , specials_(text)
    {
    }

    /// What stands in front of the next literal, or behind the last one. Goes on to that literal's first
    /// byte.
    std::string_view between()
    {
        auto const start = position_;
        position_ = specials_.next(position_);
        while (position_ < text_.size() && text_[position_] != '\'')
            position_ = specials_.next(position_ + 1);
        auto const gap = text_.substr(start, position_ - start);
        atLiteral_ = position_ < text_.size();
        position_ = std::min(position_ + 1, text_.size());
        return gap;
    }

    bool atLiteral() const { return atLiteral_; }
    bool atEnd() const { return position_ == text_.size(); }

    /// @return  whether the literal has a closing quote, behind which the walk now stands
    bool skipLiteral()
    {
        position_ = specials_.next(position_);
        while (position_ < text_.size() && text_[position_] != '\'')
            position_
                = specials_.next(std::min(position_ + (text_[position_] == '\\' ? 2 : 1), text_.size()));
        auto const closed = position_ < text_.size();
        position_ = std::min(position_ + 1, text_.size());
        return closed;
    }

private:
    std::string_view text_;
    SpecialBytes specials_;
    std::size_t position_ = 0;
    bool atLiteral_ = false;
};

}  // namespace

bool literalsMoved(std::string_view before, std::string_view after)
{
    LiteralWalk old(before);
    LiteralWalk now(after);
    for (;;) {
        if (old.between() != now.between() || old.atLiteral() != now.atLiteral())
            return true;
        if (!old.atLiteral())
            return false;
        auto const oldClosed = old.skipLiteral();
        auto const nowClosed = now.skipLiteral();
        if (!oldClosed)
            return !nowClosed || !now.atEnd();
        if (!nowClosed)
            return true;
    }
}

}  // namespace harbor
