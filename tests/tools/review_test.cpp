// Review pages: the strip drawing that they share with the SVG plot (pinned
// whole in cli_test.cpp) gives back the samples, table and strip show every
// event once, the switches, pages of rejected recordings and page names (the
// report command's index is pinned in cli_test.cpp).
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "output/description.h"
#include "output/strip.h"
#include "recordings/simulate.h"
#include "review/recording_page.h"
#include "review/report.h"
#include "tool_test_helpers.h"

using namespace ctgtool;
using tooltest::countOf;
using json = nlohmann::ordered_json;

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

std::string page(const Recording& recording, const std::vector<MethodResult>& results) {
    std::ostringstream out;
    writeReviewPage(out, recording, describeRecording("in.csv", recording, results, {true}));
    return out.str();
}

}  // namespace

TEST(ReviewPage, StripGivesBackTheSamplesTableAndStripShowEachEventOnce) {
    const Recording recording = simulate({40, 4, 1});
    const std::vector<MethodResult> results = analyze(recording, {});
    const auto description = describeRecording("in.csv", recording, results, {true});
    const int samples = recording.samples();
    const std::string svg = strip::Drawing(recording, description, 0, samples).content();
    int events = 0;
    for (const MethodResult& result : results)
        events += static_cast<int>(result.accelerations.size() + result.decelerations.size());
    ASSERT_GT(events, 0);

    const std::vector<double> fhr = sampleValues(pathData(svg, "class=\"fhr\""), samples);
    const std::vector<double> baseline =
        sampleValues(pathData(svg, "class=\"baseline\" data-methods=\"krebs"), samples);
    for (int i = 0; i < samples; ++i) {
        ASSERT_TRUE(recording.fhr[i] == 0 ? std::isnan(fhr[i]) : fhr[i] == recording.fhr[i])
            << i;
        ASSERT_NEAR(baseline[i], results[0].baseline[i], 0.05 + 1e-9) << "sample " << i;
    }
    EXPECT_EQ(sampleValues(pathData(svg, "class=\"toco\""), samples),
              std::vector<double>(recording.uc.begin(), recording.uc.end()));
    // Fischer's curve differs from Krebs's, so each is drawn, in 20 two-minute stretches.
    EXPECT_EQ(countOf(svg, "class=\"baseline"), 2 * 20);
    EXPECT_EQ(countOf(svg, "class=\"event "), events);
    // Only the first heart-rate method's events are on at first.
    EXPECT_EQ(countOf(svg, "class=\"event acceleration\""), int(results[0].accelerations.size()));
    EXPECT_NE(svg.find("data-event=\"krebs-a1\" x=\"1029\" y=\"0\" width=\"85\""),
              std::string::npos);
    EXPECT_EQ(countOf(pathData(svg, "class=\"movement\""), "M"), 13);  // runs of marks
    // The contraction method's words by name: peak and the two ends.
    const auto& words = description["results"][3]["words"];
    EXPECT_EQ(pathData(svg, "class=\"peak\""),
              "M" + std::to_string(words["lastContractionPeak"].get<int>()) + " 90.0V130.0");
    EXPECT_EQ(countOf(pathData(svg, "class=\"contraction-end\""), "M"), 2);

    const std::string html = page(recording, results);
    EXPECT_EQ(countOf(html, "<tr class=\"acceleration") + countOf(html, "<tr class=\"deceleration"),
              events);
    // The first Krebs acceleration, samples 1029-1114.
    EXPECT_NE(
        html.find("data-event=\"krebs-a1\" data-start=\"257.250\" data-end=\"278.500\"><td>"
                  "Krebs</td><td>acceleration</td><td>4:17</td><td>4:39</td><td>0:21</td></tr>"),
        std::string::npos);
    // At first the Krebs events and the contraction marks are on.
    for (const char* state :
         {"\"krebs\" checked>", "\"fischer\">", "\"acog\">", "\"uc\" checked>"}) {
        EXPECT_NE(html.find(std::string("autocomplete=\"off\" data-method=") + state),
                  std::string::npos);
    }
    for (const char* outside : {"href=\"http", "url(http", "src=", "<link", "@import"}) {
        EXPECT_EQ(html.find(outside), std::string::npos) << outside;
    }
}

TEST(ReviewPage, RecordingEveryMethodRejectsKeepsStripAndReasons) {
    Recording flat{"flat", 4, std::vector<int>(2400, 0), {}, std::vector<int>(2400, 0), {}};
    flat.uc.assign(2400, 20);
    const std::string html = page(flat, analyze(flat, {}));
    EXPECT_EQ(countOf(html, "not scored: all heart rate out of range"), 4);
    EXPECT_EQ(html.find("id=\"event-table\""), std::string::npos);
    // The strip keeps the toco trace and shades the lost heart rate once.
    EXPECT_NE(html.find("class=\"toco\" d=\"M0 20h479\""), std::string::npos);
    EXPECT_EQ(html.find("class=\"fhr\" d=\"M"), std::string::npos);
    EXPECT_EQ(countOf(html, "class=\"loss\""), 1);
}

TEST(ReviewPage, PageNamesAreSafeAndDistinct) {
    EXPECT_EQ(
        pageNames({"a/rec 1.csv", "b/rec 1.fhr", "REC_1.hea", "index.csv", "x/.csv", "<&>.csv"}),
        (std::vector<std::string>{"rec_1.html", "rec_1-2.html", "REC_1-3.html", "index-2.html",
                                  "_csv.html", "___.html"}));
}
