// Guarded access and fault recovery: the readability probe, SVESigHandler and
// SVEInitialize, the guarded element reads and the simulator entry points.
#include "sve/mem/access.h"

#include <ucontext.h>

#include <cstdio>

sigjmp_buf sveFaultJB;
volatile int SVEFaultRegion = 0;
int SVELibInitialized = 0;
CpuContext cpu_ctxt;
CpuContext* ctxt = nullptr;

namespace {

constexpr int kActionFlags = SA_SIGINFO | SA_RESTART | SA_NODEFER;  // 0x50000004

// The probe's load is one instruction of known length, so that the probe's
// signal handler can step over it: a byte load from the address in the first
// argument register, then return.
#if defined(__aarch64__)
constexpr int kProbeInsnBytes = 4;  // ldrb w0, [x0]
asm(R"(
        .text
        .p2align 2
        .globl  sve_probe_byte
        .hidden sve_probe_byte
        .type   sve_probe_byte, %function
sve_probe_byte:
        ldrb    w0, [x0]
        ret
        .size   sve_probe_byte, . - sve_probe_byte
)");
#elif defined(__x86_64__)
constexpr int kProbeInsnBytes = 3;  // movzbl (%rdi), %eax = 0f b6 07
asm(R"(
        .text
        .p2align 4
        .globl  sve_probe_byte
        .hidden sve_probe_byte
        .type   sve_probe_byte, @function
sve_probe_byte:
        movzbl  (%rdi), %eax
        ret
        .size   sve_probe_byte, . - sve_probe_byte
)");
#else
#error "no readability probe for this host"
#endif

void step_over_probe(void* uctx) {
  auto* uc = static_cast<ucontext_t*>(uctx);
#if defined(__aarch64__)
  uc->uc_mcontext.pc += kProbeInsnBytes;
#else
  uc->uc_mcontext.gregs[REG_RIP] += kProbeInsnBytes;
#endif
}

struct sigaction make_action(void (*fn)(int, siginfo_t*, void*)) {
  struct sigaction sa;
  std::memset(&sa, 0, sizeof sa);
  sa.sa_sigaction = fn;
  sigemptyset(&sa.sa_mask);
  sa.sa_flags = kActionFlags;
  return sa;
}

}  // namespace

extern "C" unsigned char sve_probe_byte(const volatile char* p);

template <> bool addr_is_readable<char>(char volatile* p) {
  // Thread-local, so that probes in different threads keep their own results.
  [[maybe_unused]] static thread_local const volatile char* access_violation_addr;  // stored, never compared
  static thread_local volatile uint8_t access_violation;
  struct sigaction sa = make_action([](int, siginfo_t*, void* uctx) {
    access_violation = 1;
    step_over_probe(uctx);
  });
  struct sigaction previous;
  access_violation_addr = p;
  access_violation = 0;
  sigaction(SIGSEGV, &sa, &previous);
  sve_probe_byte(p);
  sigaction(SIGSEGV, &previous, nullptr);
  return !access_violation;
}

void SVESigHandler(int sig, siginfo_t*, void*) {
  if (SVEFaultRegion) {
    SVEFaultRegion = 0;
    siglongjmp(sveFaultJB, 1);
  }
  // Not ours: restore the default actions and let the faulting instruction
  // meet them when it runs again.
  struct sigaction sa;
  std::memset(&sa, 0, sizeof sa);
  sa.sa_handler = SIG_DFL;
  sigemptyset(&sa.sa_mask);
  sa.sa_flags = kActionFlags;
  sigaction(SIGSEGV, &sa, nullptr);
  sigaction(SIGBUS, &sa, nullptr);
  std::fprintf(stderr,
               "zorix's SVESigHandler caught signal %s from the process being emulated, passing it to the "
               "default signal handler.\n",
               sig == SIGSEGV ? "SIGSEGV" : "SIGBUS");
  std::fflush(stderr);
}

int SVEInitialize() {
  if (SVELibInitialized) return SVELibInitialized;
  cpu_ctxt.vl = 2;
  ctxt = &cpu_ctxt;
  if (!(sve_host_owns_signals && sve_host_owns_signals())) {
    struct sigaction sa = make_action(SVESigHandler);
    sigaction(SIGSEGV, &sa, nullptr);
    sigaction(SIGBUS, &sa, nullptr);
  }
  SVELibInitialized = 1;
  return 1;
}

namespace {

// Only the two touches run inside the region; the value returned comes from a
// third, unguarded read. The sanitizer must not look at these addresses: they
// are the application's and may be unmapped on purpose.
template <class T>
__attribute__((no_sanitize("address"))) uint64_t read_guarded(unsigned long addr, bool* fault) {
  typedef T __attribute__((aligned(1))) Unaligned;  // application addresses need no alignment
  const volatile Unaligned* p = reinterpret_cast<const volatile Unaligned*>(addr);
  if (!fault) return *p;
  if (sigsetjmp(sveFaultJB, 1) != 0) {
    *fault = true;
    return 0;
  }
  SVEFaultRegion = 1;
  volatile Unaligned touch = *p;
  touch = *p;
  (void)touch;
  SVEFaultRegion = 0;
  return *p;
}

template <class T> void write_direct(T v, unsigned long addr) { sve::store<T>(addr, v); }

}  // namespace

uint64_t ReadMemLib1(unsigned long addr, int, bool* fault, CpuContext*) { return read_guarded<uint8_t>(addr, fault); }
uint64_t ReadMemLib2(unsigned long addr, int, bool* fault, CpuContext*) { return read_guarded<uint16_t>(addr, fault); }
uint64_t ReadMemLib4(unsigned long addr, int, bool* fault, CpuContext*) { return read_guarded<uint32_t>(addr, fault); }
uint64_t ReadMemLib8(unsigned long addr, int, bool* fault, CpuContext*) { return read_guarded<uint64_t>(addr, fault); }
void WriteMemLib1(unsigned char v, unsigned long addr, CpuContext*) { write_direct(v, addr); }
void WriteMemLib2(unsigned short v, unsigned long addr, CpuContext*) { write_direct(v, addr); }
void WriteMemLib4(unsigned int v, unsigned long addr, CpuContext*) { write_direct(v, addr); }
void WriteMemLib8(unsigned long v, unsigned long addr, CpuContext*) { write_direct(v, addr); }

uint64_t ReadMem(unsigned long, int, int, bool* fault, CpuContext*) {
  if (fault) *fault = false;
  return 0;
}
uint64_t ReadMemSim(unsigned long, int, int, bool* fault, bool, CpuContext*) {
  if (fault) *fault = false;
  return 0;
}
void WriteMem(unsigned long, unsigned long, int, CpuContext*) {}
void WriteMemSim(unsigned long, unsigned long, int, bool, CpuContext*) {}
