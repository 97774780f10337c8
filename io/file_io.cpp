#include "file_io.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "readers.h"

namespace ctgio {

std::string readWholeFile(const std::string& path, std::size_t limit) {
    if (std::error_code ignored; std::filesystem::is_directory(path, ignored)) {
        throw InputError(path, "is a directory", CTGIO_ERROR_UNREADABLE);
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        const int cause = errno;
        throw InputError(path, std::string("cannot open: ") + std::strerror(cause),
                         cause == ENOENT ? CTGIO_ERROR_NOT_FOUND : CTGIO_ERROR_UNREADABLE);
    }
    std::string bytes;
    if (limit == std::string::npos) {
        std::ostringstream whole;
        whole << in.rdbuf();
        bytes = whole.str();
    } else {
        bytes.resize(limit);
        in.read(bytes.data(), static_cast<std::streamsize>(limit));
        bytes.resize(static_cast<std::size_t>(in.gcount()));
    }
    if (in.bad()) throw InputError(path, "read error", CTGIO_ERROR_UNREADABLE);
    return bytes;
}

}  // namespace ctgio
