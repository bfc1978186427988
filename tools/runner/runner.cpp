// SVE emulation without a framework. Preloaded into an AArch64 program that
// runs on a CPU without SVE, this library catches the SIGILL that each SVE
// instruction raises, emulates the instruction against the thread's emulated
// register file and resumes after it:
//  - the thread's cpu_state is filled from the signal context (X0-X30, SP,
//    NZCV, V0-V31 as the low 16 bytes of Z0-Z31, FPSR, FPCR), the handler
//    found by get_sve_handler runs, and the context is written back;
//  - the upper bytes of Z, the P registers and FFR live only in cpu_state,
//    so they survive between SVE instructions;
//  - a word that has no handler is passed on: to the program's own SIGILL
//    handler if it installed one, otherwise to the default action after a
//    one-line message.
// The program's sigaction/signal calls are interposed: a SIGILL handler of
// its own is kept as the one to chain to, and handlers of other signals are
// wrapped so that SVE code inside them does not disturb the emulated vector
// state of the code they interrupted (as the kernel's signal frame would).
#include <dlfcn.h>
#include <errno.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <ucontext.h>

#include <atomic>
#include <cstdio>
#include <cstring>

#include "sve/decode/decode.h"
#include "sve/mem/trace.h"
#include "trace/memtrace_sve_utils.h"

