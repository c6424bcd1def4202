#include "common/Json.h"

#include "common/Failure.h"
#include "common/Text.h"

#include <cmath>
#include <cstdint>

namespace app {

namespace {

const size_t kDeepest = 512; ///< AlarmJsonParser reads no deeper nesting
const double kBeyond64Bits = 0x1p63;

Failure notJson(size_t byte) { return badInput("it is not JSON at byte " + std::to_string(byte)); }

Failure beyond64Bits(const std::string& number)
{
    return badInput("the number " + quoted(number) + " is out of range");
}

// AlarmJsonParser would end a text at its zero character.
void checkNoZero(const std::string& text)
{
    if (text.find('\0') != std::string::npos)
        throw badInput("the text " + quoted(text) + " has a zero character");
}

/// Makes one value of the parts of a JSON text that nlohmann's parser reports one by one. Throws a
/// Failure for what is no JSON, and for what AlarmJsonParser would read as something else.
class JsonBuilder : public Json::json_sax_t {
public:
    explicit JsonBuilder(Json& value)
        : _value(value)
    {
    }

    bool null() override { return _put(nullptr); }
    bool boolean(bool value) override { return _put(value); }
    bool number_integer(Json::number_integer_t value) override { return _put(value); }

    bool number_unsigned(Json::number_unsigned_t value) override
    {
        if (value > INT64_MAX)
            throw beyond64Bits(std::to_string(value));
        return _put(value);
    }

    // nlohmann's parser also reports a whole number that 64 bits do not hold in this way.
    bool number_float(Json::number_float_t value, const std::string& text) override
    {
        if (std::abs(value) >= kBeyond64Bits)
            throw beyond64Bits(text);
        return _put(value);
    }

    bool string(std::string& value) override
    {
        checkNoZero(value);
        return _put(std::move(value));
    }

    bool key(std::string& name) override
    {
        checkNoZero(name);
        _name = std::move(name);
        return true;
    }

    bool start_object(size_t) override { return _open(Json::object()); }
    bool start_array(size_t) override { return _open(Json::array()); }
    bool end_object() override { return _close(); }
    bool end_array() override { return _close(); }
    bool binary(Json::binary_t&) override { return false; } // JSON has none

    bool parse_error(size_t byte, const std::string& token, const Json::exception& error) override
    {
        if (dynamic_cast<const Json::out_of_range*>(&error))
            throw beyond64Bits(token);
        throw notJson(byte);
    }

private:
    bool _put(Json value)
    {
        _place(std::move(value));
        return true;
    }

    bool _open(Json value)
    {
        if (_opened.size() == kDeepest)
            throw badInput("it is nested too deep");
        _opened.push_back(&_place(std::move(value)));
        return true;
    }

    bool _close()
    {
        _opened.pop_back();
        return true;
    }

    Json& _place(Json value)
    {
        if (_opened.empty())
            return _value = std::move(value);
        Json& parent = *_opened.back();
        if (parent.is_array())
            return parent.emplace_back(std::move(value));
        const auto [member, isNew] = parent.emplace(_name, std::move(value));
        if (!isNew)
            throw badInput("the member " + ::quoted(_name) + " comes twice");
        return *member;
    }

    Json& _value;
    std::vector<Json*> _opened; ///< the objects and arrays that have not ended, outermost first
    std::string _name; ///< of the member whose value comes next
};

} // namespace

Json parseObject(const std::string& text)
{
    const size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos || text[first] != '{')
        throw badInput("it is not one JSON object");
    const size_t zero = text.find('\0'); // nlohmann's parser would take it for the end
    if (zero != std::string::npos)
        throw notJson(zero + 1);
    Json value;
    JsonBuilder builder(value);
    Json::sax_parse(text, &builder);
    return value;
}

const Json* memberOf(const Json& object, const char* name, JsonType isOfType)
{
    const auto member = object.find(name);
    if (member == object.end())
        return nullptr;
    if (!((*member).*isOfType)())
        throw badInput(std::string(name) + " is of another type");
    return &*member;
}

const Json& requiredMember(const Json& object, const char* name, JsonType isOfType)
{
    const Json* member = memberOf(object, name, isOfType);
    if (!member)
        throw badInput(std::string("there is no ") + name);
    return *member;
}

void checkLength(const Json& text, const char* name, size_t longest)
{
    if (text.get_ref<const std::string&>().size() > longest)
        throw badInput(std::string(name) + " is longer than " + std::to_string(longest) + " bytes");
}

int64_t numberOf(const Json& member, const char* name, int64_t lowest, int64_t highest)
{
    const auto number = member.get<int64_t>();
    if (number < lowest || number > highest)
        throw badInput(std::string(name) + " is out of range");
    return number;
}

} // namespace app
