#include "tests/core/sync/FileSyncFixture.h"

#include <cstdlib>
#include <random>

namespace harbor {
namespace {

using Tree = std::map<std::string, std::string>;

/// How many pairs of trees are tried; the environment variable HARBOR_TREE_PAIRS asks for more.
int pairCount()
{
    auto const* const wanted = std::getenv("HARBOR_TREE_PAIRS");
    return wanted ? std::atoi(wanted) : 200;
}

/// Makes small random trees out of one pool of names, so that the two of a pair meet in some of them.
class TreeMaker {
public:
    explicit TreeMaker(unsigned seed)
        : random_(seed)
    {
    }

    Tree make()
    {
        Tree tree;
        for (auto count = below(14); count > 0; --count)
            tree[makePath()] = makeContent();
        return tree;
    }

private:
    std::size_t below(std::size_t bound) { return random_() % bound; }

    template <class T, std::size_t size>
    T const& oneOf(std::array<T, size> const& values)
    {
        return values[below(size)];
    }

    std::string makePath()
    {
        static std::array<char const*, 3> const scopes { "themes/", "plugins/", "uploads/" };
        static std::array<char const*, 6> const folders { "", "x/", "x/y/", "a b/", "日本/", "2026.01/" };
        static std::array<char const*, 16> const names { "style.css", "STYLE.css", "photo.JPG", "index.php",
            "no-extension", "ends-in-dot.", "blank name.txt", "Über.txt", "U\u0308ber.txt", "line\nbreak.txt",
            "quote'\"`$.txt", "-dash.css", "100%25&a=b#c?.txt", "archive.tar.gz", "e\u0301\u0302.png",
            "+plus+.js" };
        return std::string(oneOf(scopes)) + oneOf(folders) + oneOf(names);
    }

    std::string makeContent()
    {
        // Around one chunk, and around the smallest threshold from which a file is too large for a bundle.
        static std::array<std::size_t, 6> const edges { 524'287, 524'288, 524'289, 1'048'575, 1'048'576,
            1'048'577 };
        auto const kind = below(30);
        auto const size = kind == 0 ? oneOf(edges) : kind < 6 ? 0 : 1 + below(3'000);
        std::string content(size, static_cast<char>('a' + below(26)));
        for (std::size_t i = 0; i < content.size(); i += 1 + below(300))
            content[i] = static_cast<char>(below(256));
        return content;
    }

    std::mt19937 random_;
};

class FileSyncProperty : public FileSyncFixture, public testing::WithParamInterface<bool> {
protected:
    void put(Tree const& tree, std::string const& folder)
    {
        std::filesystem::remove_all(folder);
        createDirectories(folder);
        for (auto const& [path, content] : tree)
            writeFile(folder + "/" + path, content);
    }

    /// What both sides must hold after a push and a pull.
    ///
    /// An empty file cannot travel to the remote in chunks: one that only the local side has stays there, and
    /// where the remote has content under its path, the pull brings that content back.
    static void expectedAfter(
        Tree const& local, Tree const& other, bool archive, Tree& onLocal, Tree& onRemote)
    {
        onRemote = other;
        for (auto const& [path, content] : local)
            if (archive || !content.empty())
                onRemote[path] = content;
        onLocal = local;
        for (auto const& [path, content] : onRemote)
            onLocal[path] = content;
    }
};

TEST_P(FileSyncProperty, pushPullPushLosesNothingAndTheLastMovesNothing)
{
    auto const archive = GetParam();
    haveRemote(archive);
    if (archive)
        haveSmallBatches();
    for (int pair = 0; pair < pairCount() / 2; ++pair) {
        SCOPED_TRACE("seed " + std::to_string(pair));
        TreeMaker maker(static_cast<unsigned>(pair));
        auto const local = maker.make();
        auto const other = maker.make();
        put(local, root);
        put(other, remote->root());
        Tree expectedLocal;
        Tree expectedRemote;
        expectedAfter(local, other, archive, expectedLocal, expectedRemote);

        push();
        pull();
        remote->forgetRequests();
        push();

        ASSERT_EQ(readTree(root), expectedLocal);
        ASSERT_EQ(readTree(remote->root()), expectedRemote);
        ASSERT_EQ(remote->requestsTo("/files/archive").size(), 0U);
        ASSERT_EQ(remote->requestsTo("/files/chunk").size(), 0U);
        ASSERT_TRUE(temporaryFiles().empty());
        remote->forgetRequests();
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, FileSyncProperty, testing::Bool(),
    [](auto const& test) { return test.param ? "inArchiveMode" : "inChunkedMode"; });

}  // namespace
}  // namespace harbor