namespace {

// The floating-point record of the AArch64 signal frame.
struct FrameRecordHead { uint32_t magic, size; };
struct FpsimdRecord {
  FrameRecordHead head;
  uint32_t fpsr, fpcr;
  unsigned __int128 vregs[32];
};
constexpr uint32_t kFpsimdMagic = 0x46508001;
constexpr uint64_t kNzcvMask = 0xF0000000u;

using SigactionFn = int (*)(int, const struct sigaction*, struct sigaction*);
SigactionFn real_sigaction_fn;

int real_sigaction(int sig, const struct sigaction* act, struct sigaction* old) {
  if (!real_sigaction_fn)  // first use may come from another library's constructor
    real_sigaction_fn = reinterpret_cast<SigactionFn>(dlsym(RTLD_NEXT, "sigaction"));
  return real_sigaction_fn(sig, act, old);
}

// The program's own actions: what it asked for, returned to it as "old".
// Written by the interposed sigaction, read by the signal handlers.
struct sigaction program_action[NSIG];
bool program_set[NSIG];  // program_action[sig] holds what the program asked for
std::atomic<bool> runner_active{false};
pthread_key_t state_key;

SVE_TLS cpu_state* thread_state;

void release_state(void* p) {
  munmap(p, sizeof(cpu_state));
  sve_thread_exit();
}

// The calling thread's emulated register file, made on its first SVE
// instruction. mmap rather than malloc: this runs inside a signal handler.
cpu_state* current_state() {
  if (thread_state) return thread_state;
  void* p = mmap(nullptr, sizeof(cpu_state), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (p == MAP_FAILED) return nullptr;
  thread_state = static_cast<cpu_state*>(p);
  pthread_setspecific(state_key, p);
  return thread_state;
}

FpsimdRecord* find_fpsimd(mcontext_t& mc) {
  auto* at = reinterpret_cast<uint8_t*>(mc.__reserved);
  auto* end = at + sizeof mc.__reserved;
  while (at + sizeof(FrameRecordHead) <= end) {
    auto* head = reinterpret_cast<FrameRecordHead*>(at);
    if (head->magic == kFpsimdMagic) return reinterpret_cast<FpsimdRecord*>(at);
    if (head->magic == 0 || head->size == 0) break;
    at += head->size;
  }
  return nullptr;
}

void fill_state(cpu_state* s, const mcontext_t& mc, const FpsimdRecord& fp) {
  std::memcpy(s->x, mc.regs, sizeof s->x);
  s->sp = mc.sp;
  s->pc = reinterpret_cast<uint8_t*>(mc.pc);
  s->nzcv = mc.pstate & kNzcvMask;
  s->fpsr = fp.fpsr;
  s->fpcr = fp.fpcr;
  for (int i = 0; i < 32; ++i) std::memcpy(s->z[i], &fp.vregs[i], 16);
}

void store_state(const cpu_state* s, mcontext_t& mc, FpsimdRecord& fp) {
  std::memcpy(mc.regs, s->x, sizeof s->x);
  mc.sp = s->sp;
  mc.pstate = (mc.pstate & ~kNzcvMask) | (s->nzcv & kNzcvMask);
  fp.fpsr = s->fpsr;
  for (int i = 0; i < 32; ++i) std::memcpy(&fp.vregs[i], s->z[i], 16);
}

bool is_handler(const struct sigaction& a) {
  return (a.sa_flags & SA_SIGINFO) ? a.sa_sigaction != nullptr
                                   : a.sa_handler != SIG_DFL && a.sa_handler != SIG_IGN;
}

void call_program_handler(const struct sigaction& a, int sig, siginfo_t* info, void* uctx) {
  if (a.sa_flags & SA_SIGINFO) a.sa_sigaction(sig, info, uctx);
  else a.sa_handler(sig);
}

// A SIGILL that is not an SVE instruction we emulate: the program's handler,
// or the default action when the instruction runs again.
void pass_on(int sig, siginfo_t* info, void* uctx, uint32_t word, uint64_t pc) {
  const struct sigaction& mine = program_action[SIGILL];
  if (is_handler(mine)) {
    call_program_handler(mine, sig, info, uctx);
    return;
  }
  std::fprintf(stderr, "sve-run: no emulation for instruction 0x%08x at %p\n", word, reinterpret_cast<void*>(pc));
  struct sigaction dfl;
  std::memset(&dfl, 0, sizeof dfl);
  dfl.sa_handler = SIG_DFL;
  real_sigaction(SIGILL, &dfl, nullptr);
}

void on_sigill(int sig, siginfo_t* info, void* uctx) {
  int saved_errno = errno;
  mcontext_t& mc = static_cast<ucontext_t*>(uctx)->uc_mcontext;
  uint32_t word;
  std::memcpy(&word, reinterpret_cast<const void*>(mc.pc), sizeof word);
  Handler h = info->si_code == ILL_ILLOPC || info->si_code == ILL_ILLOPN ? get_sve_handler(word) : nullptr;
  FpsimdRecord* fp = h ? find_fpsimd(mc) : nullptr;
  cpu_state* s = fp ? current_state() : nullptr;
  if (!s) {
    pass_on(sig, info, uctx, word, mc.pc);
    errno = saved_errno;
    return;
  }
  fill_state(s, mc, *fp);
  if (h(s, word) != DECODE_OK)
    std::fprintf(stderr, "Error: failed to emulate SVE instruction 0x%08x at PC %p\n", word,
                 reinterpret_cast<void*>(mc.pc));
  store_state(s, mc, *fp);
  mc.pc += 4;
  errno = saved_errno;
}

// The emulated vector state that a handler of another signal must not leave
// changed: everything the signal context does not carry.
struct VectorState {
  uint8_t z[32][SVE_VL_BYTES];
  uint8_t p[16][SVE_VL_BYTES];
  uint8_t ffr[SVE_VL_BYTES];
};

void on_other_signal(int sig, siginfo_t* info, void* uctx) {
  cpu_state* s = thread_state;
  if (!s) {
    call_program_handler(program_action[sig], sig, info, uctx);
    return;
  }
  VectorState saved;
  std::memcpy(saved.z, s->z, sizeof saved.z);
  std::memcpy(saved.p, s->p, sizeof saved.p);
  std::memcpy(saved.ffr, s->ffr, sizeof saved.ffr);
  call_program_handler(program_action[sig], sig, info, uctx);
  std::memcpy(s->z, saved.z, sizeof saved.z);
  std::memcpy(s->p, saved.p, sizeof saved.p);
  std::memcpy(s->ffr, saved.ffr, sizeof saved.ffr);
}

// Signals whose handlers are the program's business alone: the emulator's
// own fault recovery installs SIGSEGV/SIGBUS actions through sigaction too.
bool wrapped_signal(int sig) { return sig > 0 && sig < NSIG && sig != SIGSEGV && sig != SIGBUS && sig != SIGILL; }

void install_sigill() {
  struct sigaction sa;
  std::memset(&sa, 0, sizeof sa);
  sa.sa_sigaction = on_sigill;
  sa.sa_flags = SA_SIGINFO | SA_RESTART;
  // Asynchronous signals wait until the instruction is done, so that a
  // handler of the program never sees a half-emulated state.
  sigfillset(&sa.sa_mask);
  for (int sync : {SIGSEGV, SIGBUS, SIGFPE, SIGTRAP, SIGILL}) sigdelset(&sa.sa_mask, sync);
  real_sigaction(SIGILL, &sa, &program_action[SIGILL]);
}

__attribute__((constructor)) void runner_start() {
  pthread_key_create(&state_key, release_state);
  sve_init(nullptr, program_invocation_short_name);
  install_sigill();
  runner_active.store(true, std::memory_order_release);
}

__attribute__((destructor)) void runner_stop() { sve_exit(); }

}  // namespace

// Interposed: the program's view of signal actions.
extern "C" int sigaction(int sig, const struct sigaction* act, struct sigaction* old) {
  if (!runner_active.load(std::memory_order_acquire) || (sig != SIGILL && !wrapped_signal(sig)))
    return real_sigaction(sig, act, old);
  if (sig == SIGILL) {
    if (old) *old = program_action[SIGILL];
    if (act) program_action[SIGILL] = *act;
    return 0;
  }
  struct sigaction previous;
  if (program_set[sig]) previous = program_action[sig];
  else real_sigaction(sig, nullptr, &previous);
  if (act) {
    struct sigaction installed = *act;
    if (is_handler(*act)) {
      installed.sa_sigaction = on_other_signal;
      installed.sa_flags |= SA_SIGINFO;
    }
    if (real_sigaction(sig, &installed, nullptr) != 0) return -1;
    program_action[sig] = *act;
    program_set[sig] = true;
  }
  if (old) *old = previous;
  return 0;
}

extern "C" sighandler_t signal(int sig, sighandler_t handler) {
  struct sigaction sa, old;
  std::memset(&sa, 0, sizeof sa);
  sa.sa_handler = handler;
  sigemptyset(&sa.sa_mask);
  sa.sa_flags = SA_RESTART;
  if (sigaction(sig, &sa, &old) != 0) return SIG_ERR;
  if (!(old.sa_flags & SA_SIGINFO)) return old.sa_handler;
  sighandler_t previous;  // the one-argument view of a three-argument handler
  std::memcpy(&previous, &old.sa_sigaction, sizeof previous);
  return previous;
}
