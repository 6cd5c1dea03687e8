#include "core/docker/ImportManifest.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::Optional;

ImportManifest read(std::string_view json) { return JsonReader(parseJson(json)).as<ImportManifest>(); }

TEST(ImportManifest, onlyTheSiteURLIsRequired)
{
    auto const manifest = read(R"({"site_url":"https://www.example.test/blog"})");
    EXPECT_EQ(manifest.site_url, "https://www.example.test/blog");
    EXPECT_EQ(manifest.includes.has_value(), false);
    EXPECT_THROW(read(R"({"wp_version":"6.8"})"), JsonError);
    EXPECT_THROW(read(R"({"site_url":null})"), JsonError);
}

TEST(ImportManifest, aWrongTypeFailsTheManifestAndNamesTheKey)
{
    EXPECT_THAT([] { read(R"({"site_url":"x","package_size":"12"})"); },
        testing::ThrowsMessage<JsonError>(testing::HasSubstr("package_size")));
    EXPECT_THAT([] { read(R"({"site_url":"x","includes":{"themes":1}})"); },
        testing::ThrowsMessage<JsonError>(testing::HasSubstr("includes.themes")));
}

TEST(ImportManifest, aListOfPluginsIsTakenAsItIs)
{
    EXPECT_THAT(read(R"({"site_url":"x","active_plugins":["b/b.php","a/a.php"]})").active_plugins,
        Optional(ElementsAre("b/b.php", "a/a.php")));
}

TEST(ImportManifest, anObjectOfPluginsIsOrderedByItsKeysAsIntegers)
{
    EXPECT_THAT(read(R"({"site_url":"x","active_plugins":{"2":"b/b.php","10":"a/a.php"}})").active_plugins,
        Optional(ElementsAre("b/b.php", "a/a.php")));
    EXPECT_THAT(read(R"({"site_url":"x","active_plugins":{"1":"one","x":"zero"}})").active_plugins,
        Optional(ElementsAre("zero", "one")));
}

TEST(ImportManifest, pluginsInAnyOtherFormAreAbsent)
{
    for (auto const* form : { "3", "\"text\"", "[1,2]", "{\"1\":2}", "null", "true" })
        EXPECT_EQ(read(std::string(R"({"site_url":"x","active_plugins":)") + form + "}").active_plugins,
            std::nullopt)
            << form;
}

TEST(ImportManifest, theJsonFormLeavesOutWhatIsAbsent)
{
    auto const json = toJson(read(R"({"site_url":"x","includes":{"database":true},"format_version":1})"));
    EXPECT_EQ(json, Json::parse(R"({"site_url":"x","includes":{"database":true},"format_version":1})"));
}

}  // namespace
}  // namespace harbor
