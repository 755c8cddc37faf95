/* Preloaded into every ARM program that runs under the user-mode emulator: lets it start other
 * programs, which emulator and kernel together would refuse. Knows nothing of the tests. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <elf.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

static const char Emulator[] = "/usr/bin/qemu-arm-static";

typedef int ExecFunction(const char*, char* const[], char* const[]);
typedef int KillFunction(pid_t, int);
typedef long SystemCall(long, ...);

static int isArmProgram(const char* path)
{
    Elf32_Ehdr header;
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    const ssize_t got = read(file, &header, sizeof header);
    close(file);
    return got == (ssize_t)sizeof header && memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 &&
           header.e_machine == EM_ARM;
}

static size_t countOf(char* const items[])
{
    size_t count = 0;
    while (items[count])
        ++count;
    return count;
}

/* "emulator -0 argument0 path arguments...". Not given back: the process either becomes another
 * program or gives up. */
static char** emulated(const char* path, char* const arguments[])
{
    static const size_t ExtraItems = 5;
    const size_t count = countOf(arguments);
    char** line = calloc(count + ExtraItems, sizeof *line);
    size_t used = 0;
    line[used++] = (char*)Emulator;
    line[used++] = "-0";
    line[used++] = count ? arguments[0] : (char*)path;
    line[used++] = (char*)path;
    for (size_t i = 1; i < count; ++i)
        line[used++] = arguments[i];
    return line;
}

/* A program of this machine can't load this library, and would say so. */
static char** withoutPreload(char* const environment[])
{
    static const char Preload[] = "LD_PRELOAD=";
    char** kept = calloc(countOf(environment) + 1, sizeof *kept);
    for (size_t i = 0, used = 0; environment[i]; ++i)
        if (strncmp(environment[i], Preload, strlen(Preload)) != 0)
            kept[used++] = environment[i];
    return kept;
}

int execve(const char* path, char* const arguments[], char* const environment[])
{
    ExecFunction* const real = (ExecFunction*)dlsym(RTLD_NEXT, "execve");
    if (isArmProgram(path))
        return real(Emulator, emulated(path, arguments), environment);
    return real(path, arguments, withoutPreload(environment));
}

int execv(const char* path, char* const arguments[])
{
    return execve(path, arguments, environ);
}

/* The search path leads to programs of this machine only. */
int execvp(const char* file, char* const arguments[])
{
    if (strchr(file, '/'))
        return execve(file, arguments, environ);
    return execvpe(file, arguments, withoutPreload(environ));
}

/* The kernel knows process descriptors, which the emulator can't make: QProcess asks for the
 * former, and falls back to what works when the answer is no. */
long syscall(long number, ...)
{
    SystemCall* const real = (SystemCall*)dlsym(RTLD_NEXT, "syscall");
    long argument[6];
    va_list arguments;
    va_start(arguments, number);
    for (size_t i = 0; i < sizeof argument / sizeof *argument; ++i)
        argument[i] = va_arg(arguments, long);
    va_end(arguments);

    if (number == SYS_waitid && argument[0] == P_PIDFD) {
        errno = EINVAL;
        return -1;
    }
    return real(number, argument[0], argument[1], argument[2], argument[3], argument[4],
                argument[5]);
}

/* Process -1 means every process of the user. A test never wants that; a start that failed under
 * the emulator and is then cleaned up does. */
int kill(pid_t process, int signalNumber)
{
    KillFunction* const real = (KillFunction*)dlsym(RTLD_NEXT, "kill");
    if (process == -1) {
        errno = EPERM;
        return -1;
    }
    return real(process, signalNumber);
}
