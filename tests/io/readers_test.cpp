// The readers' library through its C interface: CSV, FHRMA .fhr and WFDB on
// good and broken files, the format choice and the options.
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <tuple>

#include "ctgscore_io.h"
#include "test_support.h"

using testing_support::fhrmaBytes;
using testing_support::format16Bytes;
using testing_support::writeFile;
using Ints = std::vector<int>;
using StartTime = std::optional<long long>;

namespace {

// Everything a recording carries, as one comparable record: name, format,
// rate, fhr, uc, fm, movement words, start time.
using Read = std::tuple<std::string, int, int, Ints, Ints, Ints, Ints, StartTime>;

struct Outcome {
    int code;
    std::string message;
    std::string file;  // the part of the message that names the file
};

Ints ints(const int* values, int count) { return Ints(values, values + count); }

Read readOf(const std::string& path, const ctgio_options& options = ctgio_default_options()) {
    ctgio_error error{};
    ctgio_recording* r = ctgio_read(path.c_str(), &options, &error);
    if (r == nullptr) {
        ADD_FAILURE() << error.message;
        return {};
    }
    const Read read(r->name, r->format, r->rate, ints(r->fhr, r->samples), ints(r->uc, r->samples),
                    ints(r->fm, r->samples), ints(r->movement_words, r->seconds),
                    r->has_start_time ? StartTime(r->start_time) : std::nullopt);
    ctgio_free(r);
    return read;
}

Outcome failureOf(const char* path, const ctgio_options* options = nullptr) {
    ctgio_error error{};
    ctgio_recording* recording = ctgio_read(path, options, &error);
    const Outcome outcome{recording == nullptr ? error.code : CTGIO_OK, error.message,
                          std::string(error.message, error.file_length)};
    ctgio_free(recording);
    return outcome;
}

Ints fhrOf(const std::string& path, ctgio_channel channel) {
    ctgio_options options = ctgio_default_options();
    options.fhr_channel = channel;
    return std::get<3>(readOf(path, options));
}

const std::string kTwoSignals =
    "# written by the tests\n"
    "rec 2 4 3 08:30:00 15/03/2020\n"
    "rec.dat 16 100(0)/bpm 12 0 0 0 0 FHR\n"
    "rec.dat 16 100/nd 12 0 0 0 0 uc\n";

}  // namespace

TEST(IoReaders, CsvColumnsByNameValuesRoundedHalvesAwayFromZero) {
    writeFile("order.csv",
              "\xEF\xBB\xBFuc, FM ,fhr\r\n20,0,140.5\r\n21.4,4,0.4\r\n\r\n-2.5,8,7\r\n");
    ctgio_options twoPerSecond = ctgio_default_options();
    twoPerSecond.csv_rate = 2;  // 0.4 rounds to signal loss; one whole second
    EXPECT_EQ(readOf("order.csv", twoPerSecond), Read("order", CTGIO_FORMAT_CSV, 2, {141, 0, 7},
                                                      {20, 21, -3}, {0, 4, 8}, {4}, std::nullopt));
    // Each second's movement word ORs its four samples' marks; the trailing
    // half second is dropped.
    writeFile("marks.csv", "fhr,uc,fm\n" + std::string("140,10,0\n140,10,4\n140,10,0\n140,10,8\n") +
                               "140,10,0\n140,10,0\n140,10,0\n140,10,0\n140,10,4\n140,10,4\n");
    EXPECT_EQ(std::get<6>(readOf("marks.csv")), (Ints{12, 0}));
}

TEST(IoReaders, FhrmaChannelsTocoAndStartTime) {
    // 561/4 = 140.25, 562/4 = 140.5, 2/4 = 0.5; toco 41/2 = 20.5: halves round up
    writeFile("rec.fhr", fhrmaBytes(1700000000, {{561, 600, 41}, {562, 0, 40}, {0, 2, 0}}));
    EXPECT_EQ(readOf("rec.fhr"), Read("rec", CTGIO_FORMAT_FHRMA, 4, {140, 141, 0}, {21, 20, 0},
                                      {0, 0, 0}, {}, 1700000000));
    EXPECT_EQ(fhrOf("rec.fhr", CTGIO_CHANNEL_SECOND), (Ints{150, 0, 1}));
    EXPECT_EQ(fhrOf("rec.fhr", CTGIO_CHANNEL_MAXIMUM), (Ints{150, 141, 1}));
    writeFile("anonymous.fhr", fhrmaBytes(0, {{560, 560, 0}}));
    EXPECT_EQ(std::get<7>(readOf("anonymous.fhr")), std::nullopt);
}

