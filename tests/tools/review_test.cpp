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

std::string page(const Recording& recording, const std::vector<MethodResult>& results) {
    std::ostringstream out;
    writeReviewPage(out, recording, describeRecording("in.csv", recording, results, {true}));
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

}  // namespace

TEST(ReviewPage, DrawsEachEventOnceAndTracesThatGiveBackTheSamples) {
    const Recording recording = simulate({40, 4, 1});
    const std::vector<MethodResult> results = analyze(recording, {});
    const std::string html = page(recording, results);
    int events = 0;
    for (const MethodResult& result : results)
        events += static_cast<int>(result.accelerations.size() + result.decelerations.size());
    ASSERT_GT(events, 0);
    EXPECT_EQ(countOf(html, "<tr class=\"acceleration") + countOf(html, "<tr class=\"deceleration"),
              events);
    EXPECT_EQ(countOf(html, "class=\"event "), events);
    // The first Krebs acceleration, samples 1029-1114, in the table and in the strip.
    EXPECT_NE(
        html.find("data-event=\"krebs-a1\" data-start=\"257.250\" data-end=\"278.500\"><td>"
                  "Krebs</td><td>acceleration</td><td>4:17</td><td>4:39</td><td>0:21</td></tr>"),
        std::string::npos);
    EXPECT_NE(html.find("data-event=\"krebs-a1\" x=\"1029\" y=\"0\" width=\"85\""),
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

    const int samples = recording.samples();
    const std::vector<double> fhr = sampleValues(pathData(html, "class=\"fhr\""), samples);
    const std::vector<double> baseline =
        sampleValues(pathData(html, "class=\"baseline\" data-methods=\"krebs"), samples);
    for (int i = 0; i < samples; ++i) {
        ASSERT_TRUE(recording.fhr[i] == 0 ? std::isnan(fhr[i]) : fhr[i] == recording.fhr[i]) << i;
        ASSERT_NEAR(baseline[i], results[0].baseline[i], 0.05 + 1e-9) << "sample " << i;
    }
    EXPECT_EQ(sampleValues(pathData(html, "class=\"toco\""), samples),
              std::vector<double>(recording.uc.begin(), recording.uc.end()));
    // Fischer's curve differs from Krebs's, so each is drawn, in 20 two-minute stretches.
    EXPECT_EQ(countOf(html, "class=\"baseline"), 2 * 20);
    EXPECT_EQ(countOf(pathData(html, "class=\"movement\""), "M"),
              tooltest::nonzeroRuns(recording.fm));
    EXPECT_EQ(countOf(pathData(html, "class=\"contraction-end\""), "M"), 2);
}

TEST(ReviewPage, RecordingEveryMethodRejectsKeepsTracesAndReasons) {
    Recording flat{"flat", 4, std::vector<int>(2400, 0), {}, std::vector<int>(2400, 0), {}};
    flat.uc.assign(2400, 20);
    const std::string html = page(flat, analyze(flat, {}));
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
    tooltest::runTool({"simulate", "--minutes", "12", "--seed", "1", "--out", "a.csv"});
    tooltest::runTool({"simulate", "--minutes", "12", "--seed", "2", "--out", "b.csv"});
    tooltest::runTool({"simulate", "--minutes", "3", "--seed", "3", "--out", "other/a.csv"});
    tooltest::writeFile("broken.csv", "fhr,uc\n140\n");

    const tooltest::ToolRun run = tooltest::runTool(
        {"report", "a.csv", "b.csv", "other/a.csv", "broken.csv", "--out", "pages"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("3 of 4 recordings have a page; open pages/index.html"),
              std::string::npos)
        << run.err;
    EXPECT_TRUE(std::filesystem::exists("pages/a-2.html"));
    EXPECT_FALSE(std::filesystem::exists("pages/broken.html"));
    const std::string index = tooltest::readFile("pages/index.html");
    EXPECT_NE(
        index.find("<tr><td data-sort=\"a\"><a href=\"a.html\">a</a><div class=\"file\">a.csv"
                   "</div></td><td data-sort=\"12.0\">12.0</td><td data-sort=\"3.1\">3.1</td>"
                   "<td data-sort=\"7\">7 / 12</td><td data-sort=\"6\">6 / 10</td><td "
                   "data-sort=\"145\">145 bpm</td><td data-sort=\"1\">1 / 2</td><td data-sort="
                   "\"\"></td></tr>"),
        std::string::npos);
    for (const char* link : {"href=\"b.html\"", "href=\"a-2.html\""})
        EXPECT_EQ(countOf(index, link), 1) << link;
    EXPECT_EQ(countOf(index, "href="), 3);
    // other/a.csv is too short for the Fischer method: no score to sort by, and the reason.
    EXPECT_NE(index.find("<td data-sort=\"\" title=\"The minimum length is 5 minutes\">not scored"),
              std::string::npos);
    EXPECT_NE(index.find("Fischer not scored: The minimum length is 5 minutes"), std::string::npos);
    std::string noValues;  // minutes, signal loss and the four methods
    for (int column = 0; column < 6; ++column) noValues += "<td data-sort=\"\"></td>";
    EXPECT_NE(
        index.find("<tr class=\"failed\"><td data-sort=\"broken.csv\">broken.csv</td>" + noValues +
                   "<td data-sort=\"\">broken.csv: line 2: 1 fields, the header "
                   "has 2</td></tr>"),
        std::string::npos);

    EXPECT_EQ(tooltest::runTool({"report", "other/a.csv", "--out", "short"}).exitCode, 3);
    EXPECT_EQ(tooltest::runTool({"report", "a.csv", "--out", "a.csv/pages"}).exitCode, 1);
}
