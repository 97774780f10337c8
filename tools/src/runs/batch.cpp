#include "runs/batch.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <set>
#include <sstream>

#include "output/text_format.h"
#include "readers/file_io.h"
#include "runs/own_process.h"

namespace ctgtool {

namespace {

namespace fs = std::filesystem;

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

struct Finished {
    std::string line;
    bool failed = false;
};

// The file's line: its description, or the failure of its analysis process.
Finished lineOf(const std::string& path, const ProcessOutcome& outcome) {
    if (!outcome.ok) return {dumpJson(describeFileFailure(path, outcome.failure), -1), true};
    const bool read = nlohmann::ordered_json::parse(outcome.text)["ok"].get<bool>();
    return {outcome.text, !read};
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
        while (processes_.running() < static_cast<std::size_t>(std::max(options_.jobs, 1)) &&
               next_ < files_.size()) {
            const std::string& path = files_[next_];
            processes_.start(next_++, [this, &path] {
                return dumpJson(analyzeFile(path, options_.analysis), -1);
            });
        }
    }

    void waitForOne() {
        if (processes_.running() == 0) return;
        const auto [index, outcome] = processes_.waitForOne();
        finished_[index] = lineOf(files_[index], outcome);
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
    OwnProcesses processes_;
    std::vector<std::optional<Finished>> finished_;
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
