// Review pages: every event once in table and strip, traces that give back the
// samples, pages of rejected recordings, page names, and the report command.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <sstream>

#include "review_page.h"
#include "review_run.h"
#include "simulate.h"
#include "tool_test_helpers.h"

using namespace ctgtool;
using tooltest::countOf;
using json = nlohmann::ordered_json;

namespace {

std::string page(const Recording& recording) {
    const json description =
        describeRecording("in.csv", recording, analyze(recording, {}), ReportOptions{true});
    std::ostringstream out;
    writeReviewPage(out, recording, description);
    return out.str();
}

// The d attributes, joined, of the strip's paths whose attributes contain `marker`.
std::string pathData(const std::string& html, const std::string& marker) {
    std::string data;
    const std::size_t end = html.find("</svg>", html.find("strip-content"));
    for (std::size_t at = html.find("<path", html.find("strip-content")); at < end;
         at = html.find("<path", at + 1)) {
        const std::string tag = html.substr(at, html.find("/>", at) - at);
        if (tag.find(marker) == std::string::npos) continue;
        const std::size_t start = tag.find(" d=\"") + 4;
        data += tag.substr(start, tag.find('"', start) - start);
    }
    return data;
}

// Points of path data made of M, l and h commands (numbers may repeat a
// command); NaN separates the lines.
std::vector<std::pair<double, double>> decodePath(const std::string& data) {
    std::vector<std::pair<double, double>> points;
    std::istringstream in(data);
    char command = 0;
    double x = 0, y = 0;
    while (in >> std::ws && in.peek() != EOF) {
        if (std::isalpha(in.peek())) command = static_cast<char>(in.get());
        double a = 0, b = 0;
        if (command == 'h') {
            in >> a;
            x += a;
        } else {
            in >> a >> b;
            if (command == 'M') points.emplace_back(NAN, NAN);
            x = command == 'M' ? a : x + a;
            y = command == 'M' ? b : y + b;
        }
        points.emplace_back(x, y);
    }
    return points;
}

// The value at every sample of a path with a point per sample (a run of
// equal values may be one horizontal line), NaN where the pen is lifted.
std::vector<double> sampleValues(const std::string& data, int samples) {
    std::vector<double> values(samples, NAN);
    double previousX = NAN;
    for (const auto& [x, y] : decodePath(data)) {
        if (std::isnan(x)) {
            previousX = NAN;
            continue;
        }
        const int from =
            std::isnan(previousX) ? static_cast<int>(x) : static_cast<int>(previousX) + 1;
        for (int i = from; i <= x; ++i) values[i] = y;
        previousX = x;
    }
    return values;
}

}  // namespace

TEST(ReviewPage, DrawsEachEventOnceAndTracesThatGiveBackTheSamples) {
    const Recording recording = simulate({40, 4, 1}).recording;
    const std::vector<MethodResult> results = analyze(recording, {});
    const std::string html = page(recording);

    int events = 0;
    for (const MethodResult& result : results) {
        events += static_cast<int>(result.accelerations.size() + result.decelerations.size());
    }
    ASSERT_GT(events, 0);
    EXPECT_EQ(countOf(html, "<tr class=\"acceleration") + countOf(html, "<tr class=\"deceleration"),
              events);
    EXPECT_EQ(countOf(html, "class=\"event "), events);
    for (const char* outside : {"href=\"http", "url(http", "src=", "<link", "@import"}) {
        EXPECT_EQ(html.find(outside), std::string::npos) << outside;
    }

    const std::vector<double> fhr =
        sampleValues(pathData(html, "class=\"fhr\""), recording.samples());
    for (int i = 0; i < recording.samples(); ++i) {
        if (recording.fhr[i] == 0) {
            ASSERT_TRUE(std::isnan(fhr[i])) << "sample " << i;
        } else {
            ASSERT_EQ(fhr[i], recording.fhr[i]) << "sample " << i;
        }
    }
    const std::vector<double> toco =
        sampleValues(pathData(html, "class=\"toco\""), recording.samples());
    EXPECT_EQ(toco, std::vector<double>(recording.uc.begin(), recording.uc.end()));
    // Krebs draws its curve; Fischer's differs, so it has one of its own.
    const std::vector<double> baseline = sampleValues(
        pathData(html, "class=\"baseline\" data-methods=\"krebs"), recording.samples());
    for (int i = 0; i < recording.samples(); ++i) {
        ASSERT_NEAR(baseline[i], results[0].baseline[i], 0.05 + 1e-9) << "sample " << i;
    }
    EXPECT_EQ(countOf(html, "class=\"baseline"), 2 * 20);  // in 20 two-minute stretches

    int movements = 0;
    for (int i = 0; i < recording.samples(); ++i) {
        movements += recording.fm[i] != 0 && (i == 0 || recording.fm[i - 1] == 0);
    }
    EXPECT_EQ(countOf(pathData(html, "class=\"movement\""), "M"), movements);
    EXPECT_EQ(countOf(pathData(html, "class=\"contraction-end\""), "M"), 2);
}

