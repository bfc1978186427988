// The architectural state that the reference stub loads before the word and
// stores after it (predicates packed, as the architecture holds them).
#pragma once
#include <cstddef>
#include <cstdint>

struct RefRecord {
  uint64_t x[31];
  uint64_t sp;
  uint64_t nzcv;
  uint64_t fpcr;
  uint64_t fpsr;
  uint64_t host_sp;
  uint64_t host_tpidr;
  uint64_t host_fpcr;
  uint8_t z[32][112];
  uint8_t p[17][14];  // P0..P15, then FFR
  uint8_t pad[2];
};

// Offsets used by ref_stub.S.
static_assert(offsetof(RefRecord, sp) == 248);
static_assert(offsetof(RefRecord, nzcv) == 256);
static_assert(offsetof(RefRecord, fpcr) == 264);
static_assert(offsetof(RefRecord, fpsr) == 272);
static_assert(offsetof(RefRecord, host_sp) == 280);
static_assert(offsetof(RefRecord, host_tpidr) == 288);
static_assert(offsetof(RefRecord, host_fpcr) == 296);
static_assert(offsetof(RefRecord, z) == 304);
static_assert(offsetof(RefRecord, p) == 304 + 32 * 112);

extern "C" RefRecord g_ref;
extern "C" void sve_ref_run();
extern "C" uint32_t sve_ref_slot[];
