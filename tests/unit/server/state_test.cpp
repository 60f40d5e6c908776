#include "server/state.hpp"
#include "test_root.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(RootLock, OneServerAtATimeOnARoot)
{
    temp_root root;
    unique_fd first;
    std::string why;
    ASSERT_TRUE(lock_root(root.dir, first, why)) << why;
    unique_fd second;
    EXPECT_FALSE(lock_root(root.dir, second, why));
    EXPECT_EQ(why, "another zerkaserver is using it");
    EXPECT_EQ(second.fd, -1);
    first.reset();   // the first server ends
    EXPECT_TRUE(lock_root(root.dir, second, why)) << why;
}

TEST(RootLock, AFolderThatCannotBeOpenedIsReported)
{
    unique_fd held;
    std::string why;
    EXPECT_FALSE(lock_root("/nonexistent-root", held, why));
    EXPECT_EQ(why, "No such file or directory");
}

}   // namespace
