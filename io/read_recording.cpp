// The format choice: the extension when the readers know it, else the first
// bytes of the file.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <sstream>

#include "file_io.h"
#include "readers.h"

namespace ctgio {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kSniffBytes = 8192;

std::string lowerExtension(const std::string& path) {
    std::string extension = fs::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

ctgio_format formatOfExtension(const std::string& extension) {
    if (extension == ".csv") return CTGIO_FORMAT_CSV;
    if (extension == ".fhr") return CTGIO_FORMAT_FHRMA;
    if (extension == ".hea" || extension == ".dat") return CTGIO_FORMAT_WFDB;
    return CTGIO_FORMAT_UNKNOWN;
}

// Bytes in the UTF-8 sequence that `lead` starts; 0 when no sequence starts so.
int sequenceLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return 2;
    if ((lead & 0xF0) == 0xE0) return 3;
    if (lead >= 0xF0 && lead <= 0xF4) return 4;
    return 0;
}

// True for UTF-8 text; a sequence cut by the end counts as text when the
// bytes are only the head of a longer file.
bool isUtf8(const std::string& bytes, bool cutShort) {
    for (std::size_t i = 0; i < bytes.size();) {
        const int length = sequenceLength(static_cast<unsigned char>(bytes[i]));
        if (length == 0) return false;
        const std::size_t end = std::min(bytes.size(), i + length);
        for (std::size_t k = i + 1; k < end; ++k) {
            if ((static_cast<unsigned char>(bytes[k]) & 0xC0) != 0x80) return false;
        }
        if (i + length > bytes.size()) return cutShort;
        i = end;
    }
    return true;
}

// The kind of text the first meaningful line announces.
ctgio_format formatOfFirstLine(std::string head, bool cutShort) {
    if (head.compare(0, 3, "\xEF\xBB\xBF") == 0) head.erase(0, 3);      // byte-order mark
    if (cutShort) head.erase(std::min(head.size(), head.rfind('\n')));  // a line may be cut
    std::istringstream lines(head);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        const auto first = line.find_first_not_of(" \t");
        if (first == std::string::npos) continue;
        if (namesFhrColumn(line)) return CTGIO_FORMAT_CSV;
        if (line[first] == '#') continue;
        return isWfdbRecordLine(line) ? CTGIO_FORMAT_WFDB : CTGIO_FORMAT_UNKNOWN;
    }
    return CTGIO_FORMAT_UNKNOWN;
}

ctgio_format formatOfContent(const std::string& path) {
    const std::string head = readWholeFile(path, kSniffBytes);
    const bool cutShort = head.size() == kSniffBytes;
    if (head.find('\0') != std::string::npos) return CTGIO_FORMAT_FHRMA;
    if (const ctgio_format text = formatOfFirstLine(head, cutShort); text != CTGIO_FORMAT_UNKNOWN) {
        return text;
    }
    return head.empty() || isUtf8(head, cutShort) ? CTGIO_FORMAT_UNKNOWN : CTGIO_FORMAT_FHRMA;
}

}  // namespace

int roundToInt(double value) {
    if (std::isnan(value)) return 0;
    return static_cast<int>(std::lround(std::clamp(value, -1e9, 1e9)));
}

ctgio_format detectFormat(const std::string& path) {
    const ctgio_format byExtension = formatOfExtension(lowerExtension(path));
    return byExtension != CTGIO_FORMAT_UNKNOWN ? byExtension : formatOfContent(path);
}

Recording readRecording(const std::string& path, const ctgio_options& options) {
    const ctgio_format format = detectFormat(path);
    // A .dat signal file is read through the header beside it.
    const std::string source =
        lowerExtension(path) == ".dat" ? fs::path(path).replace_extension(".hea").string() : path;
    Recording recording;
    switch (format) {
        case CTGIO_FORMAT_CSV:
            recording = readCsv(source, options.csv_rate);
            break;
        case CTGIO_FORMAT_FHRMA:
            recording = readFhrma(source, static_cast<ctgio_channel>(options.fhr_channel));
            break;
        case CTGIO_FORMAT_WFDB:
            recording = readWfdb(source);
            break;
        default:
            throw InputError(path,
                             "unknown format: neither a CSV file with an fhr column, a WFDB "
                             "header nor an FHRMA .fhr file");
    }
    recording.format = format;
    recording.path = source;
    recording.name = fs::path(source).stem().string();
    return recording;
}

}  // namespace ctgio
