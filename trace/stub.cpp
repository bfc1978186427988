// The default trace library linked with the emulator core where no other is
// given (tools, harness, benchmarks): records are counted and dropped.
#include <atomic>

#include "sve/mem/trace.h"

namespace {
std::atomic<uint64_t> g_count{0};
}  // namespace

uint64_t incr_count() { return g_count.fetch_add(1, std::memory_order_relaxed) + 1; }
void trace_mem(sve_mem_ref_t const&) {}
