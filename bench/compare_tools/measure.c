// Runs one command and measures it from outside, without a shell or an interpreter in the way.
//
//     measure OUTPUT COMMAND...     standard output into the file OUTPUT
//     measure - COMMAND...          standard output into a pipe that is read at once
//
// Prints: wall time in microseconds, microseconds to the first byte (only with "-", else 0), peak resident memory in
// KiB, exit code.
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

static int64_t now(void) {
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return t.tv_sec * 1000000ll + t.tv_nsec / 1000;
}

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    const int piped = !strcmp(argv[1], "-");
    int pipeEnds[2] = {-1, -1};
    int output = -1;
    if (piped ? pipe(pipeEnds) : (output = open(argv[1], O_WRONLY | O_CREAT | O_TRUNC, 0666)) < 0) return 2;
    if (piped) output = pipeEnds[1];
    const int64_t start = now();
    const pid_t child = fork();
    if (child == 0) {
        dup2(output, 1);
        close(output);
        if (piped) close(pipeEnds[0]);
        execvp(argv[2], argv + 2);
        _exit(127);
    }
    close(output);
    int64_t first = 0;
    if (piped) {
        static char buffer[1 << 16];
        ssize_t got;
        while ((got = read(pipeEnds[0], buffer, sizeof buffer)) > 0 || (got < 0 && errno == EINTR)) {
            if (!first) first = now() - start;
        }
    }
    int status = 0;
    struct rusage usage;
    wait4(child, &status, 0, &usage);
    printf("%lld %lld %ld %d\n", (long long)(now() - start), (long long)first, usage.ru_maxrss,
           WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
    return 0;
}
