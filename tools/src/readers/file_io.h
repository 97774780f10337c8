// Whole-file input shared by the readers.
#pragma once

#include <string>

namespace ctgtool {

// The file's bytes; throws InputError naming the file when it cannot be read.
std::string readWholeFile(const std::string& path);

}  // namespace ctgtool
