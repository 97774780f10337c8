// Reads recordings with the command-line tool's readers and writes what they
// hold, one JSON line per file, for the Python package's reader tests:
//
//   reader_driver CHANNEL FILE...
//
// CHANNEL is 1, 2 or max; CSV files are read at 4 samples per second.  A line holds name, rate, fhr, uc, the movement
// words per second and the start time (Unix seconds or null), or, for a file
// that cannot be read, the reader's error text.
#include <iostream>
#include <string>

#include "output/text_format.h"
#include "recordings/recording_file.h"
#include "recordings/recording.h"

int main(int argc, char** argv) {
    using namespace ctgtool;
    if (argc < 2) return 2;  // see the usage above
    const std::string channel = argv[1];
    ReadOptions options;
    options.fhrChannel = channel == "2"     ? FhrChannel::Second
                         : channel == "max" ? FhrChannel::Maximum
                                            : FhrChannel::First;
    for (int i = 2; i < argc; ++i) {
        nlohmann::ordered_json line = {{"file", argv[i]}};
        try {
            const Recording r = readRecording(argv[i], options);
            line.update({{"ok", true},
                         {"name", r.name},
                         {"rate", r.rate},
                         {"fhr", r.fhr},
                         {"uc", r.uc},
                         {"fm", movementWordsPerSecond(r)},
                         {"start", r.startTime ? nlohmann::ordered_json(*r.startTime) : nullptr},
                         {"signal_loss", signalLossFraction(r)}});
        } catch (const InputError& error) {
            line.update({{"ok", false}, {"error", error.what()}});
        }
        std::cout << dumpJson(line, -1) << '\n';
    }
    return 0;
}
