// Whole-file input shared by the readers.
#pragma once

#include <cstddef>
#include <string>

namespace ctgio {

// The file's bytes, at most `limit` of them; throws InputError naming the file
// when it cannot be read (CTGIO_ERROR_NOT_FOUND when it does not exist).
std::string readWholeFile(const std::string& path, std::size_t limit = std::string::npos);

}  // namespace ctgio
