#include "markup.h"

#include <cstdio>

namespace ctgtool {

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

std::string fixedDecimals(double value, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

}  // namespace ctgtool
