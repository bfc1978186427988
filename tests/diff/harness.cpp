// Differential harness: runs instruction words on the reference CPU (qemu with
// SVE at a 112-byte vector length) and through get_sve_handler on the same
// random architectural state, and compares every register, the flags, FPSR
// and a memory buffer.
//
//   sve_diff [--seed N] [--filter SUBSTR] [--group NAME] [--cases N | --compared N] [--reports N] [--shard K/N]
//            [--list]
#include <setjmp.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "expectations.h"
#include "ref_record.h"
#include "sve/decode/decode.h"
#include "tests/common/edges.h"
#include "tests/common/ref_options.h"
#include "tests/fp/ref_gen.h"
#include "tools/disasm.h"

RefRecord g_ref;

namespace {

// Memory that base registers and SP point into: 64 KiB, so that every
// offset of the contiguous forms (LDR/STR reach +-28 KiB) stays inside it,
// mapped below 4 GiB where possible so that 32-bit vector bases can reach it.
constexpr size_t kMemSize = 64 * 1024;
uint8_t* g_mem;

void map_buffer() {
  void* want = reinterpret_cast<void*>(uintptr_t(0x40000000));
  void* p = mmap(want, kMemSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
  if (p == MAP_FAILED) p = mmap(nullptr, kMemSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (p == MAP_FAILED) {
    perror("mmap");
    std::exit(2);
  }
  g_mem = static_cast<uint8_t*>(p);
}
uint64_t buffer_mid() { return reinterpret_cast<uint64_t>(g_mem) + kMemSize / 2; }

sigjmp_buf g_jmp;
volatile sig_atomic_t g_in_ref = 0;

void on_fault(int sig, siginfo_t*, void*) {
  if (g_in_ref) {
    g_in_ref = 0;
    siglongjmp(g_jmp, sig);
  }
  signal(sig, SIG_DFL);
  raise(sig);
}

void install_fault_handlers() {
  static uint8_t altstack[64 * 1024];
  stack_t ss{};
  ss.ss_sp = altstack;
  ss.ss_size = sizeof altstack;
  sigaltstack(&ss, nullptr);
  struct sigaction sa{};
  sa.sa_sigaction = on_fault;
  sa.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigemptyset(&sa.sa_mask);
  for (int s : {SIGILL, SIGSEGV, SIGBUS, SIGFPE}) sigaction(s, &sa, nullptr);
}

void patch_slot(uint32_t word) {
  sve_ref_slot[0] = word;
  __builtin___clear_cache(reinterpret_cast<char*>(sve_ref_slot), reinterpret_cast<char*>(sve_ref_slot + 1));
}

void make_slot_writable() {
  uintptr_t page = reinterpret_cast<uintptr_t>(sve_ref_slot) & ~uintptr_t(4095);
  if (mprotect(reinterpret_cast<void*>(page), 4096, PROT_READ | PROT_WRITE | PROT_EXEC) != 0) {
    perror("mprotect");
    std::exit(2);
  }
}

// Runs the word on the reference; returns 0, or the signal that stopped it.
int run_reference(uint32_t word) {
  patch_slot(word);
  int sig = sigsetjmp(g_jmp, 1);
  if (sig == 0) {
    g_in_ref = 1;
    sve_ref_run();
    g_in_ref = 0;
    return 0;
  }
  // The stub was interrupted at the word: put the host FPCR back.
  __asm__ volatile("msr fpcr, %0" ::"r"(g_ref.host_fpcr));
  return sig;
}

// ---- random states weighted to edge values ----

using refcommon::Rng;

uint64_t edge_int(Rng& r, int bytes) { return refcommon::edge_int(r.g, bytes * 8); }

// Floating-point edges as the floating-point comparison draws them.
uint64_t edge_float(Rng& r, int bytes) {
  return bytes == 2 ? fpref::edge<uint16_t>(r) : bytes == 4 ? fpref::edge<uint32_t>(r) : fpref::edge<uint64_t>(r);
}

void fill_vector(Rng& r, uint8_t* v) {
  int bytes = 1 << r.below(4);
  bool fp = bytes > 1 && r.chance(40);
  for (int i = 0; i < 112; i += bytes) {
    uint64_t x = fp ? edge_float(r, bytes) : edge_int(r, bytes);
    std::memcpy(v + i, &x, size_t(bytes));
  }
}

void set_bit(uint8_t* packed, int k, bool v) {
  if (v) packed[k / 8] |= uint8_t(1 << (k % 8));
  else packed[k / 8] &= uint8_t(~(1 << (k % 8)));
}

void fill_predicate(Rng& r, uint8_t* packed) {
  std::memset(packed, 0, 14);
  int ebytes = 1 << r.below(4);
  switch (r.below(6)) {
    case 0: std::memset(packed, 0xFF, 14); return;  // every byte lane
    case 1: return;                                 // all false
    case 2:                                         // all true at an element size
      for (int k = 0; k < 112; k += ebytes) set_bit(packed, k, true);
      return;
    case 3:                                         // sparse
      for (int k = 0; k < 112; k += ebytes) set_bit(packed, k, r.chance(10));
      return;
    case 4:                                         // random bits
      for (int k = 0; k < 14; ++k) packed[k] = uint8_t(r.next());
      return;
    default:                                        // random elements
      for (int k = 0; k < 112; k += ebytes) set_bit(packed, k, r.chance(50));
  }
}

const uint32_t kFpcrChoices[] = {
    0,           1u << 24,             1u << 25,           (1u << 24) | (1u << 25),
    1u << 22,    2u << 22,             3u << 22,           1u << 19,
    1u << 26,    (1u << 19) | (1u << 25) | (3u << 22),   (1u << 19) | (1u << 24) | (1u << 25) | (1u << 26)};

// The memory buffer is refilled only when asked: instructions that do not
// touch memory keep one random buffer per handler, checked once at its end.
void random_record(Rng& r, RefRecord& rec, bool fill_memory) {
  std::memset(&rec, 0, sizeof rec);
  uint64_t mid = buffer_mid();
  for (auto& x : rec.x) x = r.chance(25) ? mid + uint64_t(r.below(2048)) : edge_int(r, 8);
  rec.sp = mid + uint64_t(r.below(128)) * 16;
  rec.nzcv = uint64_t(r.below(16)) << 28;
  rec.fpcr = kFpcrChoices[r.below(int(sizeof kFpcrChoices / sizeof kFpcrChoices[0]))];
  rec.fpsr = r.chance(50) ? 0 : (r.next() & 0x9Fu);
  for (auto& z : rec.z) fill_vector(r, z);
  for (auto& p : rec.p) fill_predicate(r, p);
  for (size_t i = 0; fill_memory && i < kMemSize; i += 8) {
    uint64_t v = r.next();
    std::memcpy(g_mem + i, &v, 8);
  }
}

// ---- operands of memory instructions ----

struct Field {
  int lo = 0, width = 0;  // a contiguous field of the pattern
};
Field pattern_field(const char* pat, char letter) {
  Field f;
  for (int i = 31; i >= 0; --i)
    if (pat[31 - i] == letter) {
      f.lo = i;
      ++f.width;
    }
  return f;
}
unsigned get_field(uint32_t w, Field f) { return (w >> f.lo) & ((1u << f.width) - 1); }
uint32_t set_field(uint32_t w, Field f, unsigned v) {
  uint32_t m = ((1u << f.width) - 1) << f.lo;
  return (w & ~m) | ((v << f.lo) & m);
}

// Loads, stores and prefetches: the base (Xn, SP or the elements of a vector
// base) points into the buffer, and offset registers (Xm or the elements of
// Zm) hold small element counts, so that the access stays inside it. An
// offset register that is also the base is moved to another register.
void aim_memory_operands(Rng& r, const DecodeEntry& e, uint32_t& word, RefRecord& rec) {
  if (entry_group(e) != "Memory") return;
  std::string op = e.enc->op;
  const char* pat = e.enc->pattern;
  Field n = pattern_field(pat, 'n'), m = pattern_field(pat, 'm');
  if (n.width != 5 || op.rfind("LEA", 0) == 0) return;
  int ebytes = kETypeSize[e.type] == 2 ? 4 : 8;  // element size of the vector forms (S or D)
  uint64_t mid = buffer_mid();
  unsigned rn = get_field(word, n);
  if (op.find("VI") != std::string::npos) {  // vector base plus immediate
    if (ebytes == 4 && mid + 4096 > 0xFFFFFFFFull) return;
    for (int i = 0; i < 112; i += ebytes) {
      uint64_t a = mid + uint64_t(r.below(4096)) - 2048;
      std::memcpy(rec.z[rn] + i, &a, size_t(ebytes));
    }
    return;
  }
  uint64_t base = mid + uint64_t(r.below(4096)) - 2048;
  if (rn == 31) rec.sp = base & ~uint64_t(15);
  else rec.x[rn] = base;
  if (!m.width) return;
  unsigned rm = get_field(word, m);
  if (op.find("VS") != std::string::npos || op.find("SV") != std::string::npos) {  // vector offsets
    for (int i = 0; i < 112; i += ebytes) {
      uint64_t off = uint64_t(r.below(512));
      std::memcpy(rec.z[rm] + i, &off, size_t(ebytes));
    }
    return;
  }
  if (rm == 31) return;
  if (rm == rn) {
    rm = (rn + 1 + unsigned(r.below(29))) % 31;
    word = set_field(word, m, rm);
  }
  rec.x[rm] = uint64_t(int64_t(r.below(512)) - 256);
}

// Table lookups: the index vector mostly holds indices up to a little past
// the element count, so that every part of the table and the first indices
// beyond it are read at every element size.
void aim_table_indices(Rng& r, const DecodeEntry& e, uint32_t word, RefRecord& rec) {
  if (std::string_view(e.enc->op) != "TblVV" || r.chance(25)) return;
  int ebytes = 1 << kETypeSize[e.type];
  unsigned rm = get_field(word, pattern_field(e.enc->pattern, 'm'));
  for (int i = 0; i < 112; i += ebytes) {
    uint64_t k = uint64_t(r.below(112 / ebytes + 4));
    std::memcpy(rec.z[rm] + i, &k, size_t(ebytes));
  }
}

// An instruction word: the entry's fixed bits with random operand fields;
// register-sized fields often share a value so that sources alias destinations.
uint32_t random_word(Rng& r, const DecodeEntry& e) {
  const char* pat = e.enc->pattern;
  uint32_t w = e.word;
  unsigned shared = unsigned(r.next());
  bool alias = r.chance(30);
  for (char letter = 'a'; letter <= 'z'; ++letter) {
    if (letter == 's') continue;
    int width = 0;
    for (int i = 0; i < 32; ++i) width += pat[i] == letter;
    if (!width) continue;
    unsigned v = (alias && width >= 3 && width <= 5) ? shared : unsigned(r.next());
    int k = 0;
    for (int i = 31; i >= 0; --i)  // low bits of v fill the field from its least significant end
      if (pat[i] == letter) w |= ((v >> k++) & 1u) << (31 - i);
  }
  return w;
}

// ---- the two runs ----

void record_to_state(const RefRecord& rec, cpu_state& s) {
  std::memset(&s, 0, sizeof s);
  std::memcpy(s.x, rec.x, sizeof s.x);
  s.sp = rec.sp;
  s.nzcv = rec.nzcv;
  s.fpcr = uint32_t(rec.fpcr);
  s.fpsr = uint32_t(rec.fpsr);
  std::memcpy(s.z, rec.z, sizeof s.z);
  for (int r = 0; r < 17; ++r) {
    uint8_t* lanes = r < 16 ? s.p[r] : s.ffr;
    for (int k = 0; k < 112; ++k) lanes[k] = (rec.p[r][k / 8] >> (k % 8)) & 1;
  }
}

std::string disassemble(uint32_t word) {
  static const std::string objdump = find_objdump();
  std::string text = disassemble_words({word}, objdump)[0];
  return text.empty() ? "?" : text;
}

struct Mismatch {
  std::string what;
};

void compare(const RefRecord& ref, const cpu_state& emu, const std::vector<uint8_t>* ref_mem_p,
             std::vector<Mismatch>& out) {
  char buf[256];
  for (int i = 0; i < 31; ++i)
    if (ref.x[i] != emu.x[i]) {
      std::snprintf(buf, sizeof buf, "X%d: ref %016" PRIx64 " emu %016" PRIx64, i, ref.x[i], emu.x[i]);
      out.push_back({buf});
    }
  if (ref.sp != emu.sp) out.push_back({"SP"});
  if ((ref.nzcv ^ emu.nzcv) & 0xF0000000u) {
    std::snprintf(buf, sizeof buf, "NZCV: ref %x emu %x", unsigned(ref.nzcv >> 28), unsigned((emu.nzcv >> 28) & 15));
    out.push_back({buf});
  }
  if (uint32_t(ref.fpsr) != emu.fpsr) {
    std::snprintf(buf, sizeof buf, "FPSR: ref %08x emu %08x", unsigned(ref.fpsr), emu.fpsr);
    out.push_back({buf});
  }
  for (int r = 0; r < 32; ++r)
    if (std::memcmp(ref.z[r], emu.z[r], 112)) {
      std::string s = "Z" + std::to_string(r) + ":";
      for (int b = 0; b < 112; ++b)
        if (ref.z[r][b] != emu.z[r][b]) {
          std::snprintf(buf, sizeof buf, " byte %d ref %02x emu %02x", b, ref.z[r][b], emu.z[r][b]);
          s += buf;
          break;
        }
      out.push_back({s});
    }
  for (int r = 0; r < 17; ++r) {
    const uint8_t* lanes = r < 16 ? emu.p[r] : emu.ffr;
    for (int k = 0; k < 112; ++k) {
      int want = (ref.p[r][k / 8] >> (k % 8)) & 1;
      if (lanes[k] != want) {
        std::snprintf(buf, sizeof buf, "%s%d: lane %d ref %d emu %d", r < 16 ? "P" : "FFR", r < 16 ? r : 0, k, want,
                      lanes[k]);
        out.push_back({buf});
        break;
      }
    }
  }
  if (!ref_mem_p || std::memcmp(ref_mem_p->data(), g_mem, kMemSize) == 0) return;
  const std::vector<uint8_t>& ref_mem = *ref_mem_p;
  for (size_t i = 0; i < kMemSize; ++i)
    if (ref_mem[i] != g_mem[i]) {
      std::snprintf(buf, sizeof buf, "memory +%zu: ref %02x emu %02x", i, ref_mem[i], g_mem[i]);
      out.push_back({buf});
      break;
    }
}

struct Options : refcommon::Options {
  const char* group = nullptr;  // Integer, Predicate, Permute, Count, Float or Memory
  int cases = 100;
  long compared = 0;  // with --compared N: N cases compared per handler, whatever is rejected
};

Options parse(int argc, char** argv) {
  Options o;
  refcommon::parse_options(argc, argv,
                           "sve_diff [--seed N] [--filter SUBSTR] [--group NAME] [--cases N | --compared N] "
                           "[--reports N] [--shard K/N] [--list]",
                           o, [&](const std::string& a, auto value) {
                             if (a == "--group") o.group = value();
                             else if (a == "--cases") o.cases = std::atoi(value());
                             else if (a == "--compared") o.compared = std::atol(value());
                             else return false;
                             return true;
                           });
  return o;
}

struct Tally {
  long cases = 0, rejected = 0, deviation = 0, erratum = 0, mismatches = 0;
};

}  // namespace

int main(int argc, char** argv) {
  Options opt = parse(argc, argv);
  install_fault_handlers();
  make_slot_writable();
  map_buffer();
  Rng rng(opt.seed);
  Tally total;
  int handlers = 0, reported = 0, failed_handlers = 0;
  std::vector<uint8_t> before_mem(kMemSize), ref_mem(kMemSize);

  int index = -1;
  for (const DecodeEntry& e : kDecodeEntries) {
    Handler h = entry_handler(e);
    std::string name = entry_name(e);
    if (!h || (opt.group && entry_group(e) != opt.group) || !opt.picks(name, index)) continue;
    if (opt.list) {
      std::printf("%s\n", name.c_str());
      continue;
    }
    ++handlers;
    Tally t;
    bool memory = entry_group(e) == "Memory";
    bool filled = false;
    // With --compared, words keep coming until that many cases were checked
    // (the reference rejects reserved encodings), up to 50 times as many tries.
    auto more = [&](long tries) {
      if (!opt.compared) return tries < opt.cases;
      return t.cases + t.deviation + t.erratum < opt.compared && tries < 50L * opt.compared;
    };
    for (long tries = 0; more(tries); ++tries) {
      uint32_t word = random_word(rng, e);
      if (find_decode_entry(word) != &e) continue;
      RefRecord before;
      random_record(rng, before, memory || !filled);
      if (!memory && !filled) std::memcpy(before_mem.data(), g_mem, kMemSize);
      filled = true;
      aim_memory_operands(rng, e, word, before);
      aim_table_indices(rng, e, word, before);
      if (find_decode_entry(word) != &e) continue;
      if (memory) std::memcpy(before_mem.data(), g_mem, kMemSize);
      if (find_expectation(kDeliberateDeviations, name.c_str(), word)) { ++t.deviation; continue; }
      if (find_expectation(kReferenceErrata, name.c_str(), word)) { ++t.erratum; continue; }

      g_ref = before;
      if (run_reference(word) != 0) {
        ++t.rejected;
        continue;
      }
      ++t.cases;
      RefRecord ref = g_ref;
      if (memory) {
        std::memcpy(ref_mem.data(), g_mem, kMemSize);
        std::memcpy(g_mem, before_mem.data(), kMemSize);
      }

      cpu_state emu;
      record_to_state(before, emu);
      aarch64_decode_rc rc = h(&emu, word);
      std::vector<Mismatch> diffs;
      if (rc != DECODE_OK) diffs.push_back({"handler returned " + std::to_string(rc)});
      compare(ref, emu, memory ? &ref_mem : nullptr, diffs);
      if (diffs.empty()) continue;
      ++t.mismatches;
      if (reported++ < opt.reports) {
        std::printf("MISMATCH %s word %08x  %s  (fpcr %08x)\n", name.c_str(), word, disassemble(word).c_str(),
                    unsigned(before.fpcr));
        for (size_t i = 0; i < diffs.size() && i < 6; ++i) std::printf("    %s\n", diffs[i].what.c_str());
      }
    }
    if (!memory && filled && std::memcmp(before_mem.data(), g_mem, kMemSize) != 0) {
      std::printf("MISMATCH %s: memory changed by an instruction that does not access it\n", name.c_str());
      ++t.mismatches;
    }
    if (opt.compared && t.cases + t.deviation + t.erratum < opt.compared)
      std::printf("SHORT %s: %ld of %ld cases compared\n", name.c_str(), t.cases + t.deviation + t.erratum, opt.compared);
    if (t.cases == 0 && t.deviation == 0 && t.erratum == 0) {
      std::printf("NO CASES %s: the reference rejected every word\n", name.c_str());
      ++failed_handlers;
    }
    if (t.mismatches) ++failed_handlers;
    total.cases += t.cases;
    total.rejected += t.rejected;
    total.deviation += t.deviation;
    total.erratum += t.erratum;
    total.mismatches += t.mismatches;
  }
  if (opt.list) return 0;
  std::printf("sve_diff: %d handlers, %ld cases compared, %ld mismatching, %ld rejected by the reference, "
              "%ld deliberate deviations, %ld reference errata (seed %" PRIu64 ")\n",
              handlers, total.cases, total.mismatches, total.rejected, total.deviation, total.erratum, opt.seed);
  return failed_handlers ? 1 : 0;
}
