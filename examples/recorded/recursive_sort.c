/* Sorts numbers by tasks that make two further ones each and merge what those sorted. Knows nothing of its
   being recorded. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { cut_off = 4096 };

static int compare(const void* left, const void* right) {
  const unsigned a = *(const unsigned*)left;
  const unsigned b = *(const unsigned*)right;
  return (a > b) - (a < b);
}

static void merge(unsigned* numbers, size_t middle, size_t count, unsigned* room) {
  size_t left = 0;
  size_t right = middle;
  for (size_t i = 0; i < count; ++i) {
    const int takes_left = right == count || (left < middle && numbers[left] <= numbers[right]);
    room[i] = takes_left ? numbers[left++] : numbers[right++];
  }
  memcpy(numbers, room, count * sizeof *numbers);
}

static void sort(unsigned* numbers, size_t count, unsigned* room) {
  if (count <= cut_off) {
    qsort(numbers, count, sizeof *numbers, compare);
    return;
  }
  const size_t middle = count / 2;
#pragma omp task
  sort(numbers, middle, room);
#pragma omp task
  sort(numbers + middle, count - middle, room + middle);
#pragma omp taskwait
  merge(numbers, middle, count, room);
}

int main(int argc, char** argv) {
  const size_t count = argc > 1 ? strtoul(argv[1], NULL, 10) : 2000000;
  unsigned* const numbers = malloc((count + 1) * sizeof *numbers);
  unsigned* const room = malloc((count + 1) * sizeof *room);
  if (numbers == NULL || room == NULL) return 1;
  unsigned state = 1;
  for (size_t i = 0; i < count; ++i) numbers[i] = state = state * 1664525U + 1013904223U;
#pragma omp parallel
#pragma omp single
  sort(numbers, count, room);
  for (size_t i = 1; i < count; ++i) {
    if (numbers[i - 1] > numbers[i]) return 1;
  }
  printf("%zu numbers are in order\n", count);
  free(numbers);
  free(room);
  return 0;
}
