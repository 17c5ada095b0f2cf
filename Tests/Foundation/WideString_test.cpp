// Wide strings to and from narrow ones.

#include "quillet/WideString.h"

#include "Support/Test.h"
#include "TVK/MakeStdString.h"
#include "quillet/UTF8ToUTF16.h"

namespace {

using quillet::WideString;
using quillet::utility::AsciiToUTF16;
using quillet::utility::UTF8ToUTF16;
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

// ---- From UTF-8 ----------------------------------------------------------------------

TEST(UTF8ToUTF16, GivesBackWhatTheNarrowFormWasMadeOf) {
    for (const WideString& wide :
         {WideString(), WideString(u"clip 01.mov"), WideString(u"M\u00fcller.mp4"),
          WideString(u"\u007f\u0080\u07ff\u0800\ud7ff\ue000\uffff\U00010000\U0010ffff")})
        EXPECT_EQ(UTF8ToUTF16(MakeStdString(wide)), wide);
    const char16_t withZero[] = {u'a', 0, u'b'};
    EXPECT_EQ(UTF8ToUTF16(std::string_view("a\0b", 3)), WideString(withZero, 3));
}

// Names of files: any bytes, and no two of them may become one.
TEST(UTF8ToUTF16, DifferentBytesGiveDifferentStrings) {
    // Up to three bytes of each sort that a decoder tells apart, and a fourth one.
    const unsigned char bytes[] = {'a',  0x7f, 0x80, 0x9f, 0xa0, 0xbf, 0xc0,
                                   0xc1, 0xc2, 0xdf, 0xe0, 0xe1, 0xed, 0xef,
                                   0xf0, 0xf1, 0xf4, 0xf5, 0xf7, 0xf8, 0xff};
    std::vector<std::string> texts = {""};
    for (std::size_t from = 0, length = 1; length <= 3; ++length) {
        const std::size_t to = texts.size();
        for (; from < to; ++from)
            for (const unsigned char byte : bytes)
                texts.push_back(texts[from] + char(byte));
    }
    for (std::size_t i = 0, count = texts.size(); i < count; ++i)
        texts.push_back(texts[i] + '\x80');
    std::sort(texts.begin(), texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    std::set<WideString> names;
    for (const std::string& text : texts)
        EXPECT_TRUE(names.insert(UTF8ToUTF16(text)).second) << testing::PrintToString(text);
}

TEST(UTF8ToUTF16, WhatIsNoUtf8IsKeptByteByByte) {
    const auto lone = [](std::initializer_list<int> inBytes) {
        WideString result;
        for (const int byte : inBytes)
            result.push_back(char16_t(0xDC00 + byte));
        return result;
    };
    EXPECT_EQ(UTF8ToUTF16("\xC0\xAF"), lone({0xC0, 0xAF})) << "longer than need be";
    EXPECT_EQ(UTF8ToUTF16("\xED\xA0\x80"), lone({0xED, 0xA0, 0x80})) << "a surrogate";
    EXPECT_EQ(UTF8ToUTF16("\xF4\x90\x80\x80"), lone({0xF4, 0x90, 0x80, 0x80}))
        << "above the last code";
    EXPECT_EQ(UTF8ToUTF16("\xE2\x82"), lone({0xE2, 0x82})) << "broken off";
}

// ---- To UTF-8 ------------------------------------------------------------------------

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
