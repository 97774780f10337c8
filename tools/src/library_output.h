// The library echoes every log line to standard output, which would mix with
// the tool's own output (JSON, CSV, table).  LibraryOutputCapture diverts file
// descriptor 1 into a temporary file for the duration of a library call and
// hands the captured lines back.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace ctgtool {

class LibraryOutputCapture {
public:
    LibraryOutputCapture();
    ~LibraryOutputCapture();
    LibraryOutputCapture(const LibraryOutputCapture&) = delete;
    LibraryOutputCapture& operator=(const LibraryOutputCapture&) = delete;

    // Restores standard output and returns the lines written meanwhile.
    std::vector<std::string> finish();

private:
    void restore();

    std::FILE* sink_ = nullptr;
    int savedStdout_ = -1;
    bool active_ = false;
};

}  // namespace ctgtool
