// The recording readers: CSV, FHRMA .fhr and WFDB, on good and broken files.
#include "readers/readers.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "test_support.h"
#include "tool_test_helpers.h"

using namespace ctgtool;
using tooltest::writeFile;

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

}  // namespace

TEST(CsvReader, FindsColumnsByNameAndRoundsValues) {
    writeFile("order.csv", "\xEF\xBB\xBFuc, FM ,fhr\r\n20,0,140.5\r\n21.4,4,0.4\r\n\r\n");
    const Recording recording = readCsv("order.csv", 2);
    EXPECT_EQ(recording.name, "order");
    EXPECT_EQ(recording.rate, 2);
    EXPECT_EQ(recording.fhr, (std::vector<int>{141, 0}));  // 0.4 rounds to signal loss
    EXPECT_EQ(recording.uc, (std::vector<int>{20, 21}));
    EXPECT_EQ(recording.fm, (std::vector<int>{0, 4}));
}

TEST(CsvReader, MovementColumnIsOptional) {
    writeFile("nofm.csv", "fhr,uc\n140,10\n141,11\n");
    EXPECT_EQ(readCsv("nofm.csv", 4).fm, (std::vector<int>{0, 0}));
}

TEST(CsvReader, MalformedFilesGiveErrorsNamingFileAndProblem) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "empty"},
        {"fhr,uc,fm\n", "no samples"},
        {"fhr,fm\n140,0\n", "missing column 'uc'"},
        {"fhr,uc,fm\n140,10,0\n141,10\n", "line 3: 2 fields, the header has 3"},
        {"fhr,uc,fm\n140,abc,0\n", "line 2, column 'uc': 'abc' is not a number"},
        {"fhr,uc,fm\n140,,0\n", "empty cell"},
        {"fhr,uc,fm\nnan,1,0\n", "is not a number"},
        {"fhr,fhr,uc\n1,2,3\n", "appears twice"},
    };
    for (const auto& [content, expected] : cases) {
        writeFile("broken.csv", content);
        const std::string error = readError("broken.csv");
        EXPECT_NE(error.find("broken.csv"), std::string::npos) << error;
        EXPECT_NE(error.find(expected), std::string::npos) << "content: " << content << "\n"
                                                           << error;
    }
    EXPECT_NE(readError("absent.csv").find("cannot open"), std::string::npos);
}

TEST(FhrmaReader, ConvertsChannelsTocoAndStartTime) {
    // 561/4 = 140.25, 562/4 = 140.5, 2/4 = 0.5; toco 41/2 = 20.5
    writeFile("rec.fhr",
              tooltest::fhrmaBytes(1700000000, {{561, 600, 41}, {562, 0, 40}, {0, 2, 0}}));
    const Recording first = readFhrma("rec.fhr", FhrChannel::First);
    EXPECT_EQ(first.rate, 4);
    EXPECT_EQ(first.fhr, (std::vector<int>{140, 141, 0}));
    EXPECT_EQ(first.uc, (std::vector<int>{21, 20, 0}));
    EXPECT_EQ(first.fm, (std::vector<int>{0, 0, 0}));
    ASSERT_TRUE(first.startTime.has_value());
    EXPECT_EQ(*first.startTime, 1700000000);
    EXPECT_EQ(readFhrma("rec.fhr", FhrChannel::Second).fhr, (std::vector<int>{150, 0, 1}));
    EXPECT_EQ(readFhrma("rec.fhr", FhrChannel::Maximum).fhr, (std::vector<int>{150, 141, 1}));

    writeFile("anonymous.fhr", tooltest::fhrmaBytes(0, {{560, 560, 0}}));
    EXPECT_FALSE(readFhrma("anonymous.fhr", FhrChannel::First).startTime.has_value());
}

TEST(FhrmaReader, TruncatedFilesAreRejected) {
    const std::string whole = tooltest::fhrmaBytes(0, {{560, 560, 20}, {560, 560, 20}});
    for (const auto& [bytes, expected] :
         std::vector<std::pair<std::string, std::string>>{{whole.substr(0, 3), "4-byte header"},
                                                          {whole.substr(0, 15), "6-byte samples"},
                                                          {whole.substr(0, 4), "no samples"}}) {
        writeFile("cut.fhr", bytes);
        const std::string error = readError("cut.fhr");
        EXPECT_NE(error.find("cut.fhr"), std::string::npos);
        EXPECT_NE(error.find(expected), std::string::npos) << error;
    }
}

TEST(FhrmaReader, MatchesTheCsvExportsOfTheResearchData) {
    const std::string data = testing_support::dataDir();
    if (data.empty()) GTEST_SKIP() << "research recordings not present";
    // train40 has no signal on channel 1 at all.
    for (const std::string name : {"train01", "train40"}) {
        const std::string base = data + "/train/" + name;
        const auto firstChannel = testing_support::readCsv(base + ".csv");
        const auto maximum = testing_support::readCsv(data + "/train/fhrmax/" + name + ".csv");
        const Recording first = readFhrma(base + ".fhr", FhrChannel::First);
        EXPECT_EQ(first.fhr, firstChannel.fhr) << name;
        EXPECT_EQ(first.uc, firstChannel.uc) << name;
        EXPECT_EQ(readFhrma(base + ".fhr", FhrChannel::Maximum).fhr, maximum.fhr) << name;
    }
}

