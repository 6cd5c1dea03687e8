#pragma once

#include "core/base/Random.h"
#include "core/base/Timestamp.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace harbor {

using Json = nlohmann::json;

/// JSON that is malformed or not of the expected form. The text names the key path.
class JsonError : public std::exception {
public:
    explicit JsonError(std::string description)
        : description_(std::move(description))
    {
    }
    char const* what() const noexcept override { return description_.c_str(); }

private:
    std::string description_;
};

/// Levels of objects and arrays in each other; what is deeper is refused, so that no document exhausts the
/// stack.
constexpr auto deepestNesting = 512;

/// Parses one JSON document (RFC 8259). Nesting deeper than `deepestNesting` and invalid UTF-8 are refused.
/// Throws `JsonError`.
Json parseJson(std::string_view text);

/// Pretty-printed with sorted keys, for the files that people may read.
std::string prettyJson(Json const& value);

/// In one line. Ill-formed UTF-8 inside a text throws `JsonError`.
std::string compactJson(Json const& value);

/// Sets the key only when there is a value: an absent optional has no key.
template <class T>
void put(Json& object, char const* key, std::optional<T> const& value)
{
    if (value)
        object[key] = *value;
}

/// A value inside a parsed document that knows its place, for readers that insist on exact types: a boolean
/// is no number, a number with a fraction is no integer, an empty array is no object. Every failure is a
/// `JsonError` that names the key path.
///
/// A record `R` is read by a free function `void readJson(JsonReader const&, R&)` found beside the record.
class JsonReader {
public:
    explicit JsonReader(Json const& value, std::string path = {})
        : value_(value)
        , path_(std::move(path))
    {
    }

    /// The value of a key that must be there and not null.
    template <class T>
    T required(char const* key) const
    {
        return member(key).as<T>();
    }

    /// The value of a key that may be absent or null; any other type than `T` is an error.
    template <class T>
    std::optional<T> optional(char const* key) const
    {
        auto const& object = asObject();
        auto const found = object.find(key);
        if (found == object.end() || found->is_null())
            return std::nullopt;
        return JsonReader(*found, childPath(key)).as<T>();
    }

    template <class T>
    T as() const
    {
        T result {};
        readJson(*this, result);
        return result;
    }

    JsonReader member(char const* key) const;
    Json const& asObject() const;
    Json const& asArray() const;
    JsonReader element(std::size_t index) const;
    std::string childPath(std::string_view key) const;
    [[noreturn]] void fail(std::string_view problem) const;
    Json const& value() const { return value_; }

private:
    Json const& value_;
    std::string path_;
};

/// The integer that a JSON number in the form of a fraction or power stands for, as in "3.0" or "1e3";
/// nothing when it has a fraction or is out of range.
std::optional<std::int64_t> wholeNumber(double number);

void readJson(JsonReader const& reader, std::string& result);
void readJson(JsonReader const& reader, bool& result);
void readJson(JsonReader const& reader, std::int64_t& result);
void readJson(JsonReader const& reader, int& result);
void readJson(JsonReader const& reader, Uuid& result);
/// An ISO 8601 text.
void readJson(JsonReader const& reader, TimePoint& result);

template <class T>
void readJson(JsonReader const& reader, std::vector<T>& result)
{
    auto const count = reader.asArray().size();
    result.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        result.push_back(reader.element(i).as<T>());
}

template <class T>
void readJson(JsonReader const& reader, std::map<std::string, T>& result)
{
    for (auto const& [key, value] : reader.asObject().items())
        result.emplace(key, JsonReader(value, reader.childPath(key)).as<T>());
}

}  // namespace harbor
