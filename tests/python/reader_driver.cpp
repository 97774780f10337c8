// Reads recordings with the command-line tool's readers and writes what they
// hold, one JSON line per file, for the Python package's reader tests:
//
//   reader_driver CHANNEL CSV_RATE FILE...
//
// CHANNEL is 1, 2 or max.  A line holds name, rate, fhr, uc, the movement
// words per second and the start time (Unix seconds or null), or, for a file
// that cannot be read, the reader's error text.
#include <iostream>
#include <string>

#include "file_analysis.h"
#include "readers/readers.h"
#include "recording.h"

int main(int argc, char** argv) {
    using namespace ctgtool;
    if (argc < 3) return 2;  // see the usage above
    ReadOptions options;
    const std::string channel = argv[1];
    options.fhrChannel = channel == "2"     ? FhrChannel::Second
                         : channel == "max" ? FhrChannel::Maximum
                                            : FhrChannel::First;
    options.csvRate = std::stoi(argv[2]);
    for (int i = 3; i < argc; ++i) {
        nlohmann::ordered_json line = {{"file", argv[i]}};
        try {
            const Recording recording = readRecording(argv[i], options);
            line["ok"] = true;
            line["name"] = recording.name;
            line["rate"] = recording.rate;
            line["fhr"] = recording.fhr;
            line["uc"] = recording.uc;
            line["fm"] = movementWordsPerSecond(recording);
            line["start"] = recording.startTime ? nlohmann::ordered_json(*recording.startTime)
                                                : nlohmann::ordered_json(nullptr);
            line["signal_loss"] = signalLossFraction(recording);
        } catch (const InputError& error) {
            line["ok"] = false;
            line["error"] = error.what();
        }
        std::cout << dumpJson(line, -1) << '\n';
    }
    return 0;
}
