// Work in a process of its own: the text comes back however long, and a
// crashing, failing or hanging process gives one worded failure without
// holding up the others.
#include "runs/own_process.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <thread>

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

TEST(OwnProcess, AHangingProcessHoldsUpNoOtherAndEndsKilled) {
    OwnProcesses processes;
    processes.start(1, []() -> std::string {
        std::ofstream("hanging.pid") << getpid() << '\n';
        pause();  // until killed
        return "never";
    });
    processes.start(2, [] { return std::string("quick"); });
    const auto [quickKey, quick] = processes.waitForOne();
    EXPECT_EQ(quickKey, 2u);
    EXPECT_EQ(quick.text, "quick");
    ASSERT_EQ(processes.running(), 1u);

    pid_t hanging = 0;
    for (int tries = 0; hanging == 0 && tries < 5000; ++tries) {
        std::ifstream("hanging.pid") >> hanging;
        if (hanging == 0) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    ASSERT_GT(hanging, 0);
    kill(hanging, SIGKILL);
    const auto [hangingKey, killed] = processes.waitForOne();
    EXPECT_EQ(hangingKey, 1u);
    EXPECT_FALSE(killed.ok);
    EXPECT_EQ(killed.failure, "the analysis process was killed by signal 9");
    std::remove("hanging.pid");
}
