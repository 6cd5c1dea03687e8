#include "core/base/Sha256.h"

#include <gtest/gtest.h>

namespace harbor {

namespace {

// Published vectors: FIPS 180-4 examples, RFC 4231 test cases 1, 2 and 6.
constexpr auto digestOfNothing = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
constexpr auto digestOfAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

TEST(Sha256, nothingHasItsDigest) { EXPECT_EQ(sha256Hex(""), digestOfNothing); }

TEST(Sha256, aShortTextHasItsPublishedDigest) { EXPECT_EQ(sha256Hex("abc"), digestOfAbc); }

TEST(Sha256, piecesGiveTheDigestOfTheWhole)
{
    Sha256 sha256;
    sha256.update("a");
    sha256.update("");
    sha256.update("bc");
    EXPECT_EQ(sha256.hexDigest(), digestOfAbc);
}

TEST(Sha256, aMillionLettersHaveTheirPublishedDigest)
{
    Sha256 sha256;
    for (int i = 0; i < 1000; ++i)
        sha256.update(std::string(1000, 'a'));
    EXPECT_EQ(sha256.hexDigest(), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256, aDigestReadsBackFromItsText)
{
    auto const digest = parseHexDigest(digestOfAbc);
    ASSERT_TRUE(digest);
    EXPECT_EQ(hexText(*digest), digestOfAbc);
    EXPECT_EQ((*digest)[0], 0xBA);
}

TEST(Sha256, hexadecimalDigitsMayBeInUpperCase)
{
    EXPECT_EQ(parseHexDigest(std::string(64, 'F')), parseHexDigest(std::string(64, 'f')));
}

TEST(Sha256, aTextOfAnotherLengthIsNoDigest)
{
    EXPECT_FALSE(parseHexDigest(std::string(63, 'a')));
    EXPECT_FALSE(parseHexDigest(std::string(65, 'a')));
    EXPECT_FALSE(parseHexDigest(""));
}

TEST(Sha256, blanksAndSignsAreNoHexadecimalDigits)
{
    for (std::string const pair : { " f", "+f", "-f", "0x", "g0", "0g" })
        EXPECT_FALSE(parseHexDigest(pair + std::string(62, 'a'))) << pair;
}

TEST(HmacSha256, followsThePublishedVectors)
{
    EXPECT_EQ(hmacSha256Hex(std::string(20, '\x0b'), "Hi There"),
        "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7");
    EXPECT_EQ(hmacSha256Hex("Jefe", "what do ya want for nothing?"),
        "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
    EXPECT_EQ(
        hmacSha256Hex(std::string(131, '\xaa'), "Test Using Larger Than Block-Size Key - Hash Key First"),
        "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54");
}

TEST(HmacSha256, anEmptyKeyAndMessageHaveTheirDigest)
{
    EXPECT_EQ(hmacSha256Hex({}, {}), "b613679a0814d9ec772f95d778c35fc5ff1697c493715653c6c712144292c5ad");
}

}  // namespace

}  // namespace harbor
