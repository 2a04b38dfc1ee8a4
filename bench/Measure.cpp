#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

// Runs whole programs in turn and measures them. Reads a plan from standard input:
//   {"rounds": 20, "cases": [{"name": "cold", "drop": "/folder",
//                             "steps": [{"argv": ["/bin/true"], "output": "/tmp/out"}]}]}
// Every round runs each case once, in an order of its own; the steps of a case one after another,
// their output on files; `drop` is emptied before the time starts. One more round before the first
// is not counted. Writes for each case the runs' wall time in nanoseconds and the largest resident
// size of their processes in KiB.

namespace {

using Clock = std::chrono::steady_clock;
using nlohmann::json;

struct Step {
    std::vector<std::string> words;
    std::string output;
};

struct Case {
    std::string name;
    std::string drop;  ///< empty: nothing
    std::vector<Step> steps;
    json nanoseconds = json::array();
    json peaks = json::array();
};

Case ReadCase(const json& text) {
    Case one;
    one.name = text.at("name");
    one.drop = text.value("drop", "");
    for (const json& step : text.at("steps")) {
        one.steps.push_back({step.at("argv"), step.value("output", "/dev/null")});
    }
    return one;
}

void Empty(const std::string& folder) {
    if (!std::filesystem::exists(folder)) {
        return;
    }
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::filesystem::remove_all(entry.path());
    }
}

pid_t Start(const Step& step) {
    std::vector<char*> words;
    for (const std::string& word : step.words) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, step.output.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t process = -1;
    const int error = posix_spawnp(&process, words[0], &actions, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error(step.words[0] + ": " + std::strerror(error));
    }
    return process;
}

/// The largest resident size among the step's processes.
long Run(const Step& step) {
    const pid_t process = Start(step);
    int status = 0;
    rusage usage = {};
    while (wait4(process, &status, 0, &usage) < 0) {
        if (errno != EINTR) {
            throw std::runtime_error("wait4: " + std::string(std::strerror(errno)));
        }
    }
    if (status != 0) {
        std::string line;
        for (const std::string& word : step.words) {
            line += word + " ";
        }
        throw std::runtime_error(line + "ended with status " + std::to_string(status) +
                                 "; what is measured must succeed");
    }
    return usage.ru_maxrss;
}

void RunCase(Case& one, bool counted) {
    Empty(one.drop);
    long peak = 0;
    const auto begun = Clock::now();
    for (const Step& step : one.steps) {
        peak = std::max(peak, Run(step));
    }
    const std::chrono::nanoseconds took = Clock::now() - begun;
    if (counted) {
        one.nanoseconds.push_back(took.count());
        one.peaks.push_back(peak);
    }
}

/// What a case leaves behind in the kernel may cost the next one something, so none always follows
/// the same one. The orders are random, and the same each time.
void RunRound(std::vector<Case>& cases, std::mt19937& random, bool counted) {
    std::vector<std::size_t> order(cases.size());
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), random);
    for (const std::size_t index : order) {
        RunCase(cases[index], counted);
    }
}

json Execute(const json& plan) {
    std::vector<Case> cases;
    for (const json& text : plan.at("cases")) {
        cases.push_back(ReadCase(text));
    }
    std::mt19937 random;
    RunRound(cases, random, false);
    const std::size_t rounds = plan.at("rounds");
    for (std::size_t round = 0; round < rounds; ++round) {
        RunRound(cases, random, true);
    }
    json results = json::object();
    for (const Case& one : cases) {
        results[one.name] = {{"ns", one.nanoseconds}, {"peak_kib", one.peaks}};
    }
    return results;
}

}  // namespace

int main() {
    try {
        std::cout << Execute(json::parse(std::cin)).dump() << '\n';
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "bench_measure: " << error.what() << '\n';
        return 1;
    }
}