class WfdbReader : public testing::Test {
protected:
    // Two signals in one file, as in the open intrapartum CTG database.
    void writeRecord(const std::string& header, const std::vector<std::vector<int>>& frames) {
        writeFile("rec.hea", header);
        writeFile("rec.dat", tooltest::format16Bytes(frames));
    }

    const std::string twoSignals =
        "# written by the tests\n"
        "rec 2 4 3 08:30:00 15/03/2020\n"
        "rec.dat 16 100(0)/bpm 12 0 0 0 0 FHR\n"
        "rec.dat 16 100/nd 12 0 0 0 0 uc\n";
};

TEST_F(WfdbReader, ReadsSignalsByNameWithGainBaselineAndRate) {
    writeRecord(twoSignals, {{14025, 2050}, {14050, 2000}, {-32768, 0}});
    const Recording recording = readRecording("rec.hea", ReadOptions{});
    EXPECT_EQ(recording.rate, 4);
    EXPECT_EQ(recording.fhr, (std::vector<int>{140, 141, 0}));  // -32768 marks a missing sample
    EXPECT_EQ(recording.uc, (std::vector<int>{21, 20, 0}));
    ASSERT_TRUE(recording.startTime.has_value());
    EXPECT_EQ(*recording.startTime, 1584261000);  // 2020-03-15 08:30:00 UTC
    EXPECT_EQ(readRecording("rec.dat", ReadOptions{}).fhr, recording.fhr);
}

TEST_F(WfdbReader, SignalsInSeparateFilesWithBaselineFromAdcZero) {
    writeFile("split.hea",
              "split 2 2\n"
              "fhr.dat 16 10 12 -500 0 0 0 FHR\n"
              "uc.dat 16 2(10) 12 0 0 0 0 UC\n");
    writeFile("fhr.dat", tooltest::format16Bytes({{900}, {905}}));
    writeFile("uc.dat", tooltest::format16Bytes({{50}, {10}}));
    const Recording recording = readWfdb("split.hea");
    EXPECT_EQ(recording.rate, 2);
    EXPECT_EQ(recording.fhr, (std::vector<int>{140, 141}));  // (900 + 500) / 10, 140.5 up
    EXPECT_EQ(recording.uc, (std::vector<int>{20, 0}));
}

TEST_F(WfdbReader, BrokenRecordsGiveClearErrors) {
    const std::vector<int> frame = {14000, 2000};
    struct Case {
        std::string header;
        std::vector<std::vector<int>> frames;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"rec 2 4 3\nrec.dat 16 100 12 0 0 0 0 FHR\nrec.dat 16 100 12 0 0 0 0 TOCO\n",
         {frame, frame, frame},
         "missing channel: no signal described as UC"},
        {"rec two 4\n", {}, "wrong header"},
        {"rec 2 4 3\nrec.dat 16 100 12 0 0 0 0 FHR\n", {frame}, "2 signals declared, 1 described"},
        {twoSignals, {frame, frame}, "truncated"},
        {"rec 2 4\nrec.dat 212 100 12 0 0 0 0 FHR\nrec.dat 212 100 12 0 0 0 0 UC\n",
         {frame},
         "only format 16"},
        {"rec 2 4.5\nrec.dat 16 100 12 0 0 0 0 FHR\nrec.dat 16 100 12 0 0 0 0 UC\n",
         {frame},
         "not a whole number"},
        {"", {}, "no record line"},
    };
    for (const Case& broken : cases) {
        writeRecord(broken.header, broken.frames);
        const std::string error = readError("rec.hea");
        EXPECT_NE(error.find("rec."), std::string::npos) << error;
        EXPECT_NE(error.find(broken.expected), std::string::npos) << broken.header << "\n" << error;
    }
    writeRecord(twoSignals, {frame, frame, frame});
    std::filesystem::remove("rec.dat");
    EXPECT_NE(readError("rec.hea").find("cannot open"), std::string::npos);
}

TEST(Readers, UnknownFileTypeIsAnError) {
    writeFile("notes.txt", "fhr,uc\n1,2\n");
    EXPECT_NE(readError("notes.txt").find("unknown file type"), std::string::npos);
    EXPECT_TRUE(isRecordingFile("a/B.CSV"));
    EXPECT_FALSE(isRecordingFile("a/b.dat"));
}

TEST(Recording, MovementWordsAreTheOrOfEachSecond) {
    Recording recording;
    recording.rate = 4;
    recording.fm = {0, 4, 0, 8, 0, 0, 0, 0, 4, 4};  // two whole seconds and a partial one
    EXPECT_EQ(movementWordsPerSecond(recording), (std::vector<int>{12, 0}));
}
