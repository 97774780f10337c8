#include "tool_test_helpers.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "simulate.h"

namespace tooltest {

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

ctgtool::Recording writeSimulatedCsv(const std::string& path, int minutes, std::uint64_t seed) {
    ctgtool::Recording recording = ctgtool::simulate({minutes, 4, seed}).recording;
    std::ofstream out(path);
    ctgtool::writeRecordingCsv(out, recording);
    return recording;
}

static void appendLittleEndian(std::string& bytes, std::uint32_t value, int size) {
    for (int i = 0; i < size; ++i) bytes += static_cast<char>((value >> (8 * i)) & 0xFF);
}

std::string fhrmaBytes(std::uint32_t startTime, const std::vector<FhrmaSample>& samples) {
    std::string bytes;
    appendLittleEndian(bytes, startTime, 4);
    for (const FhrmaSample& sample : samples) {
        appendLittleEndian(bytes, sample.fhr1, 2);
        appendLittleEndian(bytes, sample.fhr2, 2);
        appendLittleEndian(bytes, sample.toco, 1);
        appendLittleEndian(bytes, 0, 1);
    }
    return bytes;
}

std::string format16Bytes(const std::vector<std::vector<int>>& frames) {
    std::string bytes;
    for (const auto& frame : frames) {
        for (int value : frame) appendLittleEndian(bytes, static_cast<std::uint16_t>(value), 2);
    }
    return bytes;
}

ToolRun runTool(const std::vector<std::string>& arguments) {
    std::vector<std::string> words = {CTGSCORE_TOOL_PATH};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(open("tool-stdout.txt", O_WRONLY | O_CREAT | O_TRUNC, 0644), STDOUT_FILENO);
        dup2(open("tool-stderr.txt", O_WRONLY | O_CREAT | O_TRUNC, 0644), STDERR_FILENO);
        std::vector<char*> argv;
        for (std::string& word : words) argv.push_back(word.data());
        argv.push_back(nullptr);
        execv(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    ToolRun run{WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
                readFile("tool-stdout.txt"), readFile("tool-stderr.txt")};
    unlink("tool-stdout.txt");
    unlink("tool-stderr.txt");
    return run;
}

std::string xmlProblem(const std::string& text) {
    std::vector<std::string> open;
    for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at + 1)) {
        const std::size_t end = text.find('>', at);
        if (end == std::string::npos) return "unterminated tag";
        const std::string tag = text.substr(at + 1, end - at - 1);
        at = end;
        if (tag.empty() || tag[0] == '?' || tag[0] == '!') continue;
        if (countOf(tag, "\"") % 2 != 0) return "unbalanced quotes in <" + tag + ">";
        if (tag[0] == '/') {
            if (open.empty() || open.back() != tag.substr(1)) return "stray <" + tag + ">";
            open.pop_back();
        } else if (tag.back() != '/') {
            open.push_back(tag.substr(0, tag.find_first_of(" \n\t")));
        }
    }
    return open.empty() ? "" : "unclosed <" + open.back() + ">";
}

int countOf(const std::string& text, const std::string& needle) {
    int count = 0;
    for (std::size_t at = text.find(needle); at != std::string::npos;
         at = text.find(needle, at + needle.size())) {
        ++count;
    }
    return count;
}

}  // namespace tooltest
