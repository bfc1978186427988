// The memory-trace library: per-thread record buffers written to one file
// with positional writes at atomically reserved offsets.
//
// It may run inside the application's SIGILL handler and may be loaded by a
// private loader, so the record path uses no malloc and no stdio: buffers come
// from mmap, the per-thread buffer pointer is initial-exec TLS, and messages
// are assembled by hand and written with write(2).
//
// Buffer hand-over between the owner and sve_exit: the owner publishes each
// record by a release store of the buffer's count; writing a buffer out
// (owner when full or at thread exit, or sve_exit) happens under the buffer's
// busy flag. sve_exit first raises g_exiting, then takes every buffer in turn,
// writes what was published and seals it; a flush that sees g_exiting on a
// buffer not yet sealed waits for sve_exit to take it, so each thread's file
// content is a gapless prefix of what it traced, with nothing twice.
#include "trace/memtrace_sve_utils.h"

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <new>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the file is little-endian, written as in memory");

namespace {

constexpr uint32_t kBufRecords = 4096;
constexpr size_t kNameMax = 255;
constexpr size_t kPathMax = 4096;

struct ThreadBuf {
  std::atomic<uint32_t> n;     // records published by the owner
  std::atomic<bool> busy;      // held while the records are written out
  std::atomic<bool> in_use;    // owned by a live thread
  bool sealed;                 // taken by sve_exit: later flushes drop (under busy)
  ThreadBuf* next;             // list of every buffer, never unlinked
  alignas(64) sve_mem_ref_t recs[kBufRecords];
};

enum FileState : int { kUnopened, kOpen, kFailed, kClosed };

alignas(64) std::atomic<uint64_t> g_count{0};
alignas(64) std::atomic<uint64_t> g_offset{0};  // next free byte of the file
std::atomic<int> g_file_state{kUnopened};
std::atomic<bool> g_exiting{false};
std::atomic<bool> g_write_error_told{false};
std::atomic<ThreadBuf*> g_bufs{nullptr};
int g_fd = -1;
// Guards the buffer list's growth, file creation, the thread key and the name.
pthread_mutex_t g_mutex = PTHREAD_MUTEX_INITIALIZER;
pthread_key_t g_key;
bool g_key_made = false;
char g_name[kNameMax + 1];
size_t g_name_len = 0;
bool g_name_set = false;

__thread ThreadBuf* t_buf __attribute__((tls_model("initial-exec")));

// --- small string helpers (no stdio) ---

struct Text {
  char* p;
  size_t cap, len;
  bool ok;
  void add(const char* s, size_t n) {
    if (len + n >= cap) {
      ok = false;
      return;
    }
    memcpy(p + len, s, n);
    len += n;
    p[len] = 0;
  }
  void add(const char* s) { add(s, strlen(s)); }
  void add_uint(uint64_t v) {
    char d[24];
    size_t i = sizeof d;
    do d[--i] = char('0' + v % 10); while (v /= 10);
    add(d + i, sizeof d - i);
  }
};

void tell(const char* what, const char* path, int err) {
  char line[kPathMax + 256];
  Text t{line, sizeof line - 1, 0, true};  // room for the newline
  t.add("sve trace: ");
  t.add(what);
  t.add(" ");
  t.add(path);
  t.add(": ");
  t.add(strerror(err));
  line[t.len] = '\n';
  ssize_t r = write(2, line, t.len + 1);
  (void)r;
}

bool pwrite_all(int fd, const void* data, size_t len, uint64_t off) {
  const char* p = static_cast<const char*>(data);
  while (len) {
    ssize_t w = pwrite(fd, p, len, off_t(off));
    if (w < 0 && errno == EINTR) continue;
    if (w <= 0) return false;
    p += w;
    len -= size_t(w);
    off += uint64_t(w);
  }
  return true;
}

void put_le(uint8_t* d, uint64_t v, int bytes) {
  for (int i = 0; i < bytes; ++i) d[i] = uint8_t(v >> (8 * i));
}

void take_default_name() {
  if (g_name_set) return;
#ifdef __GLIBC__
  const char* s = program_invocation_short_name;
#else
  const char* s = "program";
#endif
  g_name_len = strnlen(s, kNameMax);
  memcpy(g_name, s, g_name_len);
  g_name[g_name_len] = 0;
  g_name_set = true;
}

// Builds the file path: $SVE_TRACE_FILE with %p expanded, or the default.
bool make_path(char* out, size_t cap, pid_t pid) {
  Text t{out, cap, 0, true};
  out[0] = 0;
  const char* env = getenv("SVE_TRACE_FILE");
  if (env && *env) {
    for (const char* s = env; *s; ++s) {
      if (s[0] == '%' && s[1] == 'p') {
        t.add_uint(uint64_t(pid));
        ++s;
      } else {
        t.add(s, 1);
      }
    }
  } else {
    t.add("sve-trace.");
    t.add(g_name, g_name_len);
    t.add(".");
    t.add_uint(uint64_t(pid));
    t.add(".bin");
  }
  return t.ok;
}

// Creates the file and writes its header. Called under g_mutex.
void open_file_locked() {
  take_default_name();
  pid_t pid = getpid();
  char path[kPathMax];
  if (!make_path(path, sizeof path, pid)) {
    tell("cannot open", path, ENAMETOOLONG);
    g_file_state.store(kFailed, std::memory_order_release);
    return;
  }
  int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) {
    tell("cannot open", path, errno);
    g_file_state.store(kFailed, std::memory_order_release);
    return;
  }
  uint8_t hdr[SVE_TRACE_HEADER_FIXED + kNameMax + 8] = {};
  memcpy(hdr, SVE_TRACE_MAGIC, 8);
  put_le(hdr + 8, SVE_TRACE_VERSION, 4);
  put_le(hdr + 12, SVE_VL_BYTES, 4);
  put_le(hdr + 16, sizeof(sve_mem_ref_t), 4);
  put_le(hdr + 20, g_name_len, 4);
  put_le(hdr + 24, uint64_t(pid), 8);
  memcpy(hdr + SVE_TRACE_HEADER_FIXED, g_name, g_name_len);
  size_t len = SVE_TRACE_HEADER_FIXED + ((g_name_len + 7) & ~size_t(7));
  if (!pwrite_all(fd, hdr, len, 0)) {
    tell("cannot write", path, errno ? errno : EIO);
    close(fd);
    g_file_state.store(kFailed, std::memory_order_release);
    return;
  }
  g_fd = fd;
  g_offset.store(len, std::memory_order_relaxed);
  g_file_state.store(kOpen, std::memory_order_release);
}

