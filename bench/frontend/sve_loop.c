/* Runs N SVE instructions (N from the command line, in groups of 8 per block)
 * for measuring what one emulated instruction costs through a front end. */
#include <stdio.h>
#include <stdlib.h>

int main(int argc, char** argv) {
  long n = argc > 1 ? atol(argv[1]) : 1000;
  unsigned long r;
  __asm__ volatile("mov z0.d, #0\n" : : : "memory");
  for (long i = 0; i < n / 8; ++i)
    __asm__ volatile(".rept 8\nadd z0.d, z0.d, #1\n.endr\n" : : : "memory");
  __asm__ volatile("umov %0, v0.d[0]\n" : "=r"(r) : : "memory");
  printf("%lu\n", r);
  return 0;
}
