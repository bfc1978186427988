#include "tools/disasm.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {
bool runnable(const std::string& cmd) {
  std::string probe = "command -v " + cmd + " >/dev/null 2>&1";
  return std::system(probe.c_str()) == 0;
}
}  // namespace

std::string find_objdump() {
  if (const char* e = std::getenv("SVE_OBJDUMP"); e && *e) return e;
  if (runnable("aarch64-linux-gnu-objdump")) return "aarch64-linux-gnu-objdump";
#if defined(__aarch64__)
  if (runnable("objdump")) return "objdump";
#endif
  return "";
}

std::vector<std::string> disassemble_words(const std::vector<uint32_t>& words, const std::string& objdump) {
  std::vector<std::string> out(words.size());
  if (objdump.empty() || words.empty()) return out;
  char path[] = "/tmp/sve_words_XXXXXX";
  int fd = mkstemp(path);
  if (fd < 0) return out;
  size_t bytes = words.size() * 4;
  bool ok = write(fd, words.data(), bytes) == ssize_t(bytes);
  close(fd);
  if (ok) {
    std::string cmd = objdump + " -D -b binary -m aarch64 " + path + " 2>/dev/null";
    if (FILE* p = popen(cmd.c_str(), "r")) {
      char buf[512];
      while (std::fgets(buf, sizeof buf, p)) {
        // "   1c:\t04800000 \tadd\tz0.s, p0/m, z0.s, z0.s"
        std::string line(buf);
        size_t colon = line.find(":\t"), t2 = line.find('\t', colon + 2);
        if (colon == std::string::npos || t2 == std::string::npos) continue;
        char* end = nullptr;
        unsigned long addr = std::strtoul(line.c_str(), &end, 16);
        if (end != line.c_str() + colon || addr % 4 || addr / 4 >= out.size()) continue;
        std::string text = line.substr(t2 + 1);
        while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
        for (char& c : text)
          if (c == '\t') c = ' ';
        out[addr / 4] = text;
      }
      pclose(p);
    }
  }
  unlink(path);
  return out;
}
