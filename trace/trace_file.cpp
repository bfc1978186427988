#include "trace/trace_file.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <map>

#include "trace/memtrace_sve_utils.h"

namespace {

uint64_t get_le(const uint8_t* p, int bytes) {
  uint64_t v = 0;
  for (int i = 0; i < bytes; ++i) v |= uint64_t(p[i]) << (8 * i);
  return v;
}

void put_le(uint8_t* d, uint64_t v, int bytes) {
  for (int i = 0; i < bytes; ++i) d[i] = uint8_t(v >> (8 * i));
}

int fail(std::string& error, int status, std::string text) {
  error = std::move(text);
  return status;
}

}  // namespace

int parse_trace(const uint8_t* data, size_t size, trace_file& out, std::string& error) {
  out = trace_file{};
  error.clear();
  size_t same = 0;  // leading bytes that match the magic
  while (same < 8 && same < size && data[same] == uint8_t(SVE_TRACE_MAGIC[same])) ++same;
  if (same < 8) {
    if (same == size)
      return fail(error, TRACE_TRUNCATED_HEADER,
                  "truncated header: " + std::to_string(size) + " of " + std::to_string(SVE_TRACE_HEADER_FIXED) +
                      " bytes");
    return fail(error, TRACE_BAD_MAGIC, "not a trace file (bad magic)");
  }
  if (size < SVE_TRACE_HEADER_FIXED)
    return fail(error, TRACE_TRUNCATED_HEADER,
                "truncated header: " + std::to_string(size) + " of " + std::to_string(SVE_TRACE_HEADER_FIXED) +
                    " bytes");
  trace_header& h = out.header;
  h.version = uint32_t(get_le(data + 8, 4));
  h.vl_bytes = uint32_t(get_le(data + 12, 4));
  h.record_size = uint32_t(get_le(data + 16, 4));
  uint64_t name_len = get_le(data + 20, 4);
  h.pid = get_le(data + 24, 8);
  if (h.version != SVE_TRACE_VERSION)
    return fail(error, TRACE_BAD_VERSION,
                "unsupported version " + std::to_string(h.version) + " (this reader knows version " +
                    std::to_string(SVE_TRACE_VERSION) + ")");
  if (h.record_size != sizeof(sve_mem_ref_t))
    return fail(error, TRACE_BAD_RECORD_SIZE,
                "record size " + std::to_string(h.record_size) + ", expected " +
                    std::to_string(sizeof(sve_mem_ref_t)));
  h.records_offset = SVE_TRACE_HEADER_FIXED + ((name_len + 7) & ~uint64_t(7));
  if (size < h.records_offset)
    return fail(error, TRACE_TRUNCATED_HEADER,
                "truncated header: " + std::to_string(size) + " of " + std::to_string(h.records_offset) +
                    " bytes (program name of " + std::to_string(name_len) + " bytes)");
  h.program.assign(reinterpret_cast<const char*>(data + SVE_TRACE_HEADER_FIXED), name_len);
  size_t body = size - h.records_offset;
  size_t n = body / sizeof(sve_mem_ref_t);
  out.records.resize(n);
  if (n) memcpy(out.records.data(), data + h.records_offset, n * sizeof(sve_mem_ref_t));
  if (body % sizeof(sve_mem_ref_t))
    return fail(error, TRACE_PARTIAL_RECORD,
                "partial record at the end: " + std::to_string(body % sizeof(sve_mem_ref_t)) + " bytes after " +
                    std::to_string(n) + " whole records");
  return TRACE_OK;
}

int read_trace_file(const char* path, trace_file& out, std::string& error) {
  out = trace_file{};
  int fd = open(path, O_RDONLY | O_CLOEXEC);
  struct stat st;
  if (fd < 0 || fstat(fd, &st) != 0) {
    std::string text = std::string("cannot open ") + path + ": " + strerror(errno);
    if (fd >= 0) close(fd);
    return fail(error, TRACE_CANNOT_READ, text);
  }
  std::vector<uint8_t> data(size_t(st.st_size));
  size_t got = 0;
  while (got < data.size()) {
    ssize_t r = read(fd, data.data() + got, data.size() - got);
    if (r < 0 && errno == EINTR) continue;
    if (r <= 0) {
      std::string text = std::string("cannot read ") + path + ": " + (r < 0 ? strerror(errno) : "file shrank");
      close(fd);
      return fail(error, TRACE_CANNOT_READ, text);
    }
    got += size_t(r);
  }
  close(fd);
  return parse_trace(data.data(), data.size(), out, error);
}

std::vector<uint8_t> encode_trace_header(uint32_t version, uint32_t vl_bytes, uint32_t record_size, uint64_t pid,
                                         const std::string& program) {
  std::vector<uint8_t> h(SVE_TRACE_HEADER_FIXED + ((program.size() + 7) & ~size_t(7)), 0);
  memcpy(h.data(), SVE_TRACE_MAGIC, 8);
  put_le(h.data() + 8, version, 4);
  put_le(h.data() + 12, vl_bytes, 4);
  put_le(h.data() + 16, record_size, 4);
  put_le(h.data() + 20, program.size(), 4);
  put_le(h.data() + 24, pid, 8);
  memcpy(h.data() + SVE_TRACE_HEADER_FIXED, program.data(), program.size());
  return h;
}

bool is_marker(const sve_mem_ref_t& r) { return r.thread_id == MEMREF_ROI_START || r.thread_id == MEMREF_ROI_STOP; }

trace_summary summarize(const trace_file& f) {
  trace_summary s;
  s.records = f.records.size();
  std::map<uint32_t, uint64_t> threads;
  std::map<uint64_t, uint64_t> pcs;
  for (const sve_mem_ref_t& r : f.records) {
    if (r.thread_id == MEMREF_ROI_START) {
      ++s.roi_starts;
      continue;
    }
    if (r.thread_id == MEMREF_ROI_STOP) {
      ++s.roi_stops;
      continue;
    }
    ++threads[r.thread_id];
    ++pcs[r.pc];
    trace_type_totals& t = r.access_type == MEMACCESS_READ ? s.reads : s.writes;
    ++t.records;
    t.bytes += r.size;
  }
  s.per_thread.assign(threads.begin(), threads.end());
  s.top_pcs.assign(pcs.begin(), pcs.end());
  // Most records first; equal counts by address.
  std::stable_sort(s.top_pcs.begin(), s.top_pcs.end(),
                   [](const auto& a, const auto& b) { return a.second > b.second; });
  if (s.top_pcs.size() > 10) s.top_pcs.resize(10);
  return s;
}
