// The recording readers: CSV, FHRMA .fhr and WFDB, on good and broken files.
#include "readers/readers.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "test_support.h"
#include "tool_test_helpers.h"

using namespace ctgtool;
using tooltest::writeFile;
using Ints = std::vector<int>;

namespace {

// Runs the reader and returns its error message ("" when it succeeds).
std::string readError(const std::string& path) {
    try {
        readRecording(path, ReadOptions{});
    } catch (const InputError& error) {
        return error.what();
    }
    return "";
}

// Every file content gives an error naming the file and the expected problem.
void expectErrors(const std::string& path,
                  const std::vector<std::pair<std::string, std::string>>& cases) {
    const std::string stem = path.substr(0, path.find('.') + 1);  // any file of the record
    for (const auto& [content, expected] : cases) {
        writeFile(path, content);
        const std::string error = readError(path);
        EXPECT_NE(error.find(stem), std::string::npos) << error;
        EXPECT_NE(error.find(expected), std::string::npos) << content << "\n" << error;
    }
}

const std::string kTwoSignals =
    "# written by the tests\n"
    "rec 2 4 3 08:30:00 15/03/2020\n"
    "rec.dat 16 100(0)/bpm 12 0 0 0 0 FHR\n"
    "rec.dat 16 100/nd 12 0 0 0 0 uc\n";

}  // namespace

TEST(CsvReader, FindsColumnsByNameRoundsValuesAndNamesProblems) {
    writeFile("order.csv", "\xEF\xBB\xBFuc, FM ,fhr\r\n20,0,140.5\r\n21.4,4,0.4\r\n\r\n");
    const Recording recording = readCsv("order.csv", 2);
    EXPECT_EQ(recording.name, "order");
    EXPECT_EQ(recording.rate, 2);
    EXPECT_EQ(recording.fhr, (Ints{141, 0}));  // 0.4 rounds to signal loss
    EXPECT_EQ(recording.uc, (Ints{20, 21}));
    EXPECT_EQ(recording.fm, (Ints{0, 4}));
    writeFile("nofm.csv", "fhr,uc\n140,10\n141,11\n");
    EXPECT_EQ(readCsv("nofm.csv", 4).fm, (Ints{0, 0}));

    expectErrors("broken.csv",
                 {{"", "empty"},
                  {"fhr,uc,fm\n", "no samples"},
                  {"fhr,fm\n140,0\n", "missing column 'uc'"},
                  {"fhr,uc,fm\n140,10,0\n141,10\n", "line 3: 2 fields, the header has 3"},
                  {"fhr,uc,fm\n140,abc,0\n", "line 2, column 'uc': 'abc' is not a number"},
                  {"fhr,uc,fm\n140,,0\n", "empty cell"},
                  {"fhr,uc,fm\nnan,1,0\n", "is not a number"},
                  {"fhr,fhr,uc\n1,2,3\n", "appears twice"}});
    EXPECT_NE(readError("absent.csv").find("cannot open"), std::string::npos);
    writeFile("notes.txt", "fhr,uc\n1,2\n");
    EXPECT_NE(readError("notes.txt").find("unknown file type"), std::string::npos);
    EXPECT_TRUE(isRecordingFile("a/B.CSV"));
    EXPECT_FALSE(isRecordingFile("a/b.dat"));
}

TEST(FhrmaReader, ConvertsChannelsTocoAndStartTimeAndRejectsTruncatedFiles) {
    // 561/4 = 140.25, 562/4 = 140.5, 2/4 = 0.5; toco 41/2 = 20.5
    writeFile("rec.fhr",
              tooltest::fhrmaBytes(1700000000, {{561, 600, 41}, {562, 0, 40}, {0, 2, 0}}));
    const Recording first = readFhrma("rec.fhr", FhrChannel::First);
    EXPECT_EQ(first.rate, 4);
    EXPECT_EQ(first.fhr, (Ints{140, 141, 0}));
    EXPECT_EQ(first.uc, (Ints{21, 20, 0}));
    EXPECT_EQ(first.fm, (Ints{0, 0, 0}));
    EXPECT_EQ(first.startTime, 1700000000);
    EXPECT_EQ(readFhrma("rec.fhr", FhrChannel::Second).fhr, (Ints{150, 0, 1}));
    EXPECT_EQ(readFhrma("rec.fhr", FhrChannel::Maximum).fhr, (Ints{150, 141, 1}));
    writeFile("anonymous.fhr", tooltest::fhrmaBytes(0, {{560, 560, 0}}));
    EXPECT_FALSE(readFhrma("anonymous.fhr", FhrChannel::First).startTime.has_value());

    const std::string whole = tooltest::fhrmaBytes(0, {{560, 560, 20}, {560, 560, 20}});
    expectErrors("cut.fhr", {{whole.substr(0, 3), "4-byte header"},
                             {whole.substr(0, 15), "6-byte samples"},
                             {whole.substr(0, 4), "no samples"}});
}

