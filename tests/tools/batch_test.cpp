// Batch runs: one JSON line per recording in name order, failures reported in
// their line, the same output whatever the number of jobs.
#include "batch.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

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
