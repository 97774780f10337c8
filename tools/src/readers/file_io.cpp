#include "readers/file_io.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "recording.h"

namespace ctgtool {

std::string readWholeFile(const std::string& path) {
    if (std::filesystem::is_directory(path)) throw InputError(path, "is a directory");
    std::ifstream in(path, std::ios::binary);
    if (!in) throw InputError(path, std::string("cannot open: ") + std::strerror(errno));
    std::ostringstream bytes;
    bytes << in.rdbuf();
    if (in.bad()) throw InputError(path, "read error");
    return bytes.str();
}

}  // namespace ctgtool
