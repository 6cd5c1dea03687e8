#include "core/base/Describe.h"
#include "core/base/File.h"
#include "core/base/NotificationCenter.h"
#include "core/base/Random.h"

#include <boost/system/system_error.hpp>

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <set>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Uuid, aTextReadsBackInEitherCaseAndIsWrittenInUpperCase)
{
    std::string const text = "0F8FAD5B-D9CB-469F-A165-70867728950E";
    EXPECT_EQ(Uuid::parse(text)->text(), text);
    EXPECT_EQ(Uuid::parse("0f8fad5b-d9cb-469f-a165-70867728950e")->text(), text);
}

TEST(Uuid, aRandomOneIsOfVersionFour)
{
    EXPECT_THAT(Uuid::random().text(),
        testing::MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"));
    EXPECT_NE(Uuid::random(), Uuid::random());
}

class NoUuid : public testing::TestWithParam<char const*> { };

TEST_P(NoUuid, isRefused) { EXPECT_EQ(Uuid::parse(GetParam()), std::nullopt); }

INSTANTIATE_TEST_SUITE_P(Texts, NoUuid,
    testing::Values("", "0F8FAD5B", "0F8FAD5BD9CB469FA16570867728950E", "0F8FAD5B-D9CB-469F-A165-70867728950",
        "0F8FAD5B-D9CB-469F-A165-70867728950G", "{0F8FAD5B-D9CB-469F-A165-70867728950E}",
        "0F8FAD5B+D9CB-469F-A165-70867728950E", " 0F8FAD5B-D9CB-469F-A165-7086772895E"));

TEST(Random, everyNumberBelowTheBoundComesUp)
{
    // That one of six is missing from 2,000 draws by chance: once in 10^157.
    std::set<std::uint32_t> drawn;
    for (int i = 0; i < 2'000; ++i)
        drawn.insert(randomBelow(6));
    EXPECT_THAT(drawn, ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_EQ(randomBelow(1), 0);
}

TEST(NotificationCenter, aListenerHearsItsNameAndNoOther)
{
    NotificationCenter center;
    std::vector<std::string> heard;
    auto const subscription
        = center.subscribe("mine", [&](std::string const& object) { heard.push_back(object); });
    center.post("mine", "one");
    center.post("other", "two");
    EXPECT_THAT(heard, ElementsAre("one"));
}

TEST(NotificationCenter, aListenerThatHasGoneHearsNothing)
{
    NotificationCenter center;
    std::vector<std::string> heard;
    {
        auto const subscription
            = center.subscribe("mine", [&](std::string const& object) { heard.push_back(object); });
    }
    center.post("mine", "one");
    EXPECT_THAT(heard, IsEmpty());
}

TEST(NotificationCenter, aHandlerMayPostAndSubscribe)
{
    NotificationCenter center;
    std::vector<std::string> heard;
    NotificationCenter::Subscription inner;
    auto const echo = center.subscribe("echo", [&](std::string const& object) { heard.push_back(object); });
    auto const outer = center.subscribe("start", [&](std::string const& object) {
        inner
            = center.subscribe("echo", [&](std::string const& again) { heard.push_back("inner " + again); });
        center.post("echo", object);
    });
    center.post("start", "x");
    EXPECT_THAT(heard, testing::UnorderedElementsAre("x", "inner x"));
}

TEST(NotificationCenter, aSubscriptionMayOutliveTheCenter)
{
    NotificationCenter::Subscription subscription;
    {
        NotificationCenter center;
        subscription = center.subscribe("mine", [](std::string const&) { });
    }
    subscription = {};
}

TEST(Describe, theSystemsErrorsSpeakTheSystemsWords)
{
    EXPECT_EQ(describe(std::system_error(ENOENT, std::generic_category(), "Cannot enter the folder /x")),
        "Cannot enter the folder /x: No such file or directory");
    EXPECT_EQ(describe(boost::system::system_error(
                  boost::system::errc::make_error_code(boost::system::errc::connection_refused))),
        "Connection refused");
    EXPECT_EQ(describe(std::filesystem::filesystem_error(
                  "prefix", "/path", std::make_error_code(std::errc::permission_denied))),
        "Permission denied: /path");
    EXPECT_EQ(describeErrno(ENOSPC), "No space left on device");
}

TEST(Describe, errorsOfOursSpeakForThemselves)
{
    EXPECT_EQ(describe(FileError(ENOENT, "/x")), "No such file or directory: /x");
    EXPECT_EQ(describe(std::make_exception_ptr(std::runtime_error("words"))), "words");
    EXPECT_EQ(describe(std::make_exception_ptr(5)), "Unknown error");
}

}  // namespace
}  // namespace harbor
