// Analyzes every recording of a folder into a JSON-lines file.  Each file is
// analyzed in a process of its own (runs/own_process.h), so a file's line
// does not depend on the other files or on the number of jobs.
#pragma once

#include <string>
#include <vector>

#include "analysis/file_analysis.h"

namespace ctgtool {

struct BatchOptions {
    std::string directory;
    std::string output;
    int jobs = 1;
    // Keep the complete lines of an existing output file (an interrupted
    // run's partial last line is dropped), analyze only the recordings not in
    // them and append their lines.
    bool resume = false;
    FileAnalysisOptions analysis;
};

// The .csv, .fhr and .hea files of the folder (not its subfolders), sorted by name.
// Throws InputError when the folder cannot be listed.
std::vector<std::string> listRecordings(const std::string& directory);

struct BatchSummary {
    std::size_t files = 0;
    std::size_t failed = 0;   // files whose line reports an error
    std::size_t resumed = 0;  // lines kept from an earlier run (with resume)
};

// Writes one line per file, in name order.  Lines appear as soon as every
// earlier file is done, so an interrupted run leaves the first lines of the
// full output, and a resumed run completes it to what one uninterrupted run
// writes.  Throws InputError when the folder cannot be listed, the output
// cannot be written, or (with resume) holds a line that is not a batch line.
BatchSummary runBatch(const BatchOptions& options);

}  // namespace ctgtool
