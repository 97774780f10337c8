#include "cli/reporter.h"

#include <iostream>
#include <stdexcept>

namespace ctgtool {

void tell(const std::string& message) { std::cerr << "ctgscore: " << message << '\n'; }

int runReporting(const std::function<int()>& command) {
    try {
        return command();
    } catch (const std::invalid_argument& error) {
        tell(error.what());
        return kExitUsage;
    } catch (const std::exception& error) {
        tell(error.what());
        return kExitInputError;
    }
}

}  // namespace ctgtool
