/* Does with OpenMP what its first argument names; built by several compilers and recorded by the test. */
#define _GNU_SOURCE
#include <omp.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

static void work(void) { usleep(200); }

static void regions(void) {
#pragma omp parallel num_threads(2)
  work();
#pragma omp parallel num_threads(2)
  {
#pragma omp barrier
    work();
  }
#pragma omp parallel if (0)
  work();
}

static void nested(void) {
  omp_set_max_active_levels(2);
#pragma omp parallel num_threads(2)
#pragma omp parallel num_threads(2)
  work();
}

static void many_threads(void) {
#pragma omp parallel num_threads(64)
  work();
}

static void serial_tasks(void) {
#pragma omp parallel num_threads(1)
  {
#pragma omp task
    {
#pragma omp task
      work();
      work();
    }
  }
}

static void outside(void) {
  int x = 0;
#pragma omp task depend(out : x)
  x = 1;
#pragma omp task depend(in : x)
  work();
}

static void dependences(void) {
  int x = 0, y = 0;
#pragma omp parallel num_threads(2)
#pragma omp single
  {
#pragma omp task depend(out : x)
    work();
#pragma omp task depend(in : x)
    work();
#pragma omp task depend(in : x) depend(out : y)
    work();
#pragma omp task depend(inout : x)
    work();
#pragma omp task if (0) depend(in : x)
    work();
#ifdef __clang__
#pragma omp taskwait depend(in : y)
#endif
#pragma omp task depend(in : y)
    work();
  }
}

static void untied(void) {
#pragma omp parallel num_threads(2)
#pragma omp single
  for (int i = 0; i < 4; ++i) {
#pragma omp task untied
    {
      work();
#pragma omp task
      work();
#pragma omp taskwait
      work();
    }
  }
}

static void cancelled(void) {
#pragma omp parallel num_threads(2)
#pragma omp single
#pragma omp taskgroup
  for (int i = 0; i < 10; ++i) {
#pragma omp task
    {
      work();
#pragma omp cancel taskgroup
    }
  }
}

static void task_loop(void) {
#pragma omp parallel num_threads(2)
#pragma omp single
#pragma omp taskloop num_tasks(50)
  for (int i = 0; i < 500; ++i) usleep(1);
}

static void teams(void) {
#ifdef __clang__
#pragma omp teams num_teams(2)
#endif
  {
#pragma omp parallel num_threads(1)
    work();
  }
}

/* Regions are named after their function, so it must be there. */
__attribute__((noinline)) static void one_region(void) {
#pragma omp parallel num_threads(2)
  work();
}

static void many_tasks(void) {
#pragma omp parallel num_threads(2)
#pragma omp single
  for (int i = 0; i < 20000; ++i) {
#pragma omp task
    __asm__ volatile("");
  }
}

static void* thread_of_its_own(void* unused) {
  one_region();
  return unused;
}

static void root_threads(void) {
  for (int i = 0; i < 3; ++i) {
    pthread_t thread;
    pthread_create(&thread, NULL, thread_of_its_own, NULL);
    pthread_join(thread, NULL);
  }
}

__attribute__((noinline)) static void serial_region(void) {
#pragma omp parallel num_threads(1)
  __asm__ volatile("");
}

static void* region_before_end(void* unused) {
  pthread_cancel(pthread_self());
  serial_region();
  pthread_testcancel();
  return unused;
}

static void cancelled_thread(void) {
  omp_get_max_threads(); /* The runtime's own start cannot be cancelled. */
  pthread_t thread;
  pthread_create(&thread, NULL, region_before_end, NULL);
  pthread_join(thread, NULL);
}

static void late_region(void) {
  one_region();
  atexit(one_region);
}

static void exit_inside(void) {
#pragma omp parallel num_threads(4)
  {
    for (int i = 0; i < 100; ++i) {
#pragma omp task
      __asm__ volatile("");
    }
    if (omp_get_thread_num() == 2) exit(7);
    sleep(5);
  }
}

static void forked(void) {
  one_region();
  const pid_t child = fork();
  if (child == 0) {
    one_region();
    exit(0);
  }
  const pid_t other = fork();
  if (other == 0) {
    execl("/proc/self/exe", "other", "one_region", NULL);
    _exit(1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  waitpid(other, &status, 0);
  one_region();
}

static void killed(void) {
  many_tasks();
  one_region();
  raise(SIGKILL);
}

static void left(void) {
  many_tasks();
  _exit(5);
}

static void left_quickly(void) {
  many_tasks();
  quick_exit(6);
}

static void closed_files(void) {
  one_region();
  for (int file = 3; file < 64; ++file) close(file);
  one_region();
}

static void wait_for_signal(void) {
  signal(SIGUSR1, exit);
  one_region();
  puts("ready");
  fflush(stdout);
  sleep(20);
}

static volatile sig_atomic_t signal_count;

static void count_signal(int number) { signal_count += number == SIGUSR1; }

static void signal_group(void) {
  signal(SIGUSR1, count_signal);
  one_region();
  kill(0, SIGUSR1);
  for (int i = 0; i < 20; ++i) usleep(10000);
  exit(signal_count);
}

static void copy_input(void) {
  one_region();
  char line[64];
  while (fgets(line, sizeof line, stdin) != NULL) fputs(line, stdout);
  fputs("to standard error\n", stderr);
  exit(9);
}

int main(int argc, char** argv) {
  static const struct {
    const char* name;
    void (*run)(void);
  } scenarios[] = {{"regions", regions},
                   {"nested", nested},
                   {"many_threads", many_threads},
                   {"serial_tasks", serial_tasks},
                   {"outside", outside},
                   {"dependences", dependences},
                   {"untied", untied},
                   {"cancelled", cancelled},
                   {"task_loop", task_loop},
                   {"teams", teams},
                   {"one_region", one_region},
                   {"root_threads", root_threads},
                   {"cancelled_thread", cancelled_thread},
                   {"late_region", late_region},
                   {"exit_inside", exit_inside},
                   {"forked", forked},
                   {"killed", killed},
                   {"left", left},
                   {"left_quickly", left_quickly},
                   {"closed_files", closed_files},
                   {"wait_for_signal", wait_for_signal},
                   {"signal_group", signal_group},
                   {"copy_input", copy_input}};
  for (size_t i = 0; argc > 1 && i < sizeof scenarios / sizeof *scenarios; ++i) {
    if (strcmp(argv[1], scenarios[i].name) == 0) {
      scenarios[i].run();
      return 0;
    }
  }
  return 2;
}
