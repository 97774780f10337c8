// PhysioNet WFDB records: a text header (.hea) describing the signals and one
// or more binary signal files.  Only format 16 (little-endian int16, signals of
// one file interleaved sample by sample) is read, as in the open intrapartum
// CTG database.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <sstream>

#include "file_io.h"
#include "readers.h"

namespace ctgio {

namespace {

namespace fs = std::filesystem;

constexpr int kInvalidSample = -32768;  // WFDB marks a missing sample so
constexpr double kDefaultGain = 200.0;

struct WfdbSignal {
    std::string file;
    int format = 0;
    long byteOffset = 0;
    double gain = kDefaultGain;
    double baseline = 0.0;
    std::string description;
};

struct WfdbHeader {
    double frequency = 250.0;
    std::optional<long> samples;
    std::optional<std::int64_t> startTime;
    std::vector<WfdbSignal> signals;
};

std::vector<std::string> tokens(const std::string& line) {
    std::vector<std::string> words;
    std::istringstream in(line);
    for (std::string word; in >> word;) words.push_back(word);
    return words;
}

// Whole-token number parsing; false when the text is not entirely a number.
bool parseNumber(const std::string& text, double& value) {
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    return !text.empty() && end == text.c_str() + text.size() && std::isfinite(value);
}

// Leading number of a field such as "4/1000(0)" or "100(0)/bpm".
bool parseLeadingNumber(const std::string& text, double& value, std::size_t& used) {
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    used = static_cast<std::size_t>(end - text.c_str());
    return used > 0 && std::isfinite(value);
}

// "HH:MM:SS[.sss]" and "DD/MM/YYYY" as Unix seconds (the clock is taken as UTC).
std::optional<std::int64_t> parseStartTime(const std::string& time, const std::string& date) {
    std::tm when{};
    double seconds = 0.0;
    if (std::sscanf(time.c_str(), "%d:%d:%lf", &when.tm_hour, &when.tm_min, &seconds) != 3 ||
        std::sscanf(date.c_str(), "%d/%d/%d", &when.tm_mday, &when.tm_mon, &when.tm_year) != 3) {
        return std::nullopt;
    }
    when.tm_sec = static_cast<int>(std::clamp(seconds, -1e9, 1e9));
    when.tm_mon -= 1;
    when.tm_year -= 1900;
    return static_cast<std::int64_t>(timegm(&when));
}

// A whole number of signals, 1 to 10000.
bool isSignalCount(const std::string& word, double& count) {
    return parseNumber(word, count) && count >= 1 && count <= 10000 && count == std::floor(count);
}

void parseRecordLine(const std::string& path, const std::string& line, WfdbHeader& header,
                     int& signalCount) {
    const std::vector<std::string> words = tokens(line);
    double number = 0.0;
    if (words.size() < 2 || !isSignalCount(words[1], number)) {
        throw InputError(path, "wrong header: record line '" + line +
                                   "' does not start with a name and a signal count");
    }
    if (words[0].find('/') != std::string::npos) {
        throw InputError(path, "multi-segment records are not supported");
    }
    signalCount = static_cast<int>(number);
    std::size_t used = 0;
    if (words.size() > 2) {
        if (!parseLeadingNumber(words[2], header.frequency, used) || header.frequency <= 0) {
            throw InputError(path, "wrong header: sampling frequency '" + words[2] + "'");
        }
    }
    if (words.size() > 3) {
        if (!parseNumber(words[3], number) || number < 0 || number > 1e12) {
            throw InputError(path, "wrong header: sample count '" + words[3] + "'");
        }
        header.samples = static_cast<long>(number);
    }
    if (words.size() > 5) header.startTime = parseStartTime(words[4], words[5]);
}

// "16[xN][:skew][+offset]"
void parseFormat(const std::string& path, const std::string& field, WfdbSignal& signal) {
    char* end = nullptr;
    const long format = std::strtol(field.c_str(), &end, 10);
    if (end == field.c_str()) throw InputError(path, "wrong header: signal format '" + field + "'");
    signal.format = static_cast<int>(std::clamp(format, 0L, 100000L));
    const std::string rest(end);
    if (rest.find('x') != std::string::npos) {
        throw InputError(path, "signal files with several samples per frame are not supported");
    }
    if (const auto plus = rest.find('+'); plus != std::string::npos) {
        signal.byteOffset = std::atol(rest.c_str() + plus + 1);
    }
}

// "gain[(baseline)][/units]"; a gain of 0 means the default gain.
void parseGain(const std::string& path, const std::string& field, WfdbSignal& signal,
               bool& baselineGiven) {
    std::size_t used = 0;
    if (!parseLeadingNumber(field, signal.gain, used)) {
        throw InputError(path, "wrong header: gain '" + field + "'");
    }
    if (signal.gain == 0.0) signal.gain = kDefaultGain;
    baselineGiven = used < field.size() && field[used] == '(';
    if (baselineGiven) signal.baseline = std::atof(field.c_str() + used + 1);
}

WfdbSignal parseSignalLine(const std::string& path, const std::string& line) {
    const std::vector<std::string> words = tokens(line);
    if (words.size() < 2) {
        throw InputError(path, "wrong header: signal line '" + line + "' has no format");
    }
    WfdbSignal signal;
    signal.file = words[0];
    parseFormat(path, words[1], signal);
    bool baselineGiven = false;
    if (words.size() > 2) parseGain(path, words[2], signal, baselineGiven);
    if (words.size() > 4 && !baselineGiven) signal.baseline = std::atof(words[4].c_str());
    for (std::size_t i = 8; i < words.size(); ++i) {
        signal.description += (i > 8 ? " " : "") + words[i];
    }
    return signal;
}

WfdbHeader parseHeader(const std::string& path) {
    std::istringstream lines(readWholeFile(path));
    WfdbHeader header;
    int signalCount = -1;
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        const auto first = line.find_first_not_of(" \t");
        if (first == std::string::npos || line[first] == '#') continue;
        if (signalCount < 0) {
            parseRecordLine(path, line, header, signalCount);
        } else if (static_cast<int>(header.signals.size()) < signalCount) {
            header.signals.push_back(parseSignalLine(path, line));
        }
    }
    if (signalCount < 0) throw InputError(path, "wrong header: no record line");
    if (static_cast<int>(header.signals.size()) != signalCount) {
        throw InputError(path, "wrong header: " + std::to_string(signalCount) +
                                   " signals declared, " + std::to_string(header.signals.size()) +
                                   " described");
    }
    return header;
}

std::string upper(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

std::size_t findSignal(const std::string& path, const WfdbHeader& header, const std::string& name) {
    for (std::size_t i = 0; i < header.signals.size(); ++i) {
        if (upper(header.signals[i].description) == name) return i;
    }
    throw InputError(path, "missing channel: no signal described as " + name);
}

// Samples of one signal, converted to physical units and rounded; missing samples become 0.
std::vector<int> readSignal(const std::string& headerPath, const WfdbHeader& header,
                            std::size_t index) {
    const WfdbSignal& signal = header.signals[index];
    if (signal.format != 16) {
        throw InputError(headerPath, "signal '" + signal.description + "' has format " +
                                         std::to_string(signal.format) +
                                         "; only format 16 is supported");
    }
    std::size_t perFrame = 0, position = 0;
    for (std::size_t i = 0; i < header.signals.size(); ++i) {
        if (header.signals[i].file != signal.file) continue;
        if (i == index) position = perFrame;
        ++perFrame;
    }
    const std::string dataPath = (fs::path(headerPath).parent_path() / signal.file).string();
    const std::string bytes = readWholeFile(dataPath);
    const std::size_t frameBytes = 2 * perFrame;
    const std::size_t offset = static_cast<std::size_t>(std::max(0L, signal.byteOffset));
    const std::size_t available = bytes.size() > offset ? bytes.size() - offset : 0;
    const std::size_t frames =
        header.samples ? static_cast<std::size_t>(*header.samples) : available / frameBytes;
    if (available < frames * frameBytes || (!header.samples && available % frameBytes != 0)) {
        throw InputError(dataPath, "truncated: holds " + std::to_string(available / frameBytes) +
                                       " whole samples, the header announces " +
                                       std::to_string(frames));
    }
    std::vector<int> values(frames);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const std::size_t at = offset + frame * frameBytes + 2 * position;
        const auto raw = static_cast<std::int16_t>(static_cast<unsigned char>(bytes[at]) |
                                                   static_cast<unsigned char>(bytes[at + 1]) << 8);
        values[frame] =
            raw == kInvalidSample ? 0 : roundToInt((raw - signal.baseline) / signal.gain);
    }
    return values;
}

}  // namespace

