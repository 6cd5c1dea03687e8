#include "core/docker/ComposeTemplateBuilder.h"

#include "core/base/File.h"
#include "core/docker/ComposeOverride.h"
#include "core/docker/FlexibleSSLPlugin.h"

#include "tests/support/TemporaryHome.h"

#include <gmock/gmock.h>

#include <fstream>
#include <regex>
#include <sys/stat.h>

namespace harbor {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string expected(std::string const& name) { return readWholeFile(HARBOR_EXPECTED_TEXTS "/" + name); }

Site aSite(WebServer server, PHPVersion php = PHPVersion::php82)
{
    return { "My Site", php, server, 8085, 4437, 33069 };
}

/// The expected text for a site, with the passwords that the built one has drawn.
std::string filledIn(std::string text, std::string const& built, std::string const& php)
{
    auto const drawn = [&](std::string const& key) {
        std::smatch match;
        EXPECT_TRUE(
            std::regex_search(built, match, std::regex("\\n      " + key + ": ([A-Za-z0-9]{24})\\n")));
        return match[1].str();
    };
    std::map<std::string, std::string> const values { { "php", php }, { "httpPort", "8085" },
        { "httpsPort", "4437" }, { "mysqlPort", "33069" }, { "dbPassword", drawn("MYSQL_PASSWORD") },
        { "rootPassword", drawn("MYSQL_ROOT_PASSWORD") } };
    for (auto const& [name, value] : values)
        text = std::regex_replace(text, std::regex("\\{\\{" + name + "\\}\\}"), value);
    return text;
}

TEST(ComposeTemplateBuilder, theApacheTextIsTheExpectedOne)
{
    auto const text = ComposeTemplateBuilder::apacheCompose(aSite(WebServer::apache));
    EXPECT_EQ(text, filledIn(expected("docker-compose.apache.yml"), text, "8.2"));
    EXPECT_THAT(text, Not(HasSubstr("nginx.conf")));
}

TEST(ComposeTemplateBuilder, theNginxTextIsTheExpectedOne)
{
    auto const text = ComposeTemplateBuilder::nginxCompose(aSite(WebServer::nginx));
    EXPECT_EQ(text, filledIn(expected("docker-compose.nginx.yml"), text, "8.2"));
    EXPECT_THAT(text, Not(HasSubstr("command:")));
}

TEST(ComposeTemplateBuilder, theNginxConfigurationIsTheExpectedOne)
{
    EXPECT_EQ(ComposeTemplateBuilder::nginxConfig(), expected("nginx.conf"));
}

TEST(ComposeTemplateBuilder, theImageFollowsThePHPVersion)
{
    EXPECT_THAT(ComposeTemplateBuilder::apacheCompose(aSite(WebServer::apache, PHPVersion::php74)),
        HasSubstr("    image: wordpress:php7.4-apache\n"));
    EXPECT_THAT(ComposeTemplateBuilder::nginxCompose(aSite(WebServer::nginx, PHPVersion::php74)),
        HasSubstr("    image: wordpress:php7.4-fpm\n"));
}

int countOf(std::string const& part, std::string const& text)
{
    auto count = 0;
    for (auto at = text.find(part); at != text.npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

TEST(ComposeTemplateBuilder, everyTextHasTwoPasswordsOfItsOwn)
{
    for (auto* compose : { ComposeTemplateBuilder::apacheCompose, ComposeTemplateBuilder::nginxCompose }) {
        std::set<std::string> all;
        for (int i = 0; i < 2; ++i) {
            auto const text = compose(aSite(WebServer::apache));
            auto const database = text.substr(text.find("MYSQL_PASSWORD: ") + 16, 24);
            auto const root = text.substr(text.find("MYSQL_ROOT_PASSWORD: ") + 21, 24);
            EXPECT_EQ(countOf(database, text), 2);
            EXPECT_EQ(countOf(root, text), 2);
            EXPECT_THAT(text, HasSubstr("\"-p" + root + "\""));
            EXPECT_THAT(text, HasSubstr("WORDPRESS_DB_PASSWORD: " + database + "\n"));
            all.insert({ database, root });
        }
        EXPECT_EQ(all.size(), 4);
    }
}

TEST(ComposeTemplateBuilder, aPasswordHasTheAskedLengthAndNoSpecialCharacter)
{
    EXPECT_EQ(ComposeTemplateBuilder::generatePassword(0), "");
    EXPECT_EQ(ComposeTemplateBuilder::generatePassword(24).size(), 24);
    EXPECT_TRUE(
        std::regex_match(ComposeTemplateBuilder::generatePassword(2'000), std::regex("[A-Za-z0-9]{2000}")));
}

TEST(ComposeTemplateBuilder, everyCharacterOfTheAlphabetIsDrawn)
{
    // A character that is missing from 20,000 draws by chance: once in 10^139.
    auto const draws = ComposeTemplateBuilder::generatePassword(20'000);
    EXPECT_EQ(std::set<char>(draws.begin(), draws.end()).size(), 62);
}

TEST(FlexibleSSLPlugin, theTextIsTheExpectedOne)
{
    EXPECT_EQ(flexibleSSLPlugin, expected("twkb-flexible-ssl.php"));
}

class ComposeOverrideTest : public testing::Test {
protected:
    static unsigned modeOf(std::string const& path)
    {
        struct stat status {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0);
        return status.st_mode & 0777;
    }

    TemporaryDirectory folder { "twkb-test-" };
    std::string overrideFile = folder.path() + "/docker-compose.override.yml";
    std::string clientFile = folder.path() + "/mysql-client.cnf";
};

TEST_F(ComposeOverrideTest, theTextsAreTheExpectedOnes)
{
    EXPECT_EQ(ComposeOverride::overrideText(WebServer::apache), expected("override.apache.yml"));
    EXPECT_EQ(ComposeOverride::overrideText(WebServer::nginx), expected("override.nginx.yml"));
    EXPECT_EQ(ComposeOverride::mysqlClientConfig(), expected("mysql-client.cnf"));
}

TEST_F(ComposeOverrideTest, bothFilesAreWrittenForEveryoneToRead)
{
    ComposeOverride::write(folder.path(), WebServer::nginx);
    EXPECT_EQ(readWholeFile(overrideFile), ComposeOverride::overrideText(WebServer::nginx));
    EXPECT_EQ(readWholeFile(clientFile), ComposeOverride::mysqlClientConfig());
    EXPECT_EQ(modeOf(overrideFile), 0644U);
    EXPECT_EQ(modeOf(clientFile), 0644U);
}

TEST_F(ComposeOverrideTest, aFileWithOurFirstLineIsRenewed)
{
    auto const text = ComposeOverride::overrideText(WebServer::apache);
    std::ofstream(overrideFile) << text.substr(0, text.find('\n') + 1) << "services: {}\n";
    ComposeOverride::write(folder.path(), WebServer::apache);
    EXPECT_EQ(readWholeFile(overrideFile), text);
}

TEST_F(ComposeOverrideTest, theFolderThatDockerMakesOfAMissingFileIsReplaced)
{
    createDirectories(clientFile);
    ComposeOverride::write(folder.path(), WebServer::apache);
    EXPECT_EQ(readWholeFile(clientFile), ComposeOverride::mysqlClientConfig());
}

TEST_F(ComposeOverrideTest, theUsersOwnFilesStay)
{
    std::ofstream(overrideFile) << "services: {}\n";
    std::ofstream(clientFile) << "";
    ComposeOverride::write(folder.path(), WebServer::apache);
    EXPECT_EQ(readWholeFile(overrideFile), "services: {}\n");
    EXPECT_EQ(readWholeFile(clientFile), "");
}

TEST_F(ComposeOverrideTest, eachFileIsJudgedByItself)
{
    std::ofstream(overrideFile) << "services: {}\n";
    ComposeOverride::write(folder.path(), WebServer::apache);
    EXPECT_EQ(readWholeFile(overrideFile), "services: {}\n");
    EXPECT_EQ(readWholeFile(clientFile), ComposeOverride::mysqlClientConfig());
}

}  // namespace
}  // namespace harbor
