#include "core/site/Site.h"

#include "tests/support/TemporaryHome.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

struct SlugCase {
    std::string behaviour;
    std::string name;
    std::string slug;
};

class MakeSlug : public testing::TestWithParam<SlugCase> { };

TEST_P(MakeSlug, givesTheFolderName) { EXPECT_EQ(Site::makeSlug(GetParam().name), GetParam().slug); }

INSTANTIATE_TEST_SUITE_P(Cases, MakeSlug,
    testing::Values(SlugCase { "punctuationAndBlanksBecomeDashes", "My Cool Site!", "my-cool-site" },
        SlugCase { "runsCollapseToOneDash", "a - -  b", "a-b" },
        SlugCase { "dashesAtTheEndsVanish", "--a--", "a" }, SlugCase { "nothingAtAllIsSite", "", "site" },
        SlugCase { "onlyPunctuationIsSite", " !? ", "site" }, SlugCase { "emojiIsSite", "🙂🙂", "site" },
        SlugCase { "quotesSeparate", "it's \"mine\"", "it-s-mine" },
        SlugCase { "anotherScriptKeepsItsLetters", "ПРИВЕТ Мир", "привет-мир" },
        SlugCase { "digitsOfAnotherScriptStay", "موقع ٣", "موقع-٣" },
        SlugCase { "marksStay", "e\xCC\x81t\xCC\x81", "e\xCC\x81t\xCC\x81" },
        SlugCase { "numbersThatAreNoDigitsStay", "x² ½", "x²-½" },
        SlugCase { "lowerCasingMayMakeTwoCodePoints", "İ", "i\xCC\x87" },
        SlugCase { "aFinalSigmaFollowsItsContext", "ΟΔΟΣ", "οδος" },
        SlugCase { "noNormalisationHappens", "\xC3\xA9", "\xC3\xA9" },
        SlugCase { "invalidBytesSeparate",
            "a\xFF"
            "b",
            "a-b" },
        SlugCase { "aLongNameIsNotCut", std::string(300, 'A'), std::string(300, 'a') }),
    [](auto const& test) { return test.param.behaviour; });

Site aSite() { return { "My Site", PHPVersion::php82, WebServer::nginx, 8080, 4430, 33060 }; }

TEST(Site, aNewSiteTakesItsSlugFromItsName)
{
    auto const site = aSite();
    EXPECT_EQ(site.name, "My Site");
    EXPECT_EQ(site.slug, "my-site");
    EXPECT_EQ(site.remoteSyncConfig, std::nullopt);
    EXPECT_EQ(site.createdAt, wholeSeconds(site.createdAt));
    EXPECT_NE(site.id, aSite().id);
}

TEST(Site, aNameThatIsNotUtf8HasAJsonForm)
{
    Site const site("caf\xE9", PHPVersion::php83, WebServer::apache, 1, 2, 3);
    EXPECT_EQ(site.name, "caf\xEF\xBF\xBD");
    EXPECT_THAT(compactJson(toJson(site)), HasSubstr("caf"));
}

TEST(Site, whatFollowsFromTheRecordIsComputed)
{
    TemporaryHome const home;
    auto const site = aSite();
    EXPECT_EQ(site.localDomain(), "my-site.localhost");
    EXPECT_EQ(site.localURL(), "http://localhost:8080");
    EXPECT_EQ(site.localHTTPSURL(), "https://localhost:4430");
    EXPECT_EQ(site.siteDirectory(), home.path() + "/TallowickHarbor/sites/my-site");
    EXPECT_EQ(site.wpContentPath(), home.path() + "/TallowickHarbor/sites/my-site/wordpress/wp-content");
    EXPECT_EQ(site.composeProjectName(), "twkb-my-site");
}

TEST(Site, renamingKeepsFolderAndProject)
{
    auto site = aSite();
    site.name = "Other";
    EXPECT_EQ(site.slug, "my-site");
    EXPECT_EQ(site.composeProjectName(), "twkb-my-site");
}

