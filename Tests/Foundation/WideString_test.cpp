// Wide strings to and from narrow ones.

#include "quillet/WideString.h"

#include <gtest/gtest.h>

#include "TVK/MakeStdString.h"

namespace {

using quillet::WideString;
using quillet::utility::AsciiToUTF16;
using TVK::MakeStdString;

TEST(WideString, AsciiGoesThereAndBack) {
    EXPECT_EQ(AsciiToUTF16("clip 01.mov"), WideString(u"clip 01.mov"));
    EXPECT_EQ(MakeStdString(AsciiToUTF16("clip 01.mov")), "clip 01.mov");
    EXPECT_TRUE(AsciiToUTF16("").empty());
    EXPECT_TRUE(AsciiToUTF16(nullptr).empty());
}

TEST(WideString, BytesThatAreNotAsciiAreReplaced) {
    EXPECT_EQ(AsciiToUTF16("a\xC3z\x7F\x80"), WideString(u"a\uFFFDz\x7F\uFFFD"));
}

TEST(WideString, NarrowFormIsUtf8) {
    EXPECT_EQ(MakeStdString(WideString(u"\u00e9\u20ac\U0001F600")),
              "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(WideString, EachLengthOfUtf8BeginsAndEndsWhereItShould) {
    EXPECT_EQ(MakeStdString(WideString(u"\u007f\u0080\u07ff\u0800\uffff\U00010000\U0010ffff")),
              "\x7F"
              "\xC2\x80\xDF\xBF"
              "\xE0\xA0\x80\xEF\xBF\xBF"
              "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
}

TEST(WideString, LoneSurrogatesAreReplaced) {
    const char16_t units[] = {0xDC00, u'a', 0xD800, u'b', 0xD800};
    EXPECT_EQ(MakeStdString(WideString(units, 5)),
              "\xEF\xBF\xBD"
              "a\xEF\xBF\xBD"
              "b\xEF\xBF\xBD");
}

}  // namespace
