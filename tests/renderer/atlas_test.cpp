// The atlas arithmetic on its own: the shelf packer's edges and the UTF-16 walk.
#include "velmora/renderer/atlas.hpp"

#include <gtest/gtest.h>
#include <string>

namespace atlas = velmora::ui::atlas;

TEST(Shelf, ACellEndingAtTheRightEdgeStaysOnTheRowAndOneCrossingTheBottomDoesNotFit) {
    atlas::Shelf shelf;
    shelf.take(2000, 30);
    ASSERT_TRUE(shelf.fit(48, 20));
    EXPECT_TRUE(shelf.x == 2000 && shelf.y == 0);
    shelf.take(48, 20);
    EXPECT_EQ(shelf.row_height, 30);

    atlas::Shelf wider;
    wider.take(2000, 30);
    ASSERT_TRUE(wider.fit(49, 20)); // one pixel more: next row, below the tallest cell
    EXPECT_TRUE(wider.x == 0 && wider.y == 30 && wider.row_height == 0);

    atlas::Shelf low;
    low.y = 2000;
    EXPECT_TRUE(low.fit(10, 48));
    EXPECT_FALSE(low.fit(10, 49));
    low.take(10, 48);
    EXPECT_FALSE(low.fit(2048, 1)); // wraps below the last row, where nothing is left
}

TEST(CodePointWalk, SurrogatePairsJoinAndALoneHighSurrogateAtTheEndStandsAlone) {
    const std::u16string text = u"a\U0001F600\xD83D";
    std::size_t i = 0;
    EXPECT_EQ(atlas::next_code_point(text, i), U'a');
    EXPECT_EQ(atlas::next_code_point(text, i), U'\U0001F600');
    EXPECT_EQ(i, 3u);
    EXPECT_EQ(atlas::next_code_point(text, i), char32_t{0xD83D});
    EXPECT_EQ(i, text.size());
}
