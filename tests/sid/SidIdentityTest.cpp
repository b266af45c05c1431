// The stream identity is fixed by the first stream asked for it; a program of its own, so that
// no other test fixes it first.
#include "SidIO.h"

#include <gtest/gtest.h>

namespace {

TEST(SidIOIdentity, EveryStreamReportsTheFirstStreamsPath) {
    SidIO first(L"first/path.sid", false);
    SidIO second(L"second/other.sid", false);
    EXPECT_STREQ(first.getID(), "first/path.sid");
    EXPECT_STREQ(second.getID(), "first/path.sid");
    SidIO third(L"third.sid", true);
    EXPECT_STREQ(third.getID(), "first/path.sid");
}

} // namespace
