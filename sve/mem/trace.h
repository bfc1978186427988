// The memory-access trace: every emulated load and store reports what it
// touched to the companion trace library as fixed 48-byte records, while the
// thread's trace is switched on by the application's start marker.
//  - contiguous accesses: one record per run of active elements (one for a
//    fully active vector), memtrace_lin;
//  - gathers, scatters and structured accesses: one record per active element,
//    flagged as a group, memtrace_elements;
//  - region markers: ADD Zdn.B, Zdn.B, #256 (start) and #512 (stop).
#pragma once
#include <cstddef>
#include <cstdint>

#include "sve/state/cpu_state.h"

enum memaccess_type_t : uint32_t {
  MEMACCESS_WRITE = 0,
  MEMACCESS_READ = 1,
};

// Group flags of per-element records.
constexpr uint32_t MEMREF_FIRST = 1, MEMREF_GROUP = 2, MEMREF_LAST = 4;
// thread_id words of the marker records.
constexpr uint32_t MEMREF_ROI_START = 0xFFFFFFFFu, MEMREF_ROI_STOP = 0xFFFFFFFEu;

// The wire format shared with the trace library (little-endian, 48 bytes).
struct sve_mem_ref_t {
  uint64_t count;               // incr_count() just before the record was passed on
  uint32_t thread_id;           // low 32 bits of pthread_self(), or a marker word
  uint32_t group_flags;         // 0 for a contiguous run
  memaccess_type_t access_type;
  uint32_t reserved;            // not written; receivers ignore it
  uint64_t size;                // bytes covered
  uint64_t address;             // application address of the first byte
  uint64_t pc;                  // address of the emulated instruction
};
static_assert(sizeof(sve_mem_ref_t) == 48);
static_assert(offsetof(sve_mem_ref_t, count) == 0);
static_assert(offsetof(sve_mem_ref_t, thread_id) == 8);
static_assert(offsetof(sve_mem_ref_t, group_flags) == 12);
static_assert(offsetof(sve_mem_ref_t, access_type) == 16);
static_assert(offsetof(sve_mem_ref_t, reserved) == 20);
static_assert(offsetof(sve_mem_ref_t, size) == 24);
static_assert(offsetof(sve_mem_ref_t, address) == 32);
static_assert(offsetof(sve_mem_ref_t, pc) == 40);
static_assert(sizeof(memaccess_type_t) == 4);

// Provided by the trace library (trace/): called once per record, from every
// emulating thread, without locks on this side.
uint64_t incr_count();
void trace_mem(sve_mem_ref_t const& ref);

// Per-thread trace state, zero at thread start. Initial-exec TLS keeps the
// test of enable_trace on every load and store to a single instruction.
#define SVE_TLS __thread __attribute__((tls_model("initial-exec")))
extern SVE_TLS uint8_t enable_trace;      // records are produced only while non-zero
extern SVE_TLS sve_mem_ref_t trace_roi;   // the record passed for both markers

// Records of one contiguous access of n elements of ebytes register bytes
// each, msize memory bytes apart from base; pred is the governing register's
// lane bytes. Called with the trace on.
void memtrace_runs(const cpu_state* cpu, uint64_t base, const char* pred, int msize, int ebytes,
                   memaccess_type_t type);

// One contiguous access: T is the memory element type (signed for
// sign-extending loads), U the register element type; called once after the
// access loop. Nothing happens while the thread's trace is off.
template <class T, class U>
inline void memtrace_lin(cpu_state* cpu, T* base, char* pred, memaccess_type_t type) {
  if (!enable_trace) return;
  memtrace_runs(cpu, reinterpret_cast<uint64_t>(base), pred, int(sizeof(T)), int(sizeof(U)), type);
}

// One record per active element (or structure) i of n, with element i
// governed by pred lane i * ebytes, at the address addrs[i] that the access
// loop used, each of size bytes. Called once after the access loop.
void memtrace_elements(const cpu_state* cpu, const uint64_t* addrs, const char* pred, int n, int ebytes,
                       uint64_t size, memaccess_type_t type);

// The region markers: immediate 256 starts the calling thread's trace, 512
// stops it; each emits a marker record. Other values do nothing. ADD
// (immediate) on byte elements hands these two immediates here.
void memtrace_marker(unsigned imm);
