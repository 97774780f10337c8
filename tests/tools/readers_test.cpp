// The recording readers: CSV, FHRMA .fhr and WFDB, on good and broken files.
#include "readers/readers.h"

#include <gtest/gtest.h>

#include <tuple>

#include "test_support.h"
#include "tool_test_helpers.h"

using namespace ctgtool;
using tooltest::writeFile;
using Ints = std::vector<int>;

namespace {

// Everything a reader gives, as one comparable record.
using Read = std::tuple<std::string, int, Ints, Ints, Ints, std::optional<std::int64_t>>;

Read recordOf(const std::string& path, ReadOptions options = {}) {
    const Recording r = readRecording(path, options);
    return {r.name, r.rate, r.fhr, r.uc, r.fm, r.startTime};
}

std::string readError(const std::string& path) {
    try {
        readRecording(path, ReadOptions{});
    } catch (const InputError& error) {
        return error.what();
    }
    return "";
}

const std::string kTwoSignals =
    "# written by the tests\n"
    "rec 2 4 3 08:30:00 15/03/2020\n"
    "rec.dat 16 100(0)/bpm 12 0 0 0 0 FHR\n"
    "rec.dat 16 100/nd 12 0 0 0 0 uc\n";

}  // namespace

TEST(Readers, CsvColumnsByNameValuesRoundedHalvesAwayFromZero) {
    writeFile("order.csv",
              "\xEF\xBB\xBFuc, FM ,fhr\r\n20,0,140.5\r\n21.4,4,0.4\r\n\r\n-2.5,8,7\r\n");
    EXPECT_EQ(recordOf("order.csv", {2}),  // 0.4 rounds to signal loss
              Read("order", 2, {141, 0, 7}, {20, 21, -3}, {0, 4, 8}, std::nullopt));
    writeFile("nofm.csv", "fhr,uc\n140,10\n141,11\n");
    EXPECT_EQ(readCsv("nofm.csv", 4).fm, (Ints{0, 0}));
    EXPECT_TRUE(isRecordingFile("a/B.CSV") && isRecordingFile("r.fhr") && isRecordingFile("r.hea"));
    EXPECT_FALSE(isRecordingFile("r.dat"));  // the signals of a .hea record
    Recording marks;
    marks.fm = {0, 4, 0, 8, 0, 0, 0, 0, 4, 4};  // two whole seconds at 4 Hz, then half a second
    EXPECT_EQ(movementWordsPerSecond(marks), (Ints{12, 0}));
}

TEST(Readers, FhrmaChannelsTocoAndStartTime) {
    // 561/4 = 140.25, 562/4 = 140.5, 2/4 = 0.5; toco 41/2 = 20.5: halves round up
    writeFile("rec.fhr",
              tooltest::fhrmaBytes(1700000000, {{561, 600, 41}, {562, 0, 40}, {0, 2, 0}}));
    EXPECT_EQ(recordOf("rec.fhr"),
              Read("rec", 4, {140, 141, 0}, {21, 20, 0}, {0, 0, 0}, 1700000000));
    EXPECT_EQ(readFhrma("rec.fhr", FhrChannel::Second).fhr, (Ints{150, 0, 1}));
    EXPECT_EQ(readFhrma("rec.fhr", FhrChannel::Maximum).fhr, (Ints{150, 141, 1}));
    writeFile("anonymous.fhr", tooltest::fhrmaBytes(0, {{560, 560, 0}}));
    EXPECT_FALSE(readFhrma("anonymous.fhr", FhrChannel::First).startTime.has_value());
}

TEST(Readers, FhrmaMatchesTheCsvExportsOfTheResearchData) {
    const std::string data = testing_support::dataDir();
    if (data.empty()) GTEST_SKIP() << "research recordings not present";
    for (const std::string name : {"train01", "train40"}) {  // train40: no signal on channel 1
        const auto exported = testing_support::readCsv(data + "/train/" + name + ".csv");
        const Recording first = readFhrma(data + "/train/" + name + ".fhr", FhrChannel::First);
        EXPECT_EQ(std::tie(first.fhr, first.uc), std::tie(exported.fhr, exported.uc)) << name;
        EXPECT_EQ(readFhrma(data + "/train/" + name + ".fhr", FhrChannel::Maximum).fhr,
                  testing_support::readCsv(data + "/train/fhrmax/" + name + ".csv").fhr);
    }
}

