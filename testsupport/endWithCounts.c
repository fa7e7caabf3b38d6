/* For builds that count the lines that were run. The counts are written to files where a process
   ends by exit(), and are lost where it ends by raise(), _Exit() or _exit(). The linker hands those
   calls to the functions here (--wrap), which write the counts first. */

void __gcov_dump(void);
void __gcov_reset(void);

int __real_raise(int number);
_Noreturn void __real__Exit(int status);
_Noreturn void __real__exit(int status);

int __wrap_raise(int number);
_Noreturn void __wrap__Exit(int status);
_Noreturn void __wrap__exit(int status);

static void writeCounts(void) {
  __gcov_dump();
  /* They are written, and may be once more: not every signal ends a process. */
  __gcov_reset();
}

int __wrap_raise(int number) {
  writeCounts();
  return __real_raise(number);
}

void __wrap__Exit(int status) {
  writeCounts();
  __real__Exit(status);
}

void __wrap__exit(int status) {
  writeCounts();
  __real__exit(status);
}
