#include "core/protocol/WireRecords.h"

#include <fmt/format.h>
#include <simdjson.h>

#include <algorithm>
#include <utility>

namespace harbor {

namespace {

namespace ondemand = simdjson::ondemand;
using simdjson::ondemand::json_type;

/// What a file usually takes up, in bytes of JSON: a guess at their number, so that the list seldom grows.
constexpr std::size_t usualLength = 180;

void checkDepth(int depth)
{
    if (depth > deepestNesting)
        throw JsonError(fmt::format("The JSON is nested deeper than {} levels.", deepestNesting));
}

/// Walks through a value that nobody asked for. The parser looks only at what is read, and malformed JSON is
/// to fail wherever it stands.
void walk(ondemand::value value, int depth)
{
    switch (value.type()) {
    case json_type::object:
        checkDepth(depth);
        for (ondemand::field field : value.get_object()) {
            static_cast<void>(std::string_view(field.unescaped_key()));
            walk(field.value(), depth + 1);
        }
        break;
    case json_type::array:
        checkDepth(depth);
        for (ondemand::value element : value.get_array())
            walk(element, depth + 1);
        break;
    case json_type::string:
        static_cast<void>(std::string_view(value.get_string()));
        break;
    case json_type::number:
        static_cast<void>(double(value.get_double()));
        break;
    case json_type::boolean:
        static_cast<void>(bool(value.get_bool()));
        break;
    case json_type::null:
        // Depending on its version, the parser answers anything but "null" with false or with an error.
        if (!bool(value.is_null()))
            throw simdjson::simdjson_error(simdjson::N_ATOM_ERROR);
        break;
    }
}

/// What is wrong with a key's value; nothing if it is right. Malformed JSON is thrown, all else is kept until
/// the end, since a later value under the same key may take the place of a wrong one.
using Problem = std::optional<std::string_view>;
constexpr std::string_view missing = "missing";
constexpr std::string_view isNull = "null";

Problem wrongType(ondemand::value value, std::string_view wanted, int depth)
{
    auto const null = value.type() == json_type::null;
    walk(value, depth);
    return null ? isNull : wanted;
}

Problem read(ondemand::value value, std::string& result, int depth)
{
    if (value.type() != json_type::string)
        return wrongType(value, "a text", depth);
    // The token reaches to the next one. Without an escape the text is what stands between its quotes, and is
    // not copied through the parser's buffer, which would grow with the document.
    auto token = value.raw_json_token();
    token = token.substr(1, token.rfind('"') - 1);
    if (token.find('\\') == token.npos)
        result = token;
    else
        result = std::string_view(value.get_string());
    return std::nullopt;
}

Problem read(ondemand::value value, std::int64_t& result, int depth)
{
    if (value.type() != json_type::number)
        return wrongType(value, "an integer", depth);
    if (value.get_int64().get(result) == simdjson::SUCCESS)
        return std::nullopt;
    if (std::uint64_t tooLarge = 0; value.get_uint64().get(tooLarge) == simdjson::SUCCESS)
        return "an integer of 64 bits";
    auto const number = wholeNumber(double(value.get_double()));
    if (!number)
        return "an integer";
    result = *number;
    return std::nullopt;
}

std::string describe(std::string_view problem, std::string_view path)
{
    if (problem == missing || problem == isNull)
        return fmt::format("The key \"{}\" is {}.", path, problem);
    return fmt::format("The value of \"{}\" is not {}.", path, problem);
}

/// The first key of a record whose value is wrong, in the order in which the record names its keys.
struct Slot {
    std::string_view key;
    Problem problem = missing;
};

template <std::size_t size>
std::optional<std::string> firstProblem(std::array<Slot, size> const& slots, std::string_view path)
{
    auto const wrong = std::ranges::find_if(slots, [](Slot const& slot) { return slot.problem.has_value(); });
    if (wrong == slots.end())
        return std::nullopt;
    return describe(
        *wrong->problem, path.empty() ? std::string(wrong->key) : fmt::format("{}.{}", path, wrong->key));
}

/// A list of files, and the text for the first one that is wrong.
struct Files {
    std::vector<ManifestFile> files;
    std::optional<std::string> problem;
};

std::string elementPath(std::string_view list, std::size_t index)
{
    return fmt::format("{}[{}]", list, index);
}

std::optional<std::string> readFile(
    ondemand::object object, ManifestFile& file, std::string_view list, std::size_t index, int depth)
{
    checkDepth(depth);
    std::array<Slot, 4> slots { { { "path" }, { "hash" }, { "size" }, { "modified" } } };
    for (ondemand::field field : object) {
        std::string_view const key = field.unescaped_key();
        auto const value = field.value();
        if (key == "path")
            slots[0].problem = read(value, file.path, depth + 1);
        else if (key == "hash")
            slots[1].problem = read(value, file.hash, depth + 1);
        else if (key == "size")
            slots[2].problem = read(value, file.size, depth + 1);
        else if (key == "modified")
            slots[3].problem = read(value, file.modified, depth + 1);
        else
            walk(value, depth + 1);
    }
    auto const wrong = std::ranges::any_of(slots, [](Slot const& slot) { return slot.problem.has_value(); });
    return wrong ? firstProblem(slots, elementPath(list, index)) : std::nullopt;
}

Files readFiles(ondemand::array array, std::string_view list, int depth, std::size_t expected)
{
    checkDepth(depth);
    Files result;
    result.files.reserve(expected);
    std::size_t index = 0;
    for (ondemand::value element : array) {
        std::optional<std::string> problem;
        if (element.type() == json_type::object) {
            problem = readFile(element.get_object(), result.files.emplace_back(), list, index, depth + 1);
        } else {
            walk(element, depth + 1);
            problem = describe("an object", elementPath(list, index));
        }
        if (!result.problem)
            result.problem = std::move(problem);
        ++index;
    }
    return result;
}

/// Parses `json` and hands the document to `decode`, along with the place for what is wrong with a value. The
/// result is good only if nothing comes after it.
template <class Decode>
auto decodeDocument(std::string json, json_type type, std::string_view wanted, Decode decode)
{
    // A byte order mark that some PHP file has let slip is passed over, as the other records' parser does.
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    auto const start = json.starts_with(mark) ? mark.size() : 0;
    auto const size = json.size() - start;
    json.resize(json.size() + simdjson::SIMDJSON_PADDING);
    try {
        ondemand::parser parser;
        ondemand::document document
            = parser.iterate(json.data() + start, size, size + simdjson::SIMDJSON_PADDING);
        if (document.type() != type)
            throw JsonError(fmt::format("The value is not {}.", wanted));
        std::optional<std::string> problem;
        auto result = decode(document, problem);
        if (document.current_location().error() != simdjson::OUT_OF_BOUNDS)
            throw JsonError("The data is not valid JSON.");
        if (problem)
            throw JsonError(*problem);
        return result;
    } catch (simdjson::simdjson_error const&) {
        throw JsonError("The data is not valid JSON.");
    }
}

}  // namespace

ManifestResponse decodeManifest(std::string json)
{
    auto expected = json.size() / usualLength;
    auto const decode = [&expected](ondemand::document& document, std::optional<std::string>& problem) {
        ManifestResponse result;
        Files files;
        std::array<Slot, 3> slots { { { "files" }, { "total_size" }, { "count" } } };
        for (ondemand::field field : document.get_object()) {
            std::string_view const key = field.unescaped_key();
            auto value = field.value();
            if (key == "files" && value.type() == json_type::array) {
                // The room is made once: a hostile manifest may repeat the key.
                files = readFiles(value.get_array(), "files", 2, std::exchange(expected, 0));
                slots[0].problem.reset();
            } else if (key == "files") {
                files = {};
                slots[0].problem = wrongType(value, "a list", 2);
            } else if (key == "total_size") {
                slots[1].problem = read(value, result.total_size, 2);
            } else if (key == "count") {
                slots[2].problem = read(value, result.count, 2);
            } else {
                walk(value, 2);
            }
        }
        problem = files.problem ? files.problem : firstProblem(slots, {});
        result.files = std::move(files.files);
        return result;
    };
    return decodeDocument(std::move(json), json_type::object, "an object", decode);
}

std::vector<ManifestFile> decodeManifestFiles(std::string json)
{
    auto const expected = json.size() / usualLength;
    auto const decode = [expected](ondemand::document& document, std::optional<std::string>& problem) {
        auto files = readFiles(document.get_array(), {}, 1, expected);
        problem = std::move(files.problem);
        return std::move(files.files);
    };
    return decodeDocument(std::move(json), json_type::array, "a list", decode);
}

}  // namespace harbor
