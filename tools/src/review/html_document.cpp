#include "review/html_document.h"

#include "output/text_format.h"

namespace ctgtool::review {

void openDocument(std::ostream& out, const std::string& title, const std::string& rootAttributes) {
    out << "<!DOCTYPE html>\n<html lang=\"en\"" << rootAttributes << ">\n<head>\n"
        << "<meta charset=\"utf-8\">\n"
        << "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        << "<title>" << escapeXml(title) << "</title>\n"
        << "<style>" << kStyle << "</style>\n</head>\n<body>\n";
}

void closeDocument(std::ostream& out, const char* script) {
    out << "<script>" << script << "</script>\n</body>\n</html>\n";
}

}  // namespace ctgtool::review