TEST(IoReaders, FhrmaMatchesTheCsvExportsOfTheResearchData) {
    const std::string data = testing_support::dataDir();
    if (data.empty()) GTEST_SKIP() << "research recordings not present";
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(data + "/train")) {
        if (entry.path().extension() != ".fhr") continue;
        ++files;
        const std::string name = entry.path().stem().string();
        const auto exported = testing_support::readCsv(data + "/train/" + name + ".csv");
        const Read first = readOf(entry.path().string());
        EXPECT_EQ(std::tie(std::get<3>(first), std::get<4>(first)),
                  std::tie(exported.fhr, exported.uc))
            << name;
        EXPECT_EQ(fhrOf(entry.path().string(), CTGIO_CHANNEL_MAXIMUM),
                  testing_support::readCsv(data + "/train/fhrmax/" + name + ".csv").fhr)
            << name;
    }
    EXPECT_EQ(files, 66);
}

TEST(IoReaders, WfdbSignalsByNameWithGainBaselineAndRate) {
    writeFile("rec.hea", kTwoSignals);
    writeFile("rec.dat", format16Bytes({14025, 2050, 14050, 2000, -32768, 0}));
    // -32768 marks a missing sample; the clock is 2020-03-15 08:30:00 UTC
    const Read expected("rec", CTGIO_FORMAT_WFDB, 4, {140, 141, 0}, {21, 20, 0}, {0, 0, 0}, {},
                        1584261000);
    EXPECT_EQ(readOf("rec.hea"), expected);
    EXPECT_EQ(readOf("rec.dat"), expected);
    ctgio_recording* viaSignals = ctgio_read("rec.dat", nullptr, nullptr);
    EXPECT_STREQ(viaSignals->path, "rec.hea");  // the file read is the header
    ctgio_free(viaSignals);

    // Signals in separate files, the baseline taken from the ADC zero.
    writeFile("split.hea",
              "split 2 2\nfhr.dat 16 10 12 -500 0 0 0 FHR\nuc.dat 16 2(10) 12 0 0 0 0 UC\n");
    writeFile("fhr.dat", format16Bytes({900, 905}));
    writeFile("uc.dat", format16Bytes({50, 10}));
    EXPECT_EQ(readOf("split.hea"),  // (905 + 500) / 10 = 140.5 rounds up
              Read("split", CTGIO_FORMAT_WFDB, 2, {140, 141}, {20, 0}, {0, 0}, {0}, std::nullopt));
}

TEST(IoReaders, FormatByExtensionElseByFirstBytes) {
    const std::vector<std::tuple<std::string, std::string, int>> cases = {
        {"a/B.CSV", "", CTGIO_FORMAT_CSV},  // the extension decides, whatever the content
        {"r.Fhr", "fhr,uc\n", CTGIO_FORMAT_FHRMA},
        {"r.HEA", "", CTGIO_FORMAT_WFDB},
        {"r.DaT", "", CTGIO_FORMAT_WFDB},
        {"export.txt", "\xEF\xBB\xBF\nTime, FHR ,uc\n1,2,3\n", CTGIO_FORMAT_CSV},
        {"record", "# comment\n\n  rec 2 4 100\n", CTGIO_FORMAT_WFDB},
        {"record.1", "rec 2.5 4\n", CTGIO_FORMAT_UNKNOWN},
        {"record.2", "rec 10001\n", CTGIO_FORMAT_UNKNOWN},
        {"binary", std::string("\x10\x20\0\x30", 4), CTGIO_FORMAT_FHRMA},
        {"latin1", "caf\xE9 au lait\n", CTGIO_FORMAT_FHRMA},
        {"utf8.txt", "caf\xC3\xA9 au lait\n", CTGIO_FORMAT_UNKNOWN},
        {"empty", "", CTGIO_FORMAT_UNKNOWN},
        {"absent", "-", CTGIO_FORMAT_UNKNOWN},
    };
    std::filesystem::create_directory("a");
    for (const auto& [path, content, format] : cases) {
        if (content != "-") writeFile(path, content);
        EXPECT_EQ(ctgio_detect(path.c_str()), format) << path;
    }
    EXPECT_EQ(ctgio_detect(nullptr), CTGIO_FORMAT_UNKNOWN);

    // Read as recognised, the name still the file's; no fm column: no marks.
    writeFile("export.txt", "Time, FHR ,uc\n1,140,3\n");
    EXPECT_EQ(readOf("export.txt"),
              Read("export", CTGIO_FORMAT_CSV, 4, {140}, {3}, {0}, {}, std::nullopt));
    writeFile("binary", fhrmaBytes(0, {{560, 560, 20}}));
    EXPECT_EQ(std::get<3>(readOf("binary")), (Ints{140}));
}

