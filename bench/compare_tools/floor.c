// The floor: what a search by walking costs on this machine if it does nothing but walk.
//
//     floor name PATTERN TREE    prints the paths whose last component holds PATTERN, case ignored in ASCII
//     floor stat PATTERN TREE    the same with one statx an entry that matched: size, date and path
//
// Two threads share a stack of folders. Each folder is opened relative to its parent, listed by getdents64 into a
// page-aligned buffer of 64 KiB, and its children pushed. Nothing else is read, judged or kept.
#define _GNU_SOURCE
#include <ctype.h>
#include <dirent.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdatomic.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

enum { kBuffer = 64 * 1024, kThreads = 2 };

struct folder {
    struct folder* parent;
    atomic_int users;  // itself, and its children that are not open yet
    int fd;
    size_t length;
    const char* name;  // into path
    char path[];
};

struct entry {
    uint64_t inode;
    int64_t offset;
    uint16_t length;
    uint8_t type;
    char name[];
};

static struct folder** stack;
static size_t stacked, room;
static int working;
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
static pthread_mutex_t printing = PTHREAD_MUTEX_INITIALIZER;
static const char* pattern;
static size_t patternLength;
static int withAttributes;

static void drop(struct folder* folder) {
    while (folder && atomic_fetch_sub(&folder->users, 1) == 1) {
        struct folder* parent = folder->parent;
        if (folder->fd >= 0) close(folder->fd);
        free(folder);
        folder = parent;
    }
}

static struct folder* makeFolder(struct folder* parent, const char* name, size_t nameLength) {
    const size_t before = parent ? parent->length + 1 : 0;
    struct folder* made = malloc(sizeof *made + before + nameLength + 1);
    made->parent = parent;
    made->fd = -1;
    atomic_init(&made->users, 1);
    if (parent) {
        atomic_fetch_add(&parent->users, 1);
        memcpy(made->path, parent->path, parent->length);
        made->path[parent->length] = '/';
    }
    memcpy(made->path + before, name, nameLength + 1);
    made->name = made->path + before;
    made->length = before + nameLength;
    return made;
}

static void push(struct folder** folders, size_t count) {
    pthread_mutex_lock(&lock);
    if (stacked + count > room) {
        room = (stacked + count) * 2;
        stack = realloc(stack, room * sizeof *stack);
    }
    memcpy(stack + stacked, folders, count * sizeof *folders);
    stacked += count;
    pthread_cond_broadcast(&changed);
    pthread_mutex_unlock(&lock);
}

static struct folder* pop(int finishedOne) {
    struct folder* taken = NULL;
    pthread_mutex_lock(&lock);
    working -= finishedOne;
    while (!stacked && working) pthread_cond_wait(&changed, &lock);
    if (stacked) {
        taken = stack[--stacked];
        ++working;
    } else {
        pthread_cond_broadcast(&changed);
    }
    pthread_mutex_unlock(&lock);
    return taken;
}

static int holdsPattern(const char* name, size_t length) {
    unsigned char lowered[256];
    for (size_t i = 0; i < length; ++i) {
        const unsigned char c = (unsigned char)name[i];
        lowered[i] = c >= 'A' && c <= 'Z' ? c + 32 : c;
    }
    return memmem(lowered, length, pattern, patternLength) != NULL;
}

struct output {
    size_t used;
    char bytes[kBuffer];
};

static void flush(struct output* out) {
    pthread_mutex_lock(&printing);
    for (size_t at = 0; at < out->used;) {
        const ssize_t wrote = write(1, out->bytes + at, out->used - at);
        if (wrote < 0) _exit(2);
        at += (size_t)wrote;
    }
    pthread_mutex_unlock(&printing);
    out->used = 0;
}

