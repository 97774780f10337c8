// Runs the library through its C++ interface and writes every result in the
// text form that the Python package tests produce from the same calls:
//
//   reference_driver OUTPUT RATE METHODS PARAMETERS CSV...
//
// METHODS is a comma list of krebs, fischer, acog, uc (run in that order for
// each CSV), PARAMETERS is "-" or 17 comma-separated ints given to
// QK4_setParameter first.  A CSV has the header fhr,uc,fm and one row per
// sample; the movement marks handed over are the fm value at the first sample
// of each second.  Doubles are written as the hex of their bit patterns.
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "ctgscore.h"

namespace {

struct Recording {
    std::string name;
    std::vector<int> fhr, uc, fmPerSecond;
};

std::vector<std::string> splitWords(const std::string& text) {
    std::vector<std::string> words;
    std::stringstream stream(text);
    std::string item;
    while (std::getline(stream, item, ',')) words.push_back(item);
    return words;
}

std::vector<int> splitInts(const std::string& text) {
    std::vector<int> values;
    for (const std::string& word : splitWords(text)) values.push_back(std::stoi(word));
    return values;
}

Recording readRecording(const std::string& path, int rate) {
    Recording recording;
    recording.name = path.substr(path.find_last_of('/') + 1);
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);  // header fhr,uc,fm
    std::vector<int> fm;
    while (std::getline(file, line)) {
        std::vector<int> row = splitInts(line);
        recording.fhr.push_back(row.at(0));
        recording.uc.push_back(row.at(1));
        fm.push_back(row.at(2));
    }
    for (size_t second = 0; second < fm.size() / rate; ++second)
        recording.fmPerSecond.push_back(fm[second * rate]);
    return recording;
}

void writeList(std::FILE* out, const char* label, const QK4_FhrList& list) {
    std::fprintf(out, "%s", label);
    for (int i = 0; i < list.count; ++i) std::fprintf(out, " %d", list.data[i]);
    std::fprintf(out, "\n");
}

void writeWords(std::FILE* out, const std::string& name, const std::string& method,
                const int* words) {
    std::fprintf(out, "run %s %s\nwords", name.c_str(), method.c_str());
    for (int i = 0; i < CTGSCORE_RESULT_WORDS; ++i) std::fprintf(out, " %d", words[i]);
    std::fprintf(out, "\n");
}

void writeFindings(std::FILE* out, const QK4_FhrLocation& location,
                   const QK4_FhrBaseline& baseline) {
    writeList(out, "acceleration_starts", location.accelerationStarts);
    writeList(out, "acceleration_ends", location.accelerationEnds);
    writeList(out, "deceleration_starts", location.decelerationStarts);
    writeList(out, "deceleration_ends", location.decelerationEnds);
    std::fprintf(out, "baseline");
    for (int i = 0; i < baseline.count; ++i) {
        std::uint64_t bits;
        std::memcpy(&bits, &baseline.data[i], sizeof bits);
        std::fprintf(out, " %016" PRIx64, bits);
    }
    std::fprintf(out, "\n");
}

// Runs one method; a failed run is written with its words only, as the
// Python side has no events or curve for it.
void runMethod(std::FILE* out, const Recording& r, const std::string& method, int rate) {
    const int length = static_cast<int>(r.fhr.size());
    const int* words = nullptr;
    const QK4_FhrLocation* location = nullptr;
    const QK4_FhrBaseline* baseline = nullptr;
    if (method == "krebs") {
        words = QK4_calFhrKrebs(r.fhr.data(), r.fmPerSecond.data(), length, rate);
        location = QK4_getKrebsLocation();
        baseline = QK4_getKrebsBaseline();
    } else if (method == "fischer") {
        words = QK4_calFhrFischer2(r.fhr.data(), r.uc.data(), r.fmPerSecond.data(), length, rate);
        location = QK4_getFischer2Location();
        baseline = QK4_getFischer2Baseline();
    } else if (method == "acog") {
        words = QK4_calFhrAcog(r.fhr.data(), r.uc.data(), r.fmPerSecond.data(), length, rate);
        location = QK4_getAcogLocation();
        baseline = QK4_getAcogBaseline();
    } else {
        words = QK4_calFhrUC(r.fhr.data(), r.uc.data(), r.fmPerSecond.data(), length, rate);
        location = QK4_getUCLocation();
        baseline = QK4_getUCBaseline();
    }
    const bool failed = words[method == "acog" ? 35 : 0] == -1;
    writeWords(out, r.name, method, words);
    if (failed)
        std::fprintf(out, "failed\n");
    else
        writeFindings(out, *location, *baseline);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 6) {
        std::cerr << "usage: " << argv[0] << " OUTPUT RATE METHODS PARAMETERS CSV...\n";
        return 2;
    }
    const int rate = std::stoi(argv[2]);
    const std::vector<std::string> methods = splitWords(argv[3]);
    if (std::string(argv[4]) != "-") {
        const std::vector<int> values = splitInts(argv[4]);
        QK4_FhrParameter parameters;
        if (values.size() * sizeof(int) != sizeof parameters) return 2;
        std::memcpy(&parameters, values.data(), sizeof parameters);
        QK4_setParameter(&parameters);
    }
    std::FILE* out = std::fopen(argv[1], "w");
    if (out == nullptr) return 1;
    for (int i = 5; i < argc; ++i) {
        const Recording recording = readRecording(argv[i], rate);
        for (const std::string& method : methods) runMethod(out, recording, method, rate);
    }
    std::fclose(out);
    return 0;
}
