// The report command's work: a review page per recording and an index page
// listing them all.  Each recording is read and analyzed in a process of its
// own (runs/own_process.h), as batch does, so its page does not depend on the
// other recordings.
#pragma once

#include <string>
#include <vector>

#include "analysis/file_analysis.h"
#include "review/index_page.h"

namespace ctgtool {

struct ReviewOptions {
    std::vector<std::string> files;
    std::string directory;  // made when missing
    FileAnalysisOptions analysis;
};

// Returns the index entries, in the order of the files.  Throws InputError
// when the folder cannot be made or the index not written.
std::vector<IndexEntry> writeReview(const ReviewOptions& options);

// A page file name per file: the file's stem with only letters, digits, '-',
// '_' and '.', made unique (ignoring case) and never index.html.
std::vector<std::string> pageNames(const std::vector<std::string>& files);

}  // namespace ctgtool
