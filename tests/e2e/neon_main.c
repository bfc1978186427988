/* A NEON write between two SVE instructions. On SVE hardware the write
 * clears bytes 16-111 of the Z register; the emulator keeps them, because
 * the host has only the 16 bytes of V and the rest lives in the emulated
 * state. The expected output is the emulator's. */
#include <stdint.h>
#include <stdio.h>

void t_neon_between(uint8_t out[112]);

int main(void) {
  uint8_t z[112];
  t_neon_between(z);
  printf("z6:");
  for (int i = 0; i < 112; ++i) printf(" %d", z[i]);
  printf("\n");
  return 0;
}
