#include "output/text_format.h"

#include <cctype>
#include <cmath>
#include <cstdio>

namespace ctgtool {

std::string fixed(double value, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

std::string clockTime(double seconds) {
    const long whole = std::lround(seconds);
    char text[32];
    std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    return text;
}

std::string lowerCase(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string escapeXml(const std::string& text) {
    std::string escaped;
    for (char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
        }
    }
    return escaped;
}

std::string dumpJson(const nlohmann::ordered_json& doc, int indent) {
    return doc.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

std::string text(const nlohmann::ordered_json& value) { return value.get<std::string>(); }

}  // namespace ctgtool
