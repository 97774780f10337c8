// CSV recordings: a header line naming the columns, then one line per sample.
#include <cmath>
#include <cstdlib>
#include <optional>
#include <sstream>

#include "file_io.h"
#include "readers.h"

namespace ctgio {

namespace {

std::string trim(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos) return "";
    const auto last = text.find_last_not_of(" \t\r");
    return text.substr(first, last - first + 1);
}

std::vector<std::string> splitFields(std::string line) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    std::vector<std::string> fields;
    std::string field;
    std::istringstream in(line);
    while (std::getline(in, field, ',')) fields.push_back(trim(field));
    if (!line.empty() && line.back() == ',') fields.push_back("");  // getline drops it
    return fields;
}

std::string lower(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

struct Columns {
    std::size_t count = 0;
    std::size_t fhr = 0, uc = 0;
    std::optional<std::size_t> fm;
};

Columns findColumns(const std::string& path, const std::string& header) {
    const std::vector<std::string> names = splitFields(header);
    std::optional<std::size_t> fhr, uc, fm;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string name = lower(names[i]);
        std::optional<std::size_t>* slot = name == "fhr"  ? &fhr
                                           : name == "uc" ? &uc
                                           : name == "fm" ? &fm
                                                          : nullptr;
        if (slot == nullptr) continue;
        if (slot->has_value()) throw InputError(path, "column '" + name + "' appears twice");
        *slot = i;
    }
    for (const auto& [column, name] : {std::pair{fhr, "fhr"}, std::pair{uc, "uc"}}) {
        if (!column) {
            throw InputError(path, std::string("missing column '") + name + "' in header line '" +
                                       trim(header) + "'");
        }
    }
    return Columns{names.size(), *fhr, *uc, fm};
}

int parseCell(const std::string& path, int lineNumber, const char* column,
              const std::string& cell) {
    const auto problem = [&](const std::string& what) {
        return InputError(
            path, "line " + std::to_string(lineNumber) + ", column '" + column + "': " + what);
    };
    if (cell.empty()) throw problem("empty cell");
    const std::string shown = cell.size() > 40 ? cell.substr(0, 40) + "..." : cell;
    char* end = nullptr;
    const double value = std::strtod(cell.c_str(), &end);
    if (end != cell.c_str() + cell.size() || !std::isfinite(value)) {
        throw problem("'" + shown + "' is not a number");
    }
    if (std::fabs(value) > 1e6) throw problem("'" + shown + "' is out of range");
    return roundToInt(value);
}

}  // namespace

bool namesFhrColumn(const std::string& line) {
    for (const std::string& name : splitFields(line)) {
        if (lower(name) == "fhr") return true;
    }
    return false;
}

Recording readCsv(const std::string& path, int rate) {
    std::string text = readWholeFile(path);
    if (text.compare(0, 3, "\xEF\xBB\xBF") == 0) text.erase(0, 3);  // byte-order mark
    std::istringstream lines(text);
    std::string line;
    int lineNumber = 0;
    bool haveHeader = false;
    while (!haveHeader && std::getline(lines, line)) {
        ++lineNumber;
        haveHeader = !trim(line).empty();
    }
    if (!haveHeader) throw InputError(path, "file is empty");
    const Columns columns = findColumns(path, line);

    Recording recording;
    recording.rate = rate;
    while (std::getline(lines, line)) {
        ++lineNumber;
        if (trim(line).empty()) continue;
        const std::vector<std::string> fields = splitFields(line);
        if (fields.size() != columns.count) {
            throw InputError(path, "line " + std::to_string(lineNumber) + ": " +
                                       std::to_string(fields.size()) + " fields, the header has " +
                                       std::to_string(columns.count));
        }
        recording.fhr.push_back(parseCell(path, lineNumber, "fhr", fields[columns.fhr]));
        recording.uc.push_back(parseCell(path, lineNumber, "uc", fields[columns.uc]));
        recording.fm.push_back(columns.fm ? parseCell(path, lineNumber, "fm", fields[*columns.fm])
                                          : 0);
    }
    if (recording.fhr.empty()) throw InputError(path, "no samples after the header line");
    return recording;
}

}  // namespace ctgio
