// Running the library's methods and describing the results: failure
// detection per method, parameter passing, the clinician wording, the table.
#include "analysis.h"

#include <gtest/gtest.h>

#include <sstream>

#include "report.h"
#include "simulate.h"
#include "table_output.h"

using namespace ctgtool;
using json = nlohmann::ordered_json;

namespace {

Recording flatRecording(int seconds, int fhr) {
    Recording recording;
    recording.name = "flat";
    recording.fhr.assign(seconds * 4, fhr);
    recording.uc.assign(seconds * 4, 10);
    recording.fm.assign(seconds * 4, 0);
    return recording;
}

std::vector<MethodResult> analyzeAll(const Recording& recording) {
    return analyze(recording, AnalysisOptions{});
}

class Analysis : public testing::Test {
protected:
    // The library keeps parameters for the life of the process: reset them.
    void TearDown() override {
        Parameters unset;
        unset.fill(-1);
        AnalysisOptions options;
        options.methods = {Method::Krebs};
        options.parameters = unset;
        analyze(flatRecording(60, 140), options);
    }
};

}  // namespace

TEST(MethodNames, AllRunsTheFourMethodsInFixedOrder) {
    EXPECT_EQ(parseMethods("all"),
              (std::vector<Method>{Method::Krebs, Method::Fischer, Method::Acog, Method::Uc}));
    EXPECT_EQ(parseMethods("acog"), std::vector<Method>{Method::Acog});
    EXPECT_THROW(parseMethods("apgar"), std::invalid_argument);
}

TEST(MethodNames, ParametersAreSeventeenIntegers) {
    const Parameters parameters =
        parseParameters("4,3,17,17,120,18,18,120,6,6,24,15,10,10,60,1,-1");
    EXPECT_EQ(parameters[4], 120);
    EXPECT_EQ(parameters[16], -1);
    EXPECT_THROW(parseParameters("4,3"), std::invalid_argument);
    EXPECT_THROW(parseParameters("4,3,17,17,120,18,18,120,6,6,24,15,10,10,60,1,x"),
                 std::invalid_argument);
    EXPECT_THROW(parseParameters("4,3,17,17,120,18,18,120,6,6,24,15,10,10,60,1,300,5"),
                 std::invalid_argument);
}

TEST_F(Analysis, RefusedRunsCarryTheLibrarysReasonAndNoScores) {
    const auto tooShort = analyzeAll(flatRecording(30, 140));
    ASSERT_EQ(tooShort.size(), 4u);
    for (const MethodResult& result : tooShort) {
        EXPECT_FALSE(result.ok) << methodName(result.method);
        EXPECT_NE(result.error.find("minimum length"), std::string::npos) << result.error;
        const json described = describeResult(result, 4, {});
        EXPECT_FALSE(described.contains("score"));
        EXPECT_FALSE(described.contains("items"));
        EXPECT_EQ(described["error"], result.error);
    }
    for (const MethodResult& result : analyzeAll(flatRecording(120, 0))) {
        EXPECT_FALSE(result.ok) << methodName(result.method);
    }
}

TEST_F(Analysis, EachMethodIsJudgedByAWordItAlwaysWrites) {
    // Three minutes: enough for every method but Fischer, which needs five.
    const auto results = analyzeAll(simulate({3, 4, 2}).recording);
    EXPECT_TRUE(results[0].ok) << results[0].error;
    EXPECT_FALSE(results[1].ok);
    EXPECT_NE(results[1].error.find("5 minutes"), std::string::npos) << results[1].error;
    // ACOG leaves the total at -1 even when it succeeds.
    EXPECT_TRUE(results[2].ok) << results[2].error;
    EXPECT_EQ(results[2].record.totalScore, -1);
    EXPECT_TRUE(results[3].ok) << results[3].error;
}

TEST_F(Analysis, LibraryLogLinesAreCapturedNotPrinted) {
    testing::internal::CaptureStdout();
    const auto results = analyzeAll(flatRecording(90, 140));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_FALSE(results[0].log.empty());
    EXPECT_NE(results[0].log.front().find("Type : Krebs"), std::string::npos);
}