TEST(FhrmaReader, MatchesTheCsvExportsOfTheResearchData) {
    const std::string data = testing_support::dataDir();
    if (data.empty()) GTEST_SKIP() << "research recordings not present";
    for (const std::string name : {"train01", "train40"}) {  // train40: no signal on channel 1
        const std::string base = data + "/train/" + name;
        const auto firstChannel = testing_support::readCsv(base + ".csv");
        const Recording first = readFhrma(base + ".fhr", FhrChannel::First);
        EXPECT_EQ(first.fhr, firstChannel.fhr) << name;
        EXPECT_EQ(first.uc, firstChannel.uc) << name;
        EXPECT_EQ(readFhrma(base + ".fhr", FhrChannel::Maximum).fhr,
                  testing_support::readCsv(data + "/train/fhrmax/" + name + ".csv").fhr)
            << name;
    }
}

TEST(WfdbReader, ReadsSignalsByNameWithGainBaselineAndRate) {
    writeFile("rec.hea", kTwoSignals);
    writeFile("rec.dat", tooltest::format16Bytes({{14025, 2050}, {14050, 2000}, {-32768, 0}}));
    const Recording recording = readRecording("rec.hea", ReadOptions{});
    EXPECT_EQ(recording.rate, 4);
    EXPECT_EQ(recording.fhr, (Ints{140, 141, 0}));  // -32768 marks a missing sample
    EXPECT_EQ(recording.uc, (Ints{21, 20, 0}));
    EXPECT_EQ(recording.startTime, 1584261000);  // 2020-03-15 08:30:00 UTC
    EXPECT_EQ(readRecording("rec.dat", ReadOptions{}).fhr, recording.fhr);

    // Signals in separate files, the baseline taken from the ADC zero.
    writeFile("split.hea",
              "split 2 2\nfhr.dat 16 10 12 -500 0 0 0 FHR\nuc.dat 16 2(10) 12 0 0 0 0 UC\n");
    writeFile("fhr.dat", tooltest::format16Bytes({{900}, {905}}));
    writeFile("uc.dat", tooltest::format16Bytes({{50}, {10}}));
    const Recording split = readWfdb("split.hea");
    EXPECT_EQ(split.rate, 2);
    EXPECT_EQ(split.fhr, (Ints{140, 141}));  // (900 + 500) / 10, 140.5 up
    EXPECT_EQ(split.uc, (Ints{20, 0}));
}

TEST(WfdbReader, BrokenRecordsGiveClearErrors) {
    writeFile("rec.dat", tooltest::format16Bytes({{14000, 2000}, {14000, 2000}, {14000, 2000}}));
    expectErrors(
        "rec.hea",
        {{"rec 2 4 3\nrec.dat 16 100 12 0 0 0 0 FHR\nrec.dat 16 100 12 0 0 0 0 TOCO\n",
          "missing channel: no signal described as UC"},
         {"rec two 4\n", "wrong header"},
         {"rec 2 4 3\nrec.dat 16 100 12 0 0 0 0 FHR\n", "2 signals declared, 1 described"},
         {"rec 2 4 4\nrec.dat 16 100 12 0 0 0 0 FHR\nrec.dat 16 100 12 0 0 0 0 UC\n", "truncated"},
         {"rec 2 4\nrec.dat 212 100 12 0 0 0 0 FHR\nrec.dat 212 100 12 0 0 0 0 UC\n",
          "only format 16"},
         {"rec 2 4.5\nrec.dat 16 100 12 0 0 0 0 FHR\nrec.dat 16 100 12 0 0 0 0 UC\n",
          "not a whole number"},
         {"", "no record line"}});
    std::filesystem::remove("rec.dat");
    writeFile("rec.hea", kTwoSignals);
    EXPECT_NE(readError("rec.hea").find("cannot open"), std::string::npos);
}

TEST(Recording, MovementWordsAreTheOrOfEachWholeSecond) {
    Recording recording;
    recording.fm = {0, 4, 0, 8, 0, 0, 0, 0, 4, 4};
    EXPECT_EQ(movementWordsPerSecond(recording), (Ints{12, 0}));
}
