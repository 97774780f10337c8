// Review pages around the strip (tested in strip_test.cpp): every event once
// in the table, the switches, pages of rejected recordings, page names, and
// the report command.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "output/description.h"
#include "recordings/simulate.h"
#include "review/recording_page.h"
#include "review/report.h"
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

}  // namespace

TEST(ReviewPage, ListsEachEventOnceWithSwitchesAndNothingFetched) {
    const Recording recording = simulate({40, 4, 1});
    const std::vector<MethodResult> results = analyze(recording, {});
    const std::string html = page(recording, results);
    int events = 0;
    for (const MethodResult& result : results)
        events += static_cast<int>(result.accelerations.size() + result.decelerations.size());
    ASSERT_GT(events, 0);
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
    EXPECT_NE(html.find("<g id=\"strip-content\">"), std::string::npos);
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
