#pragma once

// The value rules that the plug-in relies on when it reads decoded JSON.
//
// Configuration documents come from outside and may hold anything, so nothing here throws. Two
// kinds of "nothing" are kept apart, as the platform keeps nil and its null object apart: a key
// that is absent (or read from something that is not an object) reads as missing, while a key
// present with JSON null holds null, a value like any other that is neither missing nor a string.
// The scalar conversions read numbers, booleans and strings of digits as the platform's number and
// string conversions do, and read missing, null, arrays and objects as false or 0.

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include <vlq/Export.h>

namespace vlq {

// Objects keep the order of their keys, so bodies and event infos serialise in the order built.
using Json = nlohmann::ordered_json;

// The value that stands for "missing" (nil): what valueForKey gives for an absent key, and what a
// record's field holds until something is stored in it. It is never written out: setValueForKey
// removes the key instead. (It is nlohmann's "discarded" kind, which no parsed document holds.)
VLQ_API const Json& missingValue();
VLQ_API bool isMissing(const Json& value);

// The value under `key`; missing when `object` is not an object or has no such key.
VLQ_API const Json& valueForKey(const Json& object, std::string_view key);

// True for a JSON boolean true, a non-zero number, or a string that starts (after blanks, an
// optional sign and leading zeros) with one of "YyTt1-9".
VLQ_API bool boolValue(const Json& value);

// A number as it is; the leading decimal number of a string (0 when there is none, an infinity on
// overflow); 1 or 0 for a boolean; 0 for anything else.
VLQ_API double doubleValue(const Json& value);

// A number converted to 32 bits (integers wrap, floating-point values truncate toward zero and
// saturate, NaN gives 0); the leading integer of a string, saturated to the 32-bit range; 1 or 0
// for a boolean; 0 for anything else.
VLQ_API std::int32_t intValue(const Json& value);

// Sets `key` of `object` to `value`, or removes `key` when `value` is missing, as key-value setting
// does (a null is stored as null). An `object` that is not an object becomes one.
VLQ_API void setValueForKey(Json& object, std::string_view key, Json value);

// Exact, case-sensitive equality; false for anything that is not a string.
VLQ_API bool isEqualToString(const Json& value, std::string_view text);

// The text that the platform's "%@" format gives for a value: a string as it stands, "(null)" when
// missing, "<null>" for null, "1"/"0" for booleans, the shortest round-trip form for numbers (a
// whole number without a fraction, even when stored as a floating value), compact JSON for arrays
// and objects.
VLQ_API std::string describe(const Json& value);

}  // namespace vlq
