#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

/** JSON texts of unknown origin. What is wrong with one is a Failure that says it. */
namespace app {

using Json = nlohmann::json;
using JsonType = bool (Json::*)() const; ///< such as &Json::is_string

/// The object that a text is, which must be JSON as RFC 8259 has it. Throws for what is not, with
/// the position of the fault, and for what other readers might take for something else: a member
/// that comes twice, a zero character, a number beyond 64 bits, nesting deeper than 512.
Json parseObject(const std::string& text);

/// The member of that name; null when there is none. Throws when it is of another type.
const Json* memberOf(const Json& object, const char* name, JsonType isOfType);

/// As memberOf(), but throws also when there is no such member.
const Json& requiredMember(const Json& object, const char* name, JsonType isOfType);

/// Throws when the text, a member of that name, has more than longest bytes.
void checkLength(const Json& text, const char* name, size_t longest);

/// The integer, a member of that name. Throws when it is out of range.
int64_t numberOf(const Json& member, const char* name, int64_t lowest, int64_t highest);

} // namespace app
