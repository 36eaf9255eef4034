// SPDX-License-Identifier: MIT
// How long does a process take that loads the library and ends? Measured beside one that doesn't,
// by the processor time of each.
#include <benchmark/benchmark.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <ctime>
#include <string>

namespace {

/// The processor time of a child that has ended, in seconds. It is exact, unlike the one that
/// `wait4` tells, which some systems count in ticks.
double processor_time(pid_t process) {
    siginfo_t ended{};
    clockid_t clock{};
    timespec time{};
    if (waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOWAIT) != 0 ||
        clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0) {
        return 0;
    }
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void run_process(benchmark::State& state, const std::string& program) {
    for ([[maybe_unused]] auto _ : state) {
        char* arguments[] = {const_cast<char*>(program.c_str()), nullptr};
        pid_t process = 0;
        int status = -1;
        const bool begun =
            posix_spawn(&process, program.c_str(), nullptr, nullptr, arguments, environ) == 0;
        const double time = begun ? processor_time(process) : 0;
        if (!begun || waitpid(process, &status, 0) != process || status != 0 || time == 0) {
            state.SkipWithError("the process can't be run");
            break;
        }
        state.SetIterationTime(time);
    }
}

/// The directory of this program.
std::string own_directory() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    const std::string text(path, length > 0 ? static_cast<std::size_t>(length) : 0);
    return text.substr(0, text.rfind('/') + 1);
}

} // namespace

int main(int argc, char** argv) {
    const std::string directory = own_directory();
    benchmark::RegisterBenchmark("load_library/process/gatecast", run_process,
                                 directory + "gatecast-bench-loads")
        ->UseManualTime();
    benchmark::RegisterBenchmark("load_library/process/empty_process", run_process,
                                 directory + "gatecast-bench-loads-nothing")
        ->UseManualTime();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
