// Runs every test program inside a fresh temporary working directory, so the
// daily log the library writes never lands in the source or build tree.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    namespace fs = std::filesystem;
    std::string pattern = (fs::temp_directory_path() / "ctgscore-test-XXXXXX").string();
    char* dir = mkdtemp(pattern.data());
    if (dir == nullptr || chdir(dir) != 0) {
        return 2;
    }
    const int status = RUN_ALL_TESTS();
    if (chdir("/") == 0) {
        std::error_code ignored;
        fs::remove_all(dir, ignored);
    }
    return status;
}
