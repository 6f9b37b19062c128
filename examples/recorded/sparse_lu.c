/* Factorises a matrix of blocks, many of them empty, by tasks that depend on one another. Knows nothing of
   its being recorded. */
#include <stdio.h>
#include <stdlib.h>

enum { blocks = 16, size = 64 };

static double* matrix[blocks][blocks];

static double* make_block(int row, int column) {
  double* const block = calloc(size * size, sizeof *block);
  if (block == NULL) abort();
  for (int i = 0; i < size * size; ++i) block[i] = (double)((i * 31 + row * 7 + column) % 17) / 17;
  if (row == column) {
    for (int i = 0; i < size; ++i) block[i * size + i] += 2 * size;
  }
  return block;
}

static void factorise(double* a) {
  for (int k = 0; k < size; ++k) {
    for (int i = k + 1; i < size; ++i) {
      a[i * size + k] /= a[k * size + k];
      for (int j = k + 1; j < size; ++j) a[i * size + j] -= a[i * size + k] * a[k * size + j];
    }
  }
}

static void solve_row(const double* diagonal, double* a) {
  for (int k = 0; k < size; ++k) {
    for (int i = k + 1; i < size; ++i) {
      for (int j = 0; j < size; ++j) a[i * size + j] -= diagonal[i * size + k] * a[k * size + j];
    }
  }
}

static void solve_column(const double* diagonal, double* a) {
  for (int i = 0; i < size; ++i) {
    for (int k = 0; k < size; ++k) {
      a[i * size + k] /= diagonal[k * size + k];
      for (int j = k + 1; j < size; ++j) a[i * size + j] -= a[i * size + k] * diagonal[k * size + j];
    }
  }
}

static void update(const double* column, const double* row, double* a) {
  for (int i = 0; i < size; ++i) {
    for (int k = 0; k < size; ++k) {
      for (int j = 0; j < size; ++j) a[i * size + j] -= column[i * size + k] * row[k * size + j];
    }
  }
}

static void factorise_all(void) {
  for (int k = 0; k < blocks; ++k) {
#pragma omp task depend(inout : matrix[k][k])
    factorise(matrix[k][k]);
    for (int j = k + 1; j < blocks; ++j) {
      if (matrix[k][j] == NULL) continue;
#pragma omp task depend(in : matrix[k][k]) depend(inout : matrix[k][j])
      solve_row(matrix[k][k], matrix[k][j]);
    }
    for (int i = k + 1; i < blocks; ++i) {
      if (matrix[i][k] == NULL) continue;
#pragma omp task depend(in : matrix[k][k]) depend(inout : matrix[i][k])
      solve_column(matrix[k][k], matrix[i][k]);
    }
    for (int i = k + 1; i < blocks; ++i) {
      for (int j = k + 1; matrix[i][k] != NULL && j < blocks; ++j) {
        if (matrix[k][j] == NULL) continue;
        if (matrix[i][j] == NULL) matrix[i][j] = make_block(blocks, blocks);
#pragma omp task depend(in : matrix[i][k], matrix[k][j]) depend(inout : matrix[i][j])
        update(matrix[i][k], matrix[k][j], matrix[i][j]);
      }
    }
  }
}

int main(void) {
  for (int i = 0; i < blocks; ++i) {
    for (int j = 0; j < blocks; ++j) {
      if (i == j || (i * 5 + j * 3) % 4 == 0) matrix[i][j] = make_block(i, j);
    }
  }
#pragma omp parallel
#pragma omp single
  factorise_all();
  double trace = 0;
  for (int k = 0; k < blocks; ++k) {
    for (int i = 0; i < size; ++i) trace += matrix[k][k][i * size + i];
  }
  printf("trace of the upper part %.6f\n", trace);
  return 0;
}
