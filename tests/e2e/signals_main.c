/* The runner beside the program's own signal handlers: a SIGILL handler for
 * a non-SVE purpose is chained to, and a handler of another signal that runs
 * SVE code leaves the interrupted code's vector state as it was. The last
 * step executes an SVE2 instruction, which nothing emulates: with the
 * program's SIGILL handler gone, the program must die of SIGILL. */
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <ucontext.h>

void t_udf(void);
void t_sve2(void);
void t_keep_across_signal(uint8_t out[126]);
void t_clobber(void);

static volatile int udf_seen;

static void on_sigill(int sig, siginfo_t* info, void* uctx) {
  (void)sig;
  (void)info;
  ucontext_t* uc = uctx;
  uint32_t word;
  memcpy(&word, (void*)uc->uc_mcontext.pc, 4);
  if (word == 0x00000007u) {  /* udf #7: step over it */
    ++udf_seen;
    uc->uc_mcontext.pc += 4;
  } else {
    signal(SIGILL, SIG_DFL);
  }
}

static void on_sigusr1(int sig) {
  (void)sig;
  t_clobber();
}

int main(void) {
  struct sigaction sa;
  memset(&sa, 0, sizeof sa);
  sa.sa_sigaction = on_sigill;
  sa.sa_flags = SA_SIGINFO;
  sigaction(SIGILL, &sa, NULL);
  signal(SIGUSR1, on_sigusr1);

  t_udf();
  t_udf();
  printf("own SIGILL handler stepped over %d undefined instructions\n", udf_seen);

  uint8_t out[126];
  t_keep_across_signal(out);
  printf("z9 after the handler:");
  for (int i = 0; i < 112; i += 16) printf(" %d", out[i]);
  printf("\np6 after the handler:");
  for (int i = 112; i < 126; ++i) printf(" %02x", out[i]);
  printf("\n");

  struct sigaction old;
  sigaction(SIGILL, NULL, &old);
  printf("program's SIGILL action reported back: %s\n", old.sa_sigaction == on_sigill ? "yes" : "no");
  fflush(stdout);
  signal(SIGILL, SIG_DFL);
  t_sve2();
  printf("not reached\n");
  return 0;
}
