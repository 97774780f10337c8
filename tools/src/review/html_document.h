// What the review pages share: the style sheet and scripts (kept as files in
// review/ and embedded when configuring) and the frame of an HTML document.
#pragma once

#include <ostream>
#include <string>

namespace ctgtool::review {

extern const char* const kStyle;
extern const char* const kPageScript;
extern const char* const kIndexScript;

// <!DOCTYPE html> up to the opening body tag, with the style sheet inline.
// rootAttributes go into the html tag.
void openDocument(std::ostream& out, const std::string& title, const std::string& rootAttributes);

// The script inline, then the closing tags.
void closeDocument(std::ostream& out, const char* script);

}  // namespace ctgtool::review
