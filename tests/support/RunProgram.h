/** Programs as a person calls them. */
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "bench/ServerProcess.h"

/** Waits for the process's end: the lines it printed, "exit N" behind them. */
inline std::vector<std::string> outputOf(bench::ServerProcess& process) {
    const auto ending = process.wait(bench::within(std::chrono::seconds(60)));
    std::vector<std::string> texts;
    for (const bench::ServerProcess::Line& line : process.lines()) {
        texts.push_back(line.text);
    }
    texts.push_back("exit " + std::to_string(ending ? ending->status.value_or(-1) : -1));
    return texts;
}

inline std::vector<std::string> runProgram(const char* program,
                                           std::vector<std::string> arguments) {
    bench::ServerProcess process({program, std::move(arguments), {}});
    return outputOf(process);
}
