// The SVG strip chart: well-formed, with its panels, traces, bands and score box.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "analysis.h"
#include "simulate.h"
#include "svg_plot.h"
#include "tool_test_helpers.h"

using namespace ctgtool;
using tooltest::countOf;

namespace {

std::string plot(const Recording& recording, const std::vector<MethodResult>& results,
                 const PlotOptions& options = {}) {
    std::ostringstream out;
    writeStripSvg(out, recording, results, options);
    return out.str();
}

// The d attribute of the path with the given id.
std::string pathData(const std::string& svg, const std::string& id) {
    const std::size_t start = svg.find(" d=\"", svg.find("id=\"" + id + "\"")) + 4;
    return svg.substr(start, svg.find('"', start) - start);
}

}  // namespace

TEST(Plot, PanelsTracesBandsScoreBoxAndWindow) {
    const Recording recording = simulate({40, 4, 1}).recording;
    const std::vector<MethodResult> results = analyze(recording, AnalysisOptions{});
    const std::string svg = plot(recording, results);
    EXPECT_EQ(tooltest::xmlProblem(svg), "");
    for (const char* id : {"fhr-panel", "toco-panel", "fhr-trace", "toco-trace", "baseline",
                           "score-box", "movements", "contractions"}) {
        EXPECT_NE(svg.find(std::string("id=\"") + id + "\""), std::string::npos) << id;
    }
    EXPECT_NE(svg.find("Krebs " + std::to_string(results[0].record.totalScore) + "/12:"),
              std::string::npos);
    EXPECT_NE(svg.find(">ACOG:<"), std::string::npos);
    // The shaded events are the Krebs run's, each plus a legend swatch.
    EXPECT_EQ(countOf(svg, "class=\"acceleration\" x="), int(results[0].accelerations.size()) + 1);
    EXPECT_EQ(countOf(svg, "class=\"deceleration\" x="), int(results[0].decelerations.size()) + 1);
    EXPECT_EQ(countOf(svg, "class=\"contraction-end\" x1="), 2 + 1);

    // Signal loss breaks the heart-rate trace into one piece per run of samples.
    int runs = 0;
    for (int i = 0; i < recording.samples(); ++i) {
        runs += recording.fhr[i] != 0 && (i == 0 || recording.fhr[i - 1] == 0);
    }
    ASSERT_GT(runs, 1);
    EXPECT_EQ(countOf(pathData(svg, "fhr-trace"), "M"), runs);
    EXPECT_EQ(countOf(pathData(svg, "toco-trace"), "M"), 1);

    // A window shows only its samples: minutes 10 to 15 inclusive.
    const std::string window = plot(recording, results, {10.0, 15.0});
    const std::string trace = pathData(window, "fhr-trace");
    const int lost = std::count(recording.fhr.begin() + 2400, recording.fhr.begin() + 3601, 0);
    EXPECT_EQ(countOf(trace, "L") + countOf(trace, "M") + lost, 5 * 240 + 1);
    EXPECT_NE(window.find("shown 10:00 to 15:00"), std::string::npos);
    EXPECT_THROW(plot(recording, results, {50.0, 60.0}), std::invalid_argument);
    EXPECT_THROW(plot(recording, results, {20.0, 10.0}), std::invalid_argument);
}

TEST(Plot, FailedMethodsAreNamedNotScored) {
    const Recording recording = simulate({2, 4, 9}).recording;
    EXPECT_NE(plot(recording, analyze(recording, AnalysisOptions{}))
                  .find("not scored: The minimum length is 5 minutes"),
              std::string::npos);
}
