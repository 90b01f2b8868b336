// The atlas arithmetic on its own: the shelf packer's edges.
#include "velmora/renderer/atlas.hpp"

#include <gtest/gtest.h>

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
