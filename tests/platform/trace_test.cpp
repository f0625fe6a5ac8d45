// The call recording that the drawing tests read.
#include <gtest/gtest.h>

#include "platform/trace.h"

namespace tarko::platform {
namespace {

TEST(CallTrace, FindStartsAtItsIndexAndAnyIndexOutsideTheEntriesIsSafe) {
    CallTrace t;
    t.add("ignored while off");
    t.enable(true);
    for (const char* e : {"Direct3DDevice7.clear 1", "Direct3DDevice7.drawPrimitive 5", "Direct3DDevice7.clear 2"})
        t.add(e);
    EXPECT_EQ(t.entries().size(), 3u);
    EXPECT_EQ(t.find("Direct3DDevice7.clear"), 0);
    EXPECT_EQ(t.find("Direct3DDevice7.clear", 1), 2);
    EXPECT_EQ(t.find("Direct3DDevice7.clear", -5), 0);  // from the start
    EXPECT_EQ(t.find("Direct3DDevice7.clear", 3), -1);
    EXPECT_EQ(t.find("Direct3DDevice7.clear", 1000), -1);
    EXPECT_EQ(t.matching("Direct3DDevice7.clear").size(), 2u);
}

}  // namespace
}  // namespace tarko::platform
