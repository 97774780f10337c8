// The run log under faults of the working directory: when the daily log cannot
// be opened or written, every run still completes, returns the same record as
// with a healthy log, and still echoes its lines on standard output.
#include <gtest/gtest.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "exported_methods.h"
#include "synthetic_recording.h"

namespace {

namespace fs = std::filesystem;

// Today's and tomorrow's log names, so a run across midnight meets the same fault.
std::vector<std::string> logNames() {
    std::vector<std::string> names;
    for (std::time_t when = std::time(nullptr); names.size() < 2; when += 24 * 3600) {
        std::tm local{};
        localtime_r(&when, &local);
        names.push_back("FhrScore_" + std::to_string(local.tm_year + 1900) + "_" +
                        std::to_string(local.tm_mon + 1) + "_" + std::to_string(local.tm_mday) +
                        ".log");
    }
    return names;
}

// The records of all four methods on one recording.
std::vector<std::vector<int>> runAllMethods() {
    static const auto rec = testing_support::syntheticRecording(10 * 60 * 4);
    std::vector<std::vector<int>> records;
    for (const auto& method : testing_support::kExportedMethods) {
        const int* words =
            method.run(rec.fhr.data(), rec.uc.data(), rec.fm.data(), rec.length(), rec.rate);
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
        fs::remove_all(dir_);
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

// Opening fails: a directory in the log file's place stops root as well as
// any other user.
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

}  // namespace
