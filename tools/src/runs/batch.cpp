#include "batch.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <sstream>

#include "readers/file_io.h"

namespace ctgtool {

namespace {

namespace fs = std::filesystem;

// Exit codes of an analysis process that wrote its line.
constexpr int kLineOk = 0;
constexpr int kLineReportsFailure = 3;

// A private scratch folder for the lines of the analysis processes.
class ScratchDirectory {
public:
    ScratchDirectory() {
        std::string pattern = (fs::temp_directory_path() / "ctgscore-batch-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw InputError(pattern, std::string("cannot create: ") + std::strerror(errno));
        }
        path_ = pattern;
    }
    ~ScratchDirectory() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    std::string file(std::size_t index) const { return (path_ / std::to_string(index)).string(); }

private:
    fs::path path_;
};

// "[#####.....] 12/66 name" on one terminal line; silent when stderr is not a terminal.
class ProgressBar {
public:
    explicit ProgressBar(std::size_t total) : total_(total), enabled_(isatty(STDERR_FILENO) == 1) {}
    ~ProgressBar() {
        if (enabled_ && total_ > 0) std::cerr << '\n';
    }
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void advance(const std::string& name) {
        ++done_;
        if (!enabled_) return;
        constexpr std::size_t kWidth = 30;
        const std::size_t filled = kWidth * done_ / std::max<std::size_t>(total_, 1);
        std::cerr << "\r[" << std::string(filled, '#') << std::string(kWidth - filled, '.') << "] "
                  << done_ << "/" << total_ << " " << name << "\x1b[K" << std::flush;
    }

private:
    std::size_t total_;
    std::size_t done_ = 0;
    bool enabled_;
};

// Runs in the forked process: analyse, write the line, leave without running
// the parent's exit handlers.
[[noreturn]] void analyseInChild(const std::string& path, const std::string& lineFile,
                                 const FileAnalysisOptions& options) {
    int code = kLineOk;
    try {
        const nlohmann::ordered_json doc = analyzeFile(path, options);
        code = doc["ok"].get<bool>() ? kLineOk : kLineReportsFailure;
        std::ofstream line(lineFile);
        line << dumpJson(doc, -1);
        line.close();
        if (!line) code = 1;
    } catch (const std::exception& error) {
        std::ofstream line(lineFile);
        line << dumpJson(describeFileFailure(path, error.what()), -1);
        code = line ? kLineReportsFailure : 1;
    }
    std::fflush(nullptr);
    _exit(code);
}

struct Finished {
    std::string line;
    bool failed = false;
};

std::string readLine(const std::string& file) {
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    return line;
}

std::string abnormalEnd(int status) {
    if (WIFSIGNALED(status)) {
        return "the analysis process was killed by signal " + std::to_string(WTERMSIG(status));
    }
    return "the analysis process ended with status " + std::to_string(WEXITSTATUS(status));
}

Finished collect(const std::string& path, const std::string& lineFile, int status) {
    const bool wroteLine = WIFEXITED(status) && (WEXITSTATUS(status) == kLineOk ||
                                                 WEXITSTATUS(status) == kLineReportsFailure);
    std::string line = wroteLine ? readLine(lineFile) : "";
    if (line.empty()) return {dumpJson(describeFileFailure(path, abnormalEnd(status)), -1), true};
    return {line, WEXITSTATUS(status) == kLineReportsFailure};
}

// Up to `jobs` analysis processes at a time; lines are written in file order
// as soon as every earlier file is done.
class BatchRun {
public:
    BatchRun(const BatchOptions& options, std::vector<std::string> files, std::ostream& out)
        : options_(options),
          files_(std::move(files)),
          out_(out),
          finished_(files_.size()),
          progress_(files_.size()) {
        summary_.files = files_.size();
    }

    BatchSummary run() {
        while (written_ < files_.size()) {
            startJobs();
            waitForOne();
            writeReadyLines();
        }
        return summary_;
    }

private:
    void startJobs() {
        while (running_.size() < static_cast<std::size_t>(std::max(options_.jobs, 1)) &&
               next_ < files_.size()) {
            const std::size_t index = next_++;
            std::fflush(nullptr);
            std::cout.flush();
            const pid_t pid = fork();
            if (pid == 0) analyseInChild(files_[index], scratch_.file(index), options_.analysis);
            if (pid < 0) {
                finish(index, {dumpJson(describeFileFailure(files_[index],
                                                            "cannot start an analysis process: " +
                                                                std::string(std::strerror(errno))),
                                        -1),
                               true});
                continue;
            }
            running_[pid] = index;
        }
    }

