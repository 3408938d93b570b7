#include "platform/sandbox.h"

#include <fcntl.h>
#include <iconv.h>
#include <linux/landlock.h>
#include <malloc.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "platform/linux/spawn.h"
#include "platform/linux/system_call.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KESTRIX_HAS_SHADOW_MEMORY 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KESTRIX_HAS_SHADOW_MEMORY 1
#endif

namespace kestrix {

namespace {

#if defined(KESTRIX_HAS_SHADOW_MEMORY)
constexpr bool kHasSanitizer = true;
#else
constexpr bool kHasSanitizer = false;
#endif

void limit(int resource, rlim_t value) {
    rlimit both{value, value};
    // A limit that is lower already cannot be raised and serves as well.
    if (rlimit now{};
        ::getrlimit(static_cast<__rlimit_resource_t>(resource), &now) == 0 && now.rlim_max < value)
        both = {now.rlim_max, now.rlim_max};
    ::setrlimit(static_cast<__rlimit_resource_t>(resource), &both);
}

// At the first limit the process is told and ended by a signal that names the reason; at the second just
// killed.
void limitProcessor(rlim_t seconds) {
    limit(RLIMIT_CPU, seconds + 5);
    rlimit both{};
    if (::getrlimit(RLIMIT_CPU, &both) != 0) return;
    both.rlim_cur = std::min(both.rlim_max, seconds);
    ::setrlimit(RLIMIT_CPU, &both);
}

// The kernel's structure as it has grown: a kernel takes the part that it knows. The header of this system
// may be older than its kernel.
struct RulesetAttributes {
    std::uint64_t files;
    std::uint64_t network;  // since ABI 4
    std::uint64_t scoped;   // since ABI 6
};

constexpr std::uint64_t kFirstFileRights = (1U << 13) - 1;
constexpr std::uint64_t kAllNetworkRights = 3;
constexpr std::uint64_t kAllScopes = 3;

// What was added to the rights on files since: refer (2), truncate (3), ioctl (5).
std::uint64_t fileRights(long abi) {
    std::uint64_t rights = kFirstFileRights;
    if (abi >= 2) rights |= 1U << 13;
    if (abi >= 3) rights |= 1U << 14;
    if (abi >= 5) rights |= 1U << 15;
    return rights;
}

std::size_t attributesSize(long abi) {
    if (abi >= 6) return sizeof(RulesetAttributes);
    return abi >= 4 ? 2 * sizeof(std::uint64_t) : sizeof(std::uint64_t);
}

void allowReading(int ruleset, const std::string& path, ShutIn kind) {
    const Descriptor place(::open(path.c_str(), O_PATH | O_CLOEXEC));
    struct stat status;
    if (!place.isOpen() || ::fstat(place.get(), &status) != 0) return;
    std::uint64_t rights = LANDLOCK_ACCESS_FS_READ_FILE;
    if (S_ISDIR(status.st_mode)) rights |= LANDLOCK_ACCESS_FS_READ_DIR;
    if (kind == ShutIn::oneProgram) rights |= LANDLOCK_ACCESS_FS_EXECUTE;
    const landlock_path_beneath_attr rule{rights, place.get()};
    ::syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
}

// Memory, time, threads that are there already, the descriptors that are open.
constexpr std::array kComputing = {"brk",
                                   "clock_getres",
                                   "clock_gettime",
                                   "clock_nanosleep",
                                   "close",
                                   "dup",
                                   "exit",
                                   "exit_group",
                                   "fadvise64",
                                   "fcntl",
                                   "fstat",
                                   "fstatfs",
                                   "ftruncate",
                                   "futex",
                                   "getcpu",
                                   "getcwd",
                                   "getegid",
                                   "geteuid",
                                   "getgid",
                                   "getpid",
                                   "getppid",
                                   "getrandom",
                                   "getrusage",
                                   "gettid",
                                   "gettimeofday",
                                   "getuid",
                                   "lseek",
                                   "madvise",
                                   "membarrier",
                                   "memfd_create",
                                   "mremap",
                                   "munmap",
                                   "nanosleep",
                                   "poll",
                                   "ppoll",
                                   "pread64",
                                   "preadv",
                                   "pwrite64",
                                   "read",
                                   "readv",
                                   "recvmsg",
                                   "restart_syscall",
                                   "rseq",
                                   "rt_sigaction",
                                   "rt_sigprocmask",
                                   "rt_sigreturn",
                                   "sched_getaffinity",
                                   "sched_yield",
                                   "sendmsg",
                                   "set_robust_list",
                                   "sigaltstack",
                                   "statfs",
                                   "sysinfo",
                                   "time",
                                   "times",
                                   "uname",
                                   "write",
                                   "writev"};

// A sanitizer finds out through a pipe whether memory can be read.
constexpr std::array kSanitizing = {"pipe", "pipe2"};

constexpr std::array kLookingAtFiles = {"access",   "faccessat",  "faccessat2", "getdents64",
                                        "lstat",    "newfstatat", "open",       "openat",
                                        "readlink", "readlinkat", "stat",       "statx"};

constexpr std::array kStartingOver = {"arch_prctl", "execve", "mmap", "mprotect", "set_tid_address"};

// One filter under construction.
class Filter {
  public:
    Filter() : context_(::seccomp_init(SCMP_ACT_ERRNO(EPERM))) {}
    ~Filter() {
        if (context_ != nullptr) ::seccomp_release(context_);
    }
    Filter(const Filter&) = delete;
    Filter& operator=(const Filter&) = delete;

