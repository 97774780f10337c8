// Batch runs: one JSON line per recording in name order, failures reported in
// their line, the same output whatever the number of jobs.
#include "batch.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tool_test_helpers.h"

using namespace ctgtool;
using json = nlohmann::ordered_json;

namespace {

BatchOptions options(int jobs, const std::string& output) {
    BatchOptions batch;
    batch.directory = "folder";
    batch.output = output;
    batch.jobs = jobs;
    return batch;
}

// Starts `ctgscore ARGUMENTS` in a process group of its own, with its scratch
// files under the test's folder; returns its pid.
pid_t startTool(const std::vector<std::string>& arguments) {
    std::vector<std::string> words = {CTGSCORE_TOOL_PATH};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const std::string here = std::filesystem::current_path().string();
    const pid_t pid = fork();
    if (pid == 0) {
        setpgid(0, 0);
        setenv("TMPDIR", here.c_str(), 1);
        const int quiet = open("/dev/null", O_WRONLY);
        dup2(quiet, STDOUT_FILENO);
        dup2(quiet, STDERR_FILENO);
        std::vector<char*> argv;
        for (std::string& word : words) argv.push_back(word.data());
        argv.push_back(nullptr);
        execv(argv[0], argv.data());
        _exit(127);
    }
    return pid;
}

std::size_t completeLines(const std::string& path) {
    const std::string text = std::filesystem::exists(path) ? tooltest::readFile(path) : "";
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace

TEST(Batch, OneLinePerRecordingInNameOrderWhateverTheJobs) {
    std::filesystem::create_directories("folder/sub.csv");  // a folder is no recording
    tooltest::writeSimulatedCsv("folder/b.csv", 6, 2);
    tooltest::writeSimulatedCsv("folder/a.csv", 6, 1);
    tooltest::writeFile("folder/c.csv", "fhr,uc,fm\n140,10\n");
    tooltest::writeFile("folder/d.fhr", tooltest::fhrmaBytes(0, {{560, 560, 20}}).substr(0, 7));
    tooltest::writeFile("folder/notes.txt", "not a recording\n");

    const BatchSummary summary = runBatch(options(1, "one.jsonl"));
    EXPECT_EQ(summary.files, 4u);
    EXPECT_EQ(summary.failed, 2u);
    std::vector<json> lines;
    std::ifstream in("one.jsonl");
    for (std::string line; std::getline(in, line);) lines.push_back(json::parse(line));
    ASSERT_EQ(lines.size(), 4u);
    const char* names[] = {"a.csv", "b.csv", "c.csv", "d.fhr"};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(std::filesystem::path(lines[i]["file"].get<std::string>()).filename(), names[i]);
    }
    EXPECT_TRUE(lines[0]["ok"].get<bool>());
    EXPECT_EQ(lines[0]["results"].size(), 4u);
    EXPECT_FALSE(lines[2]["ok"].get<bool>());
    EXPECT_NE(lines[2]["error"].get<std::string>().find("line 2: 2 fields"), std::string::npos);
    EXPECT_NE(lines[3]["error"].get<std::string>().find("truncated"), std::string::npos);

    runBatch(options(3, "three.jsonl"));
    EXPECT_EQ(tooltest::readFile("one.jsonl"), tooltest::readFile("three.jsonl"));

    BatchOptions missing = options(1, "out.jsonl");
    missing.directory = "no-such-folder";
    EXPECT_THROW(runBatch(missing), InputError);
    EXPECT_THROW(runBatch(options(1, "no-such-folder/out.jsonl")), InputError);
}

TEST(Batch, ResumingAKilledRunGivesTheFileOfOneUninterruptedRun) {
    // c.csv is eight hours long: its analysis takes over a second, so the run
    // is still at it when the lines of a.csv and b.csv have appeared.
    std::filesystem::create_directories("folder");
    tooltest::writeSimulatedCsv("folder/a.csv", 20, 1);
    tooltest::writeFile("folder/b.csv", "fhr,uc,fm\n140\n");
    tooltest::writeSimulatedCsv("folder/c.csv", 480, 3);
    tooltest::writeSimulatedCsv("folder/d.csv", 20, 4);
    tooltest::writeSimulatedCsv("folder/e.csv", 20, 5);
    ASSERT_EQ(tooltest::runTool({"batch", "folder", "--out", "whole.jsonl"}).exitCode, 0);

    const pid_t pid = startTool({"batch", "folder", "--out", "resumed.jsonl"});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (completeLines("resumed.jsonl") < 2 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    kill(-pid, SIGKILL);  // the tool and its analysis process
    waitpid(pid, nullptr, 0);
    ASSERT_EQ(completeLines("resumed.jsonl"), 2u);
    // As if the kill had cut the next line short.
    const std::string whole = tooltest::readFile("whole.jsonl");
    const std::size_t third = whole.find('\n', whole.find('\n') + 1) + 1;
    std::ofstream("resumed.jsonl", std::ios::app) << whole.substr(third, 40);

    const tooltest::ToolRun resumed =
        tooltest::runTool({"batch", "folder", "--out", "resumed.jsonl", "--resume", "--jobs", "2"});
    EXPECT_EQ(resumed.exitCode, 0);
    EXPECT_NE(resumed.err.find("5 recordings (2 from the earlier run), 1 not read"),
              std::string::npos)
        << resumed.err;
    EXPECT_EQ(tooltest::readFile("resumed.jsonl"), whole);

    BatchOptions again = options(1, "resumed.jsonl");
    again.resume = true;
    EXPECT_EQ(runBatch(again).resumed, 5u);  // nothing left to do
    EXPECT_EQ(tooltest::readFile("resumed.jsonl"), whole);
    tooltest::writeFile("other.jsonl", "not a batch line\n");
    BatchOptions foreign = options(1, "other.jsonl");
    foreign.resume = true;
    EXPECT_THROW(runBatch(foreign), InputError);
}
