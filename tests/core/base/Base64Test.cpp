#include "core/base/Base64.h"

#include <gtest/gtest.h>

namespace harbor {

namespace {

TEST(Base64, followsThePublishedVectors)
{
    std::pair<char const*, char const*> const vectors[] = { { "", "" }, { "f", "Zg==" }, { "fo", "Zm8=" },
        { "foo", "Zm9v" }, { "foob", "Zm9vYg==" }, { "fooba", "Zm9vYmE=" }, { "foobar", "Zm9vYmFy" } };
    for (auto const& [bytes, text] : vectors) {
        EXPECT_EQ(base64Encoded(bytes), text);
        EXPECT_EQ(base64Decoded(text), bytes);
    }
}

TEST(Base64, everyByteSurvives)
{
    std::string bytes;
    for (int i = 0; i < 256; ++i)
        bytes += static_cast<char>(i);
    EXPECT_EQ(base64Decoded(base64Encoded(bytes)), bytes);
}

TEST(Base64, aTextLongerThanOnePieceSurvives)
{
    for (std::size_t const size : { 3U << 20, (3U << 20) + 1, (6U << 20) + 2 }) {
        std::string bytes(size, 'x');
        bytes.front() = '\0';
        bytes.back() = '\xff';
        EXPECT_TRUE(base64Decoded(base64Encoded(bytes)) == bytes) << size;
    }
}

TEST(Base64, anythingButTheExactFormIsRefused)
{
    for (auto const* text :
        { "Z", "Zg", "Zg=", "Zg===", "=", "==", "====", "Z===", "Zm9v\n", " Zm9v", "Zm9v ", "Zm 9v", "Zm9\n",
            "Zm9-", "Zm9_", "Zg==Zg==", "Zm=v", "Z=9v", "Zm9v====", "Zm9\xc3", "Zm9%" })
        EXPECT_FALSE(base64Decoded(text)) << text;
    EXPECT_FALSE(base64Decoded(std::string_view("Zm9\0", 4)));
}

}  // namespace

}  // namespace harbor
