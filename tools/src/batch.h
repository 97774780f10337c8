// Analyses every recording of a folder into a JSON-lines file.  Each file is
// analysed in a process of its own (the library's state is process-wide, and
// the contraction filter carries state from one call to the next), so a
// file's line does not depend on the other files or on the number of jobs.
#pragma once

#include <string>
#include <vector>

#include "file_analysis.h"

namespace ctgtool {

struct BatchOptions {
    std::string directory;
    std::string output;
    int jobs = 1;
    FileAnalysisOptions analysis;
};

// The .csv, .fhr and .hea files of the folder (not its subfolders), sorted by name.
// Throws InputError when the folder cannot be listed.
std::vector<std::string> listRecordings(const std::string& directory);

struct BatchSummary {
    std::size_t files = 0;
    std::size_t failed = 0;  // files whose line reports an error
};

// Writes one line per file, in name order.  Throws InputError when the folder
// cannot be listed or the output cannot be written.
BatchSummary runBatch(const BatchOptions& options);

}  // namespace ctgtool
