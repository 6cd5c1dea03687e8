#include "core/base/FileLock.h"
#include "core/base/TemporaryFile.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

namespace harbor {

TEST(FileLock, isHeldByOneAtATime)
{
    TemporaryDirectory const folder("twkb-test-");
    auto const path = folder.path() + "/lock";
    {
        auto const held = FileLock::take(path);
        EXPECT_FALSE(FileLock::tryToTake(path));
    }
    EXPECT_TRUE(FileLock::tryToTake(path));
}

TEST(FileLock, goesWithAProcessThatEndsWithoutAWord)
{
    TemporaryDirectory const folder("twkb-test-");
    auto const path = folder.path() + "/lock";
    auto const child = ::fork();
    if (child == 0) {
        auto const held = FileLock::tryToTake(path);
        ::_exit(held ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(FileLock::tryToTake(path));
}

TEST(FileLock, saysWhyItsFileCannotBeMade) { EXPECT_THROW(FileLock::take("/nowhere/lock"), FileError); }

}  // namespace harbor
