#include "tool_test_helpers.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace tooltest {

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

pid_t startTool(const std::vector<std::string>& arguments, const std::string& out,
                const std::string& err) {
    std::vector<std::string> words = {CTGSCORE_TOOL_PATH};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const std::string here = std::filesystem::current_path().string();
    const pid_t pid = fork();
    if (pid == 0) {
        setpgid(0, 0);
        setenv("TMPDIR", here.c_str(), 1);
        dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), STDOUT_FILENO);
        dup2(open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), STDERR_FILENO);
        std::vector<char*> argv;
        for (std::string& word : words) argv.push_back(word.data());
        argv.push_back(nullptr);
        execv(argv[0], argv.data());
        _exit(127);
    }
    return pid;
}

ToolRun runTool(const std::vector<std::string>& arguments) {
    int status = 0;
    waitpid(startTool(arguments, "tool-stdout.txt", "tool-stderr.txt"), &status, 0);
    ToolRun run{WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
                readFile("tool-stdout.txt"), readFile("tool-stderr.txt")};
    std::filesystem::remove("tool-stdout.txt");
    std::filesystem::remove("tool-stderr.txt");
    return run;
}

int countOf(const std::string& text, const std::string& needle) {
    int count = 0;
    for (std::size_t at = text.find(needle); at != std::string::npos;
         at = text.find(needle, at + needle.size()))
        ++count;
    return count;
}

}  // namespace tooltest
