// The strip drawing that the SVG plot and the review page share: traces that
// give back the samples, each event once, marks per run (the plot around it
// is pinned whole in cli_test.cpp).
#include "output/strip.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "output/description.h"
#include "recordings/simulate.h"
#include "tool_test_helpers.h"

using namespace ctgtool;
using tooltest::countOf;

namespace {

// The d attributes, joined, of the paths whose attributes contain `marker`.
std::string pathData(const std::string& svg, const std::string& marker) {
    std::string data;
    for (std::size_t at = svg.find("<path"); at != std::string::npos;
         at = svg.find("<path", at + 1)) {
        const std::string tag = svg.substr(at, svg.find("/>", at) - at);
        if (tag.find(marker) == std::string::npos) continue;
        const std::size_t start = tag.find(" d=\"") + 4;
        data += tag.substr(start, tag.find('"', start) - start);
    }
    return data;
}

// The value at every sample of path data made of M, l and h commands (numbers
// may repeat a command) with a point per sample, NaN where the pen is up.
std::vector<double> sampleValues(const std::string& data, int samples) {
    std::vector<double> values(samples, NAN);
    std::istringstream in(data);
    char command = 0;
    double x = 0, y = 0;
    while (in >> std::ws && in.peek() != EOF) {
        if (std::isalpha(in.peek())) command = static_cast<char>(in.get());
        double a = 0, b = 0;
        in >> a;
        if (command != 'h') in >> b;
        const int from = command == 'M' ? static_cast<int>(a) : static_cast<int>(x) + 1;
        x = command == 'M' ? a : x + a;
        y = command == 'M' ? b : y + b;
        for (int i = from; i <= x; ++i) values[i] = y;
    }
    return values;
}

struct Analyzed {
    Recording recording = simulate({40, 4, 1});
    std::vector<MethodResult> results = analyze(recording, AnalysisOptions{});
    nlohmann::ordered_json description = describeRecording("in.csv", recording, results, {true});
};

const Analyzed& example() {
    static const Analyzed analyzed;
    return analyzed;
}

}  // namespace

TEST(Strip, TracesGiveBackTheSamplesAndEachEventAndMarkIsDrawnOnce) {
    const Analyzed& a = example();
    const int samples = a.recording.samples();
    const strip::Drawing drawing(a.recording, a.description, 0, samples);
    const std::string svg = drawing.content();

    const std::vector<double> fhr = sampleValues(pathData(svg, "class=\"fhr\""), samples);
    const std::vector<double> baseline =
        sampleValues(pathData(svg, "class=\"baseline\" data-methods=\"krebs"), samples);
    for (int i = 0; i < samples; ++i) {
        ASSERT_TRUE(a.recording.fhr[i] == 0 ? std::isnan(fhr[i]) : fhr[i] == a.recording.fhr[i])
            << i;
        ASSERT_NEAR(baseline[i], a.results[0].baseline[i], 0.05 + 1e-9) << "sample " << i;
    }
    EXPECT_EQ(sampleValues(pathData(svg, "class=\"toco\""), samples),
              std::vector<double>(a.recording.uc.begin(), a.recording.uc.end()));
    // Fischer's curve differs from Krebs's, so each is drawn, in 20 two-minute stretches.
    EXPECT_EQ(countOf(svg, "class=\"baseline"), 2 * 20);

    int events = 0;
    for (const MethodResult& result : a.results)
        events += static_cast<int>(result.accelerations.size() + result.decelerations.size());
    EXPECT_EQ(countOf(svg, "class=\"event "), events);
    // Only the first heart-rate method's events are on at first.
    EXPECT_EQ(countOf(svg, "class=\"event acceleration\""), int(a.results[0].accelerations.size()));
    EXPECT_NE(svg.find("data-event=\"krebs-a1\" x=\"1029\" y=\"0\" width=\"85\""),
              std::string::npos);
    EXPECT_EQ(countOf(pathData(svg, "class=\"movement\""), "M"), 13);  // runs of marks
    // The contraction method's words by name: peak and the two ends.
    const auto& words = a.description["results"][3]["words"];
    EXPECT_EQ(pathData(svg, "class=\"peak\""),
              "M" + std::to_string(words["lastContractionPeak"].get<int>()) + " 90.0V130.0");
    EXPECT_EQ(countOf(pathData(svg, "class=\"contraction-end\""), "M"), 2);
}
