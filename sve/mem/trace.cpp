// Emission of trace records: runs of a contiguous access, per-element groups,
// and the region markers.
#include "sve/mem/trace.h"

#include <pthread.h>

SVE_TLS uint8_t enable_trace;
SVE_TLS sve_mem_ref_t trace_roi;

namespace {

uint32_t thread_word() { return uint32_t(uint64_t(pthread_self())); }

// Fills and passes one record; count is taken immediately before filling.
void emit(const cpu_state* cpu, uint32_t thread_id, uint32_t group_flags, memaccess_type_t type, uint64_t address,
          uint64_t size) {
  sve_mem_ref_t r;
  r.count = incr_count();
  r.thread_id = thread_id;
  r.group_flags = group_flags;
  r.access_type = type;
  r.size = size;
  r.address = address;
  r.pc = reinterpret_cast<uint64_t>(cpu->pc);
  trace_mem(r);
}

void roi_marker(uint32_t word) {
  trace_roi.count = incr_count();
  trace_roi.thread_id = word;
  trace_mem(trace_roi);
}

}  // namespace

void memtrace_runs(const cpu_state* cpu, uint64_t base, const char* pred, int msize, int ebytes,
                   memaccess_type_t type) {
  const int n = SVE_VL_BYTES / ebytes;
  int active = 0;
  for (int i = 0; i < n; ++i) active += pred[i * ebytes] & 1;
  if (active == 0) return;
  // A fully active vector is one record of the whole vector length, whatever
  // the memory footprint.
  if (active == n) {
    emit(cpu, thread_word(), 0, type, base, SVE_VL_BYTES);
    return;
  }
  for (int i = 0; i < n;) {
    if (!(pred[i * ebytes] & 1)) {
      ++i;
      continue;
    }
    int start = i;
    while (i < n && (pred[i * ebytes] & 1)) ++i;
    emit(cpu, thread_word(), 0, type, base + uint64_t(start) * uint64_t(msize), uint64_t(i - start) * uint64_t(msize));
  }
}

void memtrace_elements(const cpu_state* cpu, const uint64_t* addrs, const char* pred, int n, int ebytes,
                       uint64_t size, memaccess_type_t type) {
  if (!enable_trace) return;
  int active[SVE_VL_BYTES];
  int count = 0;
  for (int i = 0; i < n; ++i)
    if (pred[i * ebytes] & 1) active[count++] = i;
  if (count == 0) return;
  uint32_t tid = thread_word();
  for (int k = 0; k < count; ++k) {
    uint32_t flags = MEMREF_GROUP | (k == 0 ? MEMREF_FIRST : 0) | (k == count - 1 ? MEMREF_LAST : 0);
    emit(cpu, tid, flags, type, addrs[active[k]], size);
  }
}

void memtrace_marker(unsigned imm) {
  if (imm == 256) {
    enable_trace = 1;
    roi_marker(MEMREF_ROI_START);
  } else if (imm == 512) {
    enable_trace = 0;
    roi_marker(MEMREF_ROI_STOP);
  }
}
