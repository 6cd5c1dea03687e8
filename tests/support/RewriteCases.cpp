#include "tests/support/RewriteCases.h"

#include "core/rewrite/SearchReplace.h"

namespace harbor::rewrite_cases {

namespace {

/// Everything that touches a rule of characters, of literals or of serialized text.
std::vector<std::string> const& atoms()
{
    static std::vector<std::string> const all { "'", "'", "\"", "\"", "\\", "\\", "\\'", "\\\"", "\\\\",
        "\\n", "\\r", "\\r\\n", "\\t", "\\0", "\\Z", "\\%", "\\/", "\n", "\r", "\r\n", "\t",
        std::string(1, '\0'), "\v", "\x7F", " ", ",", ";", ":", "(", ")", "{", "}", "n", "r", "t", "0",
        "s:", "s:5:\"", ":\"", "a:", "N;", "VALUES", "valueſ", "INSERT INTO ", "'),('", "word", "http://",
        "https://", "//", "http:\\/\\/", "\u0301", "\u0301", "\u0345", "\u200D", "\uFE0F", "\u200C", "\u0903",
        "\u0600", "\U000110BD", "é", "ж", "中", "\U0001F469", "\U0001F469\u200D\U0001F4BB", "\U0001F1E9",
        "\u1100", "\u1161", "\u11A8", "\uAC00", "\uAC01", "\u0915", "\u094D", "\u0937", "\u093C", "\u0663",
        "\u2028", "\u0085", "\u00A0", "\u3000", "\u00AD", "\uFEFF" };
    return all;
}

}  // namespace

std::vector<UrlPair> const& pairs()
{
    static std::vector<UrlPair> const all { { "http://old.test", "https://new.test" },
        { "http://localhost:8001", "https://example.com" },
        { "https://example.com", "http://localhost:8001" }, { "http://a.test", "http://b.a.test" },
        { "http://a.test.local", "http://a.test" }, { "http://old.test/", "http://n.test/" },
        { "https://a.test", "http://a.test" }, { "http://x/http://y", "z" }, { "http://x", "http://x" },
        { "", "http://x" }, { "http://o", "" }, { "nn", "t" }, { "r", "0" }, { "n", "//" }, { "ab", "a" },
        { "http://bücher.test", "http://new.test" }, { "http://old.test", "http://bücher.test/é" },
        { "\u0301x", "y" }, { "x\u0301", "\u0301" }, { "old", "\u0301" }, { "old", "new\u0600" },
        { "old", "'" }, { "old", "\\" }, { "old", "\r" }, { "\r", "" }, { "\n", "\r" }, { "'", "\"" },
        { "\\", "/" }, { "\"", "'" }, { "old", "a\";s:3:\"b" }, { "\U0001F469", "x" }, { "\U0001F1E9", "y" },
        { "\u0915", "क्ष" }, { "\uAC00", "\u1100" }, { "s:5", "s:7" }, { "a:", "b" }, { "old", "a:" } };
    return all;
}

Generator::Generator(std::uint64_t seed)
    : random_(seed)
{
}

std::size_t Generator::below(std::size_t limit) { return random_() % limit; }

std::string const& Generator::pick(std::vector<std::string> const& texts)
{
    return texts[below(texts.size())];
}

UrlPair const& Generator::pair() { return pairs()[below(3) == 0 ? below(pairs().size()) : below(7)]; }

std::string Generator::url(UrlPair const& pair)
{
    switch (below(4)) {
    case 0:
        return withoutScheme(pair.from);
    case 1:
        return (below(2) ? "http:" : "https:") + withoutScheme(pair.from);
    default:
        return pair.from;
    }
}

std::string Generator::text(UrlPair const& pair, std::size_t most)
{
    std::string result;
    for (auto count = below(most); count > 0; --count)
        result += below(6) == 0 ? url(pair) : pick(atoms());
    return result;
}

std::string Generator::serialized(UrlPair const& pair, int depth)
{
    std::string result = "a:1:{";
    for (auto count = 1 + below(3); count > 0; --count) {
        auto const content = depth > 0 && below(3) == 0 ? serialized(pair, depth - 1) : text(pair, 6);
        auto const length = below(4) == 0 ? below(100) : content.size();
        result += "i:0;s:" + std::to_string(length) + ":\"" + content + "\";";
    }
    return result + "}";
}

std::string Generator::value(UrlPair const& pair)
{
    static std::vector<std::string> const fronts { "", "", " ", "\t", "\u00A0", "\n", "i:5;", "N;", "O:8:" };
    switch (below(4)) {
    case 0:
        return pick(fronts) + serialized(pair, 2);
    case 1:
        return "{\"url\":\"" + text(pair, 8) + "\"}";
    case 2:
        return pick(fronts) + text(pair, 12);
    default:
        return text(pair, 16);
    }
}

std::string Generator::literal(UrlPair const& pair)
{
    switch (below(5)) {
    case 0:
        return text(pair, 10);
    case 1:
        return "'" + text(pair, 10) + "'";
    case 2:
        return "'" + SearchReplace::escapeLiteral(value(pair)) + "'";
    default:
        return "'" + SearchReplace::escapeSQL(value(pair)) + "'";
    }
}

std::string Generator::dump(UrlPair const& pair)
{
    static std::vector<std::string> const fronts { "INSERT INTO `t` VALUES (", "INSERT INTO `t` VALUES (",
        "insert into t (a) values (", "INSERT  INTO t VALUES(", "INSERT   INTO t VALUES(",
        " INSERT INTO t VALUES (", "REPLACE INTO t VALUES (", "INSERT INTO VALUES_t VALUES (",
        "ınſert ınto t valueſ (", "INSERT INTO\u0345 VALUES (", "INSERT INTO\u0301 VALUES (",
        "INSERT INTO t \u0600VALUES (", "INSERT INTO t VALUES\u0301 (", "INSERT INTO t VALUES", "-- ", "",
        "\u0301" };
    static std::vector<std::string> const ends { ");\n", ");\n", ");", "\n", "\r\n", ");\r\n", "\r", "\n\n",
        "\n\u0301" };
    std::string result;
    for (auto lines = below(5); lines > 0; --lines) {
        result += pick(fronts);
        for (auto literals = below(4); literals > 0; --literals)
            result += literal(pair) + ",";
        result += pick(ends);
    }
    return result;
}

}  // namespace harbor::rewrite_cases
