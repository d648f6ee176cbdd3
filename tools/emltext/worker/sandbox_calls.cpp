// SPDX-License-Identifier: MIT
// Which system calls a sandboxed process may not make. A refused call fails with an error that
// libraries know; the process lives on.
#include "worker/sandbox.h"

#ifndef EMLTEXT_SECCOMP

namespace emltext {

std::string restrictCalls() {
    return "emltext was built without libseccomp";
}

} // namespace emltext

#else

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>

#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>

namespace emltext {
namespace {

struct RefusedCall {
    const char *name;
    int error;
};

constexpr std::array kRefused = std::to_array<RefusedCall>({
    // The network, and services of this machine. A pair of sockets can be used to send to others.
    {"socket", EACCES},
    {"socketpair", EACCES},
    {"connect", EACCES},
    {"bind", EACCES},
    {"listen", EACCES},
    {"accept", EACCES},
    {"accept4", EACCES},
    // A second way to make all these calls.
    {"io_uring_setup", ENOSYS},
    {"io_uring_enter", ENOSYS},
    {"io_uring_register", ENOSYS},
    // Its flags lie in memory, where no filter sees them; without it clone is used.
    {"clone3", ENOSYS},
    // Other processes.
    {"ptrace", EPERM},
    {"process_vm_readv", EPERM},
    {"process_vm_writev", EPERM},
    {"process_madvise", EPERM},
    {"kcmp", EPERM},
    {"pidfd_open", EPERM},
    {"pidfd_getfd", EPERM},
    {"pidfd_send_signal", EPERM},
    {"tkill", EPERM},
    {"rt_sigqueueinfo", EPERM},
    {"rt_tgsigqueueinfo", EPERM},
    {"migrate_pages", EPERM},
    {"move_pages", EPERM},
    {"shmget", EPERM},
    {"shmat", EPERM},
    {"semget", EPERM},
    {"msgget", EPERM},
    {"mq_open", EPERM},
    // What belongs to files that cannot be opened.
    {"chmod", EPERM},
    {"fchmodat", EPERM},
    {"fchmodat2", EPERM},
    {"chown", EPERM},
    {"lchown", EPERM},
    {"fchownat", EPERM},
    {"truncate", EPERM},
    {"setxattr", EPERM},
    {"lsetxattr", EPERM},
    {"removexattr", EPERM},
    {"lremovexattr", EPERM},
    {"utime", EPERM},
    {"utimes", EPERM},
    {"futimesat", EPERM},
    {"utimensat", EPERM},
    {"name_to_handle_at", EPERM},
    {"open_by_handle_at", EPERM},
    {"fanotify_init", EPERM},
    // The system.
    {"mount", EPERM},
    {"umount2", EPERM},
    {"pivot_root", EPERM},
    {"chroot", EPERM},
    {"fsopen", EPERM},
    {"fsmount", EPERM},
    {"fspick", EPERM},
    {"move_mount", EPERM},
    {"open_tree", EPERM},
    {"mount_setattr", EPERM},
    {"unshare", EPERM},
    {"setns", EPERM},
    {"bpf", EPERM},
    {"perf_event_open", EPERM},
    {"userfaultfd", EPERM},
    {"keyctl", EPERM},
    {"add_key", EPERM},
    {"request_key", EPERM},
    {"kexec_load", EPERM},
    {"kexec_file_load", EPERM},
    {"init_module", EPERM},
    {"finit_module", EPERM},
    {"delete_module", EPERM},
    {"reboot", EPERM},
    {"swapon", EPERM},
    {"swapoff", EPERM},
    {"acct", EPERM},
    {"quotactl", EPERM},
    {"syslog", EPERM},
    {"settimeofday", EPERM},
    {"clock_settime", EPERM},
    {"clock_adjtime", EPERM},
    {"adjtimex", EPERM},
    {"sethostname", EPERM},
    {"setdomainname", EPERM},
    {"iopl", EPERM},
    {"ioperm", EPERM},
});

// Kinds of new namespaces: each would be a way around a limit.
constexpr std::array<uint64_t, 7> kNamespaces = {CLONE_NEWNS,    CLONE_NEWUTS, CLONE_NEWIPC,
                                                 CLONE_NEWPID,   CLONE_NEWNET, CLONE_NEWUSER,
                                                 CLONE_NEWCGROUP};
constexpr uint64_t kLow32Bits = 0xFFFFFFFF;
constexpr uint64_t kTypeIntoTerminal[] = {TIOCSTI, TIOCLINUX};

using Filter = std::unique_ptr<void, decltype(&seccomp_release)>;

// A call that this architecture or library does not know needs no rule.
int refuse(void *filter, const char *name, int error, const scmp_arg_cmp *condition) {
    const int call = seccomp_syscall_resolve_name(name);
    if (call == __NR_SCMP_ERROR) {
        return 0;
    }
    const unsigned conditions = condition != nullptr ? 1 : 0;
    return seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(static_cast<uint32_t>(error)), call,
                                  conditions, condition);
}

scmp_arg_cmp when(unsigned argument, scmp_compare comparison, uint64_t first, uint64_t second) {
    return {argument, comparison, first, second};
}

// 0 or a negative error number.
int addRules(void *filter) {
    int result = 0;
    const auto add = [&](const char *name, int error, const scmp_arg_cmp *condition) {
        if (result == 0) {
            result = refuse(filter, name, error, condition);
        }
    };
    for (const RefusedCall &row : kRefused) {
        add(row.name, row.error, nullptr);
    }
    for (const uint64_t kind : kNamespaces) {
        const scmp_arg_cmp made = when(0, SCMP_CMP_MASKED_EQ, kind, kind);
        add("clone", EPERM, &made);
    }
    for (const uint64_t request : kTypeIntoTerminal) {
        const scmp_arg_cmp asked = when(1, SCMP_CMP_MASKED_EQ, kLow32Bits, request);
        add("ioctl", EPERM, &asked);
    }
    const scmp_arg_cmp everybody = when(0, SCMP_CMP_MASKED_EQ, kLow32Bits, kLow32Bits);
    add("kill", EPERM, &everybody);
    const scmp_arg_cmp others = when(0, SCMP_CMP_NE, 0, 0);
    add("prlimit64", EPERM, &others);
    return result;
}

} // namespace

std::string restrictCalls() {
    const Filter filter(seccomp_init(SCMP_ACT_ALLOW), &seccomp_release);
    const int added = filter == nullptr ? -ENOMEM : addRules(filter.get());
    const int result = added == 0 ? seccomp_load(filter.get()) : added;
    return result == 0 ? std::string()
                       : std::string("system calls cannot be filtered: ") + std::strerror(-result);
}

} // namespace emltext

#endif
