// Access to application memory. The emulator lives in the application's
// address space, so an application address is a host pointer: the fixed-length
// executors read and write through it directly (a fault there is the
// application's own). Around those direct accesses:
//  - the host page size and a one-byte readability probe, for the loads that
//    must not fault;
//  - a process-wide fault-recovery pair (sveFaultJB, SVEFaultRegion) with the
//    SIGSEGV/SIGBUS handler that SVEInitialize installs, and the guarded
//    element reads of the length-agnostic routines;
//  - the entry points of a simulator-backed build, which access nothing here.
#pragma once
#include <setjmp.h>
#include <signal.h>

#include <cstdint>
#include <cstring>

#include "sve/state/context.h"

extern int page_size;  // sysconf(_SC_PAGESIZE), set before the decode tables are built

extern sigjmp_buf sveFaultJB;           // where a fault inside a guarded read returns
extern volatile int SVEFaultRegion;     // 1 while a guarded read is touching memory
extern int SVELibInitialized;           // set by the first SVEInitialize
extern CpuContext cpu_ctxt;             // context of the exported CpuContext entry points
extern CpuContext* ctxt;                // &cpu_ctxt once SVEInitialize has run

// True when one byte at p can be read. Touches the byte under a temporary
// SIGSEGV action and puts the previous action back.
template <class T> bool addr_is_readable(T volatile* p);
template <> bool addr_is_readable<char>(char volatile* p);

// The process's SIGSEGV/SIGBUS action: recovers a guarded read, or hands an
// unexpected fault to the default action with a one-line message.
void SVESigHandler(int sig, siginfo_t* info, void* uctx);
// Installs SVESigHandler once per process; 1 on the first call, later the
// (non-zero) flag.
int SVEInitialize();

// Defined (returning true) by a host framework that owns the process's
// signals and catches faults of emulated accesses itself: SVEInitialize then
// leaves the signal actions alone.
extern "C" __attribute__((weak)) bool sve_host_owns_signals();

// Element reads of N bytes. With a null fault flag: a plain read. Otherwise a
// fault is caught, reported through *fault (set true) and the result is 0; on
// success *fault is left as it was. The integer argument is not used.
uint64_t ReadMemLib1(unsigned long addr, int, bool* fault, CpuContext*);
uint64_t ReadMemLib2(unsigned long addr, int, bool* fault, CpuContext*);
uint64_t ReadMemLib4(unsigned long addr, int, bool* fault, CpuContext*);
uint64_t ReadMemLib8(unsigned long addr, int, bool* fault, CpuContext*);
void WriteMemLib1(unsigned char v, unsigned long addr, CpuContext*);
void WriteMemLib2(unsigned short v, unsigned long addr, CpuContext*);
void WriteMemLib4(unsigned int v, unsigned long addr, CpuContext*);
void WriteMemLib8(unsigned long v, unsigned long addr, CpuContext*);

// Simulator entry points: no access in this build (reads give 0, no fault).
uint64_t ReadMem(unsigned long addr, int, int, bool* fault, CpuContext*);
uint64_t ReadMemSim(unsigned long addr, int, int, bool* fault, bool, CpuContext*);
void WriteMem(unsigned long v, unsigned long addr, int size, CpuContext*);
void WriteMemSim(unsigned long v, unsigned long addr, int size, bool, CpuContext*);

namespace sve {

// Direct little-endian element access at an application address.
template <class T> inline T load(uint64_t addr) {
  T v;
  std::memcpy(&v, reinterpret_cast<const void*>(addr), sizeof v);
  return v;
}
template <class T> inline void store(uint64_t addr, T v) {
  std::memcpy(reinterpret_cast<void*>(addr), &v, sizeof v);
}

// The guarded read of sizeof(T) bytes.
template <class T> inline uint64_t read_mem_lib(uint64_t addr, int arg, bool* fault, CpuContext* c) {
  if constexpr (sizeof(T) == 1) return ReadMemLib1(addr, arg, fault, c);
  else if constexpr (sizeof(T) == 2) return ReadMemLib2(addr, arg, fault, c);
  else if constexpr (sizeof(T) == 4) return ReadMemLib4(addr, arg, fault, c);
  else return ReadMemLib8(addr, arg, fault, c);
}

}  // namespace sve
