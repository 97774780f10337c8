#include "review/report.h"

#include <cctype>
#include <filesystem>
#include <fstream>
#include <set>

#include "output/text_format.h"
#include "review/recording_page.h"
#include "runs/own_process.h"

namespace ctgtool {

namespace {

namespace fs = std::filesystem;
using json = nlohmann::ordered_json;

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

// Runs in the analysis process: read, analyze, write the page; the result is
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

IndexEntry reviewInOwnProcess(const std::string& path, const std::string& page,
                              const ReviewOptions& options) {
    const std::string pagePath = (fs::path(options.directory) / page).string();
    const ProcessOutcome outcome = runInOwnProcess(
        [&] { return dumpJson(reviewRecording(path, pagePath, options.analysis), -1); });
    if (!outcome.ok) return {describeFileFailure(path, outcome.failure), ""};
    json entry = json::parse(outcome.text);
    const bool pageWritten = entry["ok"].get<bool>();
    return {std::move(entry), pageWritten ? page : ""};
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
