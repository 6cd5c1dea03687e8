#include "core/base/RawDeflate.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

TEST(RawDeflate, whatIsCompressedComesBack)
{
    for (auto const size : { 0UZ, 1UZ, 65'535UZ, 65'536UZ, 65'537UZ, 5'000'000UZ }) {
        std::string text(size, 'x');
        for (std::size_t i = 0; i < size; ++i)
            text[i] = static_cast<char>((i * i) >> 7);
        auto const compressed = rawDeflate::compress(text);
        ASSERT_TRUE(compressed);
        EXPECT_EQ(rawDeflate::decompress(*compressed), text) << size;
    }
}

TEST(RawDeflate, aStreamCutShortGivesNothing)
{
    auto const compressed = rawDeflate::compress(std::string(100'000, 'a') + "b");
    EXPECT_EQ(rawDeflate::decompress(compressed->substr(0, compressed->size() - 1)), std::nullopt);
    EXPECT_EQ(rawDeflate::decompress(""), std::nullopt);
}

TEST(RawDeflate, aGzipWrapperIsNoRawStream)
{
    EXPECT_EQ(rawDeflate::decompress("\x1F\x8B\x08\x04garbage"), std::nullopt);
}

}  // namespace
}  // namespace harbor
