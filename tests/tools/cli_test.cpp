// The ctgscore executable end to end: subcommands, output streams, exit codes.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "simulate.h"
#include "test_support.h"
#include "tool_test_helpers.h"

using json = nlohmann::ordered_json;
using tooltest::runTool;

namespace {

bool hasLogFile(const std::string& folder) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().filename().string().rfind("FhrScore_", 0) == 0) return true;
    }
    return false;
}

}  // namespace

TEST(Cli, SimulateAnalyzePlotAndBatchWriteTheirOutput) {
    const tooltest::ToolRun simulated = runTool({"simulate", "--minutes", "5", "--seed", "3"});
    ASSERT_EQ(simulated.exitCode, 0) << simulated.err;
    std::ostringstream expected;
    ctgtool::writeRecordingCsv(expected, ctgtool::simulate({5, 4, 3}).recording);
    EXPECT_EQ(simulated.out, expected.str());

    std::filesystem::create_directory("in");
    tooltest::writeSimulatedCsv("in/sim.csv", 20, 1);
    tooltest::ToolRun run = runTool({"analyze", "in/sim.csv", "--format", "json", "--baseline"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const json doc = json::parse(run.out);  // one document: no log lines mixed in
    const json& results = doc["recordings"][0]["results"];
    ASSERT_EQ(results.size(), 4u);
    const char* names[] = {"krebs", "fischer", "acog", "uc"};
    for (int k = 0; k < 4; ++k) EXPECT_EQ(results[k]["method"], names[k]);
    EXPECT_EQ(results[0]["baseline"]["curve"].size(), 20u * 240);
    EXPECT_TRUE(hasLogFile("."));

    run = runTool({"plot", "in/sim.csv", "--out", "strip.svg", "--from", "2", "--to", "8"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(tooltest::readFile("strip.svg").find("<svg"), std::string::npos);

    run = runTool({"batch", "in", "--out", "results.jsonl", "--jobs", "2"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err.find('\r'), std::string::npos) << "progress bar drawn on a non-terminal";
    EXPECT_TRUE(json::parse(tooltest::readFile("results.jsonl"))["ok"].get<bool>());
}

TEST(Cli, ExitCodesTellUnreadableRefusedAndMisused) {
    tooltest::writeFile("ragged.csv", "fhr,uc,fm\n140,10,0\n141\n");
    tooltest::ToolRun run = runTool({"analyze", "ragged.csv"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("ragged.csv: line 3: 1 fields, the header has 3"), std::string::npos)
        << run.err;

    tooltest::writeSimulatedCsv("short.csv", 2, 1);
    run = runTool({"analyze", "short.csv", "--method", "fischer", "--format", "json"});
    EXPECT_EQ(run.exitCode, 3);
    const json result = json::parse(run.out)["recordings"][0]["results"][0];
    EXPECT_FALSE(result["ok"].get<bool>());
    EXPECT_EQ(result["error"], "The minimum length is 5 minutes");
    EXPECT_FALSE(result.contains("score"));

    for (const std::vector<std::string>& misuse :
         {std::vector<std::string>{"analyze", "short.csv", "--params", "1,2,3"},
          {"analyze", "short.csv", "--method", "apgar"},
          {"plot", "short.csv", "--out", "x.svg", "--from", "30"},
          {"frobnicate"}}) {
        EXPECT_EQ(runTool(misuse).exitCode, 2) << misuse[0] << " " << misuse.back();
    }
}

TEST(Cli, LogDirectoryReceivesTheLibrarysLog) {
    std::filesystem::create_directory("logs");
    testing_support::clearLog();  // of an earlier test in this folder
    tooltest::writeSimulatedCsv("sim.csv", 5, 1);
    const tooltest::ToolRun run =
        runTool({"--log-dir", "logs", "analyze", "sim.csv", "--method", "krebs"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(hasLogFile("logs"));
    EXPECT_FALSE(hasLogFile("."));
    EXPECT_EQ(run.out.find("["), std::string::npos) << "library log echoed to stdout";
}

TEST(Cli, AnalyzesResearchRecordingsInBothFormats) {
    const std::string data = testing_support::dataDir();
    if (data.empty()) GTEST_SKIP() << "research recordings not present";
    const tooltest::ToolRun binary =
        runTool({"analyze", data + "/train/train40.fhr", "--fhr-channel", "max", "--method",
                 "krebs", "--format", "json"});
    const tooltest::ToolRun csv = runTool(
        {"analyze", data + "/train/fhrmax/train40.csv", "--method", "krebs", "--format", "json"});
    ASSERT_EQ(binary.exitCode, 0) << binary.err;
    const json fromBinary = json::parse(binary.out)["recordings"][0]["results"][0];
    EXPECT_TRUE(fromBinary["ok"].get<bool>());
    EXPECT_EQ(fromBinary["words"], json::parse(csv.out)["recordings"][0]["results"][0]["words"]);
}
