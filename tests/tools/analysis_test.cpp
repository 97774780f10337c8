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

std::vector<MethodResult> analyzeWith(const Recording& recording, std::vector<Method> methods,
                                      std::optional<Parameters> parameters = std::nullopt) {
    AnalysisOptions options;
    options.methods = std::move(methods);
    options.parameters = parameters;
    return analyze(recording, options);
}

}  // namespace

TEST(Analysis, MethodNamesAndSeventeenParameters) {
    EXPECT_EQ(parseMethods("all"), allMethods());
    EXPECT_EQ(allMethods(),
              (std::vector<Method>{Method::Krebs, Method::Fischer, Method::Acog, Method::Uc}));
    EXPECT_EQ(parseMethods("acog"), std::vector<Method>{Method::Acog});
    EXPECT_THROW(parseMethods("apgar"), std::invalid_argument);
    const Parameters parameters =
        parseParameters("4,3,17,17,120,18,18,120,6,6,24,15,10,10,60,1,-1");
    EXPECT_EQ(parameters[4], 120);
    EXPECT_EQ(parameters[16], -1);
    for (const char* bad : {"4,3", "4,3,17,17,120,18,18,120,6,6,24,15,10,10,60,1,x",
                            "4,3,17,17,120,18,18,120,6,6,24,15,10,10,60,1,300,5"}) {
        EXPECT_THROW(parseParameters(bad), std::invalid_argument) << bad;
    }
}

TEST(Analysis, EachMethodIsJudgedByAWordItAlwaysWritesAndRefusalsCarryTheReason) {
    testing::internal::CaptureStdout();
    const auto results = analyze(simulate({3, 4, 2}).recording, AnalysisOptions{});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");  // the log is captured, not printed
    EXPECT_NE(results[0].log.front().find("Type : Krebs"), std::string::npos);
    EXPECT_TRUE(results[0].ok) << results[0].error;
    EXPECT_FALSE(results[1].ok);  // Fischer needs five minutes
    const json refused = describeResult(results[1], 4, {});
    EXPECT_EQ(refused["error"], "The minimum length is 5 minutes");
    EXPECT_FALSE(refused.contains("score") || refused.contains("items"));
    EXPECT_TRUE(results[2].ok) << results[2].error;  // ACOG leaves the total at -1
    EXPECT_EQ(results[2].record.totalScore, -1);
    EXPECT_TRUE(results[3].ok) << results[3].error;
    for (const MethodResult& result : analyze(flatRecording(120, 0), AnalysisOptions{})) {
        EXPECT_FALSE(result.ok) << methodName(result.method);
    }
}

TEST(Analysis, ParametersReachTheLibraryAndDescriptionsSpeakInItems) {
    const Recording recording = simulate({40, 4, 1}).recording;
    const MethodResult krebs = analyzeWith(recording, {Method::Krebs}).front();
    Parameters wideSpacing;
    wideSpacing.fill(-1);
    wideSpacing[4] = 600;
    const size_t spaced =
        analyzeWith(recording, {Method::Krebs}, wideSpacing).front().accelerations.size();
    wideSpacing.fill(-1);  // the library keeps parameters for the process: back to the defaults
    analyzeWith(flatRecording(60, 140), {Method::Krebs}, wideSpacing);
    EXPECT_GT(krebs.accelerations.size(), 3u);
    EXPECT_LT(spaced, krebs.accelerations.size());

    const json described = describeResult(krebs, 4, {true});
    int points = 0;
    for (const json& item : described["items"]) points += item["points"].get<int>();
    EXPECT_EQ(described["score"], points);
    EXPECT_EQ(described["max_score"], 12);
    EXPECT_EQ(described["items"][0]["text"].get<std::string>().rfind(
                  "baseline " + std::to_string(krebs.record.baselineFhr) + " bpm: ", 0),
              0u);
    EXPECT_EQ(described["words"]["accelerationCount"], krebs.record.accelerationCount);
    EXPECT_DOUBLE_EQ(described["accelerations"][0]["start_s"].get<double>(),
                     krebs.accelerations[0].start / 4.0);
    EXPECT_EQ(described["baseline"]["curve"].size(), krebs.baseline.size());

    const auto all = analyze(recording, AnalysisOptions{});
    const json acog = describeResult(all[2], 4, {});
    EXPECT_FALSE(acog.contains("score"));
    EXPECT_EQ(acog["words"]["acogPatternFlags"], json({1, 1, 0}));
    const json uc = describeResult(all[3], 4, {});
    EXPECT_EQ(uc["max_score"], 2);
    EXPECT_FALSE(uc.contains("accelerations"));
    const MethodResult quiet = analyzeWith(flatRecording(600, 140), {Method::Uc}).front();
    EXPECT_EQ(describeResult(quiet, 4, {})["items"][0]["text"],
              "fewer than two contractions found: rating 0 of 2");
}

TEST(Analysis, TableShowsScoresEventsAndRefusals) {
    const Recording recording = simulate({4, 4, 5}).recording;
    std::ostringstream table;
    writeTable(table, json::array({describeRecording("sim.csv", recording,
                                                     analyze(recording, AnalysisOptions{}), {}),
                                   describeFileFailure("bad.csv", "bad.csv: file is empty")}));
    const std::string text = table.str();
    for (const char* expected : {"sim.csv: 4.0 min, 960 samples at 4 Hz", "Krebs: ", " of 12\n",
                                 "Fischer: not scored: ", "\nbad.csv: file is empty\n"}) {
        EXPECT_NE(text.find(expected), std::string::npos) << expected << "\n" << text;
    }
}
