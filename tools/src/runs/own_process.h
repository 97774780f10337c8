// Work run in a process of its own.  The library's state is process-wide and
// its contraction filter carries state from one call to the next, so each
// recording is analyzed in a fresh process: its result never depends on the
// recordings before it, and a crash costs only that recording.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <utility>

namespace ctgtool {

// The text the work returned, or why there is none.
struct ProcessOutcome {
    bool ok = false;
    std::string text;     // when ok
    std::string failure;  // when not: the work's exception message, or how the process ended
};

// Processes started under keys of the caller's choosing, waited for in the
// order they end.  The work runs in a forked copy of this process; what it
// returns travels back through an unnamed scratch file, however long.
class OwnProcesses {
public:
    OwnProcesses() = default;
    ~OwnProcesses();  // kills and reaps the processes still running
    OwnProcesses(const OwnProcesses&) = delete;
    OwnProcesses& operator=(const OwnProcesses&) = delete;

    // Starts the work under the key.  When no process can be started, the key
    // ends at once with the failure.
    void start(std::size_t key, const std::function<std::string()>& work);

    // Processes started and not yet handed back by waitForOne.
    std::size_t running() const { return running_.size() + ended_.size(); }

    // Waits until one of them ends; its key and outcome.  Call only while running() > 0.
    std::pair<std::size_t, ProcessOutcome> waitForOne();

private:
    struct Job {
        std::size_t key;
        int scratch;  // file descriptor of the scratch file
    };
    std::map<pid_t, Job> running_;
    std::map<std::size_t, ProcessOutcome> ended_;  // could not start
};

// Runs one piece of work in a process of its own and waits for it.
ProcessOutcome runInOwnProcess(const std::function<std::string()>& work);

}  // namespace ctgtool
