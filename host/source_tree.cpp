#include "host/source_tree.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "plugin/limbrex_plugin.h"

namespace limbrex_host
{
namespace
{

constexpr size_t kDepthLimit = 64;
constexpr uint64_t kFileLimit = uint64_t{64} * 1024 * 1024;

struct SourceValue
{
    uint32_t type = kSourceNull;
    double number = 0.0;              // floats, integers, booleans
    std::string text;                 // strings
    std::vector<std::string> keys;    // objects
    std::vector<SourceValue> values;  // objects and arrays
};

// Receives the parser's events and builds values from them.
class SourceBuilder : public nlohmann::json_sax<nlohmann::json>
{
public:
    SourceValue root;
    std::string error;
    bool misread = false;  // text that is no JSON, rather than JSON that a tree cannot hold
    size_t faultAt = 0;    // first byte of what could not be read

    bool null() override { return add({}); }
    bool boolean(bool value) override { return add({kSourceBoolean, value ? 1.0 : 0.0, {}, {}, {}}); }
    bool number_integer(number_integer_t value) override { return add_integer(static_cast<double>(value)); }
    bool number_unsigned(number_unsigned_t value) override { return add_integer(static_cast<double>(value)); }
    bool number_float(number_float_t value, const string_t& written) override
    {
        if (std::abs(value) > static_cast<double>(std::numeric_limits<float>::max()))
        {
            return refuse("number " + written + " is too large");
        }
        return add({kSourceFloat, value, {}, {}, {}});
    }
    bool string(string_t& value) override { return add({kSourceString, 0.0, value, {}, {}}); }
    bool binary(binary_t& /*value*/) override { return refuse("binary values are not supported"); }
    bool start_object(size_t /*elements*/) override { return open({kSourceObject, 0.0, {}, {}, {}}); }
    bool end_object() override { return close(); }
    bool start_array(size_t /*elements*/) override { return open({kSourceArray, 0.0, {}, {}, {}}); }
    bool end_array() override { return close(); }
    bool key(string_t& name) override
    {
        stack.back().keys.push_back(name);
        return true;
    }
    bool parse_error(size_t position, const std::string& token, const nlohmann::detail::exception& fault) override
    {
        misread = true;
        faultAt = position - std::min(position, token.size());
        error = fault.what();
        return false;
    }

private:
    bool refuse(const std::string& what)
    {
        error = what;
        return false;
    }
    bool add_integer(double value)
    {
        const bool fits = value >= static_cast<double>(std::numeric_limits<int32_t>::min()) &&
                          value <= static_cast<double>(std::numeric_limits<int32_t>::max());
        return add({fits ? uint32_t{kSourceInteger} : uint32_t{kSourceFloat}, value, {}, {}, {}});
    }
    bool open(SourceValue value)
    {
        if (stack.size() >= kDepthLimit) { return refuse(fmt::format("more than {} levels of arrays and objects", kDepthLimit)); }
        stack.push_back(std::move(value));
        return true;
    }
    bool close()
    {
        SourceValue value = std::move(stack.back());
        stack.pop_back();
        return add(std::move(value));
    }
    bool add(SourceValue value)
    {
        if (stack.empty()) { root = std::move(value); }
        else { stack.back().values.push_back(std::move(value)); }
        return true;
    }

    std::vector<SourceValue> stack;
};

// "[json.exception...] parse error at line 3, column 7: syntax error ..." as "<origin>:3:7: syntax error ...". The parser counts columns from
// the end of what it read, so the place is counted anew.
std::string place_of(const std::string& origin, const std::string& text, const SourceBuilder& builder)
{
    if (!builder.misread) { return origin + ": " + builder.error; }
    const auto fault = text.begin() + static_cast<ptrdiff_t>(std::min(builder.faultAt, text.size()));
    const auto line = std::count(text.begin(), fault, '\n') + 1;
    const auto line_begin = std::find(std::make_reverse_iterator(fault), text.rend(), '\n').base();
    const size_t head = builder.error.find(": ");
    const std::string what = head == std::string::npos ? builder.error : builder.error.substr(head + 2);
    return fmt::format("{}:{}:{}: {}", origin, line, fault - line_begin + 1, what);
}

// Lays values out in words. Records come after the words that point to them.
class TreeWriter
{
public:
    TreeWriter(std::vector<uint32_t>& tree, std::string& error) : words(tree), failure(error) {}

