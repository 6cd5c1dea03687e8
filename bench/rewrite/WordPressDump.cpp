#include "bench/rewrite/WordPressDump.h"

#include "core/rewrite/SearchReplace.h"

#include <random>
#include <string_view>
#include <vector>

namespace harbor::bench {

namespace {

constexpr std::size_t lineSize = 1'000'000;

class Writer {
public:
    explicit Writer(std::string siteURL)
        : siteURL_(std::move(siteURL))
    {
    }

    std::string postRow(std::size_t id)
    {
        auto const content = blocks(2 + below(12));
        return "(" + std::to_string(id) + "," + std::to_string(1 + below(9)) + ",'2024-03-0"
            + std::to_string(1 + below(9)) + " 10:12:00','2024-03-01 09:12:00'," + literal(content) + ","
            + literal(words(6)) + ",'" + "','publish','open'," + "'open','','post-" + std::to_string(id)
            + "','','','2024-03-02 10:00:00','2024-03-02 09:00:00','',0,"
            + literal(siteURL_ + "/?p=" + std::to_string(id)) + ",0,'post','',0)";
    }

    std::string metaRow(std::size_t id)
    {
        static constexpr std::string_view keys[]
            = { "_edit_lock", "_thumbnail_id", "_wp_attachment_metadata", "_builder" };
        auto const kind = below(4);
        auto const value = kind == 2 ? serialized(3 + below(8))
            : kind == 3              ? json(4 + below(10))
                                     : std::to_string(below(99999));
        return "(" + std::to_string(id) + "," + std::to_string(below(50'000)) + ","
            + literal(std::string(keys[kind])) + "," + literal(value) + ")";
    }

    std::string optionRow(std::size_t id)
    {
        return "(" + std::to_string(id) + "," + literal("option_" + std::to_string(id)) + ","
            + literal(serialized(10 + below(60))) + ",'yes')";
    }

private:
    std::size_t below(std::size_t limit) { return random_() % limit; }

    static std::string literal(std::string const& value)
    {
        return "'" + SearchReplace::escapeSQL(value) + "'";
    }

    std::string words(std::size_t count)
    {
        static constexpr std::string_view all[] = { "the", "site", "of", "our", "garden", "opens", "in",
            "spring", "with", "a", "new", "collection", "don't", "miss", "flowers", "Müller", "größer",
            "weiß", "привет", "日本語", "🌷", "and", "“quoted”", "more", "than", "hundred", "species", "from",
            "all", "over", "world", "welcome" };
        std::string text;
        for (; count > 0; --count)
            text.append(text.empty() ? "" : " ").append(all[below(std::size(all))]);
        return text;
    }

    std::string image()
    {
        return siteURL_ + "/wp-content/uploads/2024/03/image-" + std::to_string(below(900)) + ".jpg";
    }

    std::string blocks(std::size_t count)
    {
        std::string text;
        for (; count > 0; --count) {
            if (below(4) == 0)
                text += "<!-- wp:image {\"id\":" + std::to_string(below(900))
                    + ",\"sizeSlug\":\"large\"} -->\n<figure class=\""
                      "wp-block-image size-large\"><img src=\""
                    + image() + "\" alt=\"" + words(3) + "\"/></figure>\n<!-- /wp:image -->\n\n";
            else
                text += "<!-- wp:paragraph -->\n<p>" + words(40 + below(120))
                    + "</p>\n<!-- /wp:paragraph -->\n\n";
        }
        return text;
    }

    std::string serializedString(std::string const& text)
    {
        return "s:" + std::to_string(text.size()) + ":\"" + text + "\";";
    }

    std::string serialized(std::size_t count)
    {
        std::string text = "a:" + std::to_string(count) + ":{";
        for (std::size_t index = 0; index < count; ++index)
            text += serializedString("key_" + std::to_string(index))
                + (below(24) == 0       ? serializedString(image())
                        : below(3) == 0 ? "i:" + std::to_string(below(1000)) + ";"
                                        : serializedString(words(4 + below(12))));
        return text + "}";
    }

    std::string json(std::size_t count)
    {
        std::string text = "[";
        for (; count > 0; --count)
            text += "{\"id\":\"" + std::to_string(random_() % 0xFFFFFF)
                + "\",\"elType\":\"widget\",\"settings\":{\"title\":\"" + words(5)
                + "\",\"url\":\"http:\\/\\/localhost:8001\\/page\",\"size\":" + std::to_string(below(80))
                + "}},";
        text.back() = ']';
        return text;
    }

    std::string siteURL_;
    std::mt19937_64 random_ { 42 };
};

}  // namespace

std::string makeWordPressDump(std::size_t size, std::string const& siteURL)
{
    Writer writer(siteURL);
    std::string sql
        = "-- MySQL dump 10.13  Distrib 8.0.36, for Linux (x86_64)\n\n/*!40101 SET NAMES utf8mb4 */;\n";
    sql.reserve(size + 2 * lineSize);
    std::size_t id = 1;
    auto const addTable = [&](std::string const& table, std::size_t end, auto row) {
        sql += "\nDROP TABLE IF EXISTS `" + table + "`;\nLOCK TABLES `" + table + "` WRITE;\n";
        while (sql.size() < end) {
            auto const lineEnd = sql.size() + lineSize;
            sql += "INSERT INTO `" + table + "` VALUES ";
            for (auto separator = ""; sql.size() < lineEnd; separator = ",")
                sql.append(separator).append(row(id++));
            sql += ";\n";
        }
        sql += "UNLOCK TABLES;\n";
    };
    addTable("wp_posts", size / 2, [&](std::size_t row) { return writer.postRow(row); });
    addTable("wp_postmeta", size / 10 * 9, [&](std::size_t row) { return writer.metaRow(row); });
    addTable("wp_options", size, [&](std::size_t row) { return writer.optionRow(row); });
    return sql + "-- Dump completed on 2024-03-02 10:00:00\n";
}

}  // namespace harbor::bench
