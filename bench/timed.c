/* SPDX-License-Identifier: MIT */
/*
 * Runs a command with its output thrown away and prints what it took: nanoseconds of wall time,
 * microseconds of processor time (user and system), and the peak of its resident memory in KiB. It
 * is a small program, since a child's peak begins with that of the process that started it.
 * Usage: timed COMMAND [ARGUMENT]...
 */
#define _DEFAULT_SOURCE
#include <fcntl.h>
#include <inttypes.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

static int64_t now(void) {
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return (int64_t)time.tv_sec * 1000000000 + time.tv_nsec;
}

static int64_t microseconds(struct timeval time) {
    return (int64_t)time.tv_sec * 1000000 + time.tv_usec;
}

static void run(char **command) {
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
    execvp(command[0], command);
    perror(command[0]);
    _exit(127);
}

int main(int argc, char **argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: %s COMMAND [ARGUMENT]...\n", argv[0]);
        return 2;
    }
    const int64_t began = now();
    const pid_t child = vfork();
    if (child == 0) {
        run(argv + 1);
    }
    int status = 0;
    struct rusage usage;
    if (child < 0 || wait4(child, &status, 0, &usage) != child) {
        perror("bench: cannot run a command");
        return 1;
    }
    printf("%" PRId64 " %" PRId64 " %ld\n", now() - began,
           microseconds(usage.ru_utime) + microseconds(usage.ru_stime), usage.ru_maxrss);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
