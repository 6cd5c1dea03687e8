#include "tests/program/SyncSweep.h"

#include <cerrno>

namespace harbor {
namespace {

/// Makes one file call of a run after the other fail: in the site, in the temporary directory and where the
/// program keeps its own state. An ordinary test run tries some calls; HARBOR_DISK_POINTS asks for more, and
/// with a large number takes every call.
class DiskSweep : public SyncSweep {
protected:
    static Tree newFiles()
    {
        return { { "themes/x/style.css", std::string(9'000, 'n') }, { "themes/x/logo.png", "new logo" },
            { "plugins/p/p.php", "<?php new" }, { "uploads/2026/large.jpg", std::string(1'100'000, 'j') },
            { "uploads/new.txt", "only new" } };
    }
    static Tree oldFiles()
    {
        return { { "themes/x/logo.png", "old logo" }, { "plugins/p/p.php", "<?php old" } };
    }

    struct Disk {
        int error;
        bool isForever;
    };

    /// The exit code with the Nth call failing; nothing when the run has fewer calls.
    std::optional<int> runWithFault(Direction direction, long call, Disk disk)
    {
        auto const marker = home.path() + "/marker";
        std::filesystem::remove(marker);
        std::vector<std::string> environment { "LD_PRELOAD=" HARBOR_FAULTY_DISK,
            "FAULTY_DISK_FOLDERS=" + home.path() + ":" + home.temporaryDirectory() + ":"
                + site.siteDirectory(),
            "FAULTY_DISK_AT=" + std::to_string(call), "FAULTY_DISK_ERRNO=" + std::to_string(disk.error),
            "FAULTY_DISK_MARKER=" + marker };
        if (disk.isForever)
            environment.emplace_back("FAULTY_DISK_FOREVER=1");
        auto const code = Program(arguments(direction), environment).wait();
        return fileExists(marker) ? std::optional(code) : std::nullopt;
    }

    /// Each file of the target is the old one, the new one, or, where a chunk was being written, its
    /// beginning.
    void expectNothingButOldAndNew(Direction direction, bool archive)
    {
        auto const before = oldFiles();
        auto const after = newFiles();
        for (auto const& [path, content] : readTree(targetOf(direction))) {
            if (path == "sync-history.json" || path.ends_with(".twkb-tmp"))
                continue;
            auto const isOld = before.contains(path) && before.at(path) == content;
            auto const isNew = after.contains(path) && after.at(path) == content;
            auto const isBeginning = after.contains(path) && after.at(path).starts_with(content);
            auto const mayBeCut = !archive || path == "uploads/2026/large.jpg";
            EXPECT_TRUE(isOld || isNew || (mayBeCut && isBeginning)) << path;
        }
    }

    void sweep(Direction direction, bool archive)
    {
        haveRemote(archive);
        auto const wanted = numberFrom("HARBOR_DISK_POINTS", 12);
        auto tried = 0;
        for (auto const disk : { Disk { ENOSPC, false }, Disk { EIO, false }, Disk { EACCES, false },
                 Disk { ENOSPC, true }, Disk { EIO, true }, Disk { EACCES, true } }) {
            auto const step = wanted >= 1'000 ? 1 : 1 + 97 / std::max(1, wanted / 3);
            for (long call = 1;; call += step) {
                SCOPED_TRACE("call " + std::to_string(call) + ", error " + std::to_string(disk.error)
                    + (disk.isForever ? " from then on" : " once"));
                put(newFiles(), sourceOf(direction));
                put(oldFiles(), targetOf(direction));
                auto const code = runWithFault(direction, call, disk);
                if (!code)
                    break;
                ++tried;
                EXPECT_TRUE(*code == 0 || *code == 1) << *code;
                EXPECT_THAT(namesIn(home.temporaryDirectory()), testing::IsEmpty());
                relay->waitForConnections();
                expectNothingButOldAndNew(direction, archive);
                EXPECT_EQ(readTree(sourceOf(direction)), newFiles());

                EXPECT_EQ(Program(arguments(direction)).wait(), 0);
                EXPECT_EQ(wholeFiles(direction, newFiles()).size(), newFiles().size());
                remote->forgetRequests();
                if (testing::Test::HasFailure())
                    return;
            }
        }
        std::printf("%d calls\n", tried);
    }
};

TEST_F(DiskSweep, aPushInArchiveModeFailsInOrder) { sweep(Direction::push, true); }
TEST_F(DiskSweep, aPullInArchiveModeFailsInOrder) { sweep(Direction::pull, true); }
TEST_F(DiskSweep, aPushInChunkedModeFailsInOrder) { sweep(Direction::push, false); }
TEST_F(DiskSweep, aPullInChunkedModeFailsInOrder) { sweep(Direction::pull, false); }

}  // namespace
}  // namespace harbor
