#include "review_run.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <set>

namespace ctgtool {

namespace {

namespace fs = std::filesystem;
using json = nlohmann::ordered_json;

std::string lowerCase(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string safeStem(const std::string& file) {
    std::string stem = fs::path(file).stem().string();
    for (char& c : stem) {
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '-' && c != '_' && c != '.')
            c = '_';
    }
    if (stem.empty()) return "recording";
    if (stem[0] == '.') stem[0] = '_';  // no hidden files
    return stem;
}

// Runs in the analysis process: read, analyse, write the page; the result is
// the recording's entry of the index, without the baseline curves.
json reviewRecording(const std::string& path, const std::string& pagePath,
                     const FileAnalysisOptions& options) {
    Recording recording;
    try {
        recording = readRecording(path, options.read);
    } catch (const InputError& error) {
        return describeFileFailure(path, error.what());
    }
    json description = describeRecording(path, recording, analyze(recording, options.analysis),
                                         ReportOptions{true});
    std::ofstream page(pagePath);
    writeReviewPage(page, recording, description);
    page.close();
    if (!page) {
        std::error_code ignored;
        fs::remove(pagePath, ignored);
        return describeFileFailure(path, pagePath + ": cannot write the page");
    }
    for (json& result : description["results"]) {
        if (result.contains("baseline")) result["baseline"].erase("curve");
    }
    return description;
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
    for (;;) {
        const ssize_t got = read(descriptor, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return bytes;
        bytes.append(buffer, static_cast<std::size_t>(got));
    }
}

// Runs work in a forked process and returns the text it produced; throws
// std::runtime_error when the process cannot start or does not end normally.
std::string inOwnProcess(const std::function<std::string()>& work) {
    int channel[2];
    if (pipe(channel) != 0)
        throw std::runtime_error(std::string("no pipe: ") + std::strerror(errno));
    std::fflush(nullptr);
    std::cout.flush();
    const pid_t pid = fork();
    if (pid == 0) {
        close(channel[0]);
        writeAll(channel[1], work());
        std::fflush(nullptr);
        _exit(0);
    }
    close(channel[1]);
    if (pid < 0) {
        close(channel[0]);
        throw std::runtime_error(std::string("cannot start an analysis process: ") +
                                 std::strerror(errno));
    }
    std::string output = readAll(channel[0]);
    close(channel[0]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFSIGNALED(status)) {
        throw std::runtime_error("the analysis process died of signal " +
                                 std::to_string(WTERMSIG(status)));
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || output.empty()) {
        throw std::runtime_error("the analysis process ended without a result");
    }
    return output;
}

IndexEntry reviewInOwnProcess(const std::string& path, const std::string& page,
                              const ReviewOptions& options) {
    const std::string pagePath = (fs::path(options.directory) / page).string();
    try {
        json entry = json::parse(inOwnProcess([&] {
            try {
                return dumpJson(reviewRecording(path, pagePath, options.analysis), -1);
            } catch (const std::exception& error) {
                return dumpJson(describeFileFailure(path, error.what()), -1);
            }
        }));
        const bool pageWritten = entry["ok"].get<bool>();
        return {std::move(entry), pageWritten ? page : ""};
    } catch (const std::exception& error) {
        return {describeFileFailure(path, error.what()), ""};
    }
}

}  // namespace

std::vector<std::string> pageNames(const std::vector<std::string>& files) {
    std::set<std::string> taken = {"index"};
    std::vector<std::string> names;
    for (const std::string& file : files) {
        const std::string stem = safeStem(file);
        std::string name = stem;
        for (int copy = 2; taken.count(lowerCase(name)) != 0; ++copy) {
            name = stem + "-" + std::to_string(copy);
        }
        taken.insert(lowerCase(name));
        names.push_back(name + ".html");
    }
    return names;
}

std::vector<IndexEntry> writeReview(const ReviewOptions& options) {
    std::error_code error;
    fs::create_directories(options.directory, error);
    if (error) throw InputError(options.directory, "cannot make the folder: " + error.message());
    const std::vector<std::string> pages = pageNames(options.files);
    std::vector<IndexEntry> entries;
    for (std::size_t i = 0; i < options.files.size(); ++i) {
        entries.push_back(reviewInOwnProcess(options.files[i], pages[i], options));
    }
    const std::string indexPath = (fs::path(options.directory) / "index.html").string();
    std::ofstream index(indexPath);
    writeReviewIndex(index, entries);
    index.close();
    if (!index) throw InputError(indexPath, "cannot write");
    return entries;
}

}  // namespace ctgtool