TEST(IoReaders, BrokenFilesGiveCodeAndMessageNamingFileAndProblem) {
    writeFile("rec.dat", format16Bytes({14000, 2000, 14000, 2000, 14000, 2000}));
    const std::string fhrma = fhrmaBytes(0, {{560, 560, 20}, {560, 560, 20}});
    const std::string signals = "rec.dat 16 100 12 0 0 0 0 FHR\nrec.dat 16 100 12 0 0 0 0 ";
    std::filesystem::create_directory("folder.csv");
    // The file read, its content ("-": none written), the file the message
    // names, the code and the problem.
    const std::vector<std::tuple<std::string, std::string, std::string, int, std::string>> cases = {
        {"a.csv", "", "a.csv", CTGIO_ERROR_FORMAT, "file is empty"},
        {"a.csv", "fhr,uc,fm\n", "a.csv", CTGIO_ERROR_FORMAT, "no samples after the header line"},
        {"a.csv", "fhr,fm\n140,0\n", "a.csv", CTGIO_ERROR_FORMAT,
         "missing column 'uc' in header line 'fhr,fm'"},
        {"a.csv", "fhr,uc,fm\n140,10,0\n141,10\n", "a.csv", CTGIO_ERROR_FORMAT,
         "line 3: 2 fields, the header has 3"},
        {"a.csv", "fhr,uc,fm\n140,abc,0\n", "a.csv", CTGIO_ERROR_FORMAT,
         "line 2, column 'uc': 'abc' is not a number"},
        {"a.csv", "fhr,uc,fm\n140,,0\n", "a.csv", CTGIO_ERROR_FORMAT,
         "line 2, column 'uc': empty cell"},
        {"a.csv", "fhr,uc,fm\nnan,1,0\n", "a.csv", CTGIO_ERROR_FORMAT,
         "line 2, column 'fhr': 'nan' is not a number"},
        {"a.csv", "fhr,uc\n1e7,1\n", "a.csv", CTGIO_ERROR_FORMAT,
         "line 2, column 'fhr': '1e7' is out of range"},
        {"a.csv", "fhr,FHR,uc\n1,2,3\n", "a.csv", CTGIO_ERROR_FORMAT, "column 'fhr' appears twice"},
        {"a.fhr", fhrma.substr(0, 3), "a.fhr", CTGIO_ERROR_FORMAT,
         "truncated: 3 bytes, shorter than the 4-byte header"},
        {"a.fhr", fhrma.substr(0, 15), "a.fhr", CTGIO_ERROR_FORMAT,
         "truncated: 11 bytes after the header are not a whole number of 6-byte samples"},
        {"a.fhr", fhrma.substr(0, 4), "a.fhr", CTGIO_ERROR_FORMAT, "no samples after the header"},
        {"rec.hea", "rec 2 4 3\n" + signals + "TOCO\n", "rec.hea", CTGIO_ERROR_FORMAT,
         "missing channel: no signal described as UC"},
        {"rec.hea", "rec two 4\n", "rec.hea", CTGIO_ERROR_FORMAT,
         "wrong header: record line 'rec two 4' does not start with a name and a signal count"},
        {"rec.hea", "rec 2 4 3\nrec.dat 16 100 12 0 0 0 0 FHR\n", "rec.hea", CTGIO_ERROR_FORMAT,
         "wrong header: 2 signals declared, 1 described"},
        {"rec.hea", "rec 2 4 4\n" + signals + "UC\n", "rec.dat", CTGIO_ERROR_FORMAT,
         "truncated: holds 3 whole samples, the header announces 4"},
        {"rec.hea", "rec 2 4\nrec.dat 212 100 12 0 0 0 0 FHR\nrec.dat 212 100 12 0 0 0 0 UC\n",
         "rec.hea", CTGIO_ERROR_FORMAT, "signal 'FHR' has format 212; only format 16 is supported"},
        {"rec.hea", "rec 2 4.5\n" + signals + "UC\n", "rec.hea", CTGIO_ERROR_FORMAT,
         "sampling frequency 4.500000 Hz is not a whole number of samples per second"},
        {"rec.hea", "", "rec.hea", CTGIO_ERROR_FORMAT, "wrong header: no record line"},
        {"rec.hea", "rec 2 4\nrec.gone 16 1 0 0 0 0 0 FHR\nrec.gone 16 1 0 0 0 0 0 UC\n",
         "rec.gone", CTGIO_ERROR_NOT_FOUND, "cannot open: No such file or directory"},
        {"notes.txt", "time,uc\n1,2\n", "notes.txt", CTGIO_ERROR_FORMAT,
         "unknown format: neither a CSV file with an fhr column, a WFDB header nor an FHRMA .fhr "
         "file"},
        {"absent.csv", "-", "absent.csv", CTGIO_ERROR_NOT_FOUND,
         "cannot open: No such file or directory"},
        {"absent.dat", "-", "absent.hea", CTGIO_ERROR_NOT_FOUND,
         "cannot open: No such file or directory"},
        {"folder.csv", "-", "folder.csv", CTGIO_ERROR_UNREADABLE, "is a directory"},
    };
    for (const auto& [path, content, named, code, problem] : cases) {
        if (content != "-") writeFile(path, content);
        const Outcome outcome = failureOf(path.c_str());
        EXPECT_EQ(outcome.code, code) << content;
        EXPECT_EQ(outcome.message, named + ": " + problem) << content;
        EXPECT_EQ(outcome.file, named) << content;
    }
}

