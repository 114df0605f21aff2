#pragma once

// The value rules that the plug-in relies on when it reads decoded JSON.
//
// Configuration documents come from outside and may hold anything, so nothing here throws: a
// missing key, or a key read from something that is not an object, reads as null; the scalar
// conversions read numbers, booleans and strings of digits as the platform's number and string
// conversions do, and read null, arrays and objects as false or 0.

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace vlq {

// Objects keep the order of their keys, so bodies and event infos serialise in the order built.
using Json = nlohmann::ordered_json;

// The value under `key`, or null when `object` is not an object or has no such key.
const Json& valueForKey(const Json& object, std::string_view key);

// True for a JSON boolean true, a non-zero number, or a string that starts (after blanks, an
// optional sign and leading zeros) with one of "YyTt1-9".
bool boolValue(const Json& value);

// A number as it is; the leading decimal number of a string (0 when there is none, an infinity on
// overflow); 1 or 0 for a boolean; 0 for anything else.
double doubleValue(const Json& value);

// A number converted to 32 bits (integers wrap, floating-point values truncate toward zero and
// saturate, NaN gives 0); the leading integer of a string, saturated to the 32-bit range; 1 or 0
// for a boolean; 0 for anything else.
std::int32_t intValue(const Json& value);

// Sets `key` of `object` to `value`, or removes `key` when `value` is null, as key-value setting
// does. An `object` that is not an object becomes one.
void setValueForKey(Json& object, std::string_view key, Json value);

// Exact, case-sensitive equality; false for anything that is not a string.
bool isEqualToString(const Json& value, std::string_view text);

// The text that the platform's "%@" format gives for a value: a string as it stands, "(null)" for
// null, "1"/"0" for booleans, the shortest round-trip form for numbers, compact JSON for arrays and
// objects.
std::string describe(const Json& value);

}  // namespace vlq
