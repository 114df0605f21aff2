#include <gtest/gtest.h>

#include <string>

#include "host/JsonDocument.h"

namespace vlq {
namespace {

std::string nested(std::size_t levels) {
  return std::string(levels, '[') + std::string(levels, ']');
}

TEST(JsonDocumentTest, RefusesNestingBeyondTheLimitWhereverItIs) {
  EXPECT_TRUE(parseJsonDocument(nested(kMaxJsonDepth)));
  // Brackets inside strings are text, not nesting.
  EXPECT_TRUE(parseJsonDocument("{\"a\": \"" + std::string(1000, '[') + "\"}"));

  JsonParseError error;
  EXPECT_FALSE(parseJsonDocument(nested(kMaxJsonDepth + 1), &error));
  EXPECT_EQ(error.column, kMaxJsonDepth + 1);
  // Deep enough to exhaust a thread's stack if anything recursed on it.
  EXPECT_FALSE(parseJsonDocument("{\"x\": 1, \"deep\": " + nested(60000) + ", \"y\": 2}"));
}

TEST(JsonDocumentTest, SaysWhereATextStopsBeingJson) {
  JsonParseError error;
  EXPECT_FALSE(parseJsonDocument("{\n  \"configs\": [\n    {\"_id\": nope}\n  ]\n}", &error));
  EXPECT_EQ(error.line, 3u);
  EXPECT_EQ(error.column, 14u);  // at the "o" that makes "no" no literal
  EXPECT_FALSE(error.message.empty());

  using namespace std::string_literals;
  for (const std::string& text : {""s, "{"s, "{} []"s, "\"\xff\""s, "{\"a\": \"x\0y\"}"s}) {
    EXPECT_FALSE(parseJsonDocument(text)) << text;
  }
}

}  // namespace
}  // namespace vlq
