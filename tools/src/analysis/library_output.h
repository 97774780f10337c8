// Side effects of a library call.  The library echoes every log line to
// standard output, which would mix with the tool's own output (JSON, CSV,
// table), and writes its daily log file into the working directory.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace ctgtool {

// Diverts file descriptor 1 into a temporary file for the duration of a
// library call and hands the captured lines back.
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

// Makes a folder the working directory until restore() or the end of the
// object, so the library's log file lands there.  Throws std::runtime_error
// when the folder cannot be entered, and restore() when the previous working
// directory cannot be entered again.
class WorkingDirectoryScope {
public:
    explicit WorkingDirectoryScope(const std::string& directory);
    ~WorkingDirectoryScope();
    void restore();
    WorkingDirectoryScope(const WorkingDirectoryScope&) = delete;
    WorkingDirectoryScope& operator=(const WorkingDirectoryScope&) = delete;

private:
    int previous_ = -1;
};

}  // namespace ctgtool
