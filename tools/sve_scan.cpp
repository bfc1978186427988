// sve-scan: lists the SVE instructions of an AArch64 ELF binary (or of words
// given on the command line) with their address, disassembly and the handler
// that will emulate them, then a summary of what is and is not emulated.
//
//   sve-scan PROGRAM...           scan the executable sections of ELF files
//   sve-scan --words WORD...      scan instruction words (hex)
#include <elf.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "sve/decode/decode.h"
#include "tools/disasm.h"

namespace {

// SVE encodings occupy op0 = 0b0010 (bits 28:25) of the A64 encoding space.
bool is_sve(uint32_t w) { return ((w >> 25) & 0xF) == 0x2; }

struct Insn {
  uint64_t addr;
  uint32_t word;
  std::string where;  // function+offset, when known
};

struct Symbol {
  uint64_t addr, size;
  std::string name;
};

bool read_file(const char* path, std::vector<uint8_t>& data) {
  std::ifstream f(path, std::ios::binary);
  if (!f) return false;
  data.assign(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
  return true;
}

template <class T> const T* at(const std::vector<uint8_t>& d, uint64_t off) {
  return off + sizeof(T) <= d.size() ? reinterpret_cast<const T*>(d.data() + off) : nullptr;
}

std::vector<Symbol> function_symbols(const std::vector<uint8_t>& d, const Elf64_Ehdr& eh) {
  std::vector<Symbol> syms;
  for (int i = 0; i < eh.e_shnum; ++i) {
    auto* sh = at<Elf64_Shdr>(d, eh.e_shoff + uint64_t(i) * eh.e_shentsize);
    if (!sh || (sh->sh_type != SHT_SYMTAB && sh->sh_type != SHT_DYNSYM)) continue;
    auto* strs = at<Elf64_Shdr>(d, eh.e_shoff + uint64_t(sh->sh_link) * eh.e_shentsize);
    if (!strs) continue;
    for (uint64_t k = 0; k < sh->sh_size / sizeof(Elf64_Sym); ++k) {
      auto* s = at<Elf64_Sym>(d, sh->sh_offset + k * sizeof(Elf64_Sym));
      if (!s || ELF64_ST_TYPE(s->st_info) != STT_FUNC || !s->st_value) continue;
      uint64_t off = strs->sh_offset + s->st_name;
      if (off >= d.size()) continue;
      syms.push_back({s->st_value, s->st_size, reinterpret_cast<const char*>(d.data() + off)});
    }
  }
  return syms;
}

std::string locate(const std::vector<Symbol>& syms, uint64_t addr) {
  for (const Symbol& s : syms)
    if (addr >= s.addr && addr < s.addr + (s.size ? s.size : 1)) {
      char buf[32];
      std::snprintf(buf, sizeof buf, "+0x%" PRIx64, addr - s.addr);
      return s.name + buf;
    }
  return "";
}

// Appends the SVE words of the file's executable sections; false with a
// message on a file that is not a 64-bit little-endian AArch64 ELF.
bool scan_elf(const char* path, std::vector<Insn>& out) {
  std::vector<uint8_t> d;
  if (!read_file(path, d)) {
    std::fprintf(stderr, "sve-scan: cannot read %s\n", path);
    return false;
  }
  auto* eh = at<Elf64_Ehdr>(d, 0);
  if (!eh || std::memcmp(eh->e_ident, ELFMAG, SELFMAG) != 0 || eh->e_ident[EI_CLASS] != ELFCLASS64 ||
      eh->e_ident[EI_DATA] != ELFDATA2LSB || eh->e_machine != EM_AARCH64) {
    std::fprintf(stderr, "sve-scan: %s is not a 64-bit AArch64 ELF file\n", path);
    return false;
  }
  std::vector<Symbol> syms = function_symbols(d, *eh);
  for (int i = 0; i < eh->e_shnum; ++i) {
    auto* sh = at<Elf64_Shdr>(d, eh->e_shoff + uint64_t(i) * eh->e_shentsize);
    if (!sh || !(sh->sh_flags & SHF_EXECINSTR) || sh->sh_type != SHT_PROGBITS) continue;
    for (uint64_t off = 0; off + 4 <= sh->sh_size; off += 4) {
      auto* w = at<uint32_t>(d, sh->sh_offset + off);
      if (w && is_sve(*w)) out.push_back({sh->sh_addr + off, *w, locate(syms, sh->sh_addr + off)});
    }
  }
  return true;
}

int usage() {
  std::fprintf(stderr,
               "usage: sve-scan PROGRAM...\n"
               "       sve-scan --words WORD...   (32-bit instruction words in hex)\n"
               "Lists the SVE instructions and the handler that emulates each one.\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h")) return usage();
  std::vector<Insn> insns;
  bool words_mode = !std::strcmp(argv[1], "--words");
  if (words_mode) {
    if (argc < 3) return usage();
    for (int i = 2; i < argc; ++i) {
      char* end = nullptr;
      unsigned long long v = std::strtoull(argv[i], &end, 16);
      if (!*argv[i] || *end || v > 0xFFFFFFFFull) {
        std::fprintf(stderr, "sve-scan: '%s' is not a 32-bit hexadecimal word\n", argv[i]);
        return 2;
      }
      insns.push_back({uint64_t(i - 2) * 4, uint32_t(v), ""});
    }
  } else {
    for (int i = 1; i < argc; ++i)
      if (!scan_elf(argv[i], insns)) return 1;
  }

  std::vector<uint32_t> words;
  for (const Insn& in : insns) words.push_back(in.word);
  std::string objdump = find_objdump();
  std::vector<std::string> dis = disassemble_words(words, objdump);

  int sve = 0, emulated = 0;
  std::map<std::string, int> missing;  // handler (or "no handler") -> count
  for (size_t i = 0; i < insns.size(); ++i) {
    const Insn& in = insns[i];
    const DecodeEntry* e = find_decode_entry(in.word);
    if (words_mode && !e && !is_sve(in.word)) {
      std::printf("%10" PRIx64 "  %08x  %-44s not an SVE instruction\n", in.addr, in.word, dis[i].c_str());
      continue;
    }
    ++sve;
    bool live = e && entry_handler(*e);
    std::string handler = e ? entry_name(*e) : "no handler";
    if (live) ++emulated;
    else missing[e ? handler + " (not yet implemented)" : "no handler: " + (dis[i].empty() ? std::string("?") : dis[i].substr(0, dis[i].find(' ')))]++;
    std::printf("%10" PRIx64 "  %08x  %-44s %-26s %s\n", in.addr, in.word, dis[i].c_str(),
                live ? handler.c_str() : ("[" + handler + "]").c_str(), in.where.c_str());
  }
  std::printf("\n%d SVE instructions: %d emulated, %d not emulated\n", sve, emulated, sve - emulated);
  for (const auto& [what, n] : missing) std::printf("  %5d  %s\n", n, what.c_str());
  if (objdump.empty()) std::printf("(no aarch64 objdump found: disassembly omitted; set SVE_OBJDUMP)\n");
  return 0;
}
