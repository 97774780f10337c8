// The ctgscore executable end to end: the table, the batch lines, the strip
// chart and the review index of the example recordings as whole files, the
// options, exit codes and the log.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "test_support.h"
#include "tool_test_helpers.h"

using json = nlohmann::ordered_json;
using tooltest::readFile;
using tooltest::runTool;

namespace {

// A page without the text of its inline style sheet and script, which are the
// files of tools/src/review/ as they stand.
std::string withoutAssets(std::string page) {
    for (const std::string tag : {"style", "script"}) {
        const std::size_t from = page.find("<" + tag + ">"), to = page.find("</" + tag + ">");
        if (from != std::string::npos && to > from) page.erase(from + tag.size() + 2, to - from - tag.size() - 2);
    }
    return page;
}

// The output equals the file in expected/; CTGSCORE_UPDATE_EXPECTED=1 rewrites
// the file after an intended change of the output.
void expectFile(const std::string& actual, const std::string& name) {
    const std::string path = std::string(CTGSCORE_EXPECTED_DIR) + "/" + name;
    if (std::getenv("CTGSCORE_UPDATE_EXPECTED") != nullptr) tooltest::writeFile(path, actual);
    EXPECT_EQ(actual, readFile(path)) << name << " differs";
}

}  // namespace

// The example recording, one too short for the Fischer method, a broken file
// and one whose decelerations are typed: contractions every 3 minutes, each
// followed 30 s after its peak by a dip of 40 bpm.
TEST(Cli, TableAndBatchLinesOfTheExampleRecordingsExitCodesAndOptions) {
    std::filesystem::create_directory("recordings");
    std::string late = "fhr,uc\n";
    for (int i = 0; i < 20 * 240; ++i) {
        const int dip = std::max(0, 40 - std::abs(i % 720 - 480) / 2);
        late += std::to_string(137 + i / 3 % 7 - dip) + "," +
                std::to_string(15 + std::max(0, 60 - std::abs(i % 720 - 360) / 2)) + "\n";
    }
    tooltest::writeFile("recordings/late.csv", late);
    tooltest::writeFile("recordings/short.csv",
                        runTool({"simulate", "--minutes", "2", "--seed", "3"}).out);
    tooltest::writeFile("recordings/broken.csv", "fhr,uc,fm\n140\n");
    const std::string seventeen = "4,3,17,17,120,18,18,120,6,6,24,15,10,10,60,1,";
    const std::vector<std::pair<std::vector<std::string>, int>> runs = {
        {{"simulate", "--minutes", "40", "--seed", "1", "--out", "recordings/example.csv"}, 0},
        {{"plot", "recordings/example.csv", "--out", "strip.svg", "--from", "2", "--to", "8"}, 0},
        {{"analyze", "recordings/short.csv", "--method", "fischer"}, 3},
        {{"analyze", "recordings/short.csv", "--params", "1,2,3"}, 2},
        {{"analyze", "recordings/short.csv", "--params", seventeen + "1x"}, 2},
        {{"analyze", "recordings/short.csv", "--params", seventeen + "300,5"}, 2},
        {{"analyze", "recordings/short.csv", "--method", "apgar"}, 2},
        {{"plot", "recordings/short.csv", "--out", "x.svg", "--from", "30"}, 2},
        {{"plot", "recordings/example.csv", "--out", "x.svg", "--from", "8", "--to", "2"}, 2},
        {{"simulate", "--minutes", "0"}, 2},
        {{"report", "recordings/short.csv", "--out", "short"}, 3},
        {{"report", "recordings/short.csv", "--out", "recordings/example.csv/pages"}, 1},
        {{"frobnicate"}, 2}};
    for (const auto& [arguments, exitCode] : runs) {
        EXPECT_EQ(runTool(arguments).exitCode, exitCode) << arguments[0] << " " << arguments.back();
    }
    expectFile(readFile("strip.svg"), "example_strip.svg");

    const tooltest::ToolRun table =
        runTool({"analyze", "recordings/example.csv", "recordings/late.csv", "recordings/short.csv",
                 "recordings/broken.csv"});
    EXPECT_EQ(table.exitCode, 1);
    EXPECT_EQ(table.err, "ctgscore: recordings/broken.csv: line 2: 1 fields, the header has 3\n");
    expectFile(table.out, "example_table.txt");
    const tooltest::ToolRun batch =
        runTool({"batch", "recordings", "--out", "results.jsonl", "--jobs", "2"});
    EXPECT_EQ(batch.err, "ctgscore: 4 recordings, 1 not read; results in results.jsonl\n");
    expectFile(readFile("results.jsonl"), "example_batch.jsonl");
    const tooltest::ToolRun report = runTool({"report", "recordings/example.csv",
                                              "recordings/late.csv", "recordings/short.csv",
                                              "recordings/broken.csv", "--out", "pages"});
    EXPECT_EQ(report.exitCode, 1);
    EXPECT_NE(report.err.find("3 of 4 recordings have a page"), std::string::npos) << report.err;
    expectFile(withoutAssets(readFile("pages/index.html")), "example_index.html");

    // accMinSpacing 600 s leaves fewer of the example's 8 accelerations; read at 2 Hz.
    const std::string spacing = "-1,-1,-1,-1,600,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1";
    expectFile(runTool({"analyze", "recordings/example.csv", "--method", "krebs", "--params",
                        spacing, "--rate", "2", "--format", "json"})
                   .out,
               "example_krebs_options.json");
    const json withCurve = json::parse(
        runTool({"analyze", "recordings/short.csv", "--baseline", "--format", "json"}).out);
    EXPECT_EQ(withCurve["recordings"][0]["results"][0]["baseline"]["curve"].size(), 480u);
}

// Five minutes of a steady 140 bpm, on the second heart-rate channel only.
TEST(Cli, FhrFileChannelStartTimeLogFolderAndVerboseLog) {
    tooltest::writeFile("second.fhr", tooltest::fhrmaBytes(1700000000, {1200, {0, 560, 20}}));
    std::filesystem::create_directory("logs");
    testing_support::clearLog();  // of an earlier test in this folder
    const tooltest::ToolRun run = runTool({"--log-dir", "logs", "-v", "analyze", "second.fhr",
                                           "--method", "krebs", "--fhr-channel", "max"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    expectFile(run.out, "second_channel_table.txt");  // no library log lines among it
    EXPECT_NE(run.err.find("Type : Krebs"), std::string::npos) << run.err;
    EXPECT_TRUE(std::filesystem::exists("logs/" + testing_support::todaysLogName()));
    EXPECT_FALSE(std::filesystem::exists(testing_support::todaysLogName()));
    EXPECT_EQ(runTool({"--log-dir", "logs", "analyze", "second.fhr", "--method", "krebs"}).exitCode,
              3);
}