    // A call that this machine does not know needs no rule.
    void allow(std::span<const char* const> names) {
        for (const char* name : names)
            allowWith(name, {});
    }
    void allowWith(const char* name, std::span<const scmp_arg_cmp> conditions) {
        const int number = ::seccomp_syscall_resolve_name(name);
        if (number < 0) return;
        failed_ =
            ::seccomp_rule_add_array(context_, SCMP_ACT_ALLOW, number,
                                     static_cast<unsigned>(conditions.size()), conditions.data()) != 0 ||
            failed_;
    }
    bool load() {
        return context_ != nullptr && !failed_ &&
               ::seccomp_attr_set(context_, SCMP_FLTATR_CTL_TSYNC, 1) == 0 && ::seccomp_load(context_) == 0;
    }
    bool isThere() const { return context_ != nullptr; }

  private:
    scmp_filter_ctx context_;
    bool failed_ = false;
};

// Calls that are harmless with the right arguments alone.
void allowHarmlessForms(Filter& filter) {
    const std::array noCode = {scmp_arg_cmp{2, SCMP_CMP_MASKED_EQ, PROT_EXEC, 0}};
    filter.allowWith("mmap", noCode);
    filter.allowWith("mprotect", noCode);
    // abort() ends its own process by a signal.
    const std::array toItself = {scmp_arg_cmp{0, SCMP_CMP_EQ, static_cast<scmp_datum_t>(::getpid()), 0}};
    filter.allowWith("tgkill", toItself);
    // Limits may be asked for, not changed.
    const std::array askingOnly = {scmp_arg_cmp{2, SCMP_CMP_EQ, 0, 0}};
    filter.allowWith("prlimit64", askingOnly);
    filter.allow(std::array{"getrlimit"});
}

}  // namespace

void limitThisProcess(const ProcessLimits& limits) {
    if (!kHasSanitizer) {
        limit(RLIMIT_DATA, limits.memory);
        // Libraries and what is read through the page cache are no private memory; this bounds them as well.
        limit(RLIMIT_AS, limits.memory + (std::size_t{1} << 30));
    }
    limit(RLIMIT_FSIZE, limits.output);
    limitProcessor(static_cast<rlim_t>(limits.processor.count()));
    limit(RLIMIT_CORE, 0);
    // One heap: each thread's own would take 64 MiB of the memory for itself.
    ::mallopt(M_ARENA_MAX, 1);  // NOLINT(concurrency-mt-unsafe): before there are other threads
}

bool Walls::closeFiles(const std::vector<std::string>& readable, ShutIn kind) {
    const long abi = ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (abi < 1 || ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return false;
    const RulesetAttributes attributes{fileRights(abi), kAllNetworkRights, kAllScopes};
    const Descriptor ruleset(
        static_cast<int>(::syscall(SYS_landlock_create_ruleset, &attributes, attributesSize(abi), 0)));
    if (!ruleset.isOpen()) return false;
    for (const std::string& path : readable)
        allowReading(ruleset.get(), path, kind);
    return ::syscall(SYS_landlock_restrict_self, ruleset.get(), 0) == 0;
}

bool Walls::sealCalls(ShutIn kind, bool filesAreClosed) {
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return false;
    Filter filter;
    if (!filter.isThere()) return false;
    filter.allow(kComputing);
    if (kHasSanitizer) filter.allow(kSanitizing);
    if (filesAreClosed) filter.allow(kLookingAtFiles);
    if (kind == ShutIn::oneProgram) filter.allow(kStartingOver);
    allowHarmlessForms(filter);
    return filter.load();
}

void keepConverter(const char* encoding) {
    // Never closed: the library unloads what nobody holds.
    ::iconv_open(encoding, "UTF-8");  // NOLINT(bugprone-unused-return-value)
    ::iconv_open("UTF-8", encoding);  // NOLINT(bugprone-unused-return-value)
}

void becomeProgram(const std::string& program, const std::vector<std::string>& arguments) {
    std::vector<char*> pointers = pointersTo(arguments);
    pointers.insert(pointers.begin(), const_cast<char*>(program.c_str()));
    ::execv(program.c_str(), pointers.data());
}

void leaveProcess(int exitStatus) {
    ::_exit(exitStatus);
}

void giveMemoryBack() {
    ::malloc_trim(0);
}

}  // namespace kestrix
