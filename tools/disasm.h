// Disassembly of AArch64 words through the cross binutils' objdump.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

// The objdump to use: $SVE_OBJDUMP, else aarch64-linux-gnu-objdump, else
// objdump on an AArch64 host; empty when none is found.
std::string find_objdump();

// One text per word ("add z0.s, p0/m, z0.s, z0.s"); empty strings when no
// objdump is available.
std::vector<std::string> disassemble_words(const std::vector<uint32_t>& words, const std::string& objdump);
