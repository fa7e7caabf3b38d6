// Runs a program and interferes with its system calls, for the tests of what it does when one
// fails:
//
//   inject_fault LOG CALLS FAULT PROGRAM [ARGUMENT...]
//
// CALLS names the calls to watch, separated by commas. LOG gets a line for each, in their order:
// name, descriptor (-1: none), position in the file (-1: none), and the path that the call names or
// the descriptor leads to (for the standard streams 0, 1 and 2 their number), with tabs between.
// The last line is "exit STATUS" or "signal NUMBER", a tab, and how often the fault happened.
//
// FAULT says what happens at the watched call of that name and path that has N such before it; in
// the path, each ? stands for any byte, and a * at its end for any rest:
//   -                          nothing
//   fail:N:ERRNO:NAME:PATH     it is not made, and fails with that number
//   failing:N:ERRNO:NAME:PATH  so does every later one of the same name and path
//   pause:N:0:NAME:PATH        this process stops itself (SIGSTOP), and the call is made once it
//                              continues
//   disk:SIZE:0:write:PATH     of any call: the files whose paths begin with PATH have SIZE bytes
//                              between them; a write that goes beyond is not made, and fails with
//                              ENOSPC
//
// The kernel hands each watched call to this process before it is made (seccomp's user
// notification, Linux 5.5), so no privilege and no debugger's interface is needed, and calls that
// the C library makes of itself are seen too. Exits with 125 where that does not work, else with 0.

// NOLINTNEXTLINE(bugprone-reserved-identifier): the C library's name
#define _GNU_SOURCE

#include <errno.h>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <signal.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

enum { ownFailure = 125, pathSize = 4096 };

struct Call {
  const char* name;
  int number;
  int descriptor;  // the argument that is one; -1: none
  int path;        // the argument that is one; -1: none
};

static const struct Call calls[] = {
    {"openat", SYS_openat, -1, 1},       {"read", SYS_read, 0, -1},
    {"write", SYS_write, 0, -1},         {"writev", SYS_writev, 0, -1},
    {"readv", SYS_readv, 0, -1},         {"close", SYS_close, 0, -1},
    {"lseek", SYS_lseek, 0, -1},         {"newfstatat", SYS_newfstatat, 0, 1},
    {"fstat", SYS_fstat, 0, -1},         {"statx", SYS_statx, 0, 1},
    {"getcwd", SYS_getcwd, -1, -1},      {"prlimit64", SYS_prlimit64, -1, -1},
    {"mmap", SYS_mmap, 4, -1},           {"brk", SYS_brk, -1, -1},
    {"fcntl", SYS_fcntl, 0, -1},         {"unlinkat", SYS_unlinkat, -1, 1},
    {"renameat2", SYS_renameat2, -1, 1}, {"fsync", SYS_fsync, 0, -1},
    {"fchmod", SYS_fchmod, 0, -1},       {"fchown", SYS_fchown, 0, -1},
#ifdef SYS_open
    {"open", SYS_open, -1, 0},           {"stat", SYS_stat, -1, 0},
    {"lstat", SYS_lstat, -1, 0},         {"unlink", SYS_unlink, -1, 0},
    {"rename", SYS_rename, -1, 0},       {"link", SYS_link, -1, 0},
#endif
};
enum { callCount = sizeof calls / sizeof *calls };

static _Noreturn void fail(const char* what) {
  fprintf(stderr, "inject_fault: %s: %s\n", what, strerror(errno));
  exit(ownFailure);
}

static const struct Call* callNamed(const char* name) {
  for (size_t i = 0; i < callCount; ++i) {
    if (strcmp(calls[i].name, name) == 0) {
      return &calls[i];
    }
  }
  errno = EINVAL;
  fail(name);
}

static const struct Call* callNumbered(int number) {
  for (size_t i = 0; i < callCount; ++i) {
    if (calls[i].number == number) {
      return &calls[i];
    }
  }
  errno = ENOSYS;
  fail("an unknown call");
}

