#include "velmora/core/utf8.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace velmora::ui;

TEST(Utf8, RoundTripsThroughUtf16) {
    const std::string text = "a通知€\xF0\x9F\x98\x80z";
    std::u16string w = wide(text);
    ASSERT_EQ(w.size(), 7u); // the emoji becomes a surrogate pair
    EXPECT_EQ(w[4], 0xD83D);
    EXPECT_EQ(w[5], 0xDE00);
    EXPECT_EQ(utf8(w), text);
    EXPECT_EQ(wide(""), u"");
}

TEST(Utf8, RejectsEveryMalformedForm) {
    const char* bad[] = {
        "\x80",             // stray continuation
        "\xC0\xAF",         // overlong slash
        "\xE0\x80\xAF",     // overlong, three bytes
        "\xED\xA0\x80",     // UTF-16 surrogate encoded
        "\xF4\x90\x80\x80", // above U+10FFFF
        "\xE4\xBD",         // truncated
        "\xFF",
    };
    for (const char* b : bad) {
        EXPECT_FALSE(valid_utf8(b)) << b;
        EXPECT_THROW(wide(b), std::invalid_argument);
    }
    try {
        wide("ok\xC3");
        FAIL();
    } catch (const std::invalid_argument& e) {
        EXPECT_STREQ(e.what(), "Invalid UTF-8");
    }
}

TEST(Utf8, LoneSurrogatesBecomeReplacementCharacter) {
    std::u16string lone = u"x";
    lone += char16_t(0xD800);
    EXPECT_EQ(utf8(lone), "x\xEF\xBF\xBD");
}