bool ensure_file() {
  int s = g_file_state.load(std::memory_order_acquire);
  if (s == kOpen) return true;
  if (s != kUnopened) return false;
  pthread_mutex_lock(&g_mutex);
  if (g_file_state.load(std::memory_order_relaxed) == kUnopened) open_file_locked();
  pthread_mutex_unlock(&g_mutex);
  return g_file_state.load(std::memory_order_acquire) == kOpen;
}

// Appends k records at a freshly reserved range of the file.
void write_records(const sve_mem_ref_t* recs, uint32_t k) {
  if (!ensure_file()) return;
  size_t bytes = size_t(k) * sizeof(sve_mem_ref_t);
  uint64_t off = g_offset.fetch_add(bytes, std::memory_order_relaxed);
  if (!pwrite_all(g_fd, recs, bytes, off) && !g_write_error_told.exchange(true)) {
    tell("cannot write", "trace file", errno ? errno : EIO);
  }
}

void lock_busy(ThreadBuf* b) {
  while (b->busy.exchange(true, std::memory_order_acquire)) sched_yield();
}

// The owner's flush (buffer full, or thread exit).
void flush_own(ThreadBuf* b) {
  for (;;) {
    lock_busy(b);
    bool drop = b->sealed || g_file_state.load(std::memory_order_seq_cst) == kClosed;
    if (!drop && g_exiting.load(std::memory_order_seq_cst)) {
      // sve_exit is walking the buffers: it writes this one and seals it.
      b->busy.store(false, std::memory_order_release);
      sched_yield();
      continue;
    }
    uint32_t k = b->n.load(std::memory_order_relaxed);
    if (!drop && k) write_records(b->recs, k);
    b->n.store(0, std::memory_order_relaxed);
    b->busy.store(false, std::memory_order_release);
    return;
  }
}

void release_buffer(ThreadBuf* b) {
  flush_own(b);
  b->in_use.store(false, std::memory_order_release);
}

void on_thread_exit(void* p) {
  ThreadBuf* b = static_cast<ThreadBuf*>(p);
  if (t_buf == b) t_buf = nullptr;
  release_buffer(b);
}

