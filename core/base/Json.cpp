#include "core/base/Json.h"

#include <fmt/format.h>

#include <cmath>
#include <limits>

namespace harbor {

Json parseJson(std::string_view text)
{
    auto const limitDepth = [](int depth, Json::parse_event_t event, Json&) {
        auto const opens
            = event == Json::parse_event_t::object_start || event == Json::parse_event_t::array_start;
        if (opens && depth >= deepestNesting)
            throw JsonError(fmt::format("The JSON is nested deeper than {} levels.", deepestNesting));
        return true;
    };
    // The library takes a NUL for the end of the document.
    if (text.find('\0') != text.npos)
        throw JsonError(fmt::format("The data is not valid JSON (byte {}).", text.find('\0') + 1));
    try {
        return Json::parse(text, limitDepth);
    } catch (Json::parse_error const& error) {
        throw JsonError(fmt::format("The data is not valid JSON (byte {}).", error.byte));
    } catch (Json::exception const&) {
        throw JsonError("The data is not valid JSON.");
    }
}

std::string prettyJson(Json const& value)
{
    try {
        return value.dump(2);
    } catch (Json::exception const&) {
        throw JsonError("A text is not valid UTF-8 and has no JSON form.");
    }
}

std::string compactJson(Json const& value)
{
    try {
        return value.dump();
    } catch (Json::exception const&) {
        throw JsonError("A text is not valid UTF-8 and has no JSON form.");
    }
}

JsonReader JsonReader::member(char const* key) const
{
    auto const& object = asObject();
    auto const found = object.find(key);
    if (found == object.end())
        throw JsonError(fmt::format("The key \"{}\" is missing.", childPath(key)));
    if (found->is_null())
        throw JsonError(fmt::format("The key \"{}\" is null.", childPath(key)));
    return JsonReader(*found, childPath(key));
}

Json const& JsonReader::asObject() const
{
    if (!value_.is_object())
        fail("an object");
    return value_;
}

Json const& JsonReader::asArray() const
{
    if (!value_.is_array())
        fail("a list");
    return value_;
}

JsonReader JsonReader::element(std::size_t index) const
{
    return JsonReader(asArray().at(index), fmt::format("{}[{}]", path_, index));
}

std::string JsonReader::childPath(std::string_view key) const
{
    return path_.empty() ? std::string(key) : fmt::format("{}.{}", path_, key);
}

void JsonReader::fail(std::string_view wanted) const
{
    if (path_.empty())
        throw JsonError(fmt::format("The value is not {}.", wanted));
    throw JsonError(fmt::format("The value of \"{}\" is not {}.", path_, wanted));
}

std::optional<std::int64_t> wholeNumber(double number)
{
    // The lowest integer is left out: it is also what a literal too low for 64 bits is rounded to.
    auto const fits = number > -9'223'372'036'854'775'808.0 && number < 9'223'372'036'854'775'808.0;
    if (!fits || std::trunc(number) != number)
        return std::nullopt;
    return static_cast<std::int64_t>(number);
}

void readJson(JsonReader const& reader, std::string& result)
{
    if (!reader.value().is_string())
        reader.fail("a text");
    result = reader.value().get_ref<std::string const&>();
}

void readJson(JsonReader const& reader, bool& result)
{
    if (!reader.value().is_boolean())
        reader.fail("true or false");
    result = reader.value().get<bool>();
}

void readJson(JsonReader const& reader, std::int64_t& result)
{
    auto const& value = reader.value();
    if (value.is_number_unsigned()) {
        auto const number = value.get<std::uint64_t>();
        if (number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
            reader.fail("an integer of 64 bits");
        result = static_cast<std::int64_t>(number);
    } else if (value.is_number_integer()) {
        result = value.get<std::int64_t>();
    } else if (value.is_number_float()) {
        auto const number = wholeNumber(value.get<double>());
        if (!number)
            reader.fail("an integer");
        result = *number;
    } else {
        reader.fail("an integer");
    }
}

void readJson(JsonReader const& reader, int& result)
{
    auto const number = reader.as<std::int64_t>();
    if (number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max())
        reader.fail("an integer of 32 bits");
    result = static_cast<int>(number);
}

void readJson(JsonReader const& reader, Uuid& result)
{
    auto const uuid = Uuid::parse(reader.as<std::string>());
    if (!uuid)
        reader.fail("a UUID");
    result = *uuid;
}

void readJson(JsonReader const& reader, TimePoint& result)
{
    auto const date = parseIso8601(reader.as<std::string>());
    if (!date)
        reader.fail("an ISO 8601 date");
    result = *date;
}

}  // namespace harbor
