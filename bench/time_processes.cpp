// Runs processes one after the other and tells what they took together.
//
//   time_processes < commands
//
// A line is a command, its words between tabs; what it prints is thrown away. Prints seconds by
// the clock, seconds of all processors, the peak memory of the largest process in kilobytes, and
// how many processes failed. A process is measured from here because it is counted with the memory
// of the one that started it until it is itself.

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

extern char **environ;

namespace {

using Command = std::vector<std::string>;

std::vector<Command> ReadCommands() {
    std::vector<Command> commands;
    for (std::string line; std::getline(std::cin, line);) {
        Command command;
        size_t begin = 0;
        for (size_t end = 0; end != std::string::npos; begin = end + 1) {
            end = line.find('\t', begin);
            command.push_back(line.substr(begin, end - begin));
        }
        commands.push_back(std::move(command));
    }
    return commands;
}

struct Sum {
    double processors = 0;
    long peakKilobytes = 0;
    int failed = 0;
};

double SecondsOf(const timeval &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

void Run(Command &command, const posix_spawn_file_actions_t &actions, Sum &sum) {
    std::vector<char *> words;
    for (std::string &word : command) words.push_back(word.data());
    words.push_back(nullptr);
    pid_t child = 0;
    int status = 0;
    rusage usage{};
    const bool ended =
        posix_spawnp(&child, words[0], &actions, nullptr, words.data(), environ) == 0 &&
        wait4(child, &status, 0, &usage) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (!ended) ++sum.failed;
    sum.processors += SecondsOf(usage.ru_utime) + SecondsOf(usage.ru_stime);
    sum.peakKilobytes = std::max(sum.peakKilobytes, usage.ru_maxrss);
}

} // namespace

int main() {
    std::vector<Command> commands = ReadCommands();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int descriptor = 0; descriptor < 3; ++descriptor) {
        posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_RDWR, 0);
    }
    Sum sum;
    const auto start = std::chrono::steady_clock::now();
    for (Command &command : commands) Run(command, actions, sum);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    std::printf("%.6f %.6f %ld %d\n", seconds.count(), sum.processors, sum.peakKilobytes,
                sum.failed);
    posix_spawn_file_actions_destroy(&actions);
    return 0;
}
