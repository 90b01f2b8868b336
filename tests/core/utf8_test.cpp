// UTF-8 / UTF-16 conversion: round trips, every malformed form refused, lone surrogates replaced.
#include "velmora/core/utf8.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace velmora::ui;

TEST(Utf8, RoundTripsThroughUtf16AndReplacesLoneSurrogates) {
    const std::string text = "a通知€\xF0\x9F\x98\x80z";
    std::u16string w = wide(text);
    ASSERT_EQ(w.size(), 7u); // the emoji becomes a surrogate pair
    EXPECT_EQ(w[4], 0xD83D);
    EXPECT_EQ(w[5], 0xDE00);
    EXPECT_EQ(utf8(w), text);
    EXPECT_EQ(wide(""), u"");
    EXPECT_EQ(utf8(u"x" + std::u16string(1, char16_t(0xD800))), "x\xEF\xBF\xBD");
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
        "ok\xC3",
    };
    for (const char* b : bad) {
        EXPECT_FALSE(valid_utf8(b)) << b;
        try {
            wide(b);
            ADD_FAILURE() << b;
        } catch (const std::invalid_argument& e) {
            EXPECT_STREQ(e.what(), "Invalid UTF-8");
        }
    }
}
