#include <cstdarg>
#include <cstdio>
#include <ctime>

#include "utils.h"

namespace utils {

namespace {

std::tm localNow() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return local;
}

}  // namespace

// One line per call: the file is opened, written, flushed and closed each time
// so a line is on disk even if the process dies in the next stage.  A file that
// cannot be opened is skipped silently; the echo on standard output still happens.
void log(bool enabled, std::string message) {
    if (!enabled) return;
    const std::tm day = localNow();
    std::string stamp = std::to_string(day.tm_year + 1900) + "_" + std::to_string(day.tm_mon + 1) +
                        "_" + std::to_string(day.tm_mday);
    const std::string fileName = "FhrScore_" + stamp + ".log";
    const std::tm time = localNow();
    stamp += " " + std::to_string(time.tm_hour) + ":" + std::to_string(time.tm_min) + ":" +
             std::to_string(time.tm_sec);
    const std::string line = "[" + stamp + "]  " + message + "\n";

    if (std::FILE* file = std::fopen(fileName.c_str(), "a")) {
        std::fwrite(line.data(), 1, line.size(), file);
        std::fflush(file);
        std::fclose(file);
    }
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
}

std::string format(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    va_list copy;
    va_copy(copy, args);
    const int size = std::vsnprintf(nullptr, 0, fmt, copy);
    va_end(copy);
    std::string text(size > 0 ? static_cast<size_t>(size) : 0, '\0');
    if (size > 0) std::vsnprintf(text.data(), text.size() + 1, fmt, args);
    va_end(args);
    return text;
}

}  // namespace utils
