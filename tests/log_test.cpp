// The run log: one "[stamp]  message" line per call, appended to the daily
// file in the working directory and echoed on standard output.  A working
// directory that cannot take the file is covered in exports_log_faults_test.
#include <gtest/gtest.h>

#include <ctime>
#include <fstream>
#include <sstream>
#include <string>

#include "test_support.h"
#include "utils.h"

namespace {

// The line logged at time t: date and time numbers without zero padding.
std::string lineAt(std::time_t t, const std::string& message) {
    std::tm d{};
    localtime_r(&t, &d);
    return "[" + std::to_string(d.tm_year + 1900) + "_" + std::to_string(d.tm_mon + 1) + "_" +
           std::to_string(d.tm_mday) + " " + std::to_string(d.tm_hour) + ":" +
           std::to_string(d.tm_min) + ":" + std::to_string(d.tm_sec) + "]  " + message + "\n";
}

}  // namespace

TEST(RunLog, EchoesAndAppendsEachLineToTheDailyFileUnlessDisabled) {
    testing_support::clearLog();
    std::string echoed;
    for (const char* message : {"hello log", "", "score 8\n"}) {
        const std::time_t before = std::time(nullptr);
        testing::internal::CaptureStdout();
        utils::log(false, "disabled");
        utils::log(true, message);
        const std::string line = testing::internal::GetCapturedStdout();
        EXPECT_TRUE(line == lineAt(before, message) || line == lineAt(std::time(nullptr), message))
            << line;
        echoed += line;
    }
    std::ostringstream written;
    written << std::ifstream(testing_support::todaysLogName()).rdbuf();
    EXPECT_EQ(written.str(), echoed);
    EXPECT_EQ(testing_support::logMessages(),
              (std::vector<std::string>{"hello log", "", "score 8", ""}));
}
