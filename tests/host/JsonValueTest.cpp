#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include <vlq/host/JsonValue.h>

namespace vlq {
namespace {

TEST(JsonValueTest, AnAbsentKeyIsMissingWhileAPresentNullIsAValue) {
  const Json object = {{"delay", 2500}, {"ui", nullptr}};
  EXPECT_EQ(valueForKey(object, "delay"), 2500);
  EXPECT_TRUE(isMissing(valueForKey(object, "absent")));
  EXPECT_TRUE(valueForKey(object, "ui").is_null());
  EXPECT_FALSE(isMissing(valueForKey(object, "ui")));
  for (const Json& notAnObject : {Json(), Json("text"), Json(5), Json::array({"delay"})}) {
    EXPECT_TRUE(isMissing(valueForKey(notAnObject, "delay"))) << notAnObject.dump();
  }
  // Both read as nothing in every conversion.
  for (const Json& nothing : {missingValue(), Json()}) {
    EXPECT_FALSE(boolValue(nothing));
    EXPECT_EQ(doubleValue(nothing), 0.0);
    EXPECT_EQ(intValue(nothing), 0);
    EXPECT_FALSE(isEqualToString(nothing, ""));
  }
}

TEST(JsonValueTest, BoolValueFollowsNumberAndStringConversions) {
  for (const Json& value : {Json(true), Json(1), Json(-3), Json(0.5), Json("1"), Json("  7"),
                            Json("-0005"), Json("true"), Json("yes"), Json("Y")}) {
    EXPECT_TRUE(boolValue(value)) << value.dump();
  }
  for (const Json& value : {Json(false), Json(0), Json(0.0), Json("0"), Json("00"), Json("+0"),
                            Json("no"), Json("false"), Json(""), Json("x1"), Json("0x1"),
                            Json(nullptr), Json::array({1}), Json::object()}) {
    EXPECT_FALSE(boolValue(value)) << value.dump();
  }
}

TEST(JsonValueTest, DoubleValueReadsTheLeadingDecimalNumber) {
  const std::pair<Json, double> cases[] = {
      {2500, 2500.0},        {"2500", 2500.0}, {" 2.5e3ms", 2500.0}, {".5", 0.5},
      {"-1.5", -1.5},        {"+4", 4.0},      {"1e", 1.0},          {"1.", 1.0},
      {"abc", 0.0},          {"", 0.0},        {".", 0.0},           {"-", 0.0},
      {true, 1.0},           {false, 0.0},     {nullptr, 0.0},       {Json::array({7}), 0.0},
      {Json::object(), 0.0},
  };
  for (const auto& [value, expected] : cases) {
    EXPECT_DOUBLE_EQ(doubleValue(value), expected) << value.dump();
  }
  EXPECT_EQ(doubleValue("1e400"), std::numeric_limits<double>::infinity());
  EXPECT_EQ(doubleValue("-1e400"), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(doubleValue("1e-400"), 0.0);
}

TEST(JsonValueTest, IntValueTruncatesSaturatesAndWrapsAsThePlatformDoes) {
  constexpr auto kMax = std::numeric_limits<std::int32_t>::max();
  constexpr auto kMin = std::numeric_limits<std::int32_t>::min();
  const std::pair<Json, std::int32_t> cases[] = {
      {7, 7},
      {"7", 7},
      {"  -12abc", -12},
      {"1.9", 1},
      {"99999999999", kMax},
      {"-99999999999", kMin},
      {"-2147483648", kMin},
      {2.9, 2},
      {-2.9, -2},
      {1e20, kMax},
      {-1e20, kMin},
      {std::numeric_limits<double>::quiet_NaN(), 0},
      {std::int64_t{4294967301}, 5},  // integers keep their low 32 bits
      {std::uint64_t{18446744073709551615u}, -1},
      {true, 1},
      {"q7", 0},
      {nullptr, 0},
      {Json::array({1}), 0},
  };
  for (const auto& [value, expected] : cases) {
    EXPECT_EQ(intValue(value), expected) << value.dump();
  }
}

TEST(JsonValueTest, StringEqualityIsExactAndOnlyForStrings) {
  EXPECT_TRUE(isEqualToString("circle", "circle"));
  EXPECT_FALSE(isEqualToString("Circle", "circle"));
  EXPECT_FALSE(isEqualToString("circle ", "circle"));
  EXPECT_FALSE(isEqualToString(7, "7"));
  EXPECT_FALSE(isEqualToString(nullptr, ""));
}

TEST(JsonValueTest, SettingMissingRemovesTheKeyNullIsStoredAndOtherKeysKeepTheirOrder) {
  Json object = {{"b", 1}, {"a", 2}};
  setValueForKey(object, "c", 3);
  setValueForKey(object, "b", missingValue());
  setValueForKey(object, "a", "two");
  setValueForKey(object, "absent", missingValue());
  setValueForKey(object, "null", nullptr);
  EXPECT_EQ(object.dump(), R"({"a":"two","c":3,"null":null})");
}

TEST(JsonValueTest, DescribeGivesTheFormatText) {
  EXPECT_EQ(describe("Rate us"), "Rate us");
  EXPECT_EQ(describe(missingValue()), "(null)");
  EXPECT_EQ(describe(nullptr), "<null>");
  EXPECT_EQ(describe(true), "1");
  EXPECT_EQ(describe(false), "0");
  EXPECT_EQ(describe(12), "12");
  EXPECT_EQ(describe(2.0), "2");
  EXPECT_EQ(describe(-0.0), "-0");
  EXPECT_EQ(describe(12.5), "12.5");
  EXPECT_EQ(describe(1e21), "1e+21");
  EXPECT_EQ(describe(Json::array({1, "a"})), R"([1,"a"])");
}

}  // namespace
}  // namespace vlq