    bool write_root(const SourceValue& root)
    {
        words.assign(2, 0u);
        words[0] = root.type;
        return write_value(root, 1, "");
    }

private:
    uint32_t here() const { return static_cast<uint32_t>(words.size() * sizeof(uint32_t)); }

    uint32_t write_text(const std::string& text)
    {
        const uint32_t offset = here();
        const size_t first = words.size();
        words.resize(first + text.size() / sizeof(uint32_t) + 1, 0u);
        std::memcpy(words.data() + first, text.data(), text.size());
        return offset;
    }

    // The value's word at `place`; `path` leads to it from the root, for messages.
    bool write_value(const SourceValue& value, size_t place, const std::string& path)
    {
        switch (value.type)
        {
        case kSourceBoolean:
        case kSourceInteger: words[place] = static_cast<uint32_t>(static_cast<int32_t>(value.number)); return true;
        case kSourceFloat: words[place] = float_bits(value.number); return true;
        case kSourceString: words[place] = write_text(value.text); return true;
        case kSourceArray: words[place] = here(); return write_array(value, path);
        case kSourceObject: words[place] = here(); return write_object(value, path);
        default: words[place] = 0; return true;
        }
    }

    bool write_object(const SourceValue& object, const std::string& path)
    {
        const size_t first = words.size();
        words.resize(first + 1 + 3 * object.values.size(), 0u);
        words[first] = static_cast<uint32_t>(object.values.size());
        for (size_t i = 0; i < object.values.size(); ++i)
        {
            const size_t member = first + 1 + 3 * i;
            words[member] = write_text(object.keys[i]);
            words[member + 1] = object.values[i].type;
            const std::string member_path = path.empty() ? object.keys[i] : path + "." + object.keys[i];
            if (!write_value(object.values[i], member + 2, member_path)) { return false; }
        }
        return true;
    }

    bool write_array(const SourceValue& array, const std::string& path)
    {
        uint32_t type = array.values.empty() ? uint32_t{kSourceNull} : array.values.front().type;
        for (size_t i = 0; i < array.values.size(); ++i)
        {
            if (array.values[i].type == type) { continue; }
            if (!is_number(type) || !is_number(array.values[i].type))
            {
                failure = fmt::format("{}[{}]: the elements of an array must be of one kind", path, i);
                return false;
            }
            type = kSourceFloat;
        }
        const size_t first = words.size();
        words.resize(first + 2 + array.values.size(), 0u);
        words[first] = type;
        words[first + 1] = static_cast<uint32_t>(array.values.size());
        for (size_t i = 0; i < array.values.size(); ++i)
        {
            const SourceValue& value = array.values[i];
            if (type == kSourceFloat) { words[first + 2 + i] = float_bits(value.number); }
            else if (!write_value(value, first + 2 + i, fmt::format("{}[{}]", path, i))) { return false; }
        }
        return true;
    }

    static bool is_number(uint32_t type) { return type == kSourceInteger || type == kSourceFloat; }

    static uint32_t float_bits(double number)
    {
        const float value = static_cast<float>(number);
        uint32_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        return bits;
    }

    std::vector<uint32_t>& words;
    std::string& failure;
};

}  // namespace

bool parse_source(const std::string& text, const std::string& origin, std::vector<uint32_t>& tree, std::string& error)
{
    SourceBuilder builder;
    if (!nlohmann::json::sax_parse(text.begin(), text.end(), &builder, nlohmann::json::input_format_t::json, true, true))
    {
        error = place_of(origin, text, builder);
        return false;
    }
    std::string failure;
    std::vector<uint32_t> words;
    if (!TreeWriter(words, failure).write_root(builder.root))
    {
        error = origin + ": " + failure;
        return false;
    }
    tree.swap(words);
    return true;
}

bool read_file(const std::string& path, std::string& bytes, std::string& error)
{
    std::error_code code;
    const uintmax_t size = std::filesystem::file_size(path, code);
    std::ifstream file(path, std::ios::binary);
    if (code || !file)
    {
        error = path + ": cannot be read" + (code ? " (" + code.message() + ")" : std::string());
        return false;
    }
    if (size > kFileLimit)
    {
        error = fmt::format("{}: {} bytes are more than the {} that are read", path, size, kFileLimit);
        return false;
    }
    bytes.assign(static_cast<size_t>(size), '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(size));
    bytes.resize(static_cast<size_t>(file.gcount()));
    return true;
}

}  // namespace limbrex_host
