// The tool with least privilege: once it runs, the kernel ends it with SIGSYS at the first system call that
// is not on a short list. Calls for sockets, other programs and threads are not on the list. Without
// arguments it prints the list. With KE_STRAY it makes a call that is not on the list.
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "platform.h"

namespace {

#if defined(__x86_64__)
constexpr unsigned kArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr unsigned kArchitecture = AUDIT_ARCH_AARCH64;
#else
#error "The audit number of this processor is to be named here."
#endif

struct SystemCall {
    unsigned number;
    const char* name;
};

// NOLINTNEXTLINE(cppcoreguidelines-macro-usage): the name is also needed as a text.
#define KE_CALL(name) \
    { SYS_##name, #name }

const SystemCall kAllowed[] = {
    // Reading and writing: files, standard streams, and finding the tool's own location.
    KE_CALL(read),
    KE_CALL(write),
    KE_CALL(lseek),
    KE_CALL(openat),
    KE_CALL(close),
    KE_CALL(newfstatat),
    KE_CALL(fcntl),
    KE_CALL(ioctl),
    KE_CALL(readlinkat),
#ifdef SYS_readlink
    KE_CALL(readlink),
    KE_CALL(access),
    KE_CALL(rename),
    KE_CALL(unlink),
#endif
    // Replacing a file, keeping the old one's mode, owner and attributes.
    KE_CALL(faccessat),
    KE_CALL(fsync),
    KE_CALL(fchmod),
    KE_CALL(fchown),
    KE_CALL(listxattr),
    KE_CALL(getxattr),
    KE_CALL(fsetxattr),
    KE_CALL(linkat),
    KE_CALL(renameat),
    KE_CALL(unlinkat),
    KE_CALL(rt_sigprocmask),
    KE_CALL(rt_sigaction),
    KE_CALL(rt_sigreturn),
    KE_CALL(getpid),
    // Memory and its limit.
    KE_CALL(brk),
    KE_CALL(mmap),
    KE_CALL(mremap),
    KE_CALL(munmap),
    KE_CALL(prlimit64),
    // The runtime: locks for exceptions and for one-time initialisation, seeds, thread identity, and exit.
    KE_CALL(futex),
    KE_CALL(getrandom),
    KE_CALL(gettid),
    KE_CALL(tgkill),
    KE_CALL(exit_group),
};
#undef KE_CALL

sock_filter statement(unsigned code, unsigned operand) {
    return BPF_STMT(static_cast<__u16>(code), operand);
}

// Continues with the next instruction if the value equals the operand, otherwise skips one.
sock_filter unless(unsigned operand) {
    return BPF_JUMP(static_cast<__u16>(BPF_JMP | BPF_JEQ | BPF_K), operand, 0, 1);
}

bool confine() {
    std::vector<sock_filter> filter = {
        statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)),
        BPF_JUMP(static_cast<__u16>(BPF_JMP | BPF_JEQ | BPF_K), kArchitecture, 1, 0),
        statement(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
        statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
    };
    for (const SystemCall& call : kAllowed) {
        filter.push_back(unless(call.number));
        filter.push_back(statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    }
    filter.push_back(statement(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS));
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        for (const SystemCall& call : kAllowed)
            printf("%s\n", call.name);
        return 0;
    }
    const bool stray = getenv("KE_STRAY") != nullptr;
    if (!confine()) {
        perror("the system takes no filter of system calls");
        return 98;
    }
    if (stray)
        socket(AF_INET, SOCK_STREAM, 0);
    return tool::run(std::vector<std::string>(argv + 1, argv + argc));
}
