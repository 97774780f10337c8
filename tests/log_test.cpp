// The run log: one "[stamp]  message" line per call, appended to the daily
// file in the working directory and echoed on standard output.
#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <unistd.h>

#include "test_support.h"
#include "utils.h"

namespace {

namespace fs = std::filesystem;

std::string logAndCapture(bool enabled, const std::string& message) {
    testing::internal::CaptureStdout();
    utils::log(enabled, message);
    return testing::internal::GetCapturedStdout();
}

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::size_t entriesIn(const fs::path& dir) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(dir), {}));
}

// Fields of a "[Y_M_D h:m:s]  " prefix: numbers without zero padding.
struct Stamp {
    int year, month, day, hour, minute, second;
    std::string date() const {
        return std::to_string(year) + "_" + std::to_string(month) + "_" + std::to_string(day);
    }
    std::time_t toTime() const {
        std::tm local{};
        local.tm_year = year - 1900;
        local.tm_mon = month - 1;
        local.tm_mday = day;
        local.tm_hour = hour;
        local.tm_min = minute;
        local.tm_sec = second;
        local.tm_isdst = -1;
        return std::mktime(&local);
    }
};

bool parseLine(const std::string& line, const std::string& message, Stamp& stamp) {
    static const std::regex shape(
        R"(\[([1-9][0-9]{3})_([1-9][0-9]?)_([1-9][0-9]?) (0|[1-9][0-9]?):(0|[1-9][0-9]?):(0|[1-9][0-9]?)\]  )");
    std::smatch match;
    if (!std::regex_search(line, match, shape, std::regex_constants::match_continuous)) return false;
    stamp = {std::stoi(match[1]), std::stoi(match[2]), std::stoi(match[3]),
             std::stoi(match[4]), std::stoi(match[5]), std::stoi(match[6])};
    return line.substr(match.length(0)) == message + "\n";
}

// Restores the working directory (and the permissions of a locked folder) on exit.
class WorkingDirectoryGuard {
public:
    WorkingDirectoryGuard() : original_(fs::current_path()) {}
    ~WorkingDirectoryGuard() {
        if (chdir(original_.c_str()) != 0) ADD_FAILURE() << "cannot return to " << original_;
        if (!locked_.empty()) fs::permissions(locked_, fs::perms::owner_all);
    }
    void lock(const fs::path& dir) { locked_ = dir; }

private:
    fs::path original_;
    fs::path locked_;
};

}  // namespace

TEST(RunLog, LineHasUnpaddedStampAndTwoBlanks) {
    testing_support::clearLog();
    const std::time_t before = std::time(nullptr);
    const std::string echoed = logAndCapture(true, "hello log");
    const std::time_t after = std::time(nullptr);

    Stamp stamp{};
    ASSERT_TRUE(parseLine(echoed, "hello log", stamp)) << echoed;
    EXPECT_LE(stamp.month, 12);
    EXPECT_LE(stamp.day, 31);
    EXPECT_LE(stamp.hour, 23);
    EXPECT_LE(stamp.minute, 59);
    EXPECT_LE(stamp.second, 60);
    EXPECT_GE(stamp.toTime(), before - 1);
    EXPECT_LE(stamp.toTime(), after + 1);

    const fs::path file = "FhrScore_" + stamp.date() + ".log";
    ASSERT_TRUE(fs::exists(file)) << file;
    EXPECT_EQ(readFile(file), echoed);
}

TEST(RunLog, AppendsInOrderAndKeepsExistingContent) {
    testing_support::clearLog();
    logAndCapture(true, "first");
    const auto existing = testing_support::logLines();
    ASSERT_EQ(existing.size(), 1u);
    logAndCapture(true, "second");
    logAndCapture(true, "third");
    const auto lines = testing_support::logLines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], existing[0]);
    EXPECT_EQ(testing_support::logMessages(),
              (std::vector<std::string>{"first", "second", "third"}));
}

TEST(RunLog, EmptyMessageLeavesOnlyThePrefix) {
    testing_support::clearLog();
    const std::string echoed = logAndCapture(true, "");
    Stamp stamp{};
    EXPECT_TRUE(parseLine(echoed, "", stamp)) << echoed;
    ASSERT_EQ(echoed.substr(echoed.size() - 4), "]  \n");
    EXPECT_EQ(testing_support::logLines(), std::vector<std::string>{echoed.substr(0, echoed.size() - 1)});
}

TEST(RunLog, MessageEndingInNewlineGivesTwoNewlines) {
    testing_support::clearLog();
    const std::string echoed = logAndCapture(true, "score 8\n");
    Stamp stamp{};
    EXPECT_TRUE(parseLine(echoed, "score 8\n", stamp)) << echoed;
    EXPECT_EQ(testing_support::logMessages(), (std::vector<std::string>{"score 8", ""}));
}

TEST(RunLog, DisabledWritesNothing) {
    testing_support::clearLog();
    const std::size_t before = entriesIn(fs::current_path());
    EXPECT_EQ(logAndCapture(false, "x"), "");
    EXPECT_EQ(entriesIn(fs::current_path()), before);
}

TEST(RunLog, UnwritableDirectoryStillEchoes) {
    WorkingDirectoryGuard guard;
    const fs::path locked = fs::absolute("locked");
    fs::create_directory(locked);
    guard.lock(locked);
    fs::permissions(locked, fs::perms::owner_read | fs::perms::owner_exec);
    ASSERT_EQ(chdir(locked.c_str()), 0);
    if (std::ofstream("probe")) {
        fs::remove("probe");
        GTEST_SKIP() << "the directory stays writable for this user";
    }

    const std::string echoed = logAndCapture(true, "still shown");
    Stamp stamp{};
    EXPECT_TRUE(parseLine(echoed, "still shown", stamp)) << echoed;
    EXPECT_EQ(entriesIn(locked), 0u);
}
