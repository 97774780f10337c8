#include "analysis/library_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <stdexcept>

namespace ctgtool {

namespace {

void flushStandardOutput() {
    std::cout.flush();
    std::fflush(stdout);
}

}  // namespace

LibraryOutputCapture::LibraryOutputCapture() {
    flushStandardOutput();
    sink_ = std::tmpfile();
    if (sink_ == nullptr) return;  // nothing to divert into: let the lines through
    savedStdout_ = dup(STDOUT_FILENO);
    active_ = dup2(fileno(sink_), STDOUT_FILENO) >= 0;
}

LibraryOutputCapture::~LibraryOutputCapture() {
    restore();
    if (sink_ != nullptr) std::fclose(sink_);
}

void LibraryOutputCapture::restore() {
    if (!active_) return;
    flushStandardOutput();
    if (savedStdout_ >= 0) {
        dup2(savedStdout_, STDOUT_FILENO);
        close(savedStdout_);
    } else {
        close(STDOUT_FILENO);  // standard output was closed before the capture
    }
    savedStdout_ = -1;
    active_ = false;
}

std::vector<std::string> LibraryOutputCapture::finish() {
    restore();
    std::vector<std::string> lines;
    if (sink_ == nullptr) return lines;
    std::rewind(sink_);
    std::string line;
    for (int c; (c = std::fgetc(sink_)) != EOF;) {
        if (c != '\n') {
            line += static_cast<char>(c);
        } else if (!line.empty()) {
            lines.push_back(line);
            line.clear();
        }
    }
    if (!line.empty()) lines.push_back(line);
    return lines;
}

WorkingDirectoryScope::WorkingDirectoryScope(const std::string& directory) {
    if (directory.empty()) return;
    previous_ = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (previous_ < 0 || chdir(directory.c_str()) != 0) {
        const std::string reason = std::strerror(errno);
        if (previous_ >= 0) close(previous_);
        previous_ = -1;
        throw std::runtime_error("cannot use " + directory + " for the log: " + reason);
    }
}

WorkingDirectoryScope::~WorkingDirectoryScope() {
    if (previous_ < 0) return;
    (void)fchdir(previous_);  // best effort while unwinding; restore() reports a failure
    close(previous_);
}

void WorkingDirectoryScope::restore() {
    if (previous_ < 0) return;
    const bool returned = fchdir(previous_) == 0;
    close(previous_);
    previous_ = -1;
    if (!returned) throw std::runtime_error("cannot return to the working directory");
}

}  // namespace ctgtool