TEST_F(Analysis, ParametersReachTheLibrary) {
    const Recording recording = simulate({40, 4, 1}).recording;
    AnalysisOptions options;
    options.methods = {Method::Krebs};
    const std::size_t byDefault = analyze(recording, options).front().accelerations.size();
    Parameters wideSpacing = parseParameters("-1,-1,-1,-1,600,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1");
    options.parameters = wideSpacing;
    const std::size_t spaced = analyze(recording, options).front().accelerations.size();
    EXPECT_GT(byDefault, 3u);
    EXPECT_LT(spaced, byDefault);
}

TEST_F(Analysis, KrebsDescriptionSpeaksInScoreItems) {
    const Recording recording = simulate({40, 4, 1}).recording;
    AnalysisOptions options;
    options.methods = {Method::Krebs};
    const MethodResult krebs = analyze(recording, options).front();
    ASSERT_TRUE(krebs.ok);
    const json described = describeResult(krebs, 4, {true});
    int points = 0;
    for (const json& item : described["items"]) points += item["points"].get<int>();
    EXPECT_EQ(described["score"], points);
    EXPECT_EQ(described["max_score"], 12);
    const std::string baseline = described["items"][0]["text"];
    EXPECT_EQ(baseline.rfind("baseline " + std::to_string(krebs.record.baselineFhr) + " bpm: ", 0),
              0u)
        << baseline;
    EXPECT_EQ(described["words"]["accelerationCount"], krebs.record.accelerationCount);
    const json& first = described["accelerations"][0];
    EXPECT_EQ(first["start"], krebs.accelerations[0].start);
    EXPECT_DOUBLE_EQ(first["start_s"].get<double>(), krebs.accelerations[0].start / 4.0);
    EXPECT_EQ(described["baseline"]["length"], recording.samples());
    EXPECT_EQ(described["baseline"]["curve"].size(), krebs.baseline.size());
}

TEST_F(Analysis, AcogAndContractionDescriptions) {
    const auto results = analyzeAll(simulate({40, 4, 1}).recording);
    const json acog = describeResult(results[2], 4, {});
    EXPECT_FALSE(acog.contains("score"));
    EXPECT_EQ(acog["words"]["acogPatternFlags"], json({1, 1, 0}));
    EXPECT_EQ(acog["items"][0]["text"].get<std::string>().find("baseline"), 0u);
    const json uc = describeResult(results[3], 4, {});
    EXPECT_EQ(uc["max_score"], 2);
    EXPECT_FALSE(uc.contains("accelerations"));
    EXPECT_EQ(uc["words"]["baselineFhrCopy"], uc["words"]["baselineFhr"]);
}

TEST_F(Analysis, TableShowsScoresEventsAndRefusals) {
    const Recording recording = simulate({4, 4, 5}).recording;
    const json doc =
        json::array({describeRecording("sim.csv", recording, analyzeAll(recording), {}),
                     describeFileFailure("bad.csv", "bad.csv: file is empty")});
    std::ostringstream table;
    writeTable(table, doc);
    const std::string text = table.str();
    EXPECT_NE(text.find("sim.csv: 4.0 min, 960 samples at 4 Hz"), std::string::npos) << text;
    EXPECT_NE(text.find("Krebs: "), std::string::npos);
    EXPECT_NE(text.find(" of 12\n"), std::string::npos);
    EXPECT_NE(text.find("Fischer: not scored: "), std::string::npos);
    EXPECT_NE(text.find("\nbad.csv: file is empty\n"), std::string::npos);
}

TEST_F(Analysis, ContractionMethodWithoutContractionsSaysSo) {
    AnalysisOptions options;
    options.methods = {Method::Uc};
    const MethodResult uc = analyze(flatRecording(600, 140), options).front();
    ASSERT_TRUE(uc.ok) << uc.error;
    EXPECT_EQ(word(uc.record, 1), -1);
    const json described = describeResult(uc, 4, {});
    EXPECT_EQ(described["score"], 0);
    EXPECT_EQ(described["items"][0]["text"], "fewer than two contractions found: rating 0 of 2");
    EXPECT_EQ(described["items"].size(), 2u);
}
