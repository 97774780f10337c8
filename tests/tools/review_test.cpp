// Review pages around the strip (tested in strip_test.cpp): every event once
// in the table, the switches, pages of rejected recordings and page names (the
// report command's index is pinned in cli_test.cpp).
#include <gtest/gtest.h>

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