TEST(ReviewPage, RecordingEveryMethodRejectsKeepsTracesAndReasons) {
    Recording flat;
    flat.name = "flat";
    flat.fhr.assign(2400, 0);
    flat.uc.assign(2400, 20);
    flat.fm.assign(2400, 0);
    const std::string html = page(flat);
    EXPECT_EQ(countOf(html, "not scored: all heart rate out of range"), 4);
    EXPECT_EQ(pathData(html, "class=\"toco\""),
              "M0 20h479M479 20h480M959 20h480M1439 20h480M1919 20h480");
    EXPECT_EQ(pathData(html, "class=\"fhr\""), "");
    EXPECT_EQ(countOf(html, "class=\"loss\""), 1);
    EXPECT_EQ(html.find("id=\"event-table\""), std::string::npos);
}

TEST(ReviewPage, PageNamesAreSafeAndDistinct) {
    EXPECT_EQ(
        pageNames({"a/rec 1.csv", "b/rec 1.fhr", "REC_1.hea", "index.csv", "x/.csv", "<&>.csv"}),
        (std::vector<std::string>{"rec_1.html", "rec_1-2.html", "REC_1-3.html", "index-2.html",
                                  "_csv.html", "___.html"}));
}

TEST(ReviewPage, ReportWritesPagesAndAnIndexWithFailures) {
    std::filesystem::create_directories("other");
    tooltest::writeSimulatedCsv("a.csv", 12, 1);
    tooltest::writeSimulatedCsv("b.csv", 12, 2);
    tooltest::writeSimulatedCsv("other/a.csv", 3, 3);
    tooltest::writeFile("broken.csv", "fhr,uc\n140\n");

    const tooltest::ToolRun run = tooltest::runTool(
        {"report", "a.csv", "b.csv", "other/a.csv", "broken.csv", "--out", "pages"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("broken.csv: line 2"), std::string::npos) << run.err;
    EXPECT_TRUE(std::filesystem::exists("pages/a-2.html"));
    EXPECT_FALSE(std::filesystem::exists("pages/broken.html"));

    const std::string index = tooltest::readFile("pages/index.html");
    for (const char* link : {"href=\"a.html\"", "href=\"b.html\"", "href=\"a-2.html\""}) {
        EXPECT_EQ(countOf(index, link), 1) << link;
    }
    EXPECT_EQ(countOf(index, "href="), 3);
    EXPECT_NE(index.find("Fischer not scored: The minimum length is 5 minutes"), std::string::npos);
    EXPECT_NE(index.find("broken.csv: line 2: 1 fields"), std::string::npos);

    EXPECT_EQ(tooltest::runTool({"report", "other/a.csv", "--out", "short"}).exitCode, 3);
    EXPECT_EQ(tooltest::runTool({"report", "a.csv", "--out", "a.csv/pages"}).exitCode, 1);
}