    void waitForOne() {
        if (running_.empty()) return;
        int status = 0;
        const pid_t pid = waitpid(-1, &status, 0);
        if (pid < 0) {
            if (errno == EINTR) return;
            throw std::runtime_error(std::string("waiting for analysis processes: ") +
                                     std::strerror(errno));
        }
        const auto job = running_.find(pid);
        if (job == running_.end()) return;
        const std::size_t index = job->second;
        running_.erase(job);
        finish(index, collect(files_[index], scratch_.file(index), status));
    }

    void finish(std::size_t index, Finished result) {
        finished_[index] = std::move(result);
        progress_.advance(fs::path(files_[index]).filename().string());
    }

    void writeReadyLines() {
        while (written_ < files_.size() && finished_[written_]) {
            out_ << finished_[written_]->line << '\n';
            if (finished_[written_]->failed) ++summary_.failed;
            finished_[written_].reset();
            ++written_;
        }
        out_.flush();
    }

    const BatchOptions& options_;
    std::vector<std::string> files_;
    std::ostream& out_;
    ScratchDirectory scratch_;
    std::vector<std::optional<Finished>> finished_;
    std::map<pid_t, std::size_t> running_;
    std::size_t next_ = 0;
    std::size_t written_ = 0;
    ProgressBar progress_;
    BatchSummary summary_;
};

// The lines an earlier run left in `output`: a partial last line (no line
// break) is cut off the file; returns the files of the complete lines.
struct KeptLines {
    std::set<std::string> files;
    std::size_t lines = 0;
    std::size_t failed = 0;
};

KeptLines keepCompleteLines(const std::string& output) {
    KeptLines kept;
    std::error_code missing;
    if (!fs::exists(output, missing)) return kept;
    const std::string text = readWholeFile(output);
    const std::size_t lastBreak = text.rfind('\n');
    const std::size_t complete = lastBreak == std::string::npos ? 0 : lastBreak + 1;
    if (complete < text.size()) {
        std::error_code error;
        fs::resize_file(output, complete, error);
        if (error)
            throw InputError(output, "cannot drop the partial last line: " + error.message());
    }
    std::istringstream lines(text.substr(0, complete));
    for (std::string line; std::getline(lines, line);) {
        ++kept.lines;
        const nlohmann::ordered_json doc = nlohmann::ordered_json::parse(line, nullptr, false);
        if (doc.is_discarded() || !doc.is_object() || !doc.contains("file") ||
            !doc["file"].is_string() || !doc.contains("ok") || !doc["ok"].is_boolean()) {
            throw InputError(output, "line " + std::to_string(kept.lines) +
                                         " is not a batch result line; cannot resume");
        }
        kept.files.insert(doc["file"].get<std::string>());
        if (!doc["ok"].get<bool>()) ++kept.failed;
    }
    return kept;
}

}  // namespace

std::vector<std::string> listRecordings(const std::string& directory) {
    std::error_code error;
    fs::directory_iterator entries(directory, error);
    if (error) throw InputError(directory, "cannot list the folder: " + error.message());
    std::vector<std::string> files;
    for (const fs::directory_entry& entry : entries) {
        if (entry.is_regular_file(error) && isRecordingFile(entry.path().string())) {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

BatchSummary runBatch(const BatchOptions& options) {
    std::vector<std::string> files = listRecordings(options.directory);
    const KeptLines kept = options.resume ? keepCompleteLines(options.output) : KeptLines{};
    files.erase(std::remove_if(files.begin(), files.end(),
                               [&kept](const std::string& file) { return kept.files.count(file); }),
                files.end());
    std::ofstream out(options.output, options.resume ? std::ios::app : std::ios::trunc);
    if (!out)
        throw InputError(options.output, std::string("cannot write: ") + std::strerror(errno));
    BatchRun batch(options, std::move(files), out);
    BatchSummary summary = batch.run();
    out.close();
    if (!out) throw InputError(options.output, "write error");
    summary.files += kept.lines;
    summary.failed += kept.failed;
    summary.resumed = kept.lines;
    return summary;
}

}  // namespace ctgtool
