/* Loaded into the installer on the board (LD_PRELOAD): after each rename and link
 * and around each sync and syncfs it writes a line to the console ("board: renamed PATH",
 * "board: sync begins", "board: syncfs done", ...), so that the board driver can cut
 * the power at a chosen point of an installation: after the n-th renamed file,
 * during a flush.
 * The calls themselves are passed on unchanged. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

static void mark(const char* what, const char* path)
{
    static int console = -1;
    if (console < 0)
        console = open("/dev/console", O_WRONLY | O_CLOEXEC);
    char line[512];
    int length = snprintf(line, sizeof line, "board: %s %s\n", what, path);
    if (console >= 0 && length > 0 && length < (int)sizeof line && write(console, line, length) != length)
        perror("markers: write");
}

int rename(const char* from, const char* to)
{
    static int (*real)(const char*, const char*);
    if (!real)
        real = (int (*)(const char*, const char*))dlsym(RTLD_NEXT, "rename");
    int result = real(from, to);
    if (result == 0)
        mark("renamed", to);
    return result;
}

/* A settings file written for the first time is a nameless file linked into place
 * (QSaveFile): "board: linked PATH". */
int linkat(int fromDir, const char* from, int toDir, const char* to, int flags)
{
    static int (*real)(int, const char*, int, const char*, int);
    if (!real)
        real = (int (*)(int, const char*, int, const char*, int))dlsym(RTLD_NEXT, "linkat");
    int result = real(fromDir, from, toDir, to, flags);
    if (result == 0)
        mark("linked", to);
    return result;
}

void sync(void)
{
    static void (*real)(void);
    if (!real)
        real = (void (*)(void))dlsym(RTLD_NEXT, "sync");
    mark("sync", "begins");
    real();
    mark("sync", "done");
}

/* The installer flushes each file system it installed to with syncfs: "board: syncfs
 * begins" and "board: syncfs done" around each call. */
int syncfs(int fd)
{
    static int (*real)(int);
    if (!real)
        real = (int (*)(int))dlsym(RTLD_NEXT, "syncfs");
    mark("syncfs", "begins");
    int result = real(fd);
    mark("syncfs", "done");
    return result;
}
