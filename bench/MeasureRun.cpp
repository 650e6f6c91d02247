// Runs one program to its end and reports its wall time and peak memory, for whole-program
// measurements such as the self-test on a million messages. The program's standard output is
// discarded (a report printed to a terminal would be timed too); its standard error is kept.
//
//   MeasureRun <program> [arguments...]
// prints "wall_seconds <s>", "cpu_seconds <s>" (user and system time of all its threads),
// "peak_rss_kib <KiB>" and "exit_code <n>", one per line, and exits with 0 when the program ran
// and exited with 0. On a busy machine wall time grows while CPU time stays, so both are shown.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <vector>

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: MeasureRun <program> [arguments...]\n");
        return 2;
    }
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child < 0) {
        std::perror("fork");
        return 1;
    }
    if (child == 0) {
        const int devNull = open("/dev/null", O_WRONLY);
        if (devNull >= 0)
            dup2(devNull, STDOUT_FILENO);
        execvp(argv[1], argv + 1);
        std::perror(argv[1]);
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) < 0) {
        std::perror("wait4");
        return 1;
    }
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    const int exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    // ru_maxrss is in KiB on Linux. The child starts as a copy of this small process, and exec
    // gives it a fresh address space, so the figure is the measured program's own.
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    };
    std::printf("wall_seconds %.3f\ncpu_seconds %.3f\npeak_rss_kib %ld\nexit_code %d\n",
                wall.count(), seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_maxrss,
                exitCode);
    return exitCode == 0 ? 0 : 1;
}
