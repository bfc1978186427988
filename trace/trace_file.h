// Reading trace files written by libmemtrace_sve_utils (layout in
// trace/FORMAT.md): validation into header + records, and the summary that
// `sve-trace --summary` prints.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "sve/mem/trace.h"

struct trace_header {
  uint32_t version = 0;
  uint32_t vl_bytes = 0;
  uint32_t record_size = 0;
  uint64_t pid = 0;
  std::string program;
  uint64_t records_offset = 0;  // byte offset of the first record
};

struct trace_file {
  trace_header header;
  std::vector<sve_mem_ref_t> records;
};

enum trace_status : int {
  TRACE_OK = 0,
  TRACE_CANNOT_READ,       // the file could not be opened or read
  TRACE_TRUNCATED_HEADER,  // shorter than its header (fixed part or name)
  TRACE_BAD_MAGIC,
  TRACE_BAD_VERSION,
  TRACE_BAD_RECORD_SIZE,
  TRACE_PARTIAL_RECORD,    // the last record is cut short
};

// Parses a whole file image. On failure returns the status and sets error to
// a one-line explanation; out then holds whatever was read before the fault.
int parse_trace(const uint8_t* data, size_t size, trace_file& out, std::string& error);
int read_trace_file(const char* path, trace_file& out, std::string& error);

// Header bytes for the given fields (used by tests to build files).
std::vector<uint8_t> encode_trace_header(uint32_t version, uint32_t vl_bytes, uint32_t record_size, uint64_t pid,
                                         const std::string& program);

bool is_marker(const sve_mem_ref_t& r);

struct trace_type_totals {
  uint64_t records = 0;
  uint64_t bytes = 0;
};

struct trace_summary {
  uint64_t records = 0;
  std::vector<std::pair<uint32_t, uint64_t>> per_thread;  // thread id -> records, by thread id (markers excluded)
  trace_type_totals reads, writes;
  uint64_t roi_starts = 0, roi_stops = 0;
  std::vector<std::pair<uint64_t, uint64_t>> top_pcs;     // pc -> records, most first, at most 10
};

trace_summary summarize(const trace_file& f);