/// Installs the filter that hands over the named calls; the descriptor that they arrive at.
static int watch(char* names) {
  struct sock_filter filter[2 * callCount + 2];
  unsigned short size = 0;
  filter[size++] = (struct sock_filter)BPF_STMT(BPF_LD | BPF_W | BPF_ABS,
                                                (unsigned int)offsetof(struct seccomp_data, nr));
  for (char* name = strtok(names, ","); name != NULL; name = strtok(NULL, ",")) {
    filter[size++] = (struct sock_filter)BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K,
                                                  (unsigned int)callNamed(name)->number, 0, 1);
    filter[size++] = (struct sock_filter)BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF);
  }
  filter[size++] = (struct sock_filter)BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
  const struct sock_fprog program = {size, filter};
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) {
    fail("PR_SET_NO_NEW_PRIVS");
  }
  const long listener =
      syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program);
  if (listener < 0) {
    fail("the kernel hands over no system calls");
  }
  return (int)listener;
}

union DescriptorMessage {
  struct cmsghdr header;
  char space[CMSG_SPACE(sizeof(int))];
};

static void sendDescriptor(int socket, int descriptor) {
  char byte = 0;
  struct iovec data = {&byte, 1};
  union DescriptorMessage control = {.space = {0}};
  struct msghdr message = {.msg_iov = &data,
                           .msg_iovlen = 1,
                           .msg_control = control.space,
                           .msg_controllen = sizeof control.space};
  control.header.cmsg_level = SOL_SOCKET;
  control.header.cmsg_type = SCM_RIGHTS;
  control.header.cmsg_len = CMSG_LEN(sizeof descriptor);
  memcpy(CMSG_DATA(&control.header), &descriptor, sizeof descriptor);
  if (sendmsg(socket, &message, 0) != 1) {
    fail("sendmsg");
  }
}

static int receiveDescriptor(int socket) {
  char byte = 0;
  struct iovec data = {&byte, 1};
  union DescriptorMessage control = {.space = {0}};
  struct msghdr message = {.msg_iov = &data,
                           .msg_iovlen = 1,
                           .msg_control = control.space,
                           .msg_controllen = sizeof control.space};
  if (recvmsg(socket, &message, MSG_CMSG_CLOEXEC) != 1) {
    exit(ownFailure);  // the child has said why
  }
  int descriptor = -1;
  memcpy(&descriptor, CMSG_DATA(&control.header), sizeof descriptor);
  return descriptor;
}

static _Noreturn void runProgram(int socket, char* names, char** program) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  sendDescriptor(socket, watch(names));
  execv(program[0], program);
  fail(program[0]);
}

/// The path that the call names, else the one that its descriptor leads to, else nothing.
static void describe(const struct seccomp_notif* notice, const struct Call* call, char* path) {
  char source[64];
  path[0] = '\0';
  if (call->path >= 0) {
    snprintf(source, sizeof source, "/proc/%u/mem", notice->pid);
    const int memory = open(source, O_RDONLY | O_CLOEXEC);
    if (memory < 0) {
      fail(source);
    }
    // Shorter where the program's memory ends behind the path.
    const ssize_t size = pread(memory, path, pathSize - 1, (off_t)notice->data.args[call->path]);
    close(memory);
    path[size > 0 ? size : 0] = '\0';
  }
  const int descriptor = call->descriptor >= 0 ? (int)notice->data.args[call->descriptor] : -1;
  if (path[0] == '\0' && descriptor >= 0 && descriptor <= STDERR_FILENO) {
    snprintf(path, pathSize, "%d", descriptor);
  } else if (path[0] == '\0' && descriptor >= 0) {
    snprintf(source, sizeof source, "/proc/%u/fd/%d", notice->pid, descriptor);
    const ssize_t size = readlink(source, path, pathSize - 1);
    path[size > 0 ? size : 0] = '\0';
  }
}

/// Where in its file the call begins to read or write; -1 where that is not known.
static long positionOf(const struct seccomp_notif* notice, const struct Call* call) {
  if (call->number != SYS_read && call->number != SYS_write) {
    return -1;
  }
  char name[64];
  snprintf(name, sizeof name, "/proc/%u/fdinfo/%d", notice->pid,
           (int)notice->data.args[call->descriptor]);
  FILE* const information = fopen(name, "re");
  long position = -1;
  if (information != NULL) {
    if (fscanf(information, "pos: %ld", &position) != 1) {
      position = -1;
    }
    fclose(information);
  }
  return position;
}

struct Fault {
  char kind[16];
  long number;  // of the calls that are to go before, or the bytes that are left
  int happened;
  int error;
  char name[32];
  char path[pathSize];
};

