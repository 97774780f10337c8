// Work in a process of its own: the text comes back however long, a crashing
// or failing process gives one worded failure, and a hanging one holds up no
// other.
#include "runs/own_process.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

using namespace ctgtool;

TEST(OwnProcess, TextOrOneWordedFailure) {
    struct Case {
        const char* what;
        std::function<std::string()> work;
        ProcessOutcome expected;
    };
    const std::string long_(300000, 'x');  // more than a pipe holds
    const Case cases[] = {
        {"text", [&long_] { return long_; }, {true, long_, ""}},
        {"empty text", [] { return std::string(); }, {true, "", ""}},
        {"exception",
         []() -> std::string { throw std::runtime_error("no such file"); },
         {false, "", "no such file"}},
        {"crash",
         []() -> std::string { std::abort(); },
         {false, "", "the analysis process was killed by signal 6"}},
        {"exit",
         []() -> std::string { _exit(7); },
         {false, "", "the analysis process ended with status 7"}},
    };
    for (const Case& c : cases) {
        const ProcessOutcome outcome = runInOwnProcess(c.work);
        EXPECT_EQ(outcome.ok, c.expected.ok) << c.what;
        EXPECT_EQ(outcome.text, c.expected.text) << c.what;
        EXPECT_EQ(outcome.failure, c.expected.failure) << c.what;
    }
}

// A killed process's wording is the crash case's above.
TEST(OwnProcess, AHangingProcessHoldsUpNoOther) {
    OwnProcesses processes;  // kills the hanging one when it goes
    processes.start(1, []() -> std::string {
        pause();  // until killed
        return "never";
    });
    processes.start(2, [] { return std::string("quick"); });
    const auto [quickKey, quick] = processes.waitForOne();
    EXPECT_EQ(quickKey, 2u);
    EXPECT_EQ(quick.text, "quick");
    EXPECT_EQ(processes.running(), 1u);
}