TEST(IoReaders, OptionsAndArgumentsAreChecked) {
    writeFile("rec.csv", "fhr,uc\n140,10\n");
    ctgio_options options = ctgio_default_options();
    EXPECT_EQ(std::tie(options.csv_rate, options.fhr_channel), std::tuple(4, CTGIO_CHANNEL_FIRST));
    for (const auto& [rate, channel] : {std::pair{0, 1}, std::pair{4, 0}, std::pair{4, 4}}) {
        options = {rate, channel};
        EXPECT_EQ(failureOf("rec.csv", &options).code, CTGIO_ERROR_ARGUMENT) << rate << channel;
    }
    options = {1, CTGIO_CHANNEL_FIRST};
    EXPECT_EQ(failureOf("rec.csv", &options).code, CTGIO_OK);
    EXPECT_EQ(failureOf(nullptr).code, CTGIO_ERROR_ARGUMENT);
    ctgio_free(ctgio_read("rec.csv", nullptr, nullptr));  // no options, no error record
    EXPECT_EQ(ctgio_read("absent.csv", nullptr, nullptr), nullptr);
    const int marks[] = {0, 4, 0, 8, 1};
    int words[2] = {-1, -1};
    EXPECT_EQ(ctgio_movement_words(marks, 5, 2, words), 2);
    EXPECT_EQ(std::vector<int>(words, words + 2), (std::vector<int>{4, 8}));
    for (const auto& [samples, rate] : {std::pair{-1, 2}, std::pair{5, 0}}) {
        EXPECT_EQ(ctgio_movement_words(marks, samples, rate, words), -1) << samples << rate;
    }
    EXPECT_EQ(ctgio_movement_words(nullptr, 5, 2, words), -1);

    // A message longer than the record is cut at a character boundary.
    std::string longPath;
    for (int i = 0; i < 600; ++i) longPath += "\xC3\xA9";  // 'é', two bytes
    const Outcome outcome = failureOf(longPath.c_str());
    EXPECT_NE(outcome.code, CTGIO_OK);
    EXPECT_EQ(outcome.message, longPath.substr(0, 1022));
}
