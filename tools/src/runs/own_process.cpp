#include "runs/own_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <stdexcept>

namespace ctgtool {

namespace {

// Exit statuses of a process that wrote its scratch file: the work's text, or
// the message of the exception the work threw.
constexpr int kWorkDone = 0;
constexpr int kWorkThrew = 1;

// A file that exists only as long as a descriptor refers to it.
int unnamedScratchFile() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "ctgscore-work-XXXXXX").string();
    const int descriptor = mkstemp(pattern.data());
    if (descriptor < 0) {
        throw std::runtime_error("cannot make a scratch file: " +
                                 std::string(std::strerror(errno)));
    }
    unlink(pattern.c_str());
    return descriptor;
}

void writeAll(int descriptor, const std::string& bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t written = write(descriptor, bytes.data() + done, bytes.size() - done);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        done += static_cast<std::size_t>(written);
    }
}

std::string readAll(int descriptor) {
    std::string bytes;
    char buffer[65536];
    for (off_t at = 0;;) {
        const ssize_t got = pread(descriptor, buffer, sizeof buffer, at);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return bytes;
        bytes.append(buffer, static_cast<std::size_t>(got));
        at += got;
    }
}

// Runs in the forked process: the work's text or its exception's message into
// the scratch file, then leave without running the parent's exit handlers.
[[noreturn]] void runChild(const std::function<std::string()>& work, int scratch) {
    int status = kWorkDone;
    try {
        writeAll(scratch, work());
    } catch (const std::exception& error) {
        writeAll(scratch, error.what());
        status = kWorkThrew;
    }
    std::fflush(nullptr);
    _exit(status);
}

ProcessOutcome outcome(int status, std::string written) {
    if (WIFSIGNALED(status)) {
        return {false, "",
                "the analysis process was killed by signal " + std::to_string(WTERMSIG(status))};
    }
    const int code = WEXITSTATUS(status);
    if (code == kWorkDone) return {true, std::move(written), ""};
    if (code == kWorkThrew && !written.empty()) return {false, "", std::move(written)};
    return {false, "", "the analysis process ended with status " + std::to_string(code)};
}

}  // namespace

OwnProcesses::~OwnProcesses() {
    for (const auto& [pid, job] : running_) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        close(job.scratch);
    }
}

void OwnProcesses::start(std::size_t key, const std::function<std::string()>& work) {
    const int scratch = unnamedScratchFile();
    std::fflush(nullptr);
    std::cout.flush();
    std::cerr.flush();
    const pid_t pid = fork();
    if (pid == 0) runChild(work, scratch);
    if (pid < 0) {
        close(scratch);
        ended_[key] = {false, "",
                       "cannot start an analysis process: " + std::string(std::strerror(errno))};
        return;
    }
    running_[pid] = {key, scratch};
}

std::pair<std::size_t, ProcessOutcome> OwnProcesses::waitForOne() {
    if (!ended_.empty()) {
        auto first = ended_.extract(ended_.begin());
        return {first.key(), std::move(first.mapped())};
    }
    for (;;) {
        int status = 0;
        const pid_t pid = waitpid(-1, &status, 0);
        if (pid < 0 && errno == EINTR) continue;
        if (pid < 0) {
            throw std::runtime_error("waiting for analysis processes: " +
                                     std::string(std::strerror(errno)));
        }
        const auto job = running_.find(pid);
        if (job == running_.end()) continue;  // a process someone else started
        const Job done = job->second;
        running_.erase(job);
        std::string written = readAll(done.scratch);
        close(done.scratch);
        return {done.key, outcome(status, std::move(written))};
    }
}

ProcessOutcome runInOwnProcess(const std::function<std::string()>& work) {
    OwnProcesses process;
    process.start(0, work);
    return process.waitForOne().second;
}

}  // namespace ctgtool