bool isWfdbRecordLine(const std::string& line) {
    const std::vector<std::string> words = tokens(line);
    double count = 0.0;
    return words.size() >= 2 && isSignalCount(words[1], count);
}

Recording readWfdb(const std::string& headerPath) {
    const WfdbHeader header = parseHeader(headerPath);
    if (header.frequency != std::floor(header.frequency) || header.frequency > 1e6) {
        throw InputError(headerPath, "sampling frequency " + std::to_string(header.frequency) +
                                         " Hz is not a whole number of samples per second");
    }
    const std::size_t fhrIndex = findSignal(headerPath, header, "FHR");
    const std::size_t ucIndex = findSignal(headerPath, header, "UC");
    Recording recording;
    recording.rate = static_cast<int>(header.frequency);
    recording.startTime = header.startTime;
    recording.fhr = readSignal(headerPath, header, fhrIndex);
    recording.uc = readSignal(headerPath, header, ucIndex);
    if (recording.fhr.empty()) throw InputError(headerPath, "no samples");
    if (recording.uc.size() != recording.fhr.size()) {
        throw InputError(headerPath, "the FHR and UC signals differ in length");
    }
    recording.fm.assign(recording.fhr.size(), 0);  // CTG records carry no movement channel
    return recording;
}

}  // namespace ctgio
