// The run log: one "[stamp]  message" line per call, appended to the daily
// file in the working directory and echoed on standard output.
#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "test_support.h"
#include "utils.h"

namespace {

namespace fs = std::filesystem;

std::tm localAt(std::time_t t) {
    std::tm local{};
    localtime_r(&t, &local);
    return local;
}

// Day part of the stamp and of the file name: numbers without zero padding.
std::string dateAt(std::time_t t) {
    const std::tm d = localAt(t);
    return std::to_string(d.tm_year + 1900) + "_" + std::to_string(d.tm_mon + 1) + "_" +
           std::to_string(d.tm_mday);
}

std::string lineAt(std::time_t t, const std::string& message) {
    const std::tm d = localAt(t);
    return "[" + dateAt(t) + " " + std::to_string(d.tm_hour) + ":" + std::to_string(d.tm_min) +
           ":" + std::to_string(d.tm_sec) + "]  " + message + "\n";
}

std::string todaysFile() { return "FhrScore_" + dateAt(std::time(nullptr)) + ".log"; }

// Logs the message and checks the echoed line against the clock.
std::string logged(const std::string& message) {
    const std::time_t before = std::time(nullptr);
    testing::internal::CaptureStdout();
    utils::log(true, message);
    const std::string echoed = testing::internal::GetCapturedStdout();
    const std::time_t after = std::time(nullptr);
    bool matches = false;
    for (std::time_t t = before; t <= after; ++t) matches = matches || echoed == lineAt(t, message);
    EXPECT_TRUE(matches) << echoed;
    return echoed;
}

}  // namespace

TEST(RunLog, EchoesAndAppendsEachLineToTheDailyFile) {
    testing_support::clearLog();
    std::string echoed;
    for (const char* message : {"hello log", "", "score 8\n"}) echoed += logged(message);
    std::ifstream file(todaysFile());
    std::ostringstream written;
    written << file.rdbuf();
    EXPECT_EQ(written.str(), echoed);
    EXPECT_EQ(testing_support::logMessages(),
              (std::vector<std::string>{"hello log", "", "score 8", ""}));
}

// A working directory that cannot take the file is covered in exports_log_faults_test.
TEST(RunLog, DisabledWritesNothing) {
    testing_support::clearLog();
    testing::internal::CaptureStdout();
    utils::log(false, "x");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_FALSE(fs::exists(todaysFile()));
}
