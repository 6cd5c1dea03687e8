#include "core/base/AtomicFile.h"
#include "core/base/File.h"
#include "core/site/ShellRunner.h"
#include "core/site/SiteStore.h"
#include "tests/documents/ConsoleBlocks.h"
#include "tests/support/Gzipped.h"
#include "tests/support/RecordingDocker.h"
#include "tests/support/RunToEnd.h"
#include "tests/support/TestRemote.h"
#include "tests/support/ZipBuilder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <ranges>

namespace harbor {
namespace {

using namespace testing;

/// With this variable set, the blocks that need a real Docker engine run, on it; without it, the others.
bool hasEngine() { return std::getenv("HARBOR_DOCUMENTS_ENGINE") != nullptr; }

/// With this variable set, what a command printed is written into the document, to be read before a commit.
bool isCorrecting() { return std::getenv("HARBOR_DOCUMENTS_CORRECT") != nullptr; }

std::vector<std::string> documents()
{
    std::vector<std::string> paths { HARBOR_SOURCE "/README.md", HARBOR_SOURCE "/CONTRIBUTING.md" };
    for (auto const& entry : std::filesystem::directory_iterator(HARBOR_SOURCE "/docs")) {
        if (entry.path().extension() == ".md")
            paths.push_back(entry.path());
    }
    std::ranges::sort(paths);
    return paths;
}

void replaceAll(std::string& text, std::string const& from, std::string const& to)
{
    for (auto at = text.find(from); at != text.npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

/// The reader's machine: a home, a Docker that records, and the remote site "https://shop.example".
class Documents : public TestWithParam<std::string> {
protected:
    Documents()
    {
        ShellRunner::shared().detachStandardInput();
        auto const home = docker.home.path();
        createDirectories(home + "/bin");
        std::filesystem::create_symlink(HARBOR_TWKB, home + "/bin/twkb");
        std::filesystem::create_symlink(HARBOR_TWKB, home + "/run");
        if (hasEngine())
            docker.removeProgram("docker");
        else
            answerDocker();
        fillRemote();
        writeAtomically(home + "/key.txt", remote.key() + "\n", 0600);
        ZipBuilder(home + "/bakery.twkb.zip")
            .file("manifest.json",
                R"({"site_url":"https://bakery.example","wp_version":"6.8","export_date":"2026-11-02T09:30:00Z",
                    "includes":{"database":true,"themes":true,"plugins":false,"uploads":true}})")
            .file("database.sql.gz",
                gzipped("INSERT INTO wp_options VALUES (1,'siteurl','https://bakery.example');\n"))
            .file("wp-content/themes/crust/style.css", "/* Theme Name: Crust */\n")
            .file("wp-content/uploads/2026/11/bread.jpg", std::string(2048, 'b'));
        writeAtomically(home + "/dump.sql",
            "INSERT INTO wp_options VALUES (1,'siteurl','https://bakery.example');\n", 0644);
    }

    void answerDocker()
    {
        docker.answer(" ps", 0,
            R"json({"Name":"twkb-my-shop-mysql-1","Service":"mysql","State":"running","Status":"Up 3 hours (healthy)","Health":"healthy"}
{"Name":"twkb-my-shop-wordpress-1","Service":"wordpress","State":"running","Status":"Up 3 hours","Health":""}
)json");
        docker.answer(
            "mysqldump", 0, "INSERT INTO wp_options VALUES (1,'siteurl','http://localhost:8080');\n");
        docker.answer("compose version", 0, "2.29.7\n");
    }

    void fillRemote()
    {
        remote.writeFile("themes/storefront/style.css", "/* Theme Name: Storefront */\n");
        remote.writeFile("plugins/akismet/akismet.php", "<?php // Plugin Name: Akismet\n");
        remote.writeFile("uploads/2026/11/cup.jpg", std::string(4096, 'c'));
        remote.setDump("INSERT INTO wp_options VALUES (1,'siteurl','" + remote.url() + "');\n");
    }

    /// What the command prints on a terminal, in the words of the documents.
    std::string run(std::string command)
    {
        auto const home = docker.home.path();
        replaceAll(command, "https://shop.example", remote.url());
        replaceAll(command, "shop.example", "127.0.0.1");
        auto const script = "exec 2>&1; export PATH='" + home + "/bin':\"$PATH\"\n" + command;
        auto text
            = runToEnd(context, ShellRunner::shared().run("/bin/bash", { "-c", script }, {}, home)).stdout;
        replaceAll(text, remote.url(), "https://shop.example");
        replaceAll(text, "127.0.0.1", "shop.example");
        replaceAll(text, home, "/home/you");
        return withFirstPorts(std::move(text));
    }

    /// Another program on this machine may hold the first ports; the documents show them.
    static std::string withFirstPorts(std::string text)
    {
        auto const sites = SiteStore().sites();
        for (std::size_t i = 0; i < sites.size(); ++i) {
            auto const shown = static_cast<int>(i);
            replaceAll(text, "localhost:" + std::to_string(sites[i].httpPort),
                "localhost:" + std::to_string(8080 + shown));
            replaceAll(text, "localhost:" + std::to_string(sites[i].httpsPort),
                "localhost:" + std::to_string(4430 + shown));
            replaceAll(text, " " + std::to_string(sites[i].mysqlPort) + "\n",
                " " + std::to_string(33060 + shown) + "\n");
        }
        return text;
    }

    asio::io_context context;
    RecordingDocker docker;
    TestRemote remote;
};

}  // namespace

TEST_P(Documents, sayWhatTheProgramDoes)
{
    std::vector<std::pair<ConsoleStep, std::string>> wrong;
    for (auto const& block : consoleBlocks(readWholeFile(GetParam()))) {
        if (block.needsEngine != hasEngine())
            continue;
        for (auto const& step : block.steps) {
            auto const output = run(step.command);
            EXPECT_TRUE(outputFits(step.expected, output))
                << GetParam() << ":" << step.line << "\n$ " << step.command << "\n"
                << output;
            if (!outputFits(step.expected, output))
                wrong.emplace_back(step, output);
        }
    }
    if (!isCorrecting())
        return;
    auto document = readWholeFile(GetParam());
    for (auto const& [step, output] : wrong | std::views::reverse)
        document = withOutput(document, step, output);
    writeAtomically(GetParam(), document, 0644);
}

INSTANTIATE_TEST_SUITE_P(All, Documents, ValuesIn(documents()), [](auto const& test) {
    auto name = std::filesystem::path(test.param).stem().string();
    std::erase_if(name, [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); });
    return name;
});

TEST(ConsoleBlocks, areReadFromTheFencesOfThatName)
{
    auto const blocks = consoleBlocks("```sh\n$ no\n```\n```console\n$ a\nx\n\ny\n$ b\n```\n"
                                      "```console lab\n$ c \\\n    d\n```\n");
    ASSERT_EQ(blocks.size(), 2U);
    EXPECT_FALSE(blocks[0].needsEngine);
    ASSERT_EQ(blocks[0].steps.size(), 2U);
    EXPECT_EQ(blocks[0].steps[0].command, "a");
    EXPECT_EQ(blocks[0].steps[0].expected, "x\n\ny\n");
    EXPECT_EQ(blocks[0].steps[1].line, 9);
    EXPECT_EQ(blocks[0].steps[0].firstExpected, 6);
    EXPECT_TRUE(blocks[1].needsEngine);
    EXPECT_EQ(blocks[1].steps[0].command, "c \\\n    d");
}

TEST(ConsoleBlocks, takeAnotherOutput)
{
    std::string const document = "```console\n$ a \\\n    b\nold\nlines\n$ c\n```\n";
    auto const steps = consoleBlocks(document)[0].steps;
    EXPECT_EQ(withOutput(document, steps[0], "new\n"), "```console\n$ a \\\n    b\nnew\n$ c\n```\n");
    EXPECT_EQ(
        withOutput(document, steps[1], "x\ny\n"), "```console\n$ a \\\n    b\nold\nlines\n$ c\nx\ny\n```\n");
}

TEST(ConsoleBlocks, matchTheirOutputAndTakeAnEllipsisForAnything)
{
    EXPECT_TRUE(outputFits("", ""));
    EXPECT_TRUE(outputFits("a\nb\n", "a  \nb\n"));
    EXPECT_TRUE(outputFits("a … c\n", "a b b c\n"));
    EXPECT_TRUE(outputFits("a\n…\nz\n", "a\n1\n2\nz\n"));
    EXPECT_TRUE(outputFits("a\n…\n", "a\n"));
    EXPECT_FALSE(outputFits("", "a\n"));
    EXPECT_FALSE(outputFits("a\n", "a\nb\n"));
    EXPECT_FALSE(outputFits("a … c\n", "a b d\n"));
    EXPECT_FALSE(outputFits("a\n…\nz\n", "a\n1\n"));
    EXPECT_FALSE(outputFits("a … b … c", "a c"));
}

}  // namespace harbor
