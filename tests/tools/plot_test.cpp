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

// Empty when the elements nest and the quotes in each tag pair up, else the first problem.
std::string xmlProblem(const std::string& text) {
    std::vector<std::string> open;
    for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at)) {
        const std::size_t end = text.find('>', at);
        if (end == std::string::npos) return "unterminated tag";
        const std::string tag = text.substr(at + 1, end - at - 1);
        at = end;
        if (tag.empty() || countOf(tag, "\"") % 2 != 0) return "<" + tag + ">";
        if (tag[0] == '/') {
            if (open.empty() || open.back() != tag.substr(1)) return "stray <" + tag + ">";
            open.pop_back();
        } else if (tag[0] != '?' && tag[0] != '!' && tag.back() != '/') {
            open.push_back(tag.substr(0, tag.find_first_of(" \n\t")));
        }
    }
    return open.empty() ? "" : "unclosed <" + open.back() + ">";
}

}  // namespace

TEST(Plot, PanelsTracesBandsScoreBoxAndWindow) {
    const Recording recording = simulate({40, 4, 1});
    const std::vector<MethodResult> results = analyze(recording, AnalysisOptions{});
    const std::string svg = plot(recording, results);
    EXPECT_EQ(xmlProblem(svg), "");
    for (const char* id : {"fhr-panel", "toco-panel", "fhr-trace", "toco-trace", "baseline",
                           "score-box", "movements", "contractions"}) {
        EXPECT_NE(svg.find(std::string("id=\"") + id + "\""), std::string::npos) << id;
    }
    // Heart rate rises upwards: its 210 bpm label sits above the 60 bpm one.
    const auto labelY = [&svg](const std::string& label) {
        return std::stod(svg.substr(svg.rfind(" y=\"", svg.find(">" + label + "<")) + 4));
    };
    EXPECT_LT(labelY("210"), labelY("60"));
    EXPECT_NE(svg.find("Krebs " + std::to_string(results[0].record.totalScore) + "/12:"),
              std::string::npos);
    EXPECT_NE(svg.find(">ACOG:<"), std::string::npos);
    // The shaded events are the Krebs run's; each kind of mark has a legend swatch too.
    EXPECT_EQ(countOf(svg, "class=\"acceleration\" x="), int(results[0].accelerations.size()) + 1);
    EXPECT_EQ(countOf(svg, "class=\"deceleration\" x="), int(results[0].decelerations.size()) + 1);
    EXPECT_EQ(countOf(svg, "class=\"contraction-end\" x1="), 2 + 1);
    EXPECT_EQ(countOf(svg, "class=\"movement\""), tooltest::nonzeroRuns(recording.fm) + 1);
    // Signal loss breaks the heart-rate trace into one piece per run of samples.
    EXPECT_EQ(countOf(pathData(svg, "fhr-trace"), "M"), tooltest::nonzeroRuns(recording.fhr));
    EXPECT_EQ(countOf(pathData(svg, "toco-trace"), "M"), 1);

    // A window shows only its samples: minutes 10 to 15 inclusive.
    const std::string window = plot(recording, results, {10.0, 15.0});
    const std::string trace = pathData(window, "fhr-trace");
    const int lost = std::count(recording.fhr.begin() + 2400, recording.fhr.begin() + 3601, 0);
    EXPECT_EQ(countOf(trace, "L") + countOf(trace, "M") + lost, 5 * 240 + 1);
    EXPECT_THROW(plot(recording, results, {50.0, 60.0}), std::invalid_argument);
    EXPECT_THROW(plot(recording, results, {20.0, 10.0}), std::invalid_argument);
    const Recording twoMinutes = simulate({2, 4, 9});
    EXPECT_NE(plot(twoMinutes, analyze(twoMinutes, AnalysisOptions{}))
                  .find("not scored: The minimum length is 5 minutes"),
              std::string::npos);
}
