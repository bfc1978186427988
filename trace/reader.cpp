// sve-trace: prints a trace file of libmemtrace_sve_utils.
//
//   sve-trace FILE              header, then one line per record
//   sve-trace --summary FILE    records per thread and per access type, bytes,
//                               and the 10 instructions with most records
//
// Exit status: 0, 1 for bad usage, 2 for a file that cannot be read or is not
// a valid trace.
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>

#include "trace/trace_file.h"

namespace {

const char kUsage[] = "usage: sve-trace [--summary] FILE\n";

void print_header(const trace_header& h, size_t records) {
  std::printf("program  %s\n", h.program.c_str());
  std::printf("pid      %" PRIu64 "\n", h.pid);
  std::printf("version  %u\n", h.version);
  std::printf("vector   %u bytes\n", h.vl_bytes);
  std::printf("records  %zu\n", records);
}

void flags_text(uint32_t f, char* out) {
  out[0] = 0;
  if (!f) {
    std::strcpy(out, "-");
    return;
  }
  const char* names[] = {"FIRST", "GROUP", "LAST"};
  for (int i = 0; i < 3; ++i) {
    if (!(f & (1u << i))) continue;
    if (out[0]) std::strcat(out, "|");
    std::strcat(out, names[i]);
  }
  if (f & ~7u) std::sprintf(out + std::strlen(out), "%s0x%x", out[0] ? "|" : "", f & ~7u);
}

void print_records(const trace_file& f) {
  std::printf("%-12s %-10s %-4s %-6s %-18s %-18s %s\n", "count", "thread", "type", "size", "address", "pc",
              "flags");
  char flags[64];
  for (const sve_mem_ref_t& r : f.records) {
    if (r.thread_id == MEMREF_ROI_START || r.thread_id == MEMREF_ROI_STOP) {
      std::printf("%-12" PRIu64 " ROI %s\n", r.count, r.thread_id == MEMREF_ROI_START ? "START" : "STOP");
      continue;
    }
    flags_text(r.group_flags, flags);
    const char* type = r.access_type == MEMACCESS_READ ? "R" : r.access_type == MEMACCESS_WRITE ? "W" : "?";
    std::printf("%-12" PRIu64 " 0x%08x %-4s %-6" PRIu64 " 0x%016" PRIx64 " 0x%016" PRIx64 " %s\n", r.count,
                r.thread_id, type, r.size, r.address, r.pc, flags);
  }
}

void print_summary(const trace_file& f) {
  trace_summary s = summarize(f);
  print_header(f.header, f.records.size());
  std::printf("\nthreads  %zu\n", s.per_thread.size());
  for (const auto& [tid, n] : s.per_thread) std::printf("  0x%08x  %" PRIu64 " records\n", tid, n);
  std::printf("\nreads    %" PRIu64 " records  %" PRIu64 " bytes\n", s.reads.records, s.reads.bytes);
  std::printf("writes   %" PRIu64 " records  %" PRIu64 " bytes\n", s.writes.records, s.writes.bytes);
  std::printf("markers  %" PRIu64 " (%" PRIu64 " start, %" PRIu64 " stop)\n", s.roi_starts + s.roi_stops,
              s.roi_starts, s.roi_stops);
  std::printf("\ntop instructions\n");
  for (const auto& [pc, n] : s.top_pcs) std::printf("  0x%016" PRIx64 "  %" PRIu64 " records\n", pc, n);
}

}  // namespace

int main(int argc, char** argv) {
  bool summary = false;
  const char* path = nullptr;
  for (int i = 1; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--summary")) {
      summary = true;
    } else if (!std::strcmp(argv[i], "-h") || !std::strcmp(argv[i], "--help")) {
      std::fputs(kUsage, stdout);
      return 0;
    } else if (argv[i][0] == '-' && argv[i][1]) {
      std::fprintf(stderr, "sve-trace: unknown option %s\n%s", argv[i], kUsage);
      return 1;
    } else if (path) {
      std::fprintf(stderr, "sve-trace: more than one file given\n%s", kUsage);
      return 1;
    } else {
      path = argv[i];
    }
  }
  if (!path) {
    std::fputs(kUsage, stderr);
    return 1;
  }
  trace_file f;
  std::string error;
  if (read_trace_file(path, f, error) != TRACE_OK) {
    std::fprintf(stderr, "sve-trace: %s: %s\n", path, error.c_str());
    return 2;
  }
  if (summary) {
    print_summary(f);
  } else {
    print_header(f.header, f.records.size());
    std::printf("\n");
    print_records(f);
  }
  return 0;
}
