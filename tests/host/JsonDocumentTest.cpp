#include <gtest/gtest.h>

#include <string>
#include <thread>

#include <vlq/host/JsonDocument.h>

namespace vlq {
namespace {

std::string nested(std::size_t levels) {
  return std::string(levels, '[') + std::string(levels, ']');
}

TEST(JsonDocumentTest, ReadsNestingAsDeepAsThePlatformAndRefusesMoreWhereverItIs) {
  // 512 levels are read, arrays and objects alike; what recurses over the value (copying,
  // comparing, printing) handles it on a thread of its own.
  std::string objects;
  for (int level = 0; level < 512; ++level)
    objects += "{\"a\":";
  objects += "1" + std::string(512, '}');
  for (const std::string& text : {nested(512), objects}) {
    const auto document = parseJsonDocument(text);
    ASSERT_TRUE(document);
    std::thread([&] {
      const Json copy = *document;
      EXPECT_EQ(copy, *document);
      EXPECT_EQ(copy.dump(), text);
    }).join();
  }
  // Brackets inside strings are text, not nesting.
  EXPECT_TRUE(parseJsonDocument("{\"a\": \"" + std::string(1000, '[') + "\"}"));

  JsonParseError error;
  EXPECT_FALSE(parseJsonDocument(nested(513), &error));
  EXPECT_EQ(error.column, 513u);
  EXPECT_EQ(error.message, "nested deeper than 512 levels");
  EXPECT_FALSE(parseJsonDocument(objects.insert(0, "[") + "]"));
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
  for (const std::string& text :
       {""s, "{"s, "{} []"s, "\"\xff\""s, "{\"a\": \"x\0y\"}"s, "[1e400]"s, "{}\0junk"s}) {
    EXPECT_FALSE(parseJsonDocument(text)) << text;
  }
  // An escaped NUL is a character like any other.
  EXPECT_EQ(parseJsonDocument(R"("x\u0000y")"), Json("x\0y"s));
}

TEST(JsonDocumentTest, ReadsObjectsAsTheJsonLibraryDoesInTimeLinearInTheirKeys) {
  // A repeated key keeps its first place and takes its last value, in small and large objects.
  std::string text = "{";
  for (int key = 0; key < 40; ++key)
    text += "\"k" + std::to_string(key % 25) + "\": [" + std::to_string(key) + ", {}], ";
  text += "\"k3\": null}";
  EXPECT_EQ(parseJsonDocument(text), Json::parse(text));
  EXPECT_EQ(parseJsonDocument(R"({"a": 1, "b": {"c": [true, 2.5, "x"]}, "a": -3})")->dump(),
            R"({"a":-3,"b":{"c":[true,2.5,"x"]}})");

  // Scanning the keys for each new one would take minutes here.
  constexpr int kKeys = 300000;
  text = "{";
  for (int key = 0; key < kKeys; ++key)
    text.append("\"").append(std::to_string(key) + "\":" + std::to_string(key) + ",");
  text += "\"7\": \"again\"}";
  const auto many = parseJsonDocument(text);
  ASSERT_TRUE(many);
  EXPECT_EQ(many->size(), static_cast<std::size_t>(kKeys));
  EXPECT_EQ(valueForKey(*many, "7"), "again");
  EXPECT_EQ(valueForKey(*many, std::to_string(kKeys - 1)), kKeys - 1);
}

}  // namespace
}  // namespace vlq
