// The run log under faults of the working directory: when the daily log cannot
// be opened or written, every run still completes, returns the same record as
// with a healthy log, and still echoes its lines on standard output.
#include <gtest/gtest.h>

#include <sys/mount.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "ctgscore.h"
#include "synthetic_recording.h"

namespace {

namespace fs = std::filesystem;

std::string logNameFor(std::time_t when) {
    std::tm local{};
    localtime_r(&when, &local);
    return "FhrScore_" + std::to_string(local.tm_year + 1900) + "_" +
           std::to_string(local.tm_mon + 1) + "_" + std::to_string(local.tm_mday) + ".log";
}

// Today's and tomorrow's names, so a run across midnight meets the same fault.
std::vector<std::string> logNames() {
    const std::time_t now = std::time(nullptr);
    return {logNameFor(now), logNameFor(now + 24 * 3600)};
}

const testing_support::SyntheticRecording& recording() {
    static const auto rec = testing_support::syntheticRecording(10 * 60 * 4);
    return rec;
}

// The records of all four methods, in the order Krebs, Fischer, ACOG, UC.
std::vector<std::vector<int>> runAllMethods() {
    const auto& r = recording();
    const int n = r.length();
    std::vector<std::vector<int>> records;
    for (int* words : {QK4_calFhrKrebs(r.fhr.data(), r.fm.data(), n, r.rate),
                       QK4_calFhrFischer2(r.fhr.data(), r.uc.data(), r.fm.data(), n, r.rate),
                       QK4_calFhrAcog(r.fhr.data(), r.uc.data(), r.fm.data(), n, r.rate),
                       QK4_calFhrUC(r.fhr.data(), r.uc.data(), r.fm.data(), n, r.rate)}) {
        records.emplace_back(words, words + CTGSCORE_RESULT_WORDS);
    }
    return records;
}

// Works inside a fresh subdirectory and returns to the previous one afterwards.
class LogFaults : public testing::Test {
protected:
    void SetUp() override {
        home_ = fs::current_path();
        dir_ = home_ / ("faulty-" + std::to_string(counter_++));
        fs::create_directory(dir_);
        // Records of a healthy log; the first runs also settle the contraction
        // filter state that carries over from call to call.
        runAllMethods();
        healthy_ = runAllMethods();
        ASSERT_EQ(chdir(dir_.c_str()), 0);
    }
    void TearDown() override {
        ASSERT_EQ(chdir(home_.c_str()), 0);
        umount2(dir_.c_str(), MNT_DETACH);  // fails harmlessly where nothing is mounted
        std::error_code ignored;
        fs::permissions(dir_, fs::perms::owner_all, ignored);
        fs::remove_all(dir_, ignored);
    }

    // Runs all methods and checks the records and the echo on standard output.
    void expectRunsUnaffected() {
        testing::internal::CaptureStdout();
        const std::vector<std::vector<int>> records = runAllMethods();
        const std::string echoed = testing::internal::GetCapturedStdout();
        EXPECT_EQ(records, healthy_);
        EXPECT_NE(echoed.find("]  Type : Krebs\n"), std::string::npos);
        EXPECT_NE(echoed.find("]  Score finished\n"), std::string::npos);
    }

    fs::path home_, dir_;
    std::vector<std::vector<int>> healthy_;
    static inline int counter_ = 0;
};

TEST_F(LogFaults, ReadOnlyWorkingDirectory) {
    fs::permissions(dir_, fs::perms::owner_read | fs::perms::owner_exec);
    if (std::ofstream("probe")) {
        fs::remove("probe");
        GTEST_SKIP() << "permissions do not stop this user from writing (root)";
    }
    expectRunsUnaffected();
    EXPECT_TRUE(fs::is_empty(dir_));
}

// A directory in the log file's place makes every open fail, for root as well.
TEST_F(LogFaults, LogFileNameTakenByADirectory) {
    for (const std::string& name : logNames()) fs::create_directory(name);
    expectRunsUnaffected();
    for (const std::string& name : logNames()) EXPECT_TRUE(fs::is_empty(name));
}

// Opening succeeds but every write fails with "no space left on device".
TEST_F(LogFaults, LogFileOnAFullDevice) {
    if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    for (const std::string& name : logNames()) fs::create_symlink("/dev/full", name);
    expectRunsUnaffected();
}

// A real full file system: a tiny tmpfs filled to the last block.  Needs the
// right to mount; skipped without it.
TEST_F(LogFaults, FullFileSystem) {
    if (mount("tmpfs", dir_.c_str(), "tmpfs", 0, "size=64k") != 0) {
        GTEST_SKIP() << "cannot mount a tmpfs here";
    }
    // Re-enter so the working directory is the mounted file system.
    ASSERT_EQ(chdir(dir_.c_str()), 0);
    {
        std::ofstream filler("filler", std::ios::binary);
        const std::string block(4096, 'x');
        while (filler.write(block.data(), block.size()) && filler.flush()) {
        }
    }
    ASSERT_FALSE(std::ofstream("probe") << "x" << std::flush) << "the file system is not full";
    expectRunsUnaffected();
}

}  // namespace
