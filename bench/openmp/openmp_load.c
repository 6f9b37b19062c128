/* One of four loads for an OpenMP runtime; prints the seconds that it took. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

static double get_seconds(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (double)now.tv_sec + (double)now.tv_nsec * 1e-9;
}

static void work(long steps) {
  volatile long sum = 0;
  for (long i = 0; i < steps; ++i) sum += i;
}

/* How many steps take a microsecond here. */
static long find_steps(void) {
  const long steps = 20000000;
  const double begin = get_seconds();
  work(steps);
  return (long)((double)steps / ((get_seconds() - begin) * 1e6));
}

static void make_tasks(long count, long steps) {
#pragma omp parallel num_threads(2)
#pragma omp single
  for (long i = 0; i < count; ++i) {
#pragma omp task
    work(steps);
  }
}

static int fibonacci(int n) {
  if (n < 2) return n;
  int first;
  int second;
#pragma omp task shared(first)
  first = fibonacci(n - 1);
#pragma omp task shared(second)
  second = fibonacci(n - 2);
#pragma omp taskwait
  return first + second;
}

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const long count = atol(argv[2]);
  const long steps = find_steps();
  const double begin = get_seconds();
  if (strcmp(argv[1], "microsecond_tasks") == 0) {
    make_tasks(count, steps);
  } else if (strcmp(argv[1], "empty_tasks") == 0) {
    make_tasks(count, 0);
  } else if (strcmp(argv[1], "fibonacci") == 0) {
#pragma omp parallel num_threads(2)
#pragma omp single
    fibonacci((int)count);
  } else if (strcmp(argv[1], "empty_regions") == 0) {
    for (long i = 0; i < count; ++i) {
#pragma omp parallel num_threads(2)
      __asm__ volatile("");
    }
  } else {
    return 2;
  }
  printf("%.4f\n", get_seconds() - begin);
  return 0;
}