TEST(Readers, WfdbSignalsByNameWithGainBaselineAndRate) {
    writeFile("rec.hea", kTwoSignals);
    writeFile("rec.dat", tooltest::format16Bytes({14025, 2050, 14050, 2000, -32768, 0}));
    // -32768 marks a missing sample; the clock is 2020-03-15 08:30:00 UTC
    const Read expected("rec", 4, {140, 141, 0}, {21, 20, 0}, {0, 0, 0}, 1584261000);
    EXPECT_EQ(recordOf("rec.hea"), expected);
    EXPECT_EQ(recordOf("rec.dat"), expected);

    // Signals in separate files, the baseline taken from the ADC zero.
    writeFile("split.hea",
              "split 2 2\nfhr.dat 16 10 12 -500 0 0 0 FHR\nuc.dat 16 2(10) 12 0 0 0 0 UC\n");
    writeFile("fhr.dat", tooltest::format16Bytes({900, 905}));
    writeFile("uc.dat", tooltest::format16Bytes({50, 10}));
    EXPECT_EQ(recordOf("split.hea"),  // (905 + 500) / 10 = 140.5 rounds up
              Read("split", 2, {140, 141}, {20, 0}, {0, 0}, std::nullopt));
}

TEST(Readers, BrokenFilesGiveErrorsNamingFileAndProblem) {
    writeFile("rec.dat", tooltest::format16Bytes({14000, 2000, 14000, 2000, 14000, 2000}));
    const std::string fhrma = tooltest::fhrmaBytes(0, {{560, 560, 20}, {560, 560, 20}});
    const std::string signals = "rec.dat 16 100 12 0 0 0 0 FHR\nrec.dat 16 100 12 0 0 0 0 ";
    const std::vector<std::tuple<std::string, std::string, std::string>> cases = {
        {"a.csv", "", "empty"},
        {"a.csv", "fhr,uc,fm\n", "no samples"},
        {"a.csv", "fhr,fm\n140,0\n", "missing column 'uc'"},
        {"a.csv", "fhr,uc,fm\n140,10,0\n141,10\n", "line 3: 2 fields, the header has 3"},
        {"a.csv", "fhr,uc,fm\n140,abc,0\n", "line 2, column 'uc': 'abc' is not a number"},
        {"a.csv", "fhr,uc,fm\n140,,0\n", "empty cell"},
        {"a.csv", "fhr,uc,fm\nnan,1,0\n", "is not a number"},
        {"a.csv", "fhr,fhr,uc\n1,2,3\n", "appears twice"},
        {"a.fhr", fhrma.substr(0, 3), "4-byte header"},
        {"a.fhr", fhrma.substr(0, 15), "6-byte samples"},
        {"a.fhr", fhrma.substr(0, 4), "no samples"},
        {"rec.hea", "rec 2 4 3\n" + signals + "TOCO\n",
         "missing channel: no signal described as UC"},
        {"rec.hea", "rec two 4\n", "wrong header"},
        {"rec.hea", "rec 2 4 3\nrec.dat 16 100 12 0 0 0 0 FHR\n",
         "2 signals declared, 1 described"},
        {"rec.hea", "rec 2 4 4\n" + signals + "UC\n", "truncated"},
        {"rec.hea", "rec 2 4\nrec.dat 212 100 12 0 0 0 0 FHR\nrec.dat 212 100 12 0 0 0 0 UC\n",
         "only format 16"},
        {"rec.hea", "rec 2 4.5\n" + signals + "UC\n", "not a whole number"},
        {"rec.hea", "", "no record line"},
        {"rec.hea", "rec 2 4\nrec.gone 16 1 0 0 0 0 0 FHR\nrec.gone 16 1 0 0 0 0 0 UC\n",
         "rec.gone: cannot open"},
        {"notes.txt", "fhr,uc\n1,2\n", "unknown file type"},
    };
    for (const auto& [path, content, expected] : cases) {
        writeFile(path, content);
        const std::string error = readError(path);
        EXPECT_TRUE(error.rfind(path.substr(0, path.find('.') + 1), 0) == 0 &&
                    error.find(expected) != std::string::npos)
            << content << "\n"
            << error;
    }
    EXPECT_NE(readError("absent.csv").find("absent.csv: cannot open"), std::string::npos);
}
