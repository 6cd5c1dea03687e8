#include "core/sync/ProductionGuard.h"

#include <gtest/gtest.h>

#include <string>

namespace harbor {
namespace {

struct HostCase {
    std::string behaviour;
    std::string url;
    std::string host;
};
class ProductionGuardHost : public testing::TestWithParam<HostCase> { };

TEST_P(ProductionGuardHost, isCutOutOfTheAddress)
{
    EXPECT_EQ(ProductionGuard::host(GetParam().url), GetParam().host);
}

INSTANTIATE_TEST_SUITE_P(Cases, ProductionGuardHost,
    testing::Values(
        HostCase { "withoutPortAndPath", "https://Shop.Example.test:8443/wp", "Shop.Example.test" },
        HostCase { "alone", "https://shop.example.test", "shop.example.test" },
        HostCase { "withoutUserAndPassword", "https://me:a@b@shop.example.test/", "shop.example.test" },
        HostCase { "anAtInThePathIsNoUser", "https://shop.example.test/@me", "shop.example.test" },
        HostCase { "upToTheQuery", "https://shop.example.test?x=//other.test", "shop.example.test" },
        HostCase { "upToTheFragment", "https://shop.example.test#a", "shop.example.test" },
        HostCase { "anEmptyPortIsNone", "https://shop.example.test:/", "shop.example.test" },
        HostCase {
            "aBadPortMakesItNoURL", "https://shop.example.test:80x/", "https://shop.example.test:80x/" },
        HostCase { "anAddressOfVersionSix", "http://[::1]:8080/", "::1" },
        HostCase { "anOpenBracketMakesItNoURL", "http://[::1/", "http://[::1/" },
        HostCase { "textAfterABracketMakesItNoURL", "http://[::1]x/", "http://[::1]x/" },
        HostCase { "withoutSchemeTheWholeText", "shop.example.test", "shop.example.test" },
        HostCase { "withoutSchemeAndWithPathTheWholeText", "shop.example.test/wp", "shop.example.test/wp" },
        HostCase { "slashesWithoutAScheme", "//shop.example.test/wp", "shop.example.test" },
        HostCase { "noHostGivesTheWholeText", "https:///wp", "https:///wp" },
        HostCase { "aBlankMakesItNoURL", "https://shop example.test/", "https://shop example.test/" },
        HostCase { "aLonePercentMakesItNoURL", "https://shop.test/100%", "https://shop.test/100%" },
        HostCase { "aBadSchemeMakesItNoURL", "1https://shop.test/", "1https://shop.test/" },
        HostCase { "lettersOfAnyScriptStay", "https://bücher.test/", "bücher.test" },
        HostCase { "punycodeStaysAsItIs", "https://xn--bcher-kva.test/", "xn--bcher-kva.test" },
        HostCase { "anEmptyAddressIsItself", "", "" }),
    [](auto const& test) { return test.param.behaviour; });

struct TypedCase {
    std::string behaviour;
    std::string typed;
    std::string url;
    bool confirms;
};
class ProductionGuardTyped : public testing::TestWithParam<TypedCase> { };

TEST_P(ProductionGuardTyped, isHeldAgainstTheHost)
{
    EXPECT_EQ(ProductionGuard::confirms(GetParam().typed, GetParam().url), GetParam().confirms);
}

INSTANTIATE_TEST_SUITE_P(Cases, ProductionGuardTyped,
    testing::Values(
        TypedCase { "theHostConfirms", "shop.example.test", "https://Shop.Example.test:8443/wp", true },
        TypedCase { "caseAndBlanksDoNotCount", " \tSHOP.EXAMPLE.TEST ", "https://shop.example.test/", true },
        TypedCase { "aLineBreakCounts", "shop.example.test\n", "https://shop.example.test/", false },
        TypedCase { "theAddressDoesNot", "https://shop.example.test", "https://shop.example.test", false },
        TypedCase { "aPrefixDoesNot", "www.shop.example.test", "https://shop.example.test", false },
        TypedCase { "aBeginningDoesNot", "shop.example", "https://shop.example.test", false },
        TypedCase { "nothingDoesNot", "", "https://shop.example.test", false },
        TypedCase { "theWholeTextWithoutAHost", "SHOP.example.test", "Shop.Example.test", true },
        TypedCase {
            "composedAndDecomposedLettersAreEqual", "bu\u0308cher.test", "https://b\u00FCcher.test", true },
        TypedCase { "punycodeIsNotItsUnicode", "bücher.test", "https://xn--bcher-kva.test", false }),
    [](auto const& test) { return test.param.behaviour; });

}  // namespace
}  // namespace harbor
