// How the benchmarks measure, and the rows that they hand to bench/run.

#pragma once

#include <malloc.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace bench {

using Work = std::function<void()>;

inline bool isQuick = false;
inline bool countsProcessor = false;

/** Takes the arguments of the program: --quick for a run that only shows that all works, --cpu for
 *  the time of the processors in place of that of the clock, which others disturb. */
inline void Start(int count, char **arguments) {
    for (int i = 1; i < count; ++i) {
        isQuick = isQuick || std::strcmp(arguments[i], "--quick") == 0;
        countsProcessor = countsProcessor || std::strcmp(arguments[i], "--cpu") == 0;
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
}

/** A number of runs, or the least that gives a figure. */
inline int Runs(int wanted) {
    return isQuick ? 1 : wanted;
}

inline void Check(bool good) {
    if (!good) std::abort();
}

inline double Now() {
    timespec time{};
    clock_gettime(countsProcessor ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

inline double Seconds(const Work &work) {
    const double start = Now();
    work();
    return Now() - start;
}

inline double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

/** Times of several works over the rounds in which they took turns. */
class Times {
  public:
    explicit Times(std::vector<std::vector<double>> seconds) : m_Seconds(std::move(seconds)) {}

    double Of(size_t work) const { return Median(m_Seconds[work]); }

    /** How often a work ran in the time of a peer: the middle of the rounds' own ratios, as what
     *  else the machine does changes from round to round. */
    double Ratio(size_t work, size_t peer) const {
        std::vector<double> ratios;
        for (size_t round = 0; round < m_Seconds[work].size(); ++round) {
            ratios.push_back(m_Seconds[peer][round] / m_Seconds[work][round]);
        }
        return Median(std::move(ratios));
    }

  private:
    std::vector<std::vector<double>> m_Seconds;
};

/** Runs works in turns, each first equally often, after a round that does not count. */
inline Times Compare(int rounds, const std::vector<Work> &works) {
    std::vector<std::vector<double>> seconds(works.size());
    for (const Work &work : works) work();
    for (int round = 0; round < Runs(rounds); ++round) {
        for (size_t i = 0; i < works.size(); ++i) {
            const size_t which = (i + static_cast<size_t>(round)) % works.size();
            seconds[which].push_back(Seconds(works[which]));
        }
    }
    return Times(std::move(seconds));
}

/** A line "name: kilobytes" of what the system tells about this process. */
inline long StatusKilobytes(const char *name) {
    FILE *file = std::fopen("/proc/self/status", "r");
    if (file == nullptr) return 0;
    char line[256];
    long value = 0;
    while (std::fgets(line, sizeof line, file) != nullptr) {
        if (std::strncmp(line, name, std::strlen(name)) == 0) {
            value = std::strtol(line + std::strlen(name) + 1, nullptr, 10);
        }
    }
    std::fclose(file);
    return value;
}

/** By how many megabytes the memory of the process grows at most while work runs. */
inline double PeakMegabytes(const Work &work) {
    malloc_trim(0); // what is free but not given back would not count
    FILE *file = std::fopen("/proc/self/clear_refs", "w");
    if (file != nullptr) {
        std::fputs("5", file); // the peak becomes what is there now
        std::fclose(file);
    }
    const long before = StatusKilobytes("VmRSS");
    work();
    return static_cast<double>(std::max(0l, StatusKilobytes("VmHWM") - before)) / 1024;
}

inline std::string Text(const char *format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

inline std::string Duration(double seconds) {
    if (seconds < 1e-6) return Text("%.0f ns", seconds * 1e9);
    if (seconds < 1e-3) return Text("%.1f us", seconds * 1e6);
    return seconds < 1 ? Text("%.2f ms", seconds * 1e3) : Text("%.2f s", seconds);
}

inline std::string Rate(double megabytes, double seconds) {
    return Text("%.0f MB/s", megabytes / seconds);
}

inline std::string Megabytes(double megabytes) {
    return Text(megabytes < 10 ? "%.2f MB" : "%.0f MB", megabytes);
}

/** A row of the table. What has no place in it is a dash. */
struct Row {
    std::string operation;
    std::string input;
    std::string ours;
    std::string peer = "-";
    std::string ratio = "-";
    std::string memory = "-";
    std::string wanted = "-";
    bool isMet = true;

    void Print() const {
        std::printf("%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\n", operation.c_str(), input.c_str(),
                    ours.c_str(), peer.c_str(), ratio.c_str(), memory.c_str(), wanted.c_str(),
                    isMet ? "yes" : "no");
    }
};

} // namespace bench
