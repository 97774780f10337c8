#include "test_support.h"

#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace testing_support {

namespace fs = std::filesystem;

std::string dataDir() {
    const fs::path dir(CTGSCORE_DATA_DIR);
    return fs::is_directory(dir / "train") ? dir.string() : std::string();
}

Recording readCsv(const std::string& path) {
    std::ifstream in(path);
    if (!in) throw std::runtime_error("cannot open " + path);
    Recording rec;
    rec.name = fs::path(path).stem().string();
    std::string line;
    std::getline(in, line);  // header
    while (std::getline(in, line)) {
        int fhr = 0, uc = 0, fm = 0;
        char comma = 0;
        if (std::istringstream(line) >> fhr >> comma >> uc >> comma >> fm) {
            rec.fhr.push_back(fhr);
            rec.uc.push_back(uc);
            rec.fm.push_back(fm);
        }
    }
    return rec;
}

std::string logNameOn(std::time_t day) {
    std::tm local{};
    localtime_r(&day, &local);
    return "FhrScore_" + std::to_string(local.tm_year + 1900) + "_" +
           std::to_string(local.tm_mon + 1) + "_" + std::to_string(local.tm_mday) + ".log";
}

std::string todaysLogName() { return logNameOn(std::time(nullptr)); }

std::vector<std::string> logMessages() {
    std::vector<std::string> messages;
    std::ifstream in(todaysLogName());
    for (std::string line; std::getline(in, line);) {
        const auto mark = line.find("]  ");
        messages.push_back(mark == std::string::npos ? line : line.substr(mark + 3));
    }
    return messages;
}

void clearLog() { fs::remove(todaysLogName()); }

std::uint64_t fingerprint(const std::vector<double>& values) {
    std::uint64_t hash = 14695981039346656037ull;
    for (double v : values) {
        unsigned char bytes[sizeof v];
        std::memcpy(bytes, &v, sizeof v);
        for (unsigned char b : bytes) hash = (hash ^ b) * 1099511628211ull;
    }
    return hash;
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
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
        appendLittleEndian(bytes, 0, 1);  // status byte
    }
    return bytes;
}

std::string format16Bytes(const std::vector<int>& values) {
    std::string bytes;
    for (int value : values) appendLittleEndian(bytes, static_cast<std::uint16_t>(value), 2);
    return bytes;
}

}  // namespace testing_support
