// Runs the library through its C++ interface and writes every result in the
// text form that the Python package tests produce from the same calls:
//
//   reference_driver OUTPUT RATE PARAMETERS CSV...
//
// Each CSV (header fhr,uc,fm, one row per sample) is run by the Krebs, Fischer,
// ACOG and contraction methods in that order; PARAMETERS is "-" or 17
// comma-separated ints given to QK4_setParameter first.  The movement marks
// handed over are the fm value at the first sample of each second.  Doubles
// are written as the hex of their bit patterns.
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "exported_methods.h"
#include "test_support.h"

namespace {

using namespace testing_support;

void writeList(std::FILE* out, const char* label, const QK4_FhrList& list) {
    std::fprintf(out, "\n%s", label);
    for (int i = 0; i < list.count; ++i) std::fprintf(out, " %d", list.data[i]);
}

// A failed run is written with its words only, as the Python side has no
// events or curve for it.
void runMethod(std::FILE* out, const std::string& path, const char* methodName,
               const ExportedMethod& method, int rate) {
    const Recording recording = readCsv(path);
    std::vector<int> fm(recording.fhr.size() / rate);
    for (std::size_t second = 0; second < fm.size(); ++second)
        fm[second] = recording.fm[rate * second];
    const int* words = method.run(recording.fhr.data(), recording.uc.data(), fm.data(),
                                  static_cast<int>(recording.fhr.size()), rate);
    std::fprintf(out, "run %s %s\nwords", path.substr(path.find_last_of('/') + 1).c_str(),
                 methodName);
    for (int i = 0; i < CTGSCORE_RESULT_WORDS; ++i) std::fprintf(out, " %d", words[i]);
    if (words[method == kAcog ? 35 : 0] == -1) {
        std::fprintf(out, "\nfailed\n");
        return;
    }
    const QK4_FhrLocation& location = *method.location();
    writeList(out, "acceleration_starts", location.accelerationStarts);
    writeList(out, "acceleration_ends", location.accelerationEnds);
    writeList(out, "deceleration_starts", location.decelerationStarts);
    writeList(out, "deceleration_ends", location.decelerationEnds);
    const QK4_FhrBaseline& baseline = *method.baseline();
    std::fprintf(out, "\nbaseline");
    for (int i = 0; i < baseline.count; ++i) {
        std::uint64_t bits;
        std::memcpy(&bits, &baseline.data[i], sizeof bits);
        std::fprintf(out, " %016" PRIx64, bits);
    }
    std::fprintf(out, "\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) return 2;  // see the usage above
    const int rate = std::stoi(argv[2]);
    if (std::string(argv[3]) != "-") {
        std::vector<int> values;
        std::stringstream list(argv[3]);
        for (std::string item; std::getline(list, item, ',');) values.push_back(std::stoi(item));
        QK4_FhrParameter parameters;
        if (values.size() * sizeof(int) != sizeof parameters) return 2;
        std::memcpy(&parameters, values.data(), sizeof parameters);
        QK4_setParameter(&parameters);
    }
    std::FILE* out = std::fopen(argv[1], "w");
    if (out == nullptr) return 1;
    const char* const names[] = {"krebs", "fischer", "acog", "uc"};
    for (int i = 4; i < argc; ++i) {
        for (int m = 0; m < 4; ++m) runMethod(out, argv[i], names[m], kExportedMethods[m], rate);
    }
    std::fclose(out);
    return 0;
}