static size_t printDate(char* to, int64_t seconds) {
    // The day and minute in UTC by hand (Howard Hinnant's civil-from-days): no call of the C library an entry.
    const int64_t days = seconds / 86400;
    const int minute = (int)(seconds % 86400 / 60);
    const int64_t z = days + 719468;
    const int64_t era = z / 146097;
    const unsigned doe = (unsigned)(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    const unsigned day = doy - (153 * mp + 2) / 5 + 1;
    const unsigned month = mp < 10 ? mp + 3 : mp - 9;
    const unsigned year = (unsigned)(yoe + era * 400) + (month <= 2);
    const unsigned parts[] = {year / 100, year % 100, month, day, (unsigned)minute / 60, (unsigned)minute % 60};
    size_t at = 0;
    for (int i = 0; i < 6; ++i) {
        if (i == 2 || i == 3) to[at++] = '-';
        if (i == 4) to[at++] = ' ';
        if (i == 5) to[at++] = ':';
        to[at++] = (char)('0' + parts[i] / 10);
        to[at++] = (char)('0' + parts[i] % 10);
    }
    return at;
}

static void print(struct output* out, const struct folder* folder, const struct entry* entry, size_t nameLength) {
    if (out->used + folder->length + nameLength + 64 > sizeof out->bytes) flush(out);
    char* to = out->bytes + out->used;
    if (withAttributes) {
        struct statx facts;
        if (statx(folder->fd, entry->name, AT_SYMLINK_NOFOLLOW | AT_STATX_DONT_SYNC, STATX_SIZE | STATX_MTIME, &facts)) {
            return;
        }
        char digits[24];
        size_t count = 0;
        uint64_t size = facts.stx_size;
        do digits[count++] = (char)('0' + size % 10);
        while (size /= 10);
        while (count) *to++ = digits[--count];
        *to++ = ' ';
        to += printDate(to, facts.stx_mtime.tv_sec);
        *to++ = ' ';
    }
    memcpy(to, folder->path, folder->length);
    to += folder->length;
    *to++ = '/';
    memcpy(to, entry->name, nameLength);
    to += nameLength;
    *to++ = '\n';
    out->used = (size_t)(to - out->bytes);
}

static void list(struct folder* folder, char* buffer, struct output* out) {
    struct folder* children[1024];
    size_t count = 0;
    size_t filled = 0;
    int ended = 0;
    while (!ended) {
        filled = 0;
        // At once again into the rest, so that the end is known from the same turn.
        while (filled + 4096 < kBuffer && !ended) {
            const long got = syscall(SYS_getdents64, folder->fd, buffer + filled, kBuffer - filled);
            if (got <= 0) ended = 1;
            else filled += (size_t)got;
        }
        for (size_t at = 0; at < filled;) {
            const struct entry* entry = (const struct entry*)(buffer + at);
            at += entry->length;
            const char* name = entry->name;
            if (name[0] == '.' && (!name[1] || (name[1] == '.' && !name[2]))) continue;
            if (entry->type != DT_DIR && entry->type != DT_REG) continue;
            const size_t nameLength = strlen(name);
            if (holdsPattern(name, nameLength)) print(out, folder, entry, nameLength);
            if (entry->type != DT_DIR) continue;
            children[count++] = makeFolder(folder, name, nameLength);
            if (count == sizeof children / sizeof *children) push(children, count), count = 0;
        }
    }
    if (count) push(children, count);
}

static void* work(void* unused) {
    char* buffer = aligned_alloc(4096, kBuffer);
    struct output* out = malloc(sizeof *out);
    out->used = 0;
    int finishedOne = 0;
    for (struct folder* folder; (folder = pop(finishedOne)); finishedOne = 1) {
        const int at = folder->parent ? folder->parent->fd : AT_FDCWD;
        folder->fd = openat(at, folder->name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | (folder->parent ? O_NOFOLLOW : 0));
        if (folder->fd >= 0) list(folder, buffer, out);
        drop(folder);
    }
    flush(out);
    return unused;
}

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    withAttributes = !strcmp(argv[1], "stat");
    char* lowered = strdup(argv[2]);
    for (char* c = lowered; *c; ++c) *c = (char)tolower((unsigned char)*c);
    pattern = lowered;
    patternLength = strlen(lowered);
    struct folder* start = makeFolder(NULL, argv[3], strlen(argv[3]));
    push(&start, 1);
    pthread_t threads[kThreads];
    for (int i = 0; i < kThreads; ++i) pthread_create(&threads[i], NULL, work, NULL);
    for (int i = 0; i < kThreads; ++i) pthread_join(threads[i], NULL);
    return 0;
}