static struct Fault readFault(const char* text) {
  struct Fault fault = {.kind = "-"};
  if (strcmp(text, "-") == 0) {
    return fault;
  }
  int pathBegin = 0;
  if (sscanf(text, "%15[a-z]:%ld:%d:%31[a-z0-9]:%n", fault.kind, &fault.number, &fault.error,
             fault.name, &pathBegin) < 4 ||
      pathBegin == 0 || strlen(text + pathBegin) >= pathSize) {
    errno = EINVAL;
    fail(text);
  }
  strcpy(fault.path, text + pathBegin);
  return fault;
}

static int isPath(const char* pattern, const char* path) {
  for (; *pattern != '\0' && *path != '\0'; ++pattern, ++path) {
    if (*pattern == '*' && pattern[1] == '\0') {
      return 1;
    }
    if (*pattern != '?' && *pattern != *path) {
      return 0;
    }
  }
  return *pattern == *path;
}

/// Whether the disk has no room for the write; takes the room where it has.
static int isBeyondDisk(struct Fault* fault, const char* path, long size) {
  if (strncmp(path, fault->path, strlen(fault->path)) != 0) {
    return 0;
  }
  if (size > fault->number) {
    ++fault->happened;
    return 1;
  }
  fault->number -= size;
  return 0;
}

/// The error that the call fails with; 0: it is made. Stops this process where the fault says so.
static int errorOf(struct Fault* fault, const struct Call* call, const char* path, long size) {
  if (strcmp(fault->name, call->name) != 0) {
    return 0;
  }
  if (strcmp(fault->kind, "disk") == 0) {
    return isBeyondDisk(fault, path, size) ? ENOSPC : 0;
  }
  if (!isPath(fault->path, path)) {
    return 0;
  }
  const long before = fault->number--;
  if (before == 0 && strcmp(fault->kind, "pause") == 0) {
    ++fault->happened;
    raise(SIGSTOP);
  }
  const int fails = (before == 0 && strcmp(fault->kind, "fail") == 0) ||
                    (before <= 0 && strcmp(fault->kind, "failing") == 0);
  fault->happened += fails;
  return fails ? fault->error : 0;
}

/// Answers one call, unless the program has ended before.
static void answer(int listener, FILE* log, struct Fault* fault) {
  struct seccomp_notif notice;
  memset(&notice, 0, sizeof notice);
  if (ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &notice) != 0) {
    return;
  }
  const struct Call* const call = callNumbered(notice.data.nr);
  char path[pathSize];
  describe(&notice, call, path);
  const int descriptor = call->descriptor >= 0 ? (int)notice.data.args[call->descriptor] : -1;
  fprintf(log, "%s\t%d\t%ld\t%s\n", call->name, descriptor, positionOf(&notice, call), path);
  struct seccomp_notif_resp response = {.id = notice.id};
  const int error = errorOf(fault, call, path, (long)notice.data.args[2]);
  if (error != 0) {
    response.error = -error;
  } else {
    response.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
  }
  if (ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &response) != 0 && errno != ENOENT) {
    fail("SECCOMP_IOCTL_NOTIF_SEND");
  }
}

int main(int argc, char** argv) {
  if (argc < 5) {
    fprintf(stderr, "usage: inject_fault LOG CALLS FAULT PROGRAM [ARGUMENT...]\n");
    return ownFailure;
  }
  struct Fault fault = readFault(argv[3]);
  FILE* const log = fopen(argv[1], "we");
  int sockets[2];
  if (log == NULL || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) {
    fail(argv[1]);
  }
  const pid_t child = fork();
  if (child < 0) {
    fail("fork");
  }
  if (child == 0) {
    runProgram(sockets[1], argv[2], argv + 4);
  }
  close(sockets[1]);
  const int listener = receiveDescriptor(sockets[0]);
  struct pollfd events[2] = {{listener, POLLIN, 0},
                             {(int)syscall(SYS_pidfd_open, child, 0), POLLIN, 0}};
  if (events[1].fd < 0) {
    fail("pidfd_open");
  }
  while (events[1].revents == 0) {
    if (poll(events, 2, -1) < 0) {
      fail("poll");
    }
    if ((events[0].revents & POLLIN) != 0) {
      answer(listener, log, &fault);
    }
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFSIGNALED(status)) {
    fprintf(log, "signal %d\t%d\n", WTERMSIG(status), fault.happened);
  } else {
    fprintf(log, "exit %d\t%d\n", WEXITSTATUS(status), fault.happened);
  }
  if (fclose(log) != 0) {
    fail(argv[1]);
  }
  return 0;
}