// fork: the child keeps only its own thread's buffer, drops the records that
// belong to the parent's trace and starts a file of its own.
void before_fork() { pthread_mutex_lock(&g_mutex); }
void after_fork_parent() { pthread_mutex_unlock(&g_mutex); }
void after_fork_child() {
  pthread_mutex_init(&g_mutex, nullptr);
  for (ThreadBuf* b = g_bufs.load(std::memory_order_relaxed); b; b = b->next) {
    b->n.store(0, std::memory_order_relaxed);
    b->busy.store(false, std::memory_order_relaxed);
    if (b != t_buf) b->in_use.store(false, std::memory_order_relaxed);
  }
  if (g_file_state.load(std::memory_order_relaxed) == kOpen) close(g_fd);
  g_fd = -1;
  g_offset.store(0, std::memory_order_relaxed);
  g_write_error_told.store(false, std::memory_order_relaxed);
  if (!g_exiting.load(std::memory_order_relaxed)) g_file_state.store(kUnopened, std::memory_order_relaxed);
}

void ensure_key_locked() {
  if (g_key_made) return;
  if (pthread_key_create(&g_key, on_thread_exit) != 0) return;
  pthread_atfork(before_fork, after_fork_parent, after_fork_child);
  g_key_made = true;
}

// First record of a thread: a free buffer from the list, or a new one.
ThreadBuf* acquire_buffer() {
  pthread_mutex_lock(&g_mutex);
  ensure_key_locked();
  ThreadBuf* b = g_bufs.load(std::memory_order_relaxed);
  while (b && b->in_use.load(std::memory_order_acquire)) b = b->next;
  if (b) {
    b->in_use.store(true, std::memory_order_relaxed);
  } else {
    void* m = mmap(nullptr, sizeof(ThreadBuf), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m == MAP_FAILED) {
      pthread_mutex_unlock(&g_mutex);
      return nullptr;
    }
    b = new (m) ThreadBuf;
    b->sealed = false;
    b->in_use.store(true, std::memory_order_relaxed);
    b->next = g_bufs.load(std::memory_order_relaxed);
    g_bufs.store(b, std::memory_order_seq_cst);
  }
  pthread_mutex_unlock(&g_mutex);
  t_buf = b;
  if (g_key_made) pthread_setspecific(g_key, b);
  return b;
}

}  // namespace

uint64_t incr_count() { return g_count.fetch_add(1, std::memory_order_relaxed) + 1; }

void trace_mem(sve_mem_ref_t const& ref) {
  ThreadBuf* b = t_buf;
  if (__builtin_expect(b == nullptr, 0)) {
    b = acquire_buffer();
    if (!b) return;
  }
  uint32_t i = b->n.load(std::memory_order_relaxed);
  sve_mem_ref_t& d = b->recs[i];
  d = ref;
  d.reserved = 0;
  b->n.store(i + 1, std::memory_order_release);
  if (i + 1 == kBufRecords) flush_own(b);
}

bool sve_init(void*, const char* program_name) {
  pthread_mutex_lock(&g_mutex);
  bool ok = !g_exiting.load() && g_file_state.load() == kUnopened;
  if (ok) {
    ensure_key_locked();
    if (program_name) {
      const char* slash = strrchr(program_name, '/');
      const char* base = slash ? slash + 1 : program_name;
      if (*base) {
        g_name_len = strnlen(base, kNameMax);
        memcpy(g_name, base, g_name_len);
        g_name[g_name_len] = 0;
        g_name_set = true;
      }
    }
  }
  pthread_mutex_unlock(&g_mutex);
  return ok;
}

void sve_thread_exit() {
  ThreadBuf* b = t_buf;
  if (!b) return;
  t_buf = nullptr;
  if (g_key_made) pthread_setspecific(g_key, nullptr);
  release_buffer(b);
}

void sve_exit() {
  if (g_exiting.exchange(true, std::memory_order_seq_cst)) return;
  // A buffer whose flush does not finish (its thread stopped inside a write)
  // is skipped, and the file is then left open under that write.
  bool stuck = false;
  for (ThreadBuf* b = g_bufs.load(std::memory_order_seq_cst); b; b = b->next) {
    int tries = 0;
    while (b->busy.exchange(true, std::memory_order_acquire) && ++tries < 100000) sched_yield();
    if (tries == 100000) {
      stuck = true;
      continue;
    }
    uint32_t k = b->n.load(std::memory_order_acquire);
    if (k && !b->sealed) write_records(b->recs, k);
    b->sealed = true;
    b->busy.store(false, std::memory_order_release);
  }
  pthread_mutex_lock(&g_mutex);
  if (g_file_state.load() == kOpen && !stuck) close(g_fd);
  g_file_state.store(kClosed, std::memory_order_seq_cst);
  pthread_mutex_unlock(&g_mutex);
}