TEST(Site, everyEnumerationIsFoundByItsStringValue)
{
    for (auto const value : allPHPVersions)
        EXPECT_EQ(fromRawValue<PHPVersion>(rawValue(value)), value);
    for (auto const value : allWebServers)
        EXPECT_EQ(fromRawValue<WebServer>(rawValue(value)), value);
    for (auto const value : allRemoteEnvironments)
        EXPECT_EQ(fromRawValue<RemoteEnvironment>(rawValue(value)), value);
    for (auto const value : { SiteStatus::stopped, SiteStatus::starting, SiteStatus::running,
             SiteStatus::stopping, SiteStatus::error })
        EXPECT_EQ(fromRawValue<SiteStatus>(rawValue(value)), value);
    EXPECT_EQ(fromRawValue<PHPVersion>("8.4"), std::nullopt);
}

TEST(Site, theStringValuesAreTheOnesOfTheImagesAndTheFile)
{
    EXPECT_EQ(rawValue(PHPVersion::php74), "7.4");
    EXPECT_EQ(rawValue(WebServer::apache), "apache");
    EXPECT_EQ(rawValue(SiteStatus::stopping), "stopping");
    EXPECT_EQ(rawValue(RemoteEnvironment::development), "development");
}

TEST(Site, displayNamesBeginWithACapital)
{
    EXPECT_EQ(displayName(WebServer::nginx), "Nginx");
    EXPECT_EQ(displayName(WebServer::apache), "Apache");
    EXPECT_EQ(displayName(RemoteEnvironment::staging), "Staging");
}

TEST(Site, onlyProductionIsGuarded)
{
    EXPECT_TRUE(isProduction(RemoteEnvironment::production));
    EXPECT_FALSE(isProduction(RemoteEnvironment::staging));
    EXPECT_FALSE(isProduction(RemoteEnvironment::development));
}

TEST(Site, aRecordReadsBackAsItWasWritten)
{
    auto site = aSite();
    EXPECT_EQ(JsonReader(toJson(site)).as<Site>(), site);
    site.remoteSyncConfig = { "https://example.org/", "key-ref", RemoteEnvironment::staging };
    EXPECT_EQ(JsonReader(toJson(site)).as<Site>(), site);
}

TEST(Site, aSiteWithoutRemoteHasNoSuchKey) { EXPECT_FALSE(toJson(aSite()).contains("remoteSyncConfig")); }

TEST(Site, aRecordWithoutHTTPSPortDerivesIt)
{
    auto json = toJson(aSite());
    json.erase("httpsPort");
    EXPECT_EQ(JsonReader(json).as<Site>().httpsPort, 9080);
}

TEST(Site, aNonsensicalPortDerivesNoOverflow)
{
    auto json = toJson(aSite());
    json.erase("httpsPort");
    json["httpPort"] = 2'147'483'647;
    EXPECT_EQ(JsonReader(json).as<Site>().httpsPort, 2'147'483'647);
}

TEST(Site, aLinkWithoutEnvironmentIsProduction)
{
    Json const json { { "remoteURL", "https://example.org" }, { "apiKeyRef", "ref" } };
    EXPECT_EQ(JsonReader(json).as<RemoteSyncConfig>().environment, RemoteEnvironment::production);
}

class SiteRequiredKey : public testing::TestWithParam<std::string> { };

TEST_P(SiteRequiredKey, failsTheRecordWhenItIsMissing)
{
    auto json = toJson(aSite());
    json.erase(GetParam());
    EXPECT_THAT([&] { JsonReader(json).as<Site>(); },
        ThrowsMessage<JsonError>("The key \"" + GetParam() + "\" is missing."));
}

INSTANTIATE_TEST_SUITE_P(Keys, SiteRequiredKey,
    testing::Values("id", "name", "slug", "phpVersion", "webServer", "httpPort", "mysqlPort", "createdAt"),
    [](auto const& test) { return test.param; });

TEST(Site, anUnknownCaseFailsTheRecord)
{
    auto json = toJson(aSite());
    json["phpVersion"] = "5.6";
    EXPECT_THROW(JsonReader(json).as<Site>(), JsonError);
    json = toJson(aSite());
    json["remoteSyncConfig"] = { { "remoteURL", "x" }, { "apiKeyRef", "y" }, { "environment", "moon" } };
    EXPECT_THROW(JsonReader(json).as<Site>(), JsonError);
}

}  // namespace
}  // namespace harbor
