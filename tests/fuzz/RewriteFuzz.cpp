// Compares the rewriter with its plain reference on whatever libFuzzer finds. The first byte chooses the URL
// pair, the second one what is done with the rest. Needs clang; see the preset "fuzz".

#include "core/base/Unicode.h"
#include "core/rewrite/RewriteGuard.h"
#include "core/rewrite/SearchReplace.h"
#include "tests/support/ReferenceSearchReplace.h"
#include "tests/support/RewriteCases.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace harbor;

void expectEqual(std::string const& product, std::string const& reference)
{
    if (product == reference)
        return;
    std::fprintf(stderr, "product:   %s\nreference: %s\n", product.c_str(), reference.c_str());
    std::abort();
}

void compare(UrlPair const& pair, std::uint8_t operation, std::string const& text)
{
    auto const& [from, to] = pair;
    switch (operation % 5) {
    case 0:
        return expectEqual(
            SearchReplace::rewriteDump(text, from, to), reference::rewriteDump(text, from, to));
    case 1: {
        auto const sql = "INSERT INTO t VALUES (" + text;
        return expectEqual(SearchReplace::rewriteDump(sql, from, to), reference::rewriteDump(sql, from, to));
    }
    case 2:
        return expectEqual(
            SearchReplace::rewriteValue(text, from, to), reference::rewriteValue(text, from, to));
    case 3: {
        auto const value = "a:1:{s:9:\"" + text;
        return expectEqual(
            SearchReplace::rewriteValue(value, from, to), reference::rewriteValue(value, from, to));
    }
    default:
        expectEqual(SearchReplace::unescapeLiteral(text), reference::unescapeLiteral(text));
        expectEqual(SearchReplace::escapeLiteral(text), reference::escapeLiteral(text));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size < 2)
        return 0;
    auto const& pairs = rewrite_cases::pairs();
    std::string_view const bytes(reinterpret_cast<char const*>(data + 2), size - 2);
    compare(pairs[data[0] % pairs.size()], data[1], unicode::decodeReplacing(bytes));
    rewriteDumpGuarded(bytes, pairs[0].from, pairs[0].to);  // Bytes that are no text must do no harm either.
    return 0;
}
