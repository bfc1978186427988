/* Prints the results of the register-level cases in regs.S. */
#include <stdint.h>
#include <stdio.h>

uint64_t t_addvl_sp(void);
uint64_t t_incd_x28(uint64_t v);
void t_scratch_regs(uint64_t a, uint64_t b, uint64_t out[3]);
void t_msr_fpcr(uint64_t x21, uint64_t x22, uint64_t out[4]);
uint64_t t_while_flags(uint64_t a, uint64_t b);
void t_vector_state(uint8_t out[112], int start);
void t_neon_between(uint8_t out[112]);
uint64_t t_no_sve(uint64_t a, uint64_t b);
uint64_t t_long_block(void);

static void print_bytes(const char* name, const uint8_t* b, int n) {
  printf("%s:", name);
  for (int i = 0; i < n; ++i) printf(" %d", b[i]);
  printf("\n");
}

int main(int argc, char** argv) {
  (void)argv;
  printf("addvl sp by -2: sp lowered by %llu\n", (unsigned long long)t_addvl_sp());
  printf("incd x28: %llu\n", (unsigned long long)t_incd_x28(1000));
  uint64_t s[3];
  t_scratch_regs(0x1122334455667788ull, 0x0102030405060708ull, s);
  printf("x26 %016llx x27 %016llx sum %016llx\n", (unsigned long long)s[0], (unsigned long long)s[1],
         (unsigned long long)s[2]);
  uint64_t f[4];
  t_msr_fpcr(0x00c00000, 0x5a5a5a5a, f);  /* round toward zero */
  printf("x21 %llx x22 %llx fpcr %llx then %llx\n", (unsigned long long)f[0], (unsigned long long)f[1],
         (unsigned long long)f[2], (unsigned long long)f[3]);
  printf("whilelo 0,5 nzcv %llx; 5,5 nzcv %llx; 0,200 nzcv %llx\n", (unsigned long long)t_while_flags(0, 5),
         (unsigned long long)t_while_flags(5, 5), (unsigned long long)t_while_flags(0, 200));
  uint8_t v[112] = {0};
  t_vector_state(v, 10 + argc);
  print_bytes("vector state", v, 112);
  printf("no sve: %llu\n", (unsigned long long)t_no_sve(40, 2));
  printf("long block: %llu\n", (unsigned long long)t_long_block());
  return 0;
}
