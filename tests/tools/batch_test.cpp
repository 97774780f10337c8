// Batch runs: a killed run that --resume completes to the file of one
// uninterrupted run, whatever the number of jobs; what counts as a recording.
#include "runs/batch.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tool_test_helpers.h"

using namespace ctgtool;
using tooltest::readFile;

namespace {

BatchOptions resumeOf(const std::string& output, const std::string& folder = "folder") {
    return {folder, output, 1, true, {}};
}

std::size_t completeLines(const std::string& path) {
    const std::string text = std::filesystem::exists(path) ? readFile(path) : "";
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace

// c.csv is eight hours long: its analysis takes over a second, so the run is
// still at it when the lines of a.csv and b.csv have appeared.
TEST(Batch, KilledRunResumedGivesTheFileOfOneUninterruptedRun) {
    std::filesystem::create_directories("folder/sub.csv");  // a folder is no recording
    tooltest::runTool({"simulate", "--minutes", "20", "--seed", "1", "--out", "folder/a.csv"});
    tooltest::writeFile("folder/b.csv", "fhr,uc,fm\n140\n");
    tooltest::runTool({"simulate", "--minutes", "480", "--seed", "3", "--out", "folder/c.csv"});
    tooltest::writeFile("folder/d.fhr", tooltest::fhrmaBytes(0, {{560, 560, 20}}).substr(0, 7));
    tooltest::runTool({"simulate", "--minutes", "20", "--seed", "5", "--out", "folder/e.csv"});
    tooltest::writeFile("folder/f.hea", "f 2 4\n");  // a WFDB record, its signals undescribed
    tooltest::writeFile("folder/notes.txt", "not a recording\n");
    ASSERT_EQ(tooltest::runTool({"batch", "folder", "--out", "whole.jsonl"}).exitCode, 0);

    const pid_t pid = tooltest::startTool({"batch", "folder", "--out", "resumed.jsonl"});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (completeLines("resumed.jsonl") < 2 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    kill(-pid, SIGKILL);  // the tool and its analysis process
    waitpid(pid, nullptr, 0);
    ASSERT_EQ(completeLines("resumed.jsonl"), 2u);
    // As if the kill had cut the next line short.
    const std::string whole = readFile("whole.jsonl");
    const std::size_t third = whole.find('\n', whole.find('\n') + 1) + 1;
    std::ofstream("resumed.jsonl", std::ios::app) << whole.substr(third, 40);

    const tooltest::ToolRun resumed =
        tooltest::runTool({"batch", "folder", "--out", "resumed.jsonl", "--resume", "--jobs", "2"});
    EXPECT_EQ(resumed.err,
              "ctgscore: 6 recordings (2 from the earlier run), 3 not read; results in "
              "resumed.jsonl\n");
    EXPECT_EQ(readFile("resumed.jsonl"), whole);
    EXPECT_EQ(runBatch(resumeOf("resumed.jsonl")).resumed, 6u);  // nothing left to do
    EXPECT_EQ(readFile("resumed.jsonl"), whole);

    tooltest::writeFile("other.jsonl", "not a batch line\n");
    EXPECT_THROW(runBatch(resumeOf("other.jsonl")), InputError);
    EXPECT_THROW(runBatch(resumeOf("no-such-folder/out.jsonl")), InputError);
    EXPECT_THROW(runBatch(resumeOf("out.jsonl", "no-such-folder")), InputError);
}
