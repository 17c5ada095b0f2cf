// JSON as it is written: structure, letters and numbers.

#include "JsonFile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

class JsonFileTest : public testing::Test {
protected:
    ~JsonFileTest() override { std::remove(mPath.c_str()); }
    std::string Written() const {
        std::ostringstream text;
        text << std::ifstream(mPath).rdbuf();
        return text.str();
    }
    std::string mPath = testing::TempDir() + "json-" + std::to_string(getpid()) + ".json";
};

TEST_F(JsonFileTest, NestsAndSeparates) {
    Host::JsonFile json(mPath);
    json.Value("a", 1);
    json.OpenArray("b");
    json.OpenLine();
    json.Value("c", true);
    json.Value("d", 0.1f);
    json.Close();
    json.OpenObject();
    json.Close(2);
    json.OpenArray("e");
    json.Close();
    json.Finish();
    EXPECT_EQ(Written(),
              "{\n \"a\": 1,\n \"b\": [\n  {\"c\": true, \"d\": 0.100000001},\n  {}\n ],\n"
              " \"e\": []\n}\n");
}

TEST_F(JsonFileTest, AnAbandonedFileIsClosed) {
    {
        Host::JsonFile json(mPath);
        json.OpenArray("frames");
        json.OpenLine();
        json.Value("x", 2u);
    }
    EXPECT_EQ(Written(), "{\n \"frames\": [\n  {\"x\": 2}\n ]\n}\n");
}

TEST_F(JsonFileTest, WhatIsNoNumberIsNull) {
    {
        Host::JsonFile json(mPath);
        json.OpenLine("v");
        json.Value("a", std::nan(""));
        json.Value("b", -HUGE_VAL);
    }
    EXPECT_EQ(Written(), "{\n \"v\": {\"a\": null, \"b\": null}\n}\n");
}

TEST(JsonTexts, EscapeLettersAndReplaceWhatIsNoUtf8) {
    const std::pair<const char*, const char*> kCases[] = {
        {"a\"b\\c", "\"a\\\"b\\\\c\""},
        {"\n\x1f", "\"\\u000a\\u001f\""},
        {"\xc3\xa4\xe2\x82\xac\xf0\x9f\x8e\x9e", "\"\xc3\xa4\xe2\x82\xac\xf0\x9f\x8e\x9e\""},
        {"\xe4x", "\"\\ufffdx\""},                      // Latin-1
        {"\xc3", "\"\\ufffd\""},                        // cut off
        {"\xc0\xaf", "\"\\ufffd\\ufffd\""},             // overlong
        {"\xed\xa0\x80", "\"\\ufffd\\ufffd\\ufffd\""},  // a surrogate
    };
    for (const auto& [bytes, json] : kCases)
        EXPECT_EQ(Host::JsonText(bytes), json);
}

}  // namespace
